// Writes the fuzzers' starting corpora: small pictures in every format the loader
// reads (whole, damaged, cut short, turned by EXIF), command lines and layer values
// as people type them, saved looks, and deterministic byte strings for the
// structured targets.
// Usage: velmora_fuzz_seeds OUTDIR

#include "model/LookFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>

#include <cstdio>

namespace {

bool write(const QString& folder, const QString& name, const QByteArray& bytes) {
    QDir().mkpath(folder);
    QFile file(folder + QLatin1Char('/') + name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray encoded(const QImage& image, const char* format, int quality = -1,
                   bool progressive = false) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setProgressiveScanWrite(progressive);
    writer.write(image);
    return bytes;
}

// Sky, horizon and ground with a sun: enough structure for every coder to use its
// tables, small enough that each run of the decoder is quick.
QImage picture(int width, int height, QImage::Format format) {
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(QColor(90, 160, 230));
    QPainter painter(&image);
    painter.fillRect(0, height / 2, width, height - height / 2, QColor(60, 120, 40));
    painter.setBrush(QColor(255, 220, 0, 200));
    painter.drawEllipse(QPoint(width / 4, height / 4), width / 10 + 1, width / 10 + 1);
    painter.end();
    return image.convertToFormat(format);
}

QByteArray randomBytes(QRandomGenerator& random, int size) {
    QByteArray bytes(size, '\0');
    for (char& b : bytes)
        b = static_cast<char>(random.bounded(256));
    return bytes;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: velmora_fuzz_seeds OUTDIR\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    bool ok = true;

    const QString images = out + QStringLiteral("/image_decoding");
    const QImage rgb = picture(48, 24, QImage::Format_RGB32);
    const QByteArray jpeg = encoded(rgb, "jpeg", 85);
    ok &= write(images, QStringLiteral("baseline.jpg"), jpeg);
    ok &= write(images, QStringLiteral("progressive.jpg"), encoded(rgb, "jpeg", 85, true));
    ok &= write(images, QStringLiteral("grey.jpg"),
                encoded(picture(32, 16, QImage::Format_Grayscale8), "jpeg", 80));
    ok &= write(images, QStringLiteral("cut.jpg"), jpeg.left(jpeg.size() / 2));
    QByteArray damaged = jpeg;
    const qsizetype scan = damaged.lastIndexOf(QByteArray("\xff\xda", 2));
    damaged[(scan + damaged.size()) / 2] = '\xff';
    damaged[(scan + damaged.size()) / 2 + 1] = '\xd3';
    ok &= write(images, QStringLiteral("damaged.jpg"), damaged);
    // Orientation 6 in a big-endian EXIF segment right after the start of image.
    static const char exif[] = "\xff\xe1\x00\x22"
                               "Exif\0\0"
                               "MM\x00\x2a\x00\x00\x00\x08"
                               "\x00\x01"
                               "\x01\x12\x00\x03\x00\x00\x00\x01\x00\x06\x00\x00"
                               "\x00\x00\x00\x00";
    ok &= write(images, QStringLiteral("turned.jpg"),
                QByteArray(jpeg).insert(2, QByteArray(exif, sizeof exif - 1)));
    ok &= write(images, QStringLiteral("rgba.png"),
                encoded(picture(40, 20, QImage::Format_ARGB32), "png"));
    ok &= write(images, QStringLiteral("deep.png"),
                encoded(picture(24, 12, QImage::Format_RGBA64), "png"));
    ok &= write(images, QStringLiteral("palette.png"),
                encoded(picture(24, 12, QImage::Format_Indexed8), "png"));
    ok &= write(images, QStringLiteral("picture.tiff"),
                encoded(picture(24, 12, QImage::Format_RGB32), "tiff"));
    ok &= write(images, QStringLiteral("picture.webp"), encoded(rgb, "webp", 70));
    ok &= write(images, QStringLiteral("picture.bmp"),
                encoded(picture(16, 8, QImage::Format_RGB32), "bmp"));
    ok &= write(images, QStringLiteral("picture.ppm"),
                encoded(picture(16, 8, QImage::Format_RGB32), "ppm"));

    const QString lines = out + QStringLiteral("/command_line");
    const char* const commandLines[] = {
        "Glows/orb.png",
        "Stickers/block.png@0.25,0.75",
        "Stickers/block.png@0.5,0.5:scale=0.5,rotation=90,opacity=0.8,blend=screen,flip=yes",
        "Flares/ring.png:blend=multiply,flip=no",
        "My\\@Art/logo\\:2.png@0.1,0.9:opacity=1",
        "user/My Artwork/logo.png",
        "/tmp/logo.png@0.5,0.2:scale=2",
        "--zoom\n1.5\n--rotate\n-45\n-o\nplanet.png",
        "pano.jpg\n--preset\nspiral\n--size\n4096\n--output\n-",
        "--gamma=1.2\n--contrast=0.9\n--saturation=1.3\n--vignette=0.5\n--invert",
        "--layer\nGlows/orb.png@0.5,0.3:scale=1.5\n--layer\nStickers/block.png",
        "--flip\nyes\n--convexity\n-4\n--twist\n180\n--resources\n/opt/velmora",
    };
    int index = 0;
    for (const char* line : commandLines)
        ok &= write(lines, QStringLiteral("seed-%1").arg(index++), QByteArray(line));

    // Looks: the defaults, each preset, and one with a layer in every blend mode.
    const QString looks = out + QStringLiteral("/look_file");
    ok &=
        write(looks, QStringLiteral("defaults.velmora-look"), velmora::lookToJson(velmora::Look()));
    for (const velmora::Preset preset : velmora::allPresets)
        ok &= write(looks, velmora::presetName(preset) + QStringLiteral(".velmora-look"),
                    velmora::lookToJson(velmora::Look().withPreset(preset)));
    velmora::Look layered;
    for (const velmora::LayerBlendMode mode : velmora::allLayerBlendModes) {
        velmora::PlacedLayer layer;
        layer.assetID = QStringLiteral("Glows/orb.png");
        layer.center = {0.25, 0.75};
        layer.rotation = 30.0;
        layer.opacity = 0.5;
        layer.flipped = mode == velmora::LayerBlendMode::multiply;
        layer.blendMode = mode;
        layered.layers.append(layer);
    }
    ok &= write(looks, QStringLiteral("layers.velmora-look"), velmora::lookToJson(layered));

    QRandomGenerator random(20261124);
    for (const char* target : {"kernel", "png_writer"})
        for (const int size : {16, 64, 200, 1024, 4096})
            ok &= write(out + QLatin1Char('/') + QLatin1String(target),
                        QStringLiteral("random-%1").arg(size), randomBytes(random, size));

    if (!ok) {
        std::fprintf(stderr, "velmora_fuzz_seeds: could not write the seeds under %s\n", argv[1]);
        return 1;
    }
    return 0;
}

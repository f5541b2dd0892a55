// Checks of the artwork catalogue shipped in resources/Layers: what the library
// finds there must decode, have usable sizes, and blend the way its category
// promises (light art fades out without darkening; stickers are clean cut-outs).

#include "layers/LayerLibrary.h"
#include "layers/PlacedLayer.h"
#include "support/TestSupport.h"

#include <QCryptographicHash>
#include <QImageReader>
#include <QSet>

#include <gtest/gtest.h>

#include <functional>

using namespace velmora;

namespace {

QString shippedResources() {
    return QStringLiteral(VELMORA_SOURCE_DIR "/resources");
}

/// Decoded in straight (unpremultiplied) 8-bit form, as stored.
QImage load(const LayerAsset& asset) {
    QImageReader reader(asset.filePath());
    return reader.read().convertToFormat(QImage::Format_ARGB32);
}

/// Calls fn for every pixel of the outermost one-pixel ring.
void forEachBorderPixel(const QImage& image, const std::function<void(QRgb)>& fn) {
    const int w = image.width();
    const int h = image.height();
    for (int x = 0; x < w; ++x) {
        fn(image.pixel(x, 0));
        fn(image.pixel(x, h - 1));
    }
    for (int y = 1; y < h - 1; ++y) {
        fn(image.pixel(0, y));
        fn(image.pixel(w - 1, y));
    }
}

struct AlphaCounts {
    qsizetype transparent = 0;
    qsizetype partial = 0;
    qsizetype opaque = 0;
    int maxAlpha = 0;
};

AlphaCounts countAlpha(const QImage& image) {
    AlphaCounts counts;
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int a = qAlpha(line[x]);
            counts.maxAlpha = std::max(counts.maxAlpha, a);
            if (a == 0)
                ++counts.transparent;
            else if (a == 255)
                ++counts.opaque;
            else
                ++counts.partial;
        }
    }
    return counts;
}

class ShippedCatalogue : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_library = new LayerLibrary(shippedResources()); }
    static void TearDownTestSuite() {
        delete s_library;
        s_library = nullptr;
    }
    static const LayerLibrary& library() { return *s_library; }

    /// Runs `check` on every asset of the screen (or normal) categories and
    /// gathers its complaints, so one run names every offending file.
    static QStringList problems(bool screen, const std::function<QString(const QImage&)>& check) {
        QStringList found;
        for (const LayerAsset& asset : library().assets()) {
            if (isScreenCategory(asset.category) != screen)
                continue;
            const QImage image = load(asset);
            const QString problem =
                image.isNull() ? QStringLiteral("does not decode") : check(image);
            if (!problem.isEmpty())
                found.append(asset.id + QStringLiteral(": ") + problem);
        }
        return found;
    }

private:
    static inline LayerLibrary* s_library = nullptr;
};

} // namespace

TEST_F(ShippedCatalogue, OffersEnoughDistinctArtInSeveralCategories) {
    EXPECT_GE(library().categories().size(), 4);
    EXPECT_GE(library().assets().size(), 32);

    bool anyScreen = false;
    bool anyNormal = false;
    for (const QString& category : library().categories()) {
        (isScreenCategory(category) ? anyScreen : anyNormal) = true;
        QSet<QString> names;
        for (const LayerAsset& asset : library().assets(category)) {
            EXPECT_FALSE(asset.name.isEmpty()) << asset.id;
            EXPECT_FALSE(names.contains(asset.name)) << "duplicate name " << asset.id;
            names.insert(asset.name);
        }
    }
    EXPECT_TRUE(anyScreen) << "no light art for screen blending";
    EXPECT_TRUE(anyNormal) << "no stickers for normal blending";

    // A generator slip that writes one picture under two names shows up here.
    QHash<QByteArray, QString> seen;
    for (const LayerAsset& asset : library().assets()) {
        const QImage image = load(asset);
        const QByteArray digest = QCryptographicHash::hash(
            QByteArrayView(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes()),
            QCryptographicHash::Sha1);
        EXPECT_FALSE(seen.contains(digest)) << asset.id << " repeats " << seen.value(digest);
        seen.insert(digest, asset.id);
    }
}

TEST_F(ShippedCatalogue, EveryFileDecodesAtAUsableSizeWithVisibleContent) {
    for (const bool screen : {true, false}) {
        const QStringList found = problems(screen, [](const QImage& image) -> QString {
            const QSize size = image.size();
            if (size.width() < 512 || size.width() > 2048 || size.height() < 512 ||
                size.height() > 2048)
                return QStringLiteral("size %1x%2 outside 512..2048")
                    .arg(size.width())
                    .arg(size.height());
            if (!image.hasAlphaChannel())
                return QStringLiteral("no alpha channel");
            const AlphaCounts counts = countAlpha(image);
            if (counts.maxAlpha < 128)
                return QStringLiteral("nearly invisible (max alpha %1)").arg(counts.maxAlpha);
            if (counts.transparent == 0)
                return QStringLiteral("no transparent pixel at all");
            return {};
        });
        EXPECT_TRUE(found.isEmpty()) << found;
    }
}

TEST_F(ShippedCatalogue, LightArtFadesOutAndNeverDarkensWhatItCovers) {
    const QStringList found = problems(true, [](const QImage& image) -> QString {
        int borderAlpha = 0;
        forEachBorderPixel(image, [&](QRgb p) { borderAlpha = std::max(borderAlpha, qAlpha(p)); });
        if (borderAlpha > 8)
            return QStringLiteral("border not transparent (alpha %1)").arg(borderAlpha);
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                const QRgb p = line[x];
                const int a = qAlpha(p);
                const int brightest = std::max({qRed(p), qGreen(p), qBlue(p)});
                // Light is stored with alpha equal to its brightest channel, so any
                // visible pixel's own colour is bright; a dark one would dim the
                // photograph under normal blending and show as a fringe.
                if (a > 0 && brightest < 150)
                    return QStringLiteral("dark pixel (%1, %2): rgb max %3 at alpha %4")
                        .arg(x)
                        .arg(y)
                        .arg(brightest)
                        .arg(a);
            }
        }
        return {};
    });
    EXPECT_TRUE(found.isEmpty()) << found;
}

TEST_F(ShippedCatalogue, StickersAreCleanCutOuts) {
    const QStringList found = problems(false, [](const QImage& image) -> QString {
        int borderAlpha = 0;
        forEachBorderPixel(image, [&](QRgb p) { borderAlpha = std::max(borderAlpha, qAlpha(p)); });
        if (borderAlpha > 0)
            return QStringLiteral("art touches the frame (alpha %1)").arg(borderAlpha);
        const AlphaCounts counts = countAlpha(image);
        const qsizetype area = qsizetype(image.width()) * image.height();
        if (counts.opaque < area / 50)
            return QStringLiteral("almost no opaque body (%1 px)").arg(counts.opaque);
        // Antialiased edges are a thin rim around an opaque body, not a haze.
        if (counts.partial > counts.opaque / 2)
            return QStringLiteral("soft rather than cut out: %1 partial, %2 opaque px")
                .arg(counts.partial)
                .arg(counts.opaque);
        return {};
    });
    EXPECT_TRUE(found.isEmpty()) << found;
}

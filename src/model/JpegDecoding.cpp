#include "model/JpegDecoding.h"

#include "render/DecodeBudget.h"

#include <QCoreApplication>

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdlib>
#include <memory>
#include <vector>

// jpeglib.h needs size_t and FILE declared first.
#include <jerror.h>
#include <jpeglib.h>

namespace velmora {

namespace {

constexpr int maxDamageNotes = 4;

/// Reads a file with pread() from where it stood, so that several decoders can each
/// read it at their own place. At the end of the data it does what libjpeg's own
/// reader does: warns (the decoder notes the data as cut) and supplies an end marker.
struct FileSource {
    jpeg_source_mgr manager{};
    int fd = -1;
    off_t offset = 0;
    bool started = false;
    std::array<JOCTET, 64 * 1024> buffer{};

    FileSource(int file, off_t from)
        : fd(file)
        , offset(from) {
        manager.init_source = [](j_decompress_ptr) {};
        manager.fill_input_buffer = &fill;
        manager.skip_input_data = &skip;
        manager.resync_to_restart = jpeg_resync_to_restart;
        manager.term_source = [](j_decompress_ptr) {};
    }
    static FileSource& of(j_decompress_ptr info) {
        return *reinterpret_cast<FileSource*>(info->src);
    }
    static boolean fill(j_decompress_ptr info) {
        FileSource& s = of(info);
        ssize_t n = 0;
        do
            n = ::pread(s.fd, s.buffer.data(), s.buffer.size(), s.offset);
        while (n < 0 && errno == EINTR);
        if (n <= 0) {
            if (!s.started)
                ERREXIT(info, JERR_INPUT_EMPTY);
            WARNMS(info, JWRN_JPEG_EOF);
            s.buffer[0] = 0xFF;
            s.buffer[1] = JPEG_EOI;
            n = 2;
        } else {
            s.offset += n;
        }
        s.started = true;
        s.manager.next_input_byte = s.buffer.data();
        s.manager.bytes_in_buffer = static_cast<size_t>(n);
        return TRUE;
    }
    static void skip(j_decompress_ptr info, long count) {
        FileSource& s = of(info);
        if (count <= 0)
            return;
        const auto bytes = static_cast<size_t>(count);
        if (bytes <= s.manager.bytes_in_buffer) {
            s.manager.next_input_byte += bytes;
            s.manager.bytes_in_buffer -= bytes;
            return;
        }
        s.offset += static_cast<off_t>(bytes - s.manager.bytes_in_buffer);
        s.manager.bytes_in_buffer = 0;
    }
};

// libjpeg reports fatal errors through error_exit, which must not return. A C++
// exception cannot cross the library's C frames, so it jumps back with longjmp; the
// state that outlives the jump lives in this heap object, never in locals.
struct Decoder {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    QString fatal;
    bool endedEarly = false;
    QStringList damage;
    QImage image;
    QByteArray icc;
    std::unique_ptr<FileSource> source; ///< when reading a file

    static Decoder& of(j_common_ptr info) { return *static_cast<Decoder*>(info->client_data); }

    static QString message(j_common_ptr info) {
        char text[JMSG_LENGTH_MAX] = {};
        info->err->format_message(info, text);
        return QString::fromLocal8Bit(text);
    }

    static void errorExit(j_common_ptr info) {
        Decoder& decoder = of(info);
        decoder.fatal = message(info);
        std::longjmp(decoder.failed, 1);
    }

    // Level -1 is a warning: damage the decoder got past. Everything else is trace
    // chatter. The library's default prints to standard error, which a window never
    // shows and a command line should say in its own words.
    static void emitMessage(j_common_ptr info, int level) {
        if (level >= 0)
            return;
        Decoder& decoder = of(info);
        ++info->err->num_warnings;
        if (info->err->msg_code == JWRN_JPEG_EOF) {
            decoder.endedEarly = true;
            return;
        }
        // "damaged" says it already.
        const QString text = message(info).remove(QStringLiteral("Corrupt JPEG data: "));
        if (decoder.damage.size() < maxDamageNotes && !decoder.damage.contains(text))
            decoder.damage.append(text);
    }

    Decoder() {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = &errorExit;
        errors.emit_message = &emitMessage;
        info.client_data = this;
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

/// Where a decoder reads: a file from an offset, or bytes in memory.
struct Input {
    int fd = -1;
    off_t offset = 0;
    const QByteArray* data = nullptr;
};

/// Starts `d` reading `input`.
void attach(Decoder& d, const Input& input) {
    jpeg_create_decompress(&d.info);
    if (input.data) {
        jpeg_mem_src(&d.info, reinterpret_cast<const unsigned char*>(input.data->constData()),
                     static_cast<unsigned long>(input.data->size()));
    } else {
        d.source = std::make_unique<FileSource>(input.fd, input.offset);
        d.info.src = &d.source->manager;
    }
}

// The largest DCT scale whose picture fits the budget, or 0 when none does.
int fittingScale(QSize stored, qint64 maxPixels) {
    for (const int scale : {1, 2, 4, 8}) {
        // The library rounds scaled sizes up.
        const qint64 width = (stored.width() + scale - 1) / scale;
        const qint64 height = (stored.height() + scale - 1) / scale;
        if (width * height <= maxPixels)
            return scale;
    }
    return 0;
}

/// Runs `work` with `d`'s failures jumping back here (on the calling thread); false
/// when one did, its message in `d.fatal`.
template <typename Work>
bool guarded(Decoder& d, Work&& work) {
    if (setjmp(d.failed))
        return false;
    work();
    return true;
}

/// Where decoded rows go: `bits`, rows `stride` bytes apart. (Not QImage::scanLine(),
/// which bumps a counter and is no place for several threads at once.)
struct Rows {
    uchar* bits;
    qsizetype stride;
};

/// Reads `d`'s rows [first, end) into `out`, or fewer when the data ends early.
void readRows(Decoder& d, const Rows& out, int first, int end) {
    if (first > 0)
        jpeg_skip_scanlines(&d.info, static_cast<JDIMENSION>(first));
    while (static_cast<int>(d.info.output_scanline) < end && !d.endedEarly) {
        JSAMPROW row = out.bits + out.stride * static_cast<qsizetype>(d.info.output_scanline);
        jpeg_read_scanlines(&d.info, &row, 1);
    }
}

/// How many bands a picture decodes in. The band after the first must
/// still entropy-decode every row above it (only the transform and colour work can
/// be skipped), so bands pay off only on large baseline pictures; progressive ones
/// decode all their coefficients at the start.
int bandsFor(const jpeg_decompress_struct& info) {
    if (info.progressive_mode || info.buffered_image ||
        qint64(info.output_width) * info.output_height < 2'000'000)
        return 1;
    return std::clamp(tbb::this_task_arena::max_concurrency(), 1, 4);
}

/// First rows of `bands` bands over `rows` rows, at iMCU rows (`step` rows), chosen so
/// each band costs the same: skipping a row costs about half of decoding it.
std::vector<int> bandStarts(int rows, int step, int bands) {
    constexpr double skipShare = 0.5;
    const double r = 1.0 - skipShare;
    const double first = rows * (1.0 - r) / (1.0 - std::pow(r, bands));
    std::vector<int> starts(static_cast<size_t>(bands) + 1, rows);
    starts[0] = 0;
    double at = 0.0;
    for (int k = 1; k < bands; ++k) {
        at = at * r + first;
        const int rounded = static_cast<int>(std::lround(at / step)) * step;
        starts[static_cast<size_t>(k)] =
            std::clamp(rounded, starts[static_cast<size_t>(k) - 1], rows);
    }
    return starts;
}

/// "Let another decoder try". Made out of line: built inside decodeJpeg(), whose
/// setjmp() makes GCC's analysis cautious, the empty picture's destruction was
/// reported as reading unset memory in the sanitizer build.
[[gnu::noinline]] Result<std::optional<JpegPicture>> notHandledHere() {
    return std::optional<JpegPicture>{};
}

} // namespace

bool looksLikeJpeg(const QByteArray& data) {
    return data.startsWith(QByteArray("\xff\xd8\xff", 3));
}

Result<std::optional<JpegPicture>> decodeJpeg(std::FILE* file, const QByteArray& data,
                                              qint64 dataBytes, qint64 maxPixels,
                                              const QString& what, int bands) {
    Input input;
    if (file) {
        input.fd = ::fileno(file);
        input.offset = ::ftello(file);
    } else {
        input.data = &data;
    }
    const auto decoder = std::make_unique<Decoder>();
    Decoder* const d = decoder.get();
    const auto failure = [&what](const Decoder& failed) {
        return Failure{
            QCoreApplication::translate("ImageDecoding", "%1: cannot decode the picture (%2)")
                .arg(what, failed.fatal)};
    };
    if (setjmp(d->failed))
        return failure(*d);

    attach(*d, input);
    // The colour profile rides in APP2 markers, split into pieces when it is large.
    jpeg_save_markers(&d->info, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&d->info, TRUE);
    if (d->info.jpeg_color_space == JCS_CMYK || d->info.jpeg_color_space == JCS_YCCK)
        return notHandledHere();

    const QSize stored(static_cast<int>(d->info.image_width),
                       static_cast<int>(d->info.image_height));
    if (const Status held = render::checkDataHolds(stored, dataBytes, what); !held)
        return held.failure();
    const int scale = fittingScale(stored, maxPixels);
    if (scale == 0) {
        const Status refused = render::checkPixelLimit(
            QSize((stored.width() + 7) / 8, (stored.height() + 7) / 8), 4, maxPixels, what);
        return Failure{refused.message() + QStringLiteral(" even at an eighth of its %1 \u00d7 %2")
                                               .arg(stored.width())
                                               .arg(stored.height())};
    }

    JOCTET* icc = nullptr;
    unsigned int iccSize = 0;
    if (jpeg_read_icc_profile(&d->info, &icc, &iccSize) && icc) {
        d->icc = QByteArray(reinterpret_cast<const char*>(icc), static_cast<qsizetype>(iccSize));
        std::free(icc);
    }

    // Straight into Qt's 0xffRRGGBB words, alpha written as opaque.
    const auto configure = [scale](jpeg_decompress_struct& info) {
        info.scale_num = 1;
        info.scale_denom = static_cast<unsigned int>(scale);
        info.out_color_space = JCS_EXT_BGRA;
    };
    configure(d->info);
    jpeg_start_decompress(&d->info);
    d->image = QImage(static_cast<int>(d->info.output_width),
                      static_cast<int>(d->info.output_height), QImage::Format_RGB32);
    if (d->image.isNull()) {
        jpeg_abort_decompress(&d->info);
        return Failure{QCoreApplication::translate("ImageDecoding",
                                                   "%1: not enough memory for a %2 × %3 picture")
                           .arg(what)
                           .arg(d->info.output_width)
                           .arg(d->info.output_height)};
    }

    // Large pictures decode in bands on several threads, each band's decoder skipping
    // to its first row; the pixels are the same as from one decoder.
    const int rows = static_cast<int>(d->info.output_height);
    const int count = bands > 0 ? bands : bandsFor(d->info);
    const int step = d->info.max_v_samp_factor * d->info.min_DCT_scaled_size;
    const std::vector<int> starts = bandStarts(rows, step, std::clamp(count, 1, rows / step + 1));
    const int last = static_cast<int>(starts.size()) - 2;
    const Rows out{d->image.bits(), d->image.bytesPerLine()};
    std::vector<std::unique_ptr<Decoder>> helpers(starts.size() - 1);
    // A band's decoder jumps back here, on the thread that runs the band, when it fails.
    const auto decodeBand = [&](int band) {
        const int first = starts[static_cast<size_t>(band)];
        const int end = starts[static_cast<size_t>(band) + 1];
        if (band == 0) {
            guarded(*d, [&] { readRows(*d, out, 0, end); });
            return;
        }
        auto& h = helpers[static_cast<size_t>(band)];
        h = std::make_unique<Decoder>();
        guarded(*h, [&] {
            attach(*h, input);
            jpeg_read_header(&h->info, TRUE);
            configure(h->info);
            jpeg_start_decompress(&h->info);
            readRows(*h, out, first, end);
            // Reading on to the end marker finds data cut after the last row.
            if (band == last && !h->endedEarly)
                jpeg_finish_decompress(&h->info);
            else
                jpeg_abort_decompress(&h->info);
        });
    };
    if (last == 0) {
        readRows(*d, out, 0, rows);
        if (!d->endedEarly)
            jpeg_finish_decompress(&d->info);
    } else {
        tbb::parallel_for(0, last + 1, 1, decodeBand, tbb::simple_partitioner());
        if (!d->fatal.isEmpty())
            return failure(*d);
        // Armed again: the first band's jumps led into a frame now gone.
        if (setjmp(d->failed))
            return failure(*d);
        jpeg_abort_decompress(&d->info);
    }

    // The bands' findings, the first band's first: any band's failure fails the
    // picture, and damage is noted once however many bands decoded past it.
    for (const std::unique_ptr<Decoder>& h : helpers) {
        if (!h)
            continue;
        if (!h->fatal.isEmpty())
            return failure(*h);
        d->endedEarly = d->endedEarly || h->endedEarly;
        for (const QString& note : h->damage)
            if (d->damage.size() < maxDamageNotes && !d->damage.contains(note))
                d->damage.append(note);
    }
    if (d->endedEarly)
        return Failure{
            QCoreApplication::translate("ImageDecoding",
                                        "%1: the picture's data ends early (the file is cut short)")
                .arg(what)};

    JpegPicture picture;
    picture.image = std::move(d->image);
    picture.storedSize = stored;
    picture.scale = scale;
    picture.damage = d->damage;
    picture.icc = d->icc;
    return std::optional<JpegPicture>(std::move(picture));
}

} // namespace velmora

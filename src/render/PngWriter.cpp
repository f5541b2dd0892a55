#include "render/PngWriter.h"

#include "render/RenderContext.h"

#include <QBuffer>
#include <QSaveFile>
#include <QtEndian>

#include <immintrin.h>
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace velmora::render {

namespace {

constexpr int bytesPerPixel = 4;

/// ISA-L's wide vector code can return with the upper halves of the vector registers
/// in use; every later plain-SSE instruction on that thread then pays to merge them
/// (renders after an export ran at a third of their speed). Clearing them after each
/// call keeps the rest of the program fast.
__attribute__((target("avx"))) void clearUpperVectorsAvx() {
    _mm256_zeroupper();
}

void clearUpperVectors() {
    static const bool avx = __builtin_cpu_supports("avx");
    if (avx)
        clearUpperVectorsAvx();
}

uint32_t crc32(uint32_t running, const uchar* data, size_t length) {
    const uint32_t crc = crc32_gzip_refl(running, data, length);
    clearUpperVectors();
    return crc;
}

/// PNG's Paeth predictor.
inline uchar paeth(int a, int b, int c) {
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    if (pa <= pb && pa <= pc)
        return static_cast<uchar>(a);
    return static_cast<uchar>(pb <= pc ? b : c);
}

/// Filters one row into `out` (filter-type byte, then the row). `prev` is the row
/// above; for the first row, a row of zeros.
void filterRow(PngEncoding::Filter filter, const uchar* row, const uchar* prev, int length,
               uchar* out) {
    uchar* data = out + 1;
    const auto left = [&](int i) { return i >= bytesPerPixel ? row[i - bytesPerPixel] : 0; };
    const auto upLeft = [&](int i) { return i >= bytesPerPixel ? prev[i - bytesPerPixel] : 0; };
    switch (filter) {
    case PngEncoding::Filter::none:
        out[0] = 0;
        std::copy(row, row + length, data);
        return;
    case PngEncoding::Filter::sub:
        out[0] = 1;
        for (int i = 0; i < length; ++i)
            data[i] = static_cast<uchar>(row[i] - left(i));
        return;
    case PngEncoding::Filter::up: {
        out[0] = 2;
        // Sixteen bytes at a time: the compiler leaves this loop scalar, since it
        // cannot rule out that `out` overlaps the rows.
        int i = 0;
        for (; i + 16 <= length; i += 16) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(prev + i));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(data + i), _mm_sub_epi8(a, b));
        }
        for (; i < length; ++i)
            data[i] = static_cast<uchar>(row[i] - prev[i]);
        return;
    }
    case PngEncoding::Filter::average:
        out[0] = 3;
        for (int i = 0; i < length; ++i)
            data[i] = static_cast<uchar>(row[i] - ((left(i) + prev[i]) >> 1));
        return;
    case PngEncoding::Filter::paeth:
        out[0] = 4;
        for (int i = 0; i < length; ++i)
            data[i] = static_cast<uchar>(row[i] - paeth(left(i), prev[i], upLeft(i)));
        return;
    case PngEncoding::Filter::adaptive: {
        // Try each filter; keep the one whose bytes, read as signed, sum smallest.
        std::vector<uchar> trial(static_cast<size_t>(length) + 1);
        long best = -1;
        for (const auto f :
             {PngEncoding::Filter::none, PngEncoding::Filter::sub, PngEncoding::Filter::up,
              PngEncoding::Filter::average, PngEncoding::Filter::paeth}) {
            filterRow(f, row, prev, length, trial.data());
            long sum = 0;
            for (int i = 1; i <= length; ++i)
                sum += std::abs(static_cast<signed char>(trial[static_cast<size_t>(i)]));
            if (best < 0 || sum < best) {
                best = sum;
                std::copy(trial.begin(), trial.end(), out);
            }
        }
        return;
    }
    }
}

/// Bytes that resize() leaves as they are: a strip's filtered and deflated bytes are
/// written over whole, and zeroing them first (560 MB at 8192) cost 1.8 % of an export.
template <typename T>
struct UninitialisedAllocator : std::allocator<T> {
    template <typename U>
    struct rebind {
        using other = UninitialisedAllocator<U>;
    };
    template <typename U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <typename U, typename... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};
using Bytes = std::vector<uchar, UninitialisedAllocator<uchar>>;

/// One strip on its way through the pipeline.
struct Strip {
    int firstRow = 0;
    int rowCount = 0;
    QImage rows;     ///< rendered rows, from the one before firstRow, when rendering
    int rowsTop = 0; ///< image row of rows' first line
    Bytes filtered;
    Bytes compressed;
};

/// Where a strip's pixels come from: a finished image, or a recipe rendered strip by
/// strip so that no whole picture is ever held.
class RowSource {
public:
    explicit RowSource(const QImage& image)
        : m_image(&image)
        , m_width(image.width())
        , m_height(image.height()) {}
    RowSource(const Image& recipe, const QRect& area, RenderProgress* progress)
        : m_recipe(&recipe)
        , m_area(area)
        , m_width(area.width())
        , m_height(area.height())
        , m_progress(progress) {}

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Makes the strip's rows, and the one before it (the filters look up), readable.
    bool load(Strip& strip) const {
        if (m_image)
            return true;
        // The row above is rendered again rather than kept: the dither depends only on
        // a pixel's place, so it comes out the same.
        strip.rowsTop = std::max(0, strip.firstRow - 1);
        const int count = strip.firstRow + strip.rowCount - strip.rowsTop;
        strip.rows = QImage(m_width, count, QImage::Format_RGBA8888);
        if (strip.rows.isNull())
            return false;
        const QRect rect(m_area.left(), m_area.top() + strip.rowsTop, m_width, count);
        if (!RenderContext().renderInto(*m_recipe, rect, strip.rows))
            return false;
        if (m_progress)
            m_progress->done.fetch_add(1, std::memory_order_relaxed);
        return true;
    }

    const uchar* row(const Strip& strip, int y) const {
        return m_image ? m_image->constScanLine(y) : strip.rows.constScanLine(y - strip.rowsTop);
    }

    void release(Strip& strip) const { strip.rows = QImage(); }

private:
    const QImage* m_image = nullptr;
    const Image* m_recipe = nullptr;
    QRect m_area;
    int m_width = 0;
    int m_height = 0;
    RenderProgress* m_progress = nullptr;
};

class ChunkWriter {
public:
    explicit ChunkWriter(QIODevice& device)
        : m_device(device) {}

    void chunk(const char type[4], const uchar* data, size_t length) {
        uchar header[8];
        qToBigEndian<quint32>(static_cast<quint32>(length), header);
        std::copy(type, type + 4, header + 4);
        uint32_t crc = crc32(0, header + 4, 4);
        crc = crc32(crc, data, length);
        uchar trailer[4];
        qToBigEndian<quint32>(crc, trailer);
        write(header, 8);
        write(data, length);
        write(trailer, 4);
    }

    void write(const uchar* data, size_t length) {
        if (m_failed || length == 0)
            return;
        errno = 0;
        if (m_device.write(reinterpret_cast<const char*>(data), static_cast<qint64>(length)) !=
            static_cast<qint64>(length)) {
            m_failed = true;
            m_errno = errno;
        }
    }

    bool failed() const { return m_failed; }
    /// What the system said when the write failed (0 when it said nothing).
    int systemError() const { return m_errno; }

private:
    QIODevice& m_device;
    bool m_failed = false;
    int m_errno = 0;
};

/// Deflates one strip as part of a single stream: every strip but the last ends in a
/// sync flush, so the pieces concatenate.
void deflateStrip(Strip& strip, int level, bool last) {
    isal_zstream stream;
    isal_deflate_init(&stream);
    static constexpr std::array<uint32_t, 4> levelBuffers = {
        0, ISAL_DEF_LVL1_DEFAULT, ISAL_DEF_LVL2_DEFAULT, ISAL_DEF_LVL3_DEFAULT};
    level = std::clamp(level, 0, 3);
    // Zeroed: a buffer another strip used would otherwise hand the deflater that
    // strip's state, and the bytes written could depend on which thread ran which
    // strip.
    std::vector<uint8_t> levelBuffer(levelBuffers[static_cast<size_t>(level)]);
    stream.level = static_cast<uint32_t>(level);
    stream.level_buf = levelBuffer.empty() ? nullptr : levelBuffer.data();
    stream.level_buf_size = static_cast<uint32_t>(levelBuffer.size());
    stream.gzip_flag = IGZIP_DEFLATE;
    stream.flush = SYNC_FLUSH;
    stream.end_of_stream = last ? 1 : 0;
    stream.next_in = strip.filtered.data();
    stream.avail_in = static_cast<uint32_t>(strip.filtered.size());

    strip.compressed.resize(strip.filtered.size() + strip.filtered.size() / 8 + 1024);
    size_t produced = 0;
    for (;;) {
        stream.next_out = strip.compressed.data() + produced;
        stream.avail_out = static_cast<uint32_t>(strip.compressed.size() - produced);
        isal_deflate(&stream);
        clearUpperVectors();
        produced = strip.compressed.size() - stream.avail_out;
        const bool done =
            stream.avail_in == 0 && (last ? stream.internal_state.state == ZSTATE_END
                                          : stream.internal_state.state == ZSTATE_NEW_HDR);
        if (done)
            break;
        strip.compressed.resize(strip.compressed.size() * 2);
    }
    strip.compressed.resize(produced);
}

void writeHeader(ChunkWriter& out, int width, int height, const QByteArray& exif) {
    static const uchar signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    out.write(signature, sizeof signature);

    uchar ihdr[13];
    qToBigEndian<quint32>(static_cast<quint32>(width), ihdr);
    qToBigEndian<quint32>(static_cast<quint32>(height), ihdr + 4);
    ihdr[8] = 8;  // bits per channel
    ihdr[9] = 6;  // truecolour with alpha
    ihdr[10] = 0; // deflate
    ihdr[11] = 0; // adaptive filtering
    ihdr[12] = 0; // not interlaced
    out.chunk("IHDR", ihdr, sizeof ihdr);

    const uchar srgb[1] = {0}; // perceptual rendering intent
    out.chunk("sRGB", srgb, 1);
    uchar gama[4];
    qToBigEndian<quint32>(45455, gama);
    out.chunk("gAMA", gama, 4);
    // sRGB primaries and D65 white, times 100000.
    static const quint32 chrmValues[8] = {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    uchar chrm[32];
    for (int i = 0; i < 8; ++i)
        qToBigEndian<quint32>(chrmValues[i], chrm + 4 * i);
    out.chunk("cHRM", chrm, sizeof chrm);
    if (!exif.isEmpty())
        out.chunk("eXIf", reinterpret_cast<const uchar*>(exif.constData()),
                  static_cast<size_t>(exif.size()));
}

} // namespace

namespace {

/// The device's word for a failure, or the system's where the device has none: a
/// full disk must say "No space left on device", not "Unknown error".
QString reason(const QString& deviceSays, int systemError) {
    if (systemError != 0 && (deviceSays.isEmpty() || deviceSays == QLatin1String("Unknown error")))
        return QString::fromLocal8Bit(std::strerror(systemError));
    return deviceSays.isEmpty() ? QStringLiteral("write failed") : deviceSays;
}

} // namespace

namespace {

Status writeRows(const RowSource& source, QIODevice& device, const PngEncoding& encoding) {
    const int width = source.width();
    const int height = source.height();
    const int rowBytes = width * bytesPerPixel;
    const int rowsPerStrip = std::max(1, encoding.rowsPerStrip);
    const int strips = (height + rowsPerStrip - 1) / rowsPerStrip;

    const std::vector<uchar> zeroRow(static_cast<size_t>(rowBytes), 0);

    ChunkWriter out(device);
    writeHeader(out, width, height, encoding.exif);

    // The zlib stream: a header, the strips' deflate data, the Adler-32 of everything.
    const uchar zlibHeader[2] = {0x78, 0x01};
    uint32_t adler = 1;
    bool headerWritten = false;
    std::atomic<bool> renderFailed{false};

    int next = 0;
    tbb::parallel_pipeline(
        static_cast<size_t>(2 * tbb::this_task_arena::max_concurrency()),
        tbb::make_filter<void, std::shared_ptr<Strip>>(
            tbb::filter_mode::serial_in_order,
            [&](tbb::flow_control& control) -> std::shared_ptr<Strip> {
                if (next >= strips || out.failed() || renderFailed) {
                    control.stop();
                    return nullptr;
                }
                auto strip = std::make_shared<Strip>();
                strip->firstRow = next * rowsPerStrip;
                strip->rowCount = std::min(rowsPerStrip, height - strip->firstRow);
                ++next;
                return strip;
            }) &
            tbb::make_filter<std::shared_ptr<Strip>, std::shared_ptr<Strip>>(
                tbb::filter_mode::parallel,
                [&](std::shared_ptr<Strip> strip) {
                    if (!source.load(*strip)) {
                        renderFailed = true;
                        return strip;
                    }
                    strip->filtered.resize(static_cast<size_t>(strip->rowCount) * (rowBytes + 1));
                    for (int r = 0; r < strip->rowCount; ++r) {
                        const int y = strip->firstRow + r;
                        filterRow(encoding.filter, source.row(*strip, y),
                                  y > 0 ? source.row(*strip, y - 1) : zeroRow.data(), rowBytes,
                                  strip->filtered.data() + static_cast<size_t>(r) * (rowBytes + 1));
                    }
                    source.release(*strip);
                    const bool last = strip->firstRow + strip->rowCount >= height;
                    deflateStrip(*strip, encoding.level, last);
                    return strip;
                }) &
            tbb::make_filter<std::shared_ptr<Strip>, void>(
                tbb::filter_mode::serial_in_order, [&](std::shared_ptr<Strip> strip) {
                    if (renderFailed)
                        return;
                    adler = isal_adler32(adler, strip->filtered.data(), strip->filtered.size());
                    clearUpperVectors();
                    Bytes& data = strip->compressed;
                    if (!headerWritten) {
                        data.insert(data.begin(), zlibHeader, zlibHeader + 2);
                        headerWritten = true;
                    }
                    if (strip->firstRow + strip->rowCount >= height) {
                        uchar tail[4];
                        qToBigEndian<quint32>(adler, tail);
                        data.insert(data.end(), tail, tail + 4);
                    }
                    out.chunk("IDAT", data.data(), data.size());
                }));

    if (renderFailed)
        return Failure{QStringLiteral("not enough memory to render the picture")};
    out.chunk("IEND", nullptr, 0);
    if (out.failed())
        return Failure{reason(device.errorString(), out.systemError())};
    return {};
}

/// Runs `write` into a file beside `path`, renamed over it only when complete.
template <typename Write>
Status writeAtomically(const QString& path, Write&& write) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    if (const Status written = write(file); !written) {
        file.cancelWriting();
        return Failure{QStringLiteral("%1: %2").arg(path, written.message())};
    }
    errno = 0;
    if (!file.commit())
        return Failure{QStringLiteral("%1: %2").arg(path, reason(file.errorString(), errno))};
    return {};
}

} // namespace

Status writePng(const QImage& source, QIODevice& device, const PngEncoding& encoding) {
    const QImage image = source.format() == QImage::Format_RGBA8888
                             ? source
                             : source.convertToFormat(QImage::Format_RGBA8888);
    if (image.isNull())
        return Failure{QStringLiteral("nothing to write")};
    return writeRows(RowSource(image), device, encoding);
}

Status writePng(const Image& image, const QRect& area, QIODevice& device, RenderProgress* progress,
                const PngEncoding& encoding) {
    if (area.isEmpty())
        return Failure{QStringLiteral("nothing to write")};
    if (progress) {
        const int rowsPerStrip = std::max(1, encoding.rowsPerStrip);
        progress->total.store((area.height() + rowsPerStrip - 1) / rowsPerStrip);
    }
    return writeRows(RowSource(image, area, progress), device, encoding);
}

Status writePngFile(const Image& image, const QRect& area, const QString& path,
                    RenderProgress* progress, const PngEncoding& encoding) {
    return writeAtomically(
        path, [&](QIODevice& file) { return writePng(image, area, file, progress, encoding); });
}

Status writePngFile(const QImage& image, const QString& path, const PngEncoding& encoding) {
    return writeAtomically(path, [&](QIODevice& file) { return writePng(image, file, encoding); });
}

QByteArray encodePng(const QImage& image, const PngEncoding& encoding) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!writePng(image, buffer, encoding).ok())
        return {};
    return bytes;
}

} // namespace velmora::render

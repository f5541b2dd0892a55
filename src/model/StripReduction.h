#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <vector>

namespace velmora {

/// A picture read in strips (PNG, TIFF): the pixels, not yet turned upright nor
/// converted to sRGB, the size the file holds, the factor it was reduced by and the
/// embedded ICC profile (or empty). 8-bit files come out as Format_RGB32 or
/// Format_ARGB32, deeper ones as Format_RGBX64 or Format_RGBA64, alpha straight.
struct StripPicture {
    QImage image;
    QSize storedSize;
    /// 1 for full resolution, else the picture's sides were divided by this.
    int scale = 1;
    QByteArray icc;
};

/// The factor a picture of `stored` size is reduced by to fit `maxPixels`: 1 when it
/// fits, else the smallest integer from 2 up at which it does, each factor x factor
/// block becoming one pixel (blocks cut off at the right and bottom edges count as
/// whole pixels). An integer keeps every output pixel the plain mean of whole source
/// pixels, and each source row adds to exactly one output row, so one row of sums is
/// all the reduction holds; the smallest one keeps the most detail the budget allows.
int reductionFactor(QSize stored, qint64 maxPixels);

/// How the samples of the rows fed to a RowReducer lie: 1 (grey), 2 (grey, alpha),
/// 3 (RGB) or 4 (RGBA) channels of 8 or 16 bits, interleaved, 16-bit ones in the
/// machine's byte order.
struct SampleLayout {
    int channels = 3;
    int bits = 8;
    /// Colour already multiplied by alpha (TIFF's associated alpha).
    bool premultiplied = false;

    bool hasAlpha() const { return channels == 2 || channels == 4; }
    int bytesPerPixel() const { return channels * bits / 8; }
};

/// Reduces a picture fed row by row, top to bottom, averaging each factor x factor
/// block in linear light (sRGB decoded, weighted by alpha) as the rest of the program
/// resamples, so shrinking does not darken fine detail. Holds the output and one row
/// of sums; 16-bit sources stay 16-bit.
class RowReducer {
public:
    RowReducer(QSize stored, SampleLayout layout, int factor);

    /// Whether the output could not be allocated.
    bool isNull() const { return m_image.isNull(); }
    /// The reduced size, allocated or not.
    QSize outputSize() const { return m_outputSize; }

    /// Adds the next source row: `stored.width()` pixels in the layout given.
    void addRow(const unsigned char* samples);
    /// The reduced picture, once every row is in.
    QImage finish();

private:
    void emitRow();

    int m_width;
    int m_factor;
    QSize m_outputSize;
    SampleLayout m_layout;
    QImage m_image;
    std::vector<float> m_sums;
    int m_rowsInBlock = 0;
    int m_outputRow = 0;
};

} // namespace velmora

// The sample panorama in resources/samples: what `velmora render` falls back on and
// what the README's example projects. It must decode, be a full 2:1 equirectangular
// turn, and wrap round without a seam.
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QImage>
#include <QImageReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

const QString kPath = QStringLiteral(VELMORA_SOURCE_DIR "/resources/samples/panorama.jpg");

class SamplePanorama : public ::testing::Test {
protected:
    // Decoding 8000 x 4000 takes a moment; do it once for the suite.
    static void SetUpTestSuite() {
        QImageReader reader(kPath);
        reader.setAllocationLimit(512); // MB; the decoded image is about 128
        s_image = new QImage(reader.read().convertToFormat(QImage::Format_RGB32));
    }
    static void TearDownTestSuite() {
        delete s_image;
        s_image = nullptr;
    }
    static const QImage& image() { return *s_image; }

    static QRgb at(int x, int y) {
        return reinterpret_cast<const QRgb*>(image().constScanLine(y))[x];
    }
    static int difference(QRgb a, QRgb b) {
        return std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) +
               std::abs(qBlue(a) - qBlue(b));
    }
    /// Mean difference between columns a and b over rows [y0, y1).
    static double columnDifference(int a, int b, int y0, int y1) {
        double sum = 0;
        for (int y = y0; y < y1; ++y)
            sum += difference(at(a, y), at(b, y));
        return sum / (y1 - y0);
    }
    /// The same between neighbouring columns inside the image. Only pairs that
    /// straddle an 8-pixel JPEG block are used: so does the seam, and block edges
    /// differ a little more than pixels within a block.
    static double typicalNeighbours(int y0, int y1) {
        std::vector<double> d;
        for (int x = 64; x + 8 < image().width(); x += 96)
            d.push_back(columnDifference(x - 1, x, y0, y1));
        std::nth_element(d.begin(), d.begin() + d.size() / 2, d.end());
        return d[d.size() / 2];
    }
    /// Spread of a row: how far its pixels stray from the row's mean colour.
    static double rowSpread(int y) {
        const int w = image().width();
        double r = 0, g = 0, b = 0;
        for (int x = 0; x < w; ++x) {
            r += qRed(at(x, y));
            g += qGreen(at(x, y));
            b += qBlue(at(x, y));
        }
        const QRgb mean = qRgb(int(r / w + 0.5), int(g / w + 0.5), int(b / w + 0.5));
        double spread = 0;
        for (int x = 0; x < w; ++x)
            spread += difference(at(x, y), mean);
        return spread / w;
    }

    static inline QImage* s_image = nullptr;
};

TEST_F(SamplePanorama, DecodesAsAFullEquirectangularTurn) {
    ASSERT_FALSE(image().isNull()) << kPath;
    EXPECT_GE(image().width(), 8000);
    EXPECT_GE(image().height(), 4000);
    EXPECT_EQ(image().width(), 2 * image().height());
    EXPECT_EQ(QImageReader(kPath).format(), "jpeg");
    // Shipped in the program and in the repository: keep it lean.
    EXPECT_LT(QFileInfo(kPath).size(), 10 * 1024 * 1024);
}

TEST_F(SamplePanorama, WrapsWithoutASeam) {
    ASSERT_FALSE(image().isNull());
    const int w = image().width(), h = image().height();
    EXPECT_LE(columnDifference(w - 1, 0, 0, h), typicalNeighbours(0, h));
    // A seam in one part only (a sky texture that does not repeat, say) would be
    // lost in the average over the whole height; look band by band as well.
    for (int band = 0; band < 8; ++band) {
        const int y0 = band * h / 8, y1 = (band + 1) * h / 8;
        EXPECT_LE(columnDifference(w - 1, 0, y0, y1), 1.5 * typicalNeighbours(y0, y1) + 1.0)
            << "rows " << y0 << " to " << y1;
    }
}

TEST_F(SamplePanorama, PolesAreSinglePoints) {
    ASSERT_FALSE(image().isNull());
    // Every pixel of the top row looks almost straight up, every pixel of the bottom
    // row almost straight down: each row is one colour. Texture laid out in image
    // space instead of on the sky or the ground shows up here as streaks.
    EXPECT_LT(rowSpread(0), 6.0);
    EXPECT_LT(rowSpread(image().height() - 1), 6.0);
    // The neighbouring rows see a slightly larger circle; still nearly uniform.
    EXPECT_LT(rowSpread(4), 10.0);
    EXPECT_LT(rowSpread(image().height() - 5), 10.0);
}

TEST_F(SamplePanorama, SkyIsAboveTheGround) {
    ASSERT_FALSE(image().isNull());
    const int w = image().width(), h = image().height();
    const auto meanOf = [&](int y0, int y1, int (*channel)(QRgb)) {
        double sum = 0;
        int n = 0;
        for (int y = y0; y < y1; y += 7)
            for (int x = 0; x < w; x += 7, ++n)
                sum += channel(at(x, y));
        return sum / n;
    };
    // Zenith at the top row, nadir at the bottom: the upper fifth is blue sky, the
    // lower fifth is ground, and the sky is the brighter of the two.
    EXPECT_GT(meanOf(0, h / 5, qBlue), meanOf(0, h / 5, qRed) + 40);
    EXPECT_LT(meanOf(h * 4 / 5, h, qBlue), meanOf(h * 4 / 5, h, qGreen));
    EXPECT_GT(meanOf(0, h / 5, qBlue), meanOf(h * 4 / 5, h, qBlue) + 60);
}

} // namespace

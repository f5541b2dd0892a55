#include "model/Resources.h"
#include "style/Symbols.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

using namespace velmora;

// Every symbol the interface names resolves to a bundled icon that draws something
// in the colour asked for.
TEST(Symbols, EveryNameResolvesToABundledIconThatPaints) {
    setResourcesRoot(test::buildResources());
    ASSERT_FALSE(style::knownSymbols().isEmpty());
    for (const QString& symbol : style::knownSymbols()) {
        ASSERT_TRUE(QFile::exists(style::symbolFile(symbol))) << symbol;
        QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        style::paintSymbol(painter, QRectF(0, 0, 48, 48), symbol, QColor(255, 0, 0));
        painter.end();
        int inked = 0;
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 48; ++x)
                if (const QRgb px = qUnpremultiply(image.pixel(x, y)); qAlpha(px) > 128) {
                    ++inked;
                    EXPECT_GT(qRed(px), 200) << symbol;
                    EXPECT_LT(qGreen(px), 60) << symbol;
                }
        EXPECT_GT(inked, 20) << symbol;
    }
    EXPECT_TRUE(style::symbolFile(QStringLiteral("no.such.symbol")).isEmpty());
    setResourcesRoot({});
}

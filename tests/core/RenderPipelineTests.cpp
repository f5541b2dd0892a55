#include "filter/TinyPlanetFilter.h"
#include "model/PlanetModel.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <cmath>

using namespace velmora;
using render::Image;
using render::RenderContext;

namespace {

class PipelineTest : public ::testing::Test {
protected:
    PipelineTest() {
        // A solid 400 x 200 sticker with a known colour and size.
        resources.addPng(QStringLiteral("Layers/Stickers/block.png"), {400, 200},
                         QColor(255, 0, 0));
        model = std::make_unique<PlanetModel>(resources.path());
        model->loadImage(Image::fromQImage(test::testPanorama(1600, 800)), QStringLiteral("test"));
    }

    /// The projection alone, without any grading, at the preview side.
    QImage projectedPreview() {
        ProjectionParameters p = model->projectionParameters();
        p.outputSide = PlanetModel::previewSide;
        TinyPlanetFilter filter(resources.path());
        const Image projected = filter.apply(model->sourceImage(), p).value();
        return RenderContext().render(projected, QRect(0, 0, 1100, 1100),
                                      RenderContext::Layout::premultipliedArgb32);
    }

    QImage output(int side) {
        return RenderContext().render(model->outputImage(side).value(), QRect(0, 0, side, side),
                                      RenderContext::Layout::straightRgba8);
    }

    test::SampleResources resources;
    std::unique_ptr<PlanetModel> model;
};

int redRunThroughCentre(const QImage& image) {
    int run = 0;
    const int y = image.height() / 2;
    for (int x = 0; x < image.width(); ++x)
        if (test::channelDistance(image.pixelColor(x, y), QColor(255, 0, 0)) < 40)
            ++run;
    return run;
}

} // namespace

TEST_F(PipelineTest, StagesWithinATolerancePassTheProjectionThrough) {
    const QImage plain = projectedPreview();
    ASSERT_EQ(model->previewImage().size(), QSize(1100, 1100));
    EXPECT_EQ(model->previewImage(), plain);

    model->setGamma(1.0005);
    model->setVignette(0.001);
    model->setSaturation(0.9995);
    EXPECT_EQ(model->previewImage(), plain);

    model->setVignette(0.0011);
    EXPECT_NE(model->previewImage(), plain);
}

TEST_F(PipelineTest, ContrastAloneStillPassesSaturationOne) {
    model->setContrast(1.2);
    ProjectionParameters p = model->projectionParameters();
    p.outputSide = PlanetModel::previewSide;
    TinyPlanetFilter filter(resources.path());
    const Image expected = filter.apply(model->sourceImage(), p)->colorControls(1.0, 0.0, 1.2);
    EXPECT_EQ(model->previewImage(),
              RenderContext().render(expected, QRect(0, 0, 1100, 1100),
                                     RenderContext::Layout::premultipliedArgb32));
}

TEST_F(PipelineTest, FullVignetteLeavesTheCentreAndBlackensBeyondTheOuterRadius) {
    const QImage plain = model->previewImage();
    model->setVignette(1.0);
    const QImage dark = model->previewImage();
    int checked = 0;
    for (int y = 0; y < 1100; y += 7) {
        for (int x = 0; x < 1100; x += 7) {
            const double d = std::hypot(x + 0.5 - 550, y + 0.5 - 550);
            if (d <= 330) {
                ASSERT_LE(test::channelDistance(dark.pixelColor(x, y), plain.pixelColor(x, y)), 1);
                ++checked;
            } else if (d >= 726) {
                const QColor c = dark.pixelColor(x, y);
                ASSERT_LE(std::max({c.red(), c.green(), c.blue()}), 1) << x << "," << y;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 5000);
}

TEST_F(PipelineTest, NoPictureMeansNoPreviewAndNoOutput) {
    PlanetModel empty(resources.path());
    empty.refreshPreview();
    EXPECT_TRUE(empty.previewImage().isNull());
    EXPECT_FALSE(empty.outputImage(2048).has_value());
}

TEST_F(PipelineTest, WithPreviewRenderingOffRefreshesCountButOutputStillRenders) {
    PlanetModel headless(resources.path());
    headless.setPreviewRendering(false);
    headless.loadImage(Image::fromQImage(test::testPanorama(400, 200)), QStringLiteral("test"));
    headless.applyPreset(PlanetModel::Preset::sky);
    EXPECT_EQ(headless.previewRefreshCount(), 2);
    EXPECT_TRUE(headless.previewImage().isNull());
    EXPECT_TRUE(headless.outputImage(256).has_value());
}

TEST_F(PipelineTest, OutputScalesLayersWithItsSide) {
    model->addLayer(QStringLiteral("Stickers/block.png"), {0.5, 0.5});
    // Scale 0.25 of a 4096 square is 1024 pixels wide, whatever the artwork's size.
    EXPECT_NEAR(redRunThroughCentre(output(4096)), 1024, 2);
    EXPECT_NEAR(redRunThroughCentre(output(1024)), 256, 2);
    const QImage out = output(4096);
    EXPECT_EQ(out.size(), QSize(4096, 4096));
}

TEST_F(PipelineTest, LayersAreNotGradedNorVignetted) {
    model->addLayer(QStringLiteral("Stickers/block.png"), {0.1, 0.1});
    model->setVignette(1.0);
    model->setGamma(2.0);
    const QImage out = output(512);
    // The corner is black under the vignette, but the layer over it stays red.
    EXPECT_LE(test::channelDistance(out.pixelColor(51, 51), QColor(255, 0, 0)), 1);
}

TEST_F(PipelineTest, MissingArtworkIsLeftOutSilently) {
    const QImage without = output(512);
    QFile::remove(resources.file(QStringLiteral("Layers/Stickers/block.png")));
    model->addLayer(QStringLiteral("Stickers/block.png"), {0.5, 0.5});
    EXPECT_EQ(model->layers().size(), 1);
    EXPECT_EQ(output(512), without);
}

TEST_F(PipelineTest, RenderImagesAreDecodedOnceAndFailuresForgotten) {
    LayerLibrary& library = model->library();
    const std::optional<Image> first = library.renderImage(QStringLiteral("Stickers/block.png"));
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->extent(), QRectF(0, 0, 400, 200));
    QFile::remove(resources.file(QStringLiteral("Layers/Stickers/block.png")));
    EXPECT_TRUE(library.renderImage(QStringLiteral("Stickers/block.png")).has_value());

    const QString moon = resources.file(QStringLiteral("Layers/Stickers/moon.png"));
    QFile::remove(moon);
    EXPECT_FALSE(library.renderImage(QStringLiteral("Stickers/moon.png")).has_value());
    resources.addPng(QStringLiteral("Layers/Stickers/moon.png"), {10, 20});
    EXPECT_EQ(library.renderImage(QStringLiteral("Stickers/moon.png"))->extent(),
              QRectF(0, 0, 10, 20));
    EXPECT_FALSE(library.renderImage(QStringLiteral("Stickers/none.png")).has_value());
}

TEST_F(PipelineTest, LoadingKeepsSettingsAndStartsAFreshDocument) {
    model->setZoom(1.7);
    model->setGamma(1.3);
    model->addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    const int renders = model->previewRefreshCount();
    model->loadImage(Image::fromQImage(test::testPanorama(800, 400)), QStringLiteral("beach"));
    EXPECT_EQ(model->zoom(), 1.7);
    EXPECT_EQ(model->gamma(), 1.3);
    EXPECT_EQ(model->selectedPreset(), std::nullopt);
    EXPECT_TRUE(model->layers().isEmpty());
    EXPECT_TRUE(model->selectedLayerID().isNull());
    EXPECT_FALSE(model->canUndo());
    EXPECT_FALSE(model->canRedo());
    EXPECT_EQ(model->sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model->previewRefreshCount(), renders + 1);
}

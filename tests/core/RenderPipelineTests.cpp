#include "filter/TinyPlanetFilter.h"
#include "model/DocumentFiles.h"
#include "model/PlanetModel.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <cmath>
#include <future>

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
        model = std::make_unique<PlanetModel>(test::renderer(resources.path()), resources.path());
        model->loadImage(Image::fromQImage(test::testPanorama(1600, 800)), QStringLiteral("test"));
    }

    /// The projection alone, without any grading, at the preview side.
    QImage projectedPreview() {
        const Image projected =
            model->renderer()
                .projected(model->look(), model->sourceImage(), PlanetModel::previewSide)
                .value();
        return RenderContext().render(projected, QRect(0, 0, 1100, 1100),
                                      RenderContext::Layout::premultipliedArgb32);
    }

    QImage output(int side) {
        return model->renderer()
            .render(model->look(), model->sourceImage(), model->library(), side)
            .value();
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

    model->setSetting(Setting::gamma, 1.0005);
    model->setSetting(Setting::vignette, 0.001);
    model->setSetting(Setting::saturation, 0.9995);
    EXPECT_EQ(model->previewImage(), plain);

    model->setSetting(Setting::vignette, 0.0011);
    EXPECT_NE(model->previewImage(), plain);
}

TEST_F(PipelineTest, ContrastAloneStillPassesSaturationOne) {
    model->setSetting(Setting::contrast, 1.2);
    const ProjectionParameters p = projectionParameters(model->look(), PlanetModel::previewSide);
    const Image expected = TinyPlanetFilter::load(resources.path())
                               ->apply(model->sourceImage(), p)
                               ->colorControls(1.0, 0.0, 1.2);
    EXPECT_EQ(model->previewImage(),
              RenderContext().render(expected, QRect(0, 0, 1100, 1100),
                                     RenderContext::Layout::premultipliedArgb32));
}

TEST_F(PipelineTest, FullVignetteLeavesTheCentreAndBlackensBeyondTheOuterRadius) {
    const QImage plain = model->previewImage();
    model->setSetting(Setting::vignette, 1.0);
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
    PlanetModel empty(test::renderer(resources.path()), resources.path());
    empty.refreshPreview();
    EXPECT_TRUE(empty.previewImage().isNull());
    EXPECT_FALSE(
        empty.renderer().planet(empty.look(), empty.sourceImage(), empty.library(), 2048).ok());
    EXPECT_FALSE(copyToClipboard(empty).ok());
}

TEST_F(PipelineTest, WithPreviewRenderingOffRefreshesCountButOutputStillRenders) {
    PlanetModel headless(test::renderer(resources.path()), resources.path());
    headless.setPreviewRendering(false);
    headless.loadImage(Image::fromQImage(test::testPanorama(400, 200)), QStringLiteral("test"));
    headless.applyPreset(Preset::sky);
    EXPECT_EQ(headless.previewRefreshCount(), 2);
    EXPECT_TRUE(headless.previewImage().isNull());
    EXPECT_TRUE(headless.renderer()
                    .render(headless.look(), headless.sourceImage(), headless.library(), 256)
                    .ok());
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
    model->setSetting(Setting::vignette, 1.0);
    model->setSetting(Setting::gamma, 2.0);
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
    model->setSetting(Setting::zoom, 1.7);
    model->setSetting(Setting::gamma, 1.3);
    model->addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    const int renders = model->previewRefreshCount();
    model->loadImage(Image::fromQImage(test::testPanorama(800, 400)), QStringLiteral("beach"));
    EXPECT_EQ(model->setting(Setting::zoom), 1.7);
    EXPECT_EQ(model->setting(Setting::gamma), 1.3);
    EXPECT_EQ(model->selectedPreset(), std::nullopt);
    EXPECT_TRUE(model->layers().isEmpty());
    EXPECT_TRUE(model->selectedLayerID().isNull());
    EXPECT_FALSE(model->canUndo());
    EXPECT_FALSE(model->canRedo());
    EXPECT_EQ(model->sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model->previewRefreshCount(), renders + 1);
}

// The renderer holds no state of a look: two looks rendered from one source, one
// after the other or at the same time on two threads, give exactly the pixels each
// gives alone in a renderer of its own.
TEST_F(PipelineTest, InterleavedLooksRenderAsEachAlone) {
    Look spiral = Look().withPreset(Preset::spiral);
    spiral.setValue(Setting::vignette, 0.4);
    spiral.layers.append(
        placeAsset(*model->library().asset(QStringLiteral("Stickers/block.png")), {0.3, 0.6}));
    Look sky = Look().withPreset(Preset::sky);
    sky.setValue(Setting::gamma, 1.4);
    sky.setValue(Setting::saturation, 0.3);
    ASSERT_NE(spiral, sky);

    const Image& source = model->sourceImage();
    LayerLibrary& library = model->library();
    const auto alone = [&](const Look& look) {
        return test::renderer(resources.path()).render(look, source, library, 300).value();
    };
    const QImage spiralAlone = alone(spiral);
    const QImage skyAlone = alone(sky);
    ASSERT_NE(spiralAlone, skyAlone);

    const PlanetRenderer shared = test::renderer(resources.path());
    const Result<Image> spiralRecipe = shared.planet(spiral, source, library, 300);
    const Result<Image> skyRecipe = shared.planet(sky, source, library, 300);
    ASSERT_TRUE(spiralRecipe.ok() && skyRecipe.ok());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(shared.render(sky, source, library, 300).value(), skyAlone);
        EXPECT_EQ(shared.render(spiral, source, library, 300).value(), spiralAlone);
        // Both recipes at once: the library's caches are filled, so nothing but
        // pixels is touched on the two threads.
        const RenderContext context;
        auto first = std::async(std::launch::async, [&] {
            return context.render(*spiralRecipe, QRect(0, 0, 300, 300),
                                  RenderContext::Layout::straightRgba8);
        });
        const QImage second =
            context.render(*skyRecipe, QRect(0, 0, 300, 300), RenderContext::Layout::straightRgba8);
        EXPECT_EQ(first.get(), spiralAlone);
        EXPECT_EQ(second, skyAlone);
    }
}

// Layers are composited side by side, not by recursion: hundreds of thousands of them
// (the command line takes any number) render, and the picture lets go of them flat.
TEST_F(PipelineTest, AnyNumberOfLayersRenders) {
    Look look;
    const LayerAsset& block = *model->library().asset(QStringLiteral("Stickers/block.png"));
    for (int i = 0; i < 200000; ++i) {
        PlacedLayer layer = placeAsset(block, {(i % 400) / 400.0, (i / 400) / 500.0});
        layer.scale = 0.002;
        look.layers.append(layer);
    }
    const Result<QImage> pixels =
        model->renderer().render(look, model->sourceImage(), model->library(), 64);
    ASSERT_TRUE(pixels.ok());
    EXPECT_EQ(pixels->size(), QSize(64, 64));
}

// An opacity outside [0, 1] is taken as the nearest end: a negative one must not
// take light away from what lies under the layer.
TEST_F(PipelineTest, OpacityOutsideZeroToOneIsClamped) {
    const LayerAsset& block = *model->library().asset(QStringLiteral("Stickers/block.png"));
    const auto withOpacity = [&](std::optional<double> opacity, LayerBlendMode mode) {
        Look look;
        if (opacity) {
            PlacedLayer layer = placeAsset(block, {0.5, 0.5});
            layer.opacity = *opacity;
            layer.blendMode = mode;
            look.layers.append(layer);
        }
        return model->renderer().render(look, model->sourceImage(), model->library(), 128).value();
    };
    for (const LayerBlendMode mode : allLayerBlendModes) {
        SCOPED_TRACE(rawValue(mode).toStdString());
        const QImage without = withOpacity(std::nullopt, mode);
        EXPECT_EQ(withOpacity(-10.0, mode), without);
        EXPECT_EQ(withOpacity(-1e308, mode), without);
        EXPECT_EQ(withOpacity(5.0, mode), withOpacity(1.0, mode));
        EXPECT_NE(withOpacity(1.0, mode), without);
    }
}

// Inside what the command line accepts, a setting's value shows in the picture: none
// is silently clamped back to the default. (The seam blend is left out: this
// panorama wraps without a seam, so there is nothing for it to blend; so is the
// coverage: a full panorama lies on the whole sphere either way. The two
// fractions of the range are chosen so no rotation is a whole number of turns.)
TEST_F(PipelineTest, NearTheAcceptedLimitsEverySettingStillShapesThePicture) {
    const auto planet = [&](const Look& look) {
        return model->renderer().render(look, model->sourceImage(), model->library(), 48).value();
    };
    const QImage plain = planet(Look());
    for (const SettingInfo& info : settingsTable()) {
        if (info.setting == Setting::blendWidth || info.setting == Setting::coverage)
            continue;
        SCOPED_TRACE(info.name);
        for (const double value : {info.minimum + 0.13 * (info.maximum - info.minimum),
                                   info.minimum + 0.77 * (info.maximum - info.minimum)}) {
            Look look;
            look.setValue(info.setting, value);
            EXPECT_NE(planet(look), plain) << value;
        }
    }
}

// While a slider runs, the preview is a draft of a quarter of the pixels: the same
// planet, only softer, and the full preview returns when the run ends.
TEST_F(PipelineTest, DraftsAreTheSamePlanetAtHalfTheSideUntilTheRunEnds) {
    model->setSetting(Setting::twist, 1.5); // detail that would show a misplaced pixel
    const QImage full = model->previewImage();
    model->setDrafting(true);
    EXPECT_EQ(model->previewImage(), full); // nothing re-rendered yet
    const int refreshes = model->previewRefreshCount();
    model->setSetting(Setting::twist, 1.5001);
    const QImage draft = model->previewImage();
    ASSERT_EQ(draft.size(), QSize(PlanetModel::draftSide, PlanetModel::draftSide));
    EXPECT_EQ(model->previewRefreshCount(), refreshes + 1);

    // Each draft pixel is the mean of its 2 x 2 block of the full preview, give or take
    // filtering: compare on blurred copies so edges do not dominate.
    const QImage halved = full.scaled(draft.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                              .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const auto soft = [](const QImage& i) {
        return i.scaled(i.size() / 5, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    };
    EXPECT_LT(test::meanAbsoluteDifference(soft(draft), soft(halved)), 2.0);

    model->setDrafting(false);
    EXPECT_EQ(model->previewImage().size(), QSize(1100, 1100));
    EXPECT_EQ(model->previewRefreshCount(), refreshes + 2);

    // A grade slider needs no draft: the grade goes over the kept full projection.
    model->setDrafting(true);
    model->setSetting(Setting::gamma, 1.3);
    EXPECT_EQ(model->previewImage().size(), QSize(1100, 1100));
    model->setDrafting(false);
}

// The preview keeps its projection while only the grade changes; whatever the order
// of changes, the picture is the one a render from scratch gives.
TEST_F(PipelineTest, AKeptProjectionGivesExactlyTheFreshPreview) {
    const struct {
        Setting setting;
        double value;
    } steps[] = {
        {Setting::gamma, 1.4},      {Setting::vignette, 0.5}, {Setting::twist, 0.8},
        {Setting::saturation, 0.3}, {Setting::contrast, 1.6}, {Setting::zoom, 1.7},
        {Setting::gamma, 0.7},      {Setting::invert, 1.0},   {Setting::vignette, 0.0},
    };
    const PlanetRenderer& renderer = model->renderer();
    for (const auto& step : steps) {
        model->setSetting(step.setting, step.value);
        const QImage fresh =
            renderer.renderPreview(model->look(), model->sourceImage(), PlanetModel::previewSide)
                .value();
        EXPECT_EQ(model->previewImage(), fresh) << settingInfo(step.setting).name;
    }
    // A new picture is projected anew, not graded over the old one.
    model->loadImage(render::Image::fromQImage(test::testPanorama(400, 200).mirrored(true, false)),
                     QStringLiteral("other"));
    EXPECT_EQ(model->previewImage(),
              renderer.renderPreview(model->look(), model->sourceImage(), PlanetModel::previewSide)
                  .value());
}

#include "canvas/PlanetCanvas.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QHelpEvent>
#include <QMimeData>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace velmora;

namespace {

const QString orb = QStringLiteral("Glows/orb.png");      // 64 x 32
const QString moon = QStringLiteral("Stickers/moon.png"); // 40 x 40

class CanvasTest : public ::testing::Test {
protected:
    CanvasTest() {
        setResourcesRoot(test::buildResources()); // the chrome's symbols
        model = std::make_unique<PlanetModel>(test::renderer(resources.path()), resources.path());
        model->loadImage(render::Image::fromQImage(test::testPanorama(800, 400)),
                         QStringLiteral("t"));
        canvas = std::make_unique<PlanetCanvas>(*model);
        canvas->resize(800, 600); // square of side 600 at (100, 0)
        canvas->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(canvas.get()));
    }
    ~CanvasTest() override { setResourcesRoot({}); }

    /// Adds a layer and returns its id; the new layer is selected.
    QUuid add(const QString& asset, NormalizedPoint at) {
        model->addLayer(asset, at);
        return model->selectedLayerID();
    }

    PlacedLayer layerOf(const QUuid& id) const { return model->layer(id).value(); }

    void drag(QPoint from, QPoint to, int steps = 20) {
        QTest::mousePress(canvas.get(), Qt::LeftButton, {}, from);
        for (int i = 1; i <= steps; ++i)
            QTest::mouseMove(canvas.get(), from + (to - from) * i / steps);
        QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, to);
    }

    void click(QPoint at) { QTest::mouseClick(canvas.get(), Qt::LeftButton, {}, at); }

    void drop(const QString& text, QPointF at, bool withUrl = false) {
        QMimeData data;
        data.setText(text);
        if (withUrl)
            data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/beach.jpg"))});
        QDragEnterEvent enter(at.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(canvas.get(), &enter);
        QDropEvent dropEvent(at, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(canvas.get(), &dropEvent);
        lastDropAccepted = dropEvent.isAccepted();
        QApplication::processEvents();
    }

    test::SampleResources resources;
    std::unique_ptr<PlanetModel> model;
    std::unique_ptr<PlanetCanvas> canvas;
    bool lastDropAccepted = false;
};

} // namespace

TEST_F(CanvasTest, MoveDragFollowsThePointerAndIsOneUndoStep) {
    const QUuid id = add(orb, {0.5, 0.5}); // 150 x 75 at (400, 300)
    model->setSelectedLayerID(QUuid());
    const int depth = model->undoDepth();
    drag({400, 300}, {550, 240});
    EXPECT_DOUBLE_EQ(layerOf(id).center.x, 0.75);
    EXPECT_DOUBLE_EQ(layerOf(id).center.y, 0.4);
    EXPECT_EQ(model->selectedLayerID(), id); // a move selects what it moves
    EXPECT_EQ(model->undoDepth(), depth + 1);
    model->undo();
    EXPECT_EQ(layerOf(id).center, (NormalizedPoint{0.5, 0.5}));

    // Dragging past the edge is allowed: the centre may leave the square.
    drag({400, 300}, {700, 300});
    EXPECT_DOUBLE_EQ(layerOf(id).center.x, 1.0);
}

TEST_F(CanvasTest, ResizeAndRotationHandlesWorkOnTheSelectedLayer) {
    const QUuid id = add(orb, {0.5, 0.5});
    const int depth = model->undoDepth();
    // The corner is (475, 337.5). The start distance is taken at the first change,
    // here (476, 337); pulling to twice that offset from the centre doubles the scale.
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, {475, 337});
    QTest::mouseMove(canvas.get(), {476, 337});
    QTest::mouseMove(canvas.get(), {520, 360});
    QTest::mouseMove(canvas.get(), {552, 374});
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, {552, 374});
    EXPECT_DOUBLE_EQ(layerOf(id).scale, 0.5);
    EXPECT_EQ(model->selectedLayerID(), id);
    // The layer is now 300 x 150; its knob sits 20 above the top edge (y = 225).
    drag({400, 205}, {250, 300});
    EXPECT_DOUBLE_EQ(layerOf(id).rotation, -90);
    EXPECT_EQ(model->undoDepth(), depth + 2);

    // Undo once: back to before the rotation, not to some mid-drag angle.
    model->undo();
    EXPECT_EQ(layerOf(id).rotation, 0);
    EXPECT_DOUBLE_EQ(layerOf(id).scale, 0.5);
}

TEST_F(CanvasTest, TapsSelectAndDeselect) {
    const QUuid id = add(orb, {0.5, 0.5});
    model->setSelectedLayerID(QUuid());
    const int depth = model->undoDepth();
    click({400, 300 - 37 - 30}); // in the band 34 above the artwork
    EXPECT_EQ(model->selectedLayerID(), id);
    EXPECT_EQ(model->undoDepth(), depth); // selection is not history

    click({50, 300}); // the band beside the square
    EXPECT_EQ(model->selectedLayerID(), id);
    click({150, 80}); // the planet, away from every chrome
    EXPECT_TRUE(model->selectedLayerID().isNull());
    click({400, 300});
    EXPECT_EQ(model->selectedLayerID(), id);
}

TEST_F(CanvasTest, LaterLayersWinWhereChromesOverlap) {
    const QUuid below = add(orb, {0.5, 0.5});
    const QUuid above = add(moon, {0.52, 0.5});
    model->setSelectedLayerID(below);
    click({405, 300});
    EXPECT_EQ(model->selectedLayerID(), above);
    (void)below;
}

TEST_F(CanvasTest, DeleteBadgeRemovesTheLayerAsOneStepAndHasItsTooltip) {
    const QUuid id = add(orb, {0.5, 0.5});
    QHelpEvent help(QEvent::ToolTip, QPoint(475, 263), canvas->mapToGlobal(QPoint(475, 263)));
    QApplication::sendEvent(canvas.get(), &help);
    EXPECT_EQ(QToolTip::text(), QStringLiteral("Delete layer"));

    click({475, 263});
    EXPECT_FALSE(model->layer(id).has_value());
    EXPECT_TRUE(model->selectedLayerID().isNull());
    model->undo();
    EXPECT_TRUE(model->layer(id).has_value());
}

TEST_F(CanvasTest, UnselectedLayersHaveNoHandles) {
    const QUuid id = add(orb, {0.5, 0.5});
    model->setSelectedLayerID(QUuid());
    EXPECT_EQ(canvas->hitAt({475, 337.5}).second, ChromePart::body);
    EXPECT_EQ(canvas->hitAt({488.5, 337.5}).second, ChromePart::none);
    model->setSelectedLayerID(id);
    EXPECT_EQ(canvas->hitAt({488.5, 337.5}).second, ChromePart::resizeHandle);
}

TEST_F(CanvasTest, DropsAddOnlyTheLayerPayloadAtTheClampedPoint) {
    EXPECT_EQ(PlanetCanvas::assetFromPayload(QStringLiteral("velmora-layer:Glows/orb.png")), orb);
    EXPECT_EQ(PlanetCanvas::assetFromPayload(QStringLiteral("velmora-layer: x ")),
              QStringLiteral(" x "));
    EXPECT_EQ(PlanetCanvas::assetFromPayload(QStringLiteral("velmora-layer:")), QString());
    EXPECT_FALSE(PlanetCanvas::assetFromPayload(QStringLiteral("Velmora-layer:Glows/orb.png")));
    EXPECT_FALSE(PlanetCanvas::assetFromPayload(QStringLiteral("velmora-layerGlows/orb.png")));

    drop(QStringLiteral("velmora-layer:Glows/orb.png"), {50, 300}); // in the left band
    ASSERT_EQ(model->layers().size(), 1);
    EXPECT_EQ(model->layers()[0].center, (NormalizedPoint{0.0, 0.5}));
    EXPECT_EQ(model->selectedLayerID(), model->layers()[0].id);

    drop(QStringLiteral("velmora-layer:Glows/orb.png"), {700, 150});
    EXPECT_EQ(model->layers().last().center, (NormalizedPoint{1.0, 0.25}));

    for (const char* ignored : {"Velmora-layer:Glows/orb.png", "velmora-layer",
                                "velmora-layer:", "velmora-layer:Glows/none.png", "some text"})
        drop(QString::fromLatin1(ignored), {400, 300});
    EXPECT_EQ(model->layers().size(), 2);

    // A file belongs to the window, not the canvas.
    drop(QStringLiteral("velmora-layer:Glows/orb.png"), {400, 300}, true);
    EXPECT_FALSE(lastDropAccepted);
    EXPECT_EQ(model->layers().size(), 2);
}

TEST_F(CanvasTest, TwoFingerRotationTurnsFromItsStartAndRecordsOnce) {
    const QUuid id = add(orb, {0.5, 0.5});
    model->updateLayer(id, [](PlacedLayer& l) { l.rotation = 170; });
    model->setSelectedLayerID(QUuid());
    const int depth = model->undoDepth();
    const auto send = [&](Qt::NativeGestureType type, double value) {
        QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2,
                                  QPointF(400, 300), QPointF(400, 300),
                                  canvas->mapToGlobal(QPointF(400, 300)), value, QPointF());
        QApplication::sendEvent(canvas.get(), &event);
    };
    send(Qt::BeginNativeGesture, 0);
    send(Qt::RotateNativeGesture, 0.5); // under a degree: nothing yet
    EXPECT_EQ(layerOf(id).rotation, 170);
    send(Qt::RotateNativeGesture, 99.5);
    send(Qt::RotateNativeGesture, 100);
    send(Qt::EndNativeGesture, 0);
    EXPECT_DOUBLE_EQ(layerOf(id).rotation, 10);
    EXPECT_EQ(model->selectedLayerID(), id);
    EXPECT_EQ(model->undoDepth(), depth + 1);

    model->updateLayer(id, [](PlacedLayer& l) { l.rotation = -170; });
    send(Qt::BeginNativeGesture, 0);
    send(Qt::RotateNativeGesture, -30);
    send(Qt::EndNativeGesture, 0);
    EXPECT_DOUBLE_EQ(layerOf(id).rotation, 160);
}

TEST_F(CanvasTest, MovingALayerNeverRendersThePlanet) {
    const QUuid id = add(orb, {0.5, 0.5});
    const int renders = model->previewRefreshCount();
    drag({400, 300}, {300, 200});
    drag({325, 237}, {380, 290}); // resize handle of the moved layer
    model->rotateSelected(15);
    QApplication::processEvents();
    EXPECT_EQ(model->previewRefreshCount(), renders);
    (void)id;
}

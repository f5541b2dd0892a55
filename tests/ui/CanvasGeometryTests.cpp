#include "canvas/CanvasGeometry.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(CanvasFrame, FitsTheLargestCentredSquare) {
    EXPECT_EQ(CanvasFrame::fit({800, 600}), (CanvasFrame{600, {100, 0}}));
    EXPECT_EQ(CanvasFrame::fit({600, 800}), (CanvasFrame{600, {0, 100}}));
    EXPECT_EQ(CanvasFrame::fit({500, 500}), (CanvasFrame{500, {0, 0}}));
    EXPECT_EQ(CanvasFrame::fit({801, 600}).origin, QPointF(100.5, 0)); // no rounding

    const CanvasFrame f = CanvasFrame::fit({800, 600});
    EXPECT_EQ(f.toCanvas({0.5, 0.5}), QPointF(400, 300));
    const NormalizedPoint p = f.toNormalized({50, 300});
    EXPECT_DOUBLE_EQ(p.x, -1.0 / 12.0);
    EXPECT_DOUBLE_EQ(p.y, 0.5);
}

TEST(CanvasFrame, LayerBoxSizesAndCentres) {
    PlacedLayer layer;
    layer.center = {0.5, 0.5};
    layer.scale = 0.25;
    const LayerBox box = layerBox(layer, 200.0 / 400.0, CanvasFrame::fit({800, 600}));
    EXPECT_DOUBLE_EQ(box.width, 150);
    EXPECT_DOUBLE_EQ(box.height, 75);
    EXPECT_EQ(box.center, QPointF(400, 300));

    // Local and canvas frames are inverse of each other at any turn.
    for (double rotation : {0.0, 30.0, -135.0, 90.0}) {
        LayerBox turned = box;
        turned.rotation = rotation;
        const QPointF p(437.2, 281.9);
        const QPointF back = turned.toCanvas(turned.toLocal(p));
        EXPECT_NEAR(back.x(), p.x(), 1e-9);
        EXPECT_NEAR(back.y(), p.y(), 1e-9);
    }
    // Turned clockwise a quarter, the local "up" points to the canvas's right.
    LayerBox quarter = box;
    quarter.rotation = 90;
    const QPointF up = quarter.toCanvas({0, -10});
    EXPECT_NEAR(up.x(), 410, 1e-9);
    EXPECT_NEAR(up.y(), 300, 1e-9);
}

TEST(ChromeHitTesting, PaddedAreaIsTwelveBesideAndThirtyFourAboveAndBelow) {
    const LayerBox box{{400, 300}, 150, 75, 0};
    const double top = 300 - 37.5;
    const double bottom = 300 + 37.5;
    EXPECT_EQ(hitTest(box, {400, 300}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400, top - 33}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400, top - 35}, false), ChromePart::none);
    EXPECT_EQ(hitTest(box, {400, bottom + 33}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400, bottom + 35}, false), ChromePart::none);
    EXPECT_EQ(hitTest(box, {475 + 11, 300}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {475 + 13, 300}, false), ChromePart::none);
}

TEST(ChromeHitTesting, BandsTurnWithTheLayer) {
    // Turned a quarter, the 34-point bands lie left and right on the canvas.
    const LayerBox box{{400, 300}, 150, 75, 90};
    EXPECT_EQ(hitTest(box, {400 + 37.5 + 30, 300}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400 - 37.5 - 30, 300}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400, 300 - 75 - 10}, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, {400, 300 - 75 - 14}, false), ChromePart::none);
    EXPECT_EQ(hitTest(box, {400 + 37.5 + 36, 300}, false), ChromePart::none);
}

TEST(ChromeHitTesting, HandlesOnlyOnTheSelectedLayerAndTheyWin) {
    const LayerBox box{{400, 300}, 150, 75, 0};
    const QPointF corner(475, 337.5);
    const QPointF knob(400, 262.5 - 20);
    const QPointF badge(475, 262.5);
    EXPECT_EQ(hitTest(box, corner, true), ChromePart::resizeHandle);
    EXPECT_EQ(hitTest(box, knob, true), ChromePart::rotationHandle);
    EXPECT_EQ(hitTest(box, badge, true), ChromePart::deleteBadge);
    // The handle areas reach a little past the padding: 14 right of the corner.
    EXPECT_EQ(hitTest(box, corner + QPointF(13.5, 0), true), ChromePart::resizeHandle);
    EXPECT_EQ(hitTest(box, corner + QPointF(13.5, 0), false), ChromePart::none);
    // Unselected: the same places are body (or nothing), never handles.
    EXPECT_EQ(hitTest(box, corner, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, knob, false), ChromePart::body);
    EXPECT_EQ(hitTest(box, badge, false), ChromePart::body);

    // Turned, the handles turn too.
    const LayerBox turned{{400, 300}, 150, 75, 90};
    EXPECT_EQ(hitTest(turned, turned.toCanvas({75, 37.5}), true), ChromePart::resizeHandle);
    EXPECT_EQ(hitTest(turned, turned.toCanvas({0, -37.5 - 20}), true), ChromePart::rotationHandle);
}

TEST(ChromeHitTesting, ControlsOutOfViewMoveToWhereTheyCanBeReached) {
    const QRectF view(0, 0, 800, 600);
    const auto layoutAt = [&view](QPointF center, double rotation = 0) {
        return chromeLayout({center, 150, 76, rotation}, view);
    };
    EXPECT_EQ(layoutAt({400, 300}), ChromeLayout{}); // in view: the usual places
    // Top beyond the view: the handle goes below, the badge and the handle to the
    // bottom corners.
    EXPECT_EQ(layoutAt({400, 20}), (ChromeLayout{Corner::bottomRight, Corner::bottomLeft, true}));
    // Past the right edge: both corners on the left.
    EXPECT_EQ(layoutAt({790, 300}), (ChromeLayout{Corner::topLeft, Corner::bottomLeft, false}));
    // Only the bottom-left corner in view: the badge has it.
    EXPECT_EQ(layoutAt({790, 20}).badge, Corner::bottomLeft);
    // Turned half round near the bottom, "above" the layer is below it on screen.
    EXPECT_TRUE(layoutAt({400, 580}, 180).knobBelow);

    // Hits follow the layout.
    const LayerBox box{{400, 20}, 150, 76, 0};
    const ChromeLayout moved = chromeLayout(box, view);
    EXPECT_EQ(hitTest(box, {475, 58}, true, moved), ChromePart::deleteBadge);
    EXPECT_EQ(hitTest(box, {325, 58}, true, moved), ChromePart::resizeHandle);
    EXPECT_EQ(hitTest(box, {400, 58 + 20}, true, moved), ChromePart::rotationHandle);
    EXPECT_EQ(hitTest(box, {400, -18 - 20}, true, moved), ChromePart::body);
}

TEST(GestureArithmetic, MoveResizeAndRotate) {
    // Moving by (150, -60) on a 600 side moves the centre by (0.25, -0.1).
    const NormalizedPoint moved = movedCenter({0.5, 0.5}, {150, -60}, 600);
    EXPECT_DOUBLE_EQ(moved.x, 0.75);
    EXPECT_DOUBLE_EQ(moved.y, 0.4);
    EXPECT_DOUBLE_EQ(movedCenter({0.9, 0.5}, {120, 0}, 600).x, 1.1); // no clamping

    EXPECT_DOUBLE_EQ(resizedScale(0.25, 100, 200), 0.5);
    EXPECT_DOUBLE_EQ(resizedScale(0.25, 100, 10), 0.025);
    EXPECT_DOUBLE_EQ(resizedScale(0.25, 100, 5), 0.02);
    EXPECT_DOUBLE_EQ(resizedScale(1.5, 100, 200), 2.0);
    EXPECT_DOUBLE_EQ(resizedScale(0.25, 0.0, 1.0), 0.25); // a start at the centre divides by 1

    const QPointF c(400, 300);
    EXPECT_DOUBLE_EQ(handleRotation(c, {400, 200}), 0);
    EXPECT_DOUBLE_EQ(handleRotation(c, {500, 300}), 90);
    EXPECT_DOUBLE_EQ(handleRotation(c, {400, 400}), 180);
    EXPECT_DOUBLE_EQ(handleRotation(c, {300, 300}), -90);
    EXPECT_NEAR(handleRotation(c, {450, 250}), 45, 1e-9);
    // A handle below the layer: its bottom faces the pointer.
    EXPECT_DOUBLE_EQ(handleRotation(c, {400, 400}, true), 0);
    EXPECT_DOUBLE_EQ(handleRotation(c, {500, 300}, true), -90);
    EXPECT_DOUBLE_EQ(handleRotation(c, {400, 200}, true), 180);
}

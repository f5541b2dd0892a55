// The window at its edges and in narrow sizes, driven with real mouse and key events.

#include "app/MainWindow.h"
#include "canvas/PlanetCanvas.h"
#include "model/ImageDecoding.h"
#include "model/PlanetModel.h"
#include "model/PlanetRenderer.h"
#include "model/Resources.h"
#include "style/Palette.h"
#include "support/TestSupport.h"
#include "ui/CanvasRegion.h"
#include "ui/ContentView.h"
#include "ui/Header.h"
#include "ui/HeaderButton.h"
#include "ui/LayerInspector.h"
#include "ui/OutputJob.h"
#include "ui/ProgressStrip.h"
#include "ui/SettingSlider.h"
#include "ui/Sidebar.h"
#include "ui/Thumbnail.h"
#include "ui/TintedSlider.h"
#include "ui/Toast.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QColorSpace>
#include <QImageReader>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <cmath>

using namespace velmora;

namespace {

class WindowUseTest : public ::testing::Test {
protected:
    WindowUseTest() {
        setResourcesRoot(resources.path());
        window = std::make_unique<MainWindow>(test::renderer());
        window->resize(1100, 760); // the smallest the window gets
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        model().loadImage(render::Image::fromQImage(test::testPanorama(800, 400)),
                          QStringLiteral("beach"));
    }
    ~WindowUseTest() override {
        window.reset();
        setResourcesRoot({});
    }

    ui::ContentView& view() const { return *window->content(); }
    PlanetModel& model() const { return view().model(); }
    ui::CanvasRegion& region() const { return *view().canvasRegion(); }
    PlanetCanvas& canvas() const { return *region().canvas(); }
    QString asset() const { return model().library().assets().first().id; }

    /// Adds a layer centred at `at` (where a drag could take it, beyond the square
    /// too) and settles the inspector's entrance.
    QUuid addLayer(NormalizedPoint at) {
        model().addLayer(asset(), {0.5, 0.5});
        const QUuid id = model().selectedLayerID();
        model().updateLayer(id, [at](PlacedLayer& l) { l.center = at; });
        QTest::qWait(300);
        return id;
    }
    /// The rectangle of `w` in the window's coordinates.
    QRect inWindow(const QWidget* w) const {
        return {w->mapTo(window.get(), QPoint(0, 0)), w->size()};
    }

    test::SampleResources resources;
    std::unique_ptr<MainWindow> window;
};

/// Canvas points of one layer's controls, where the canvas places them now.
struct Handles {
    QPoint badge, knob, resize, center;
    bool knobBelow = false;
};

Handles handlesOf(const PlanetCanvas& canvas, const PlacedLayer& layer) {
    const LayerBox box = canvas.boxOf(layer);
    const ChromeLayout layout = canvas.chromeLayoutOf(box);
    const auto at = [&box](const QRectF& local) { return box.toCanvas(local.center()).toPoint(); };
    return {at(chrome::deleteBadge(box.width, box.height, layout.badge)),
            at(chrome::rotationKnob(box.width, box.height, layout.knobBelow)),
            at(chrome::resizeHandle(box.width, box.height, layout.resize)), box.center.toPoint(),
            layout.knobBelow};
}

void dragOn(QWidget* w, QPoint from, QPoint to) {
    QTest::mousePress(w, Qt::LeftButton, {}, from);
    for (int i = 1; i <= 10; ++i)
        QTest::mouseMove(w, from + (to - from) * i / 10);
    QTest::mouseRelease(w, Qt::LeftButton, {}, to);
}

bool isBadgeRed(QRgb c) {
    return qRed(c) > 150 && qGreen(c) < 110 && qBlue(c) < 120;
}

} // namespace

TEST_F(WindowUseTest, HandlesBeyondTheSquareAreDrawnAndUsableAtEveryEdgeOfTheRegion) {
    const CanvasFrame f = canvas().frame();
    const double side = f.side;
    ASSERT_GT(side, 100.0);
    // Where each layer sits: its top just above the square, its bottom just below,
    // its right edge and its left edge in the outermost pixels of the side bands.
    addLayer({0.5, 0.5});
    const LayerBox probe = canvas().boxOf(*model().selectedLayer());
    model().deleteSelectedLayer();
    const double halfW = probe.width / 2;
    const double halfH = probe.height / 2;
    const QRect area = region().rect();
    // The inspector floats over the middle of the bottom band, so the low layer sits
    // at the right, clear of it.
    const double rightmost = (area.width() - 14 - halfW - f.origin.x()) / side;
    const struct {
        const char* edge;
        NormalizedPoint center;
    } cases[] = {
        {"top", {0.2, (halfH - 4) / side}},
        // A sun high in the sky, its top far beyond the region: its controls come in.
        {"above", {0.3, (halfH - 60 - f.origin.y()) / side}},
        {"bottom", {rightmost, 1.0 - (halfH - 4) / side}},
        {"right", {rightmost, 0.5}},
        {"left", {(18 + halfW - f.origin.x()) / side, 0.5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.edge);
        const QString edge = QString::fromLatin1(c.edge);
        const QUuid id = addLayer(c.center);
        Handles h = handlesOf(canvas(), *model().layer(id));
        for (const QPoint p : {h.badge, h.knob, h.resize}) {
            ASSERT_TRUE(area.contains(p)) << p.x() << "," << p.y();
            EXPECT_EQ(region().childAt(p), &canvas()); // nothing else takes the click
        }
        // The part that sticks out the most lies in the band, outside the square.
        const QPoint out = edge == QStringLiteral("top")      ? h.badge
                           : edge == QStringLiteral("bottom") ? h.resize
                           : edge == QStringLiteral("right")  ? h.badge
                           : edge == QStringLiteral("left")   ? QPoint(8, h.center.y())
                                                              : h.center;
        if (edge != QStringLiteral("above")) {
            EXPECT_FALSE(f.square().contains(QPointF(out)));
        }
        if (edge == QStringLiteral("left")) {
            // The grab area reaches into the region's outermost pixels.
            const NormalizedPoint before = model().layer(id)->center;
            dragOn(&canvas(), out, out + QPoint(30, 0));
            EXPECT_NEAR((model().layer(id)->center.x - before.x) * side, 30.0, 1e-6);
            h = handlesOf(canvas(), *model().layer(id));
        }
        // Drawn where it answers: the badge's red shows over the black band.
        const QImage shot = canvas().grab().toImage();
        EXPECT_TRUE(isBadgeRed(shot.pixel(h.badge + QPoint(5, 0)))); // beside its cross

        const double scale = model().layer(id)->scale;
        dragOn(&canvas(), h.resize, h.center + (h.resize - h.center) / 2);
        EXPECT_LT(model().layer(id)->scale, scale * 0.75);

        // The layer's top faces the pointer, or its bottom for a handle below it.
        const Handles turned = handlesOf(canvas(), *model().layer(id));
        dragOn(&canvas(), turned.knob, turned.center + QPoint(80, 0));
        EXPECT_NEAR(model().layer(id)->rotation, turned.knobBelow ? -90.0 : 90.0, 1.0);

        const Handles last = handlesOf(canvas(), *model().layer(id));
        QTest::mouseClick(&canvas(), Qt::LeftButton, {}, last.badge);
        EXPECT_FALSE(model().layer(id).has_value());
    }
}

TEST_F(WindowUseTest, TheInspectorStaysWholeAtTheSmallestWindowWithTheLibraryOpen) {
    const auto controlsInside = [this] {
        ui::LayerInspector* inspector = region().inspector();
        QList<QWidget*> controls;
        for (QWidget* w : inspector->findChildren<QWidget*>()) {
            if (qobject_cast<QAbstractButton*>(w) || qobject_cast<QSlider*>(w))
                controls.append(w);
        }
        EXPECT_EQ(controls.size(), 11);
        for (QWidget* w : controls) {
            EXPECT_TRUE(w->isVisible()) << w->objectName().toStdString();
            EXPECT_TRUE(inWindow(&region()).contains(inWindow(w))) << w->objectName().toStdString();
        }
    };
    addLayer({0.5, 0.5});
    controlsInside();
    EXPECT_FALSE(region().inspector()->isCompact()); // room for the full bar
    view().toggleLibrary();
    QTest::qWait(ui::ContentView::libraryAnimationMs + 200);
    EXPECT_TRUE(region().inspector()->isCompact());
    controlsInside();
    // A longer blend mode label still fits.
    model().setSelectedBlendMode(LayerBlendMode::multiply);
    QTest::qWait(50);
    controlsInside();
    view().toggleLibrary();
    QTest::qWait(ui::ContentView::libraryAnimationMs + 200);
    EXPECT_FALSE(region().inspector()->isCompact());
}

TEST_F(WindowUseTest, TheCopyToastNeverCoversTheInspector) {
    addLayer({0.5, 0.5});
    view().copyImage();
    ASSERT_TRUE(QTest::qWaitFor([this] { return view().isToastShown(); }, 20000));
    QTest::qWait(400); // the entrance settles
    const QRect toast =
        inWindow(view().toast()).marginsRemoved(ui::FloatingCapsule::shadowMargins());
    for (QWidget* w : region().inspector()->findChildren<QWidget*>())
        EXPECT_FALSE(toast.intersects(inWindow(w))) << w->objectName().toStdString();
    // Selected while the toast shows: it moves out of the way.
    model().setSelectedLayerID(QUuid());
    QTest::qWait(300);
    const QUuid again = model().layers().first().id;
    model().setSelectedLayerID(again);
    QTest::qWait(300);
    const QRect moved =
        inWindow(view().toast()).marginsRemoved(ui::FloatingCapsule::shadowMargins());
    EXPECT_LT(moved.bottom(),
              inWindow(region().inspector()).top() + ui::FloatingCapsule::shadowMargins().top());
}

TEST_F(WindowUseTest, TheKeyboardDeletesNudgesAndDeselectsTheSelectedLayer) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    const QUuid id = addLayer({0.5, 0.5});
    EXPECT_EQ(QApplication::focusWidget(), &canvas());
    const NormalizedPoint start = model().layer(id)->center;
    const double side = canvas().frame().side;
    const int depth = model().undoDepth();

    for (int i = 0; i < 3; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    const NormalizedPoint moved = model().layer(id)->center;
    EXPECT_NEAR((moved.x - start.x) * side, 3.0, 1e-6);
    EXPECT_NEAR((moved.y - start.y) * side, 9.0, 1e-6);
    EXPECT_EQ(model().undoDepth(), depth + 1); // one run, one step

    QTest::qWait(PlanetCanvas::nudgePauseMs + 100);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(model().undoDepth(), depth + 2); // after a pause, a new step
    model().undo();
    model().undo();
    EXPECT_NEAR(model().layer(id)->center.x, start.x, 1e-12);
    EXPECT_NEAR(model().layer(id)->center.y, start.y, 1e-12);

    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_TRUE(model().selectedLayerID().isNull());
    EXPECT_TRUE(model().layer(id).has_value());

    for (const Qt::Key key : {Qt::Key_Delete, Qt::Key_Backspace}) {
        model().setSelectedLayerID(id);
        QTest::keyClick(window.get(), key);
        EXPECT_FALSE(model().layer(id).has_value());
        model().undo(); // one step brings it back
        EXPECT_TRUE(model().layer(id).has_value());
    }
    // With nothing selected the keys do nothing.
    model().setSelectedLayerID(QUuid());
    QTest::keyClick(window.get(), Qt::Key_Delete);
    EXPECT_EQ(model().layers().size(), 1);

    // Keys given to the inspector's opacity slider stay there as the layer changes.
    model().setSelectedLayerID(id);
    QSlider* opacity = region().inspector()->opacitySlider();
    opacity->setFocus();
    const NormalizedPoint placed = model().layer(id)->center;
    for (int i = 0; i < 2; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_EQ(QApplication::focusWidget(), opacity);
    EXPECT_EQ(model().layer(id)->center, placed);
    EXPECT_LT(model().layer(id)->opacity, 1.0);
}

TEST_F(WindowUseTest, TheHeaderMovesTheWindowOnlyOnceThePointerTravels) {
    ui::Header* header = view().header();
    int moves = 0;
    header->startWindowMove = [&moves] { ++moves; };
    QPoint spot(header->width() / 3, header->height() / 2);
    while (header->childAt(spot) && spot.x() < header->width())
        spot.rx() += 4; // bare header, between its controls
    ASSERT_EQ(header->childAt(spot), nullptr);

    QTest::mouseDClick(header, Qt::LeftButton, {}, spot);
    EXPECT_EQ(moves, 0);
    EXPECT_TRUE(window->isMaximized());
    QTest::mouseDClick(header, Qt::LeftButton, {}, spot);
    EXPECT_FALSE(window->isMaximized());

    QTest::mousePress(header, Qt::LeftButton, {}, spot);
    QTest::mouseMove(header, spot + QPoint(2, 0));
    EXPECT_EQ(moves, 0); // still a click
    QTest::mouseMove(header, spot + QPoint(8, 0));
    EXPECT_EQ(moves, 1);
    QTest::mouseRelease(header, Qt::LeftButton, {}, spot + QPoint(8, 0));
}

TEST_F(WindowUseTest, ThePasteDialogMarksReplacingAsTheDestructiveChoice) {
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    test::testPanorama(64, 32).save(&buffer, "PNG");
    auto* mime = new QMimeData;
    mime->setData(QStringLiteral("image/png"), png);
    QGuiApplication::clipboard()->setMimeData(mime);
    view().pasteImage();
    QMessageBox* dialog = view().pasteConfirmation();
    ASSERT_NE(dialog, nullptr);
    auto* replace = dialog->findChild<QPushButton*>(QStringLiteral("replace"));
    EXPECT_EQ(dialog->buttonRole(replace), QMessageBox::DestructiveRole);
    EXPECT_EQ(replace->palette().color(QPalette::ButtonText), style::Palette::destructive);
    EXPECT_EQ(dialog->defaultButton()->objectName(), QStringLiteral("cancel"));
    dialog->reject();
}

TEST_F(WindowUseTest, AnExportRendersBesideTheWindowShowingItsProgress) {
    test::TempTree files;
    const QString out = files.file(QStringLiteral("planet.png"));
    view().chooseExportFile = [&](const QString&) { return out; };
    // The largest size: a smaller export can end within the quiet time, and then
    // rightly shows no progress at all.
    model().setOutputSize(8192);
    const Look clicked = model().look();

    QTest::mouseClick(view().header()->exportButton(), Qt::LeftButton);
    // Back in the window at once, with the render under way.
    ASSERT_TRUE(view().outputJob()->isRunning());
    EXPECT_FALSE(view().header()->exportButton()->isEnabled());
    EXPECT_FALSE(view().copyAction()->isEnabled());
    bool answered = false;
    QTimer::singleShot(20, [&answered] { answered = true; });
    model().setSetting(Setting::zoom, 3.0); // the document goes on changing
    double seen = 0.0;
    bool shown = false;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            shown = shown || view().progressStrip()->isVisible();
            seen = std::max(seen, view().progressStrip()->value());
            return !view().outputJob()->isRunning();
        },
        60000));
    EXPECT_TRUE(answered);
    EXPECT_TRUE(shown);
    EXPECT_GT(seen, 0.0);
    EXPECT_FALSE(view().progressStrip()->isVisible());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(view().header()->exportButton()->isEnabled());
    EXPECT_FALSE(view().isToastShown()); // nothing failed

    // The file holds the look as it was when Export was clicked.
    const Result<QImage> expected =
        model().renderer().render(clicked, model().sourceImage(), model().library(), 8192);
    ASSERT_TRUE(expected);
    raiseImageAllocationLimit(); // as the program does: Qt's own limit is below 256 MB
    QImage written = QImageReader(out).read().convertToFormat(QImage::Format_RGBA8888);
    written.setColorSpace(expected->colorSpace()); // the file's sRGB tag aside
    EXPECT_EQ(written, *expected);
}

// The planet keeps up with a slider: while it runs the preview is a draft rendered
// for every change, and the canvas always shows the latest one asked for.
TEST_F(WindowUseTest, ASliderRunShowsTheLatestDraftAndEndsOnTheFullPreview) {
    auto& twist = static_cast<ui::TintedSlider&>(
        *view().sidebar()->slider(QStringLiteral("Twist"))->slider());
    const QPoint knob(static_cast<int>(std::lround(twist.xForPosition(twist.sliderPosition()))),
                      twist.height() / 2);
    QTest::mousePress(&twist, Qt::LeftButton, {}, knob);
    for (int i = 1; i <= 8; ++i) {
        QTest::mouseMove(&twist, knob + QPoint(6 * i, 0));
        QApplication::processEvents();
        EXPECT_EQ(model().previewImage().width(), PlanetModel::draftSide);
        EXPECT_EQ(canvas().shownPreviewKey(), model().previewImage().cacheKey()) << i;
    }
    QTest::mouseRelease(&twist, Qt::LeftButton, {}, knob + QPoint(48, 0));
    QApplication::processEvents();
    EXPECT_EQ(model().previewImage().width(), PlanetModel::previewSide);
    EXPECT_EQ(canvas().shownPreviewKey(), model().previewImage().cacheKey());

    // Steps in quick succession draft too, and the full preview follows the pause.
    QAbstractButton* plus = view().sidebar()->slider(QStringLiteral("Twist"))->plusButton();
    for (int i = 0; i < 3; ++i) {
        QTest::mouseClick(plus, Qt::LeftButton);
        QApplication::processEvents();
        EXPECT_EQ(model().previewImage().width(), PlanetModel::draftSide);
        EXPECT_EQ(canvas().shownPreviewKey(), model().previewImage().cacheKey());
    }
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return model().previewImage().width() == PlanetModel::previewSide; },
        ui::SettingSlider::runPauseMs * 4));
    QApplication::processEvents();
    EXPECT_EQ(canvas().shownPreviewKey(), model().previewImage().cacheKey());
}

TEST(Thumbnail, FaintArtworkIsRaisedToReadAndStrongArtworkIsLeftAlone) {
    // Sparse specks of white at 10 % coverage, as dust becomes when scaled down.
    QImage faint(16, 16, QImage::Format_ARGB32_Premultiplied);
    faint.fill(Qt::transparent);
    faint.setPixel(3, 4, qRgba(25, 20, 15, 26));
    faint.setPixel(9, 9, qRgba(10, 10, 10, 13));
    const QImage raised = ui::legibleThumbnail(faint);
    EXPECT_EQ(qAlpha(raised.pixel(3, 4)), 104); // capped at four times
    EXPECT_EQ(qRed(raised.pixel(3, 4)), 100);
    EXPECT_EQ(qBlue(raised.pixel(3, 4)), 60); // the hue stays
    EXPECT_EQ(qAlpha(raised.pixel(0, 0)), 0);

    faint.setPixel(5, 5, qRgba(60, 60, 60, 100));
    const QImage toTarget = ui::legibleThumbnail(faint);
    EXPECT_NEAR(qAlpha(toTarget.pixel(5, 5)), 217, 1); // 0.85 of full

    QImage strong(4, 4, QImage::Format_ARGB32_Premultiplied);
    strong.fill(qRgba(200, 100, 50, 230));
    EXPECT_EQ(ui::legibleThumbnail(strong), strong);
    QImage empty(4, 4, QImage::Format_ARGB32_Premultiplied);
    empty.fill(Qt::transparent);
    EXPECT_EQ(ui::legibleThumbnail(empty), empty);
}

#include "SliderDriving.h"

#include "app/MainWindow.h"
#include "canvas/PlanetCanvas.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "support/TestSupport.h"
#include "ui/CanvasRegion.h"
#include "ui/ChoiceRow.h"
#include "ui/ContentView.h"
#include "ui/Header.h"
#include "ui/HeaderButton.h"
#include "ui/JobPanel.h"
#include "ui/LayerInspector.h"
#include "ui/LayerLibraryPanel.h"
#include "ui/OutputJob.h"
#include "ui/PillToggle.h"
#include "ui/PresetButton.h"
#include "ui/SettingSlider.h"
#include "ui/Sidebar.h"
#include "ui/SizeSelector.h"
#include "ui/Toast.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

using namespace velmora;

namespace {

/// Catches the addresses the Help menu asks the platform to open.
class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl& url) { opened.append(url); }
};

class WindowTest : public ::testing::Test {
protected:
    WindowTest() {
        setResourcesRoot(resources.path());
        window = std::make_unique<MainWindow>(test::renderer());
        window->resize(1400, 900);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    ~WindowTest() override {
        window.reset();
        setResourcesRoot({});
    }

    ui::ContentView& view() const { return *window->content(); }
    PlanetModel& model() const { return view().model(); }
    ui::SettingSlider& slider(const char* title) const {
        ui::SettingSlider* s = view().sidebar()->slider(QString::fromLatin1(title));
        EXPECT_NE(s, nullptr) << title;
        return *s;
    }
    /// Waits for the export or copy under way to finish and report.
    void settle() const {
        EXPECT_TRUE(QTest::qWaitFor([this] { return !view().outputJob()->isRunning(); }, 20000));
    }
    void load(const QString& name = QStringLiteral("beach")) {
        model().loadImage(render::Image::fromQImage(test::testPanorama(800, 400)), name);
    }
    void putPngOnClipboard(QSize size) {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        test::testPanorama(size.width(), size.height()).save(&buffer, "PNG");
        auto* mime = new QMimeData;
        mime->setData(QStringLiteral("image/png"), png);
        QGuiApplication::clipboard()->setMimeData(mime);
    }

    test::SampleResources resources;
    std::unique_ptr<MainWindow> window;
};

} // namespace

TEST_F(WindowTest, AtLaunchOnlyWhatHasSomethingToActOnIsEnabled) {
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Velmora"));
    EXPECT_EQ(window->objectName(), QStringLiteral("main"));
    EXPECT_GE(view().minimumWidth(), 1100);
    EXPECT_GE(view().minimumHeight(), 760);
    EXPECT_TRUE(view().canvasRegion()->emptyState()->isVisible());
    EXPECT_FALSE(view().canvasRegion()->canvas()->isVisible());
    ui::Header* header = view().header();
    EXPECT_FALSE(header->exportButton()->isEnabled());
    EXPECT_FALSE(header->layersToggle()->isEnabled());
    EXPECT_FALSE(header->undoButton()->isEnabled());
    EXPECT_FALSE(header->redoButton()->isEnabled());
    EXPECT_FALSE(view().copyAction()->isEnabled());
    EXPECT_TRUE(header->importButton()->isEnabled());

    load();
    EXPECT_TRUE(view().canvasRegion()->canvas()->isVisible());
    EXPECT_FALSE(view().canvasRegion()->emptyState()->isVisible());
    EXPECT_TRUE(header->exportButton()->isEnabled());
    EXPECT_TRUE(header->layersToggle()->isEnabled());
    EXPECT_TRUE(view().copyAction()->isEnabled());
}

TEST_F(WindowTest, ASliderDragIsOneUndoStepAndTheShortcutsUndoAndRedoIt) {
    load();
    auto& zoom = static_cast<ui::TintedSlider&>(*slider("Zoom").slider());
    test::dragKnob(zoom, {test::nearestX(zoom, zoom.maximum() * 6 / 10),
                          test::nearestX(zoom, zoom.maximum() * 7 / 10),
                          test::nearestX(zoom, zoom.maximum() * 8 / 10)});
    const double dragged = model().setting(Setting::zoom);
    EXPECT_GT(dragged, 2.5);
    EXPECT_EQ(model().undoDepth(), 1);
    EXPECT_TRUE(view().header()->undoButton()->isEnabled());

    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(model().setting(Setting::zoom), 1.0);
    EXPECT_TRUE(view().header()->redoButton()->isEnabled());
    EXPECT_FALSE(view().header()->undoButton()->isEnabled());
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(model().setting(Setting::zoom), dragged);
    model().undo();
    QTest::keyClick(window.get(), Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(model().setting(Setting::zoom), dragged);

    // Undo with nothing to undo does nothing.
    model().clearHistory();
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(model().setting(Setting::zoom), dragged);
}

// The sidebar is the settings table: a control per row, in its order, with the
// row's label, range and default, and each follows its own setting only.
TEST_F(WindowTest, TheSidebarHasAControlForEveryRowOfTheTable) {
    QStringList shown;
    for (QWidget* w : view().sidebar()->findChildren<QWidget*>()) {
        if (w->objectName().startsWith(QStringLiteral("slider:")) ||
            w->objectName().startsWith(QStringLiteral("toggle:")) ||
            w->objectName().startsWith(QStringLiteral("choice:")))
            shown.append(w->objectName().section(QLatin1Char(':'), 1));
    }
    QStringList labels;
    for (const SettingInfo& info : settingsTable())
        labels.append(QString::fromUtf8(info.label));
    EXPECT_EQ(shown, labels);

    load();
    for (const SettingInfo& info : settingsTable()) {
        const QString label = QString::fromUtf8(info.label);
        SCOPED_TRACE(label.toStdString());
        if (info.control == SettingControl::choice) {
            // A menu of the choices' labels; picking one is one undo step.
            auto* row =
                view().sidebar()->findChild<ui::ChoiceRow*>(QStringLiteral("choice:") + label);
            ASSERT_NE(row, nullptr);
            const QList<SettingChoice> choices = settingChoices(info);
            ASSERT_EQ(row->menu()->count(), choices.size());
            EXPECT_EQ(row->menu()->itemText(1), choices[1].label);
            model().clearHistory();
            row->menu()->activated(1);
            EXPECT_EQ(model().setting(info.setting), 1.0);
            model().undo();
            EXPECT_EQ(model().setting(info.setting), info.defaultValue);
            EXPECT_EQ(row->menu()->currentIndex(), 0);
            continue;
        }
        if (info.control == SettingControl::toggle) {
            ui::PillToggle* toggle = view().sidebar()->toggle(label);
            ASSERT_NE(toggle, nullptr);
            model().setSetting(info.setting, 1.0);
            EXPECT_TRUE(toggle->toggle()->isChecked());
            continue;
        }
        const ui::SettingSlider& s = slider(info.label);
        const bool log = info.control == SettingControl::powerOfTwoSlider;
        EXPECT_DOUBLE_EQ(s.config().lower, log ? std::log2(info.lower) : info.lower);
        EXPECT_DOUBLE_EQ(s.config().upper, log ? std::log2(info.upper) : info.upper);
        EXPECT_DOUBLE_EQ(s.config().defaultValue,
                         log ? std::log2(info.defaultValue) : info.defaultValue);
        // Setting the value from outside moves this slider's readout, in its format.
        const double value = info.lower + 0.75 * (info.upper - info.lower);
        model().setSetting(info.setting, value);
        EXPECT_EQ(s.readoutText(), formatReadout(info.readout, value));
    }
}

TEST_F(WindowTest, ReadoutsUseEachSlidersFormat) {
    model().setSetting(Setting::saturation, 0.0);
    EXPECT_EQ(slider("Saturation").readoutText(), QStringLiteral("B&W"));
    model().setSetting(Setting::saturation, 1.25);
    EXPECT_EQ(slider("Saturation").readoutText(), QStringLiteral("1.25"));
    model().setSetting(Setting::vignette, 0.004);
    EXPECT_EQ(slider("Vignette").readoutText(), QStringLiteral("Off"));
    model().setSetting(Setting::vignette, 0.25);
    EXPECT_EQ(slider("Vignette").readoutText(), QStringLiteral("25%"));
    EXPECT_EQ(slider("Seam Blend").readoutText(), QStringLiteral("12%"));
    model().setSetting(Setting::blendWidth, 0.004);
    EXPECT_EQ(slider("Seam Blend").readoutText(), QStringLiteral("Off"));
    model().setSetting(Setting::rotationDegrees, 37.4);
    EXPECT_EQ(slider("Rotate").readoutText(), QStringLiteral("37\u00b0"));
    model().setSetting(Setting::repeats, 2.0);
    EXPECT_EQ(slider("Repeats").readoutText(), QStringLiteral("2"));
    EXPECT_EQ(slider("Zoom").readoutText(), QStringLiteral("1.00"));

    // Gamma works in log2 units: the slider's ends are 0.5 and 2.
    auto& gamma = static_cast<ui::TintedSlider&>(*slider("Gamma").slider());
    test::dragKnob(gamma, {gamma.width() / 3, 0});
    EXPECT_DOUBLE_EQ(model().setting(Setting::gamma), 0.5);
    EXPECT_EQ(slider("Gamma").readoutText(), QStringLiteral("0.50"));
    test::dragKnob(gamma, {gamma.width() / 2, gamma.width() - 1});
    EXPECT_DOUBLE_EQ(model().setting(Setting::gamma), 2.0);
    EXPECT_EQ(slider("Gamma").readoutText(), QStringLiteral("2.00"));
    model().setSetting(Setting::gamma, 0.0); // reads back as log2(0.001), beyond the slider's end
    EXPECT_EQ(slider("Gamma").readoutText(), QStringLiteral("0.00"));
}

TEST_F(WindowTest, StepButtonsStepOnceEachAndStopAtTheBounds) {
    load();
    ui::SettingSlider& vignette = slider("Vignette");
    EXPECT_FALSE(vignette.minusButton()->isEnabled());
    QTest::mouseClick(vignette.plusButton(), Qt::LeftButton);
    QTest::mouseClick(vignette.plusButton(), Qt::LeftButton);
    EXPECT_NEAR(model().setting(Setting::vignette), 0.02, 1e-12);
    EXPECT_EQ(model().undoDepth(), 2);
    EXPECT_TRUE(vignette.minusButton()->isEnabled());
    model().setSetting(Setting::vignette, 0.995);
    QTest::mouseClick(vignette.plusButton(), Qt::LeftButton);
    EXPECT_EQ(model().setting(Setting::vignette), 1.0);
    EXPECT_FALSE(vignette.plusButton()->isEnabled());
}

TEST_F(WindowTest, PresetTilesApplyAndLoseTheirHighlightOnAManualChange) {
    load();
    const QList<ui::PresetButton*> tiles = view().sidebar()->presetButtons();
    ASSERT_EQ(tiles.size(), 5);
    EXPECT_TRUE(tiles[0]->isSelected());         // classic from the start
    QTest::mouseClick(tiles[3], Qt::LeftButton); // Spiral Planet
    EXPECT_EQ(model().selectedPreset(), Preset::spiral);
    EXPECT_TRUE(tiles[3]->isSelected());
    EXPECT_FALSE(tiles[0]->isSelected());
    EXPECT_EQ(slider("Twist").readoutText(), QStringLiteral("2.00"));

    QTest::mouseClick(slider("Twist").plusButton(), Qt::LeftButton);
    for (ui::PresetButton* tile : tiles)
        EXPECT_FALSE(tile->isSelected());
    model().undo();
    EXPECT_TRUE(tiles[3]->isSelected());

    // A colour change keeps the highlight.
    QTest::mouseClick(slider("Vignette").plusButton(), Qt::LeftButton);
    EXPECT_TRUE(tiles[3]->isSelected());
}

TEST_F(WindowTest, InvertRecordsHistoryClearsThePresetAndRenders) {
    load();
    model().applyPreset(Preset::double_);
    const int depth = model().undoDepth();
    const int renders = model().previewRefreshCount();
    QTest::mouseClick(view().sidebar()->toggle(QStringLiteral("Invert"))->toggle(), Qt::LeftButton);
    EXPECT_TRUE(model().setting(Setting::invert));
    EXPECT_EQ(model().undoDepth(), depth + 1);
    EXPECT_EQ(model().selectedPreset(), std::nullopt);
    EXPECT_EQ(model().previewRefreshCount(), renders + 1);
}

TEST_F(WindowTest, OutputSizesChangeOnlyTheOutputSize) {
    load();
    const int depth = model().undoDepth();
    const int renders = model().previewRefreshCount();
    QAbstractButton* largest = nullptr;
    for (QAbstractButton* b : view().sizeSelector()->findChildren<QAbstractButton*>())
        if (b->text() == QStringLiteral("8192"))
            largest = b;
    ASSERT_NE(largest, nullptr);
    QTest::mouseClick(largest, Qt::LeftButton);
    EXPECT_EQ(model().outputSize(), 8192);
    EXPECT_EQ(model().undoDepth(), depth);
    EXPECT_EQ(model().previewRefreshCount(), renders);
    EXPECT_EQ(view().sizeSelector()->sizes(), (QList<int>{2048, 4096, 6144, 8192}));
}

TEST_F(WindowTest, LibraryPanelSlidesInAndOutAndNeedsAPicture) {
    QTest::mouseClick(view().header()->layersToggle(), Qt::LeftButton);
    EXPECT_FALSE(view().isLibraryShown()); // disabled without a picture
    load();
    QTest::mouseClick(view().header()->layersToggle(), Qt::LeftButton);
    EXPECT_TRUE(view().isLibraryShown());
    ASSERT_NE(view().libraryPanel(), nullptr);
    QTest::qWait(ui::ContentView::libraryAnimationMs + 150);
    EXPECT_EQ(view().libraryPanel()->width(), ui::LayerLibraryPanel::panelWidth);
    EXPECT_TRUE(view().header()->layersToggle()->isChecked());

    // Twice quickly: hidden at the end, each change animated.
    QTest::mouseClick(view().header()->layersToggle(), Qt::LeftButton);
    QTest::qWait(40);
    QTest::mouseClick(view().header()->layersToggle(), Qt::LeftButton);
    QTest::qWait(40);
    QTest::mouseClick(view().header()->layersToggle(), Qt::LeftButton);
    QTest::qWait(ui::ContentView::libraryAnimationMs + 150);
    EXPECT_FALSE(view().isLibraryShown());
    EXPECT_EQ(view().libraryPanel(), nullptr);
    EXPECT_FALSE(view().header()->layersToggle()->isChecked());
}

TEST_F(WindowTest, TheInspectorFollowsTheSelection) {
    load();
    ui::LayerInspector* inspector = view().canvasRegion()->inspector();
    EXPECT_FALSE(inspector->isVisible());
    model().addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    QTest::qWait(300);
    EXPECT_TRUE(inspector->isVisible());
    const QRect region = view().canvasRegion()->rect();
    const QRect capsule = inspector->capsuleRect().translated(inspector->pos());
    EXPECT_NEAR(capsule.center().x(), region.center().x(), 2);
    EXPECT_NEAR(region.bottom() + 1 - (capsule.bottom() + 1), 18, 1);
    model().setSelectedLayerID(QUuid());
    QTest::qWait(300);
    EXPECT_FALSE(inspector->isVisible());
}

TEST_F(WindowTest, PasteAsksBeforeReplacingAPictureAndCancelChangesNothing) {
    putPngOnClipboard({300, 150});
    view().pasteAction()->trigger(); // nothing loaded: no question
    EXPECT_EQ(model().sourceName(), QStringLiteral("Pasted"));
    EXPECT_EQ(view().pasteConfirmation(), nullptr);

    load(QStringLiteral("beach"));
    model().addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.5});
    view().pasteAction()->trigger();
    QMessageBox* dialog = view().pasteConfirmation();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->text(), QStringLiteral("Paste image?"));
    EXPECT_EQ(dialog->informativeText(),
              QStringLiteral(
                  "Pasting a new image will discard your current planet. This can't be undone."));
    QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("cancel")), Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(model().sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model().layers().size(), 1);

    view().pasteAction()->trigger();
    dialog = view().pasteConfirmation();
    ASSERT_NE(dialog, nullptr);
    QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("replace")), Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(model().sourceName(), QStringLiteral("Pasted"));
    EXPECT_TRUE(model().layers().isEmpty());
}

TEST_F(WindowTest, OnlyTheLatestCopyHidesTheToast) {
    load();
    model().setOutputSize(2048);
    view().copyImage();
    settle();
    EXPECT_TRUE(view().isToastShown());
    QTest::qWait(1000);
    view().copyImage();
    settle();
    QTest::qWait(900); // 1.9 s after the first copy: its timer has passed
    EXPECT_TRUE(view().isToastShown());
    EXPECT_TRUE(view().toast()->isVisible());
    QTest::qWait(1300); // 2.2 s after the second: hidden, the fade done
    EXPECT_FALSE(view().isToastShown());
    EXPECT_FALSE(view().toast()->isVisible());
}

TEST_F(WindowTest, DroppingThreeFilesLoadsOnlyTheFirst) {
    test::TempTree files;
    QList<QUrl> urls;
    for (const char* name : {"first.png", "second.png", "third.png"}) {
        const QString path = files.file(QString::fromLatin1(name));
        test::testPanorama(200, 100).save(path);
        urls.append(QUrl::fromLocalFile(path));
    }
    QMimeData data;
    data.setUrls(urls);
    ui::CanvasRegion* region = view().canvasRegion();
    QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(region, &enter);
    EXPECT_TRUE(region->isTargeted());
    QDropEvent drop(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(region, &drop);
    EXPECT_FALSE(region->isTargeted());
    QApplication::processEvents();
    EXPECT_EQ(model().sourceName(), QStringLiteral("first"));
}

TEST_F(WindowTest, ImportAndExportGoThroughTheirDialogs) {
    test::TempTree files;
    const QString picture = files.file(QStringLiteral("beach.jpg"));
    test::testPanorama(400, 200).save(picture);
    view().chooseImageFile = [&] { return picture; };
    QTest::mouseClick(view().header()->importButton(), Qt::LeftButton);
    EXPECT_EQ(model().sourceName(), QStringLiteral("beach"));

    QString suggested;
    const QString out = files.file(QStringLiteral("planet"));
    view().chooseExportFile = [&](const QString& name) {
        suggested = name;
        return out;
    };
    model().setOutputSize(2048);
    QTest::mouseClick(view().header()->exportButton(), Qt::LeftButton);
    settle();
    EXPECT_EQ(suggested, QStringLiteral("beach-velmora.png"));
    EXPECT_TRUE(QFileInfo::exists(out + QStringLiteral(".png"))); // the PNG suffix is added

    // Another known suffix chooses its format.
    const QString jpeg = out + QStringLiteral(".jpg");
    view().chooseExportFile = [&](const QString&) { return jpeg; };
    QTest::mouseClick(view().header()->exportButton(), Qt::LeftButton);
    settle();
    QImageReader written(jpeg);
    written.setDecideFormatFromContent(true);
    EXPECT_EQ(written.format(), QByteArray("jpeg"));
    EXPECT_EQ(written.size(), QSize(2048, 2048));

    view().chooseImageFile = [] { return QString(); }; // cancelled: nothing happens
    QTest::mouseClick(view().header()->importButton(), Qt::LeftButton);
    EXPECT_EQ(model().sourceName(), QStringLiteral("beach"));
}

// The window says what failed, naming the file, and the document stays as it was.
TEST_F(WindowTest, FailuresAreSaidInTheToastAndChangeNothing) {
    test::TempTree files;
    load();
    model().setOutputSize(2048);
    const Look before = model().look();

    // A folder that cannot be written: as root every real folder is writable, so a
    // plain file stands in the folder's place.
    const QString notAFolder = files.addFile(QStringLiteral("notes"), "text");
    const QString out = notAFolder + QStringLiteral("/planet.png");
    view().chooseExportFile = [&](const QString&) { return out; };
    QTest::mouseClick(view().header()->exportButton(), Qt::LeftButton);
    settle();
    EXPECT_TRUE(view().isToastShown());
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::failed);
    EXPECT_TRUE(view().toast()->text().startsWith(QStringLiteral("Couldn't export ") + out))
        << view().toast()->text();
    EXPECT_GT(view().toast()->text().size(), (QStringLiteral("Couldn't export ") + out).size() + 3)
        << "the reason follows the file";
    EXPECT_FALSE(QFileInfo::exists(out));
    EXPECT_EQ(QDir(files.path()).entryList(QDir::Files), QStringList{QStringLiteral("notes")});

    const QString torn = files.addFile(QStringLiteral("torn.jpg"), "not a picture");
    view().chooseImageFile = [&] { return torn; };
    QTest::mouseClick(view().header()->importButton(), Qt::LeftButton);
    EXPECT_TRUE(view().toast()->text().startsWith(QStringLiteral("Couldn't open ") + torn))
        << view().toast()->text();

    const QString missing = files.file(QStringLiteral("gone.png"));
    view().handleDrop({QUrl::fromLocalFile(missing)});
    QTest::qWait(50); // a drop loads once the drop has finished
    EXPECT_TRUE(view().toast()->text().contains(missing)) << view().toast()->text();

    EXPECT_EQ(model().look(), before);
    EXPECT_EQ(model().sourceName(), QStringLiteral("beach"));

    // Damage the decoder got past: the picture opens, and the note says so.
    const QString damaged = files.addFile(QStringLiteral("scratched.jpg"),
                                          test::damagedJpegOf(test::testPanorama(400, 200)));
    view().handleDrop({QUrl::fromLocalFile(damaged)});
    QTest::qWait(50);
    EXPECT_EQ(model().sourceName(), QStringLiteral("scratched"));
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::failed);
    EXPECT_TRUE(view().toast()->text().startsWith(damaged + QStringLiteral(": the picture's data "
                                                                           "is damaged")))
        << view().toast()->text();

    // A success after a failure shows the plain confirmation again.
    view().copyImage();
    settle();
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::done);
    EXPECT_EQ(view().toast()->text(), QStringLiteral("Copied to clipboard"));
}

TEST_F(WindowTest, HelpMenuHasExactlyItsThreeLinks) {
    const QList<QAction*> items = window->helpMenu()->actions();
    ASSERT_EQ(items.size(), 4);
    EXPECT_EQ(items[0]->text(), QStringLiteral("Getting Started"));
    EXPECT_EQ(items[1]->text(), QStringLiteral("Contact Support"));
    EXPECT_TRUE(items[2]->isSeparator());
    EXPECT_EQ(items[3]->text(), QStringLiteral("More Apps"));

    UrlCatcher catcher;
    for (const char* scheme : {"mailto", "https", "http"})
        QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), &catcher, "open");
    items[1]->trigger();
    items[0]->trigger();
    items[3]->trigger();
    for (const char* scheme : {"mailto", "https", "http"})
        QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    ASSERT_EQ(catcher.opened.size(), 3);
    EXPECT_EQ(catcher.opened[0].scheme(), QStringLiteral("mailto"));
    EXPECT_EQ(catcher.opened[0].query(), QStringLiteral("subject=Velmora"));
    EXPECT_EQ(catcher.opened[0], MainWindow::contactSupportUrl());
    EXPECT_EQ(catcher.opened[1], MainWindow::gettingStartedUrl());
    EXPECT_EQ(catcher.opened[2], MainWindow::moreAppsUrl());
}

// Looks are saved and applied from the header's Look menu, before Help: applying
// keeps the picture and is one undo step; a file that does not read changes
// nothing and says why.
TEST_F(WindowTest, LooksAreSavedAndAppliedFromTheLookMenu) {
    test::TempTree files;
    load();
    const QList<QAction*> bar = view().header()->menuBar()->actions();
    ASSERT_EQ(bar.size(), 2);
    EXPECT_EQ(bar[0]->text(), QStringLiteral("Look"));
    EXPECT_EQ(bar[1]->text(), QStringLiteral("Help"));
    const QList<QAction*> items = bar[0]->menu()->actions();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0]->text(), QStringLiteral("Save Look\u2026"));
    EXPECT_EQ(items[1]->text(), QStringLiteral("Apply Look\u2026"));

    model().applyPreset(PlanetModel::Preset::spiral);
    model().setSetting(Setting::saturation, 1.5);
    model().addLayer(QStringLiteral("Glows/orb.png"), {0.5, 0.3});
    const Look saved = model().look();
    QString suggested;
    const QString path = files.file(QStringLiteral("spiral"));
    view().chooseLookToSave = [&](const QString& name) {
        suggested = name;
        return path;
    };
    items[0]->trigger();
    EXPECT_EQ(suggested, QStringLiteral("beach.velmora-look"));
    ASSERT_TRUE(QFileInfo::exists(path + QStringLiteral(".velmora-look")));
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::done);

    model().resetAll();
    model().deleteSelectedLayer();
    const Look plain = model().look();
    const int depth = model().undoDepth();
    view().chooseLookToApply = [&] { return path + QStringLiteral(".velmora-look"); };
    items[1]->trigger();
    EXPECT_EQ(model().look().value(Setting::saturation), 1.5);
    EXPECT_EQ(model().look().selectedPreset, PlanetModel::Preset::spiral);
    ASSERT_EQ(model().layers().size(), 1);
    EXPECT_EQ(model().layers()[0].center, saved.layers[0].center);
    EXPECT_EQ(model().sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model().undoDepth(), depth + 1);
    model().undo();
    EXPECT_EQ(model().look(), plain);

    const QString broken = files.addFile(QStringLiteral("broken.velmora-look"), "[]");
    view().chooseLookToApply = [&] { return broken; };
    items[1]->trigger();
    EXPECT_EQ(model().look(), plain);
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::failed);
    EXPECT_TRUE(view().toast()->text().startsWith(QStringLiteral("Couldn't apply ") + broken))
        << view().toast()->text();
}

// Export Animation asks for the motion, then the file, and writes it beside the
// window, which stays usable; the panel's Cancel stops it and nothing is written.
TEST_F(WindowTest, AnAnimationExportsBesideTheWindowAndCancelsCleanly) {
    test::TempTree files;
    EXPECT_FALSE(view().animationButton()->isEnabled()); // nothing to animate yet
    load();
    ASSERT_TRUE(view().animationButton()->isEnabled());

    ui::AnimationChoice asked;
    asked.format = render::AnimationFormat::webp;
    asked.settings.side = 96;
    asked.settings.durationSeconds = 1.0;
    asked.settings.fps = 12;
    QString suggested;
    const QString out = files.file(QStringLiteral("loop.webp"));
    view().chooseAnimation = [&](const ui::AnimationChoice&) { return asked; };
    view().chooseAnimationFile = [&](const QString& name, render::AnimationFormat) {
        suggested = name;
        return out;
    };
    QTest::mouseClick(view().animationButton(), Qt::LeftButton);
    EXPECT_TRUE(view().jobPanel()->isVisible());
    EXPECT_FALSE(view().animationButton()->isEnabled()); // one output at a time
    model().setSetting(Setting::zoom, 2.0);              // the window goes on answering
    settle();
    EXPECT_FALSE(view().jobPanel()->isVisible());
    EXPECT_EQ(suggested, QStringLiteral("beach-velmora.webp"));
    EXPECT_TRUE(QFileInfo(out).size() > 0);
    EXPECT_EQ(view().toast()->kind(), ui::Toast::Kind::done);

    // Long enough to be stopped halfway.
    asked.format = render::AnimationFormat::mp4;
    asked.settings.side = 256;
    asked.settings.durationSeconds = 20.0;
    asked.settings.fps = 30;
    const QString stopped = files.file(QStringLiteral("long.mp4"));
    view().chooseAnimationFile = [&](const QString&, render::AnimationFormat) { return stopped; };
    QTest::mouseClick(view().animationButton(), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return view().outputJob()->done() >= 3; }, 20000));
    QTest::mouseClick(view().jobPanel()->cancelButton(), Qt::LeftButton);
    settle();
    EXPECT_LT(view().outputJob()->done(), 600);
    EXPECT_FALSE(QFileInfo::exists(stopped));
    EXPECT_EQ(QDir(files.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("loop.webp")});
    EXPECT_TRUE(view().toast()->text().contains(QStringLiteral("cancelled")))
        << view().toast()->text();
}

#include "WindowTests.moc"

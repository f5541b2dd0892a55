#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "support/TestSupport.h"
#include "ui/LayerLibraryPanel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

using namespace velmora;

namespace {

/// Categories Flares, Glows and Stickers, plus whatever a test adds before panel().
class LibraryPanelTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setResourcesRoot(test::buildResources()); }
    static void TearDownTestSuite() { setResourcesRoot({}); }

    LibraryPanelTest() {
        resources.addPng(QStringLiteral("Layers/Flares/Flares_star.png"), {48, 48});
        resources.addPng(QStringLiteral("Layers/Flares/Flares_streak.png"), {96, 24});
    }

    ui::LayerLibraryPanel& panel(int height = 600) {
        model = std::make_unique<PlanetModel>(test::renderer(resources.path()), resources.path());
        widget = std::make_unique<ui::LayerLibraryPanel>(*model);
        widget->resize(ui::LayerLibraryPanel::panelWidth, height);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        return *widget;
    }

    QList<QAbstractButton*> chips() const {
        return widget->findChildren<QAbstractButton*>(QStringLiteral("categoryChip"));
    }
    QStringList chipTitles() const {
        QStringList titles;
        for (const QAbstractButton* chip : chips())
            titles.append(chip->text());
        return titles;
    }
    QStringList checkedChips() const {
        QStringList titles;
        for (const QAbstractButton* chip : chips()) {
            if (chip->isChecked())
                titles.append(chip->text());
        }
        return titles;
    }
    QWidget* cell(const QString& assetID) const {
        for (QWidget* w : widget->findChildren<QWidget*>(QStringLiteral("layerThumb"))) {
            if (w->property("assetID").toString() == assetID)
                return w;
        }
        return nullptr;
    }
    QStringList shownCells() const {
        QStringList ids;
        for (QWidget* w : widget->findChildren<QWidget*>(QStringLiteral("layerThumb"))) {
            if (w->isVisible())
                ids.append(w->property("assetID").toString());
        }
        return ids;
    }
    QString countText() const {
        return widget->findChild<QLabel*>(QStringLiteral("count"))->text();
    }

    test::SampleResources resources;
    std::unique_ptr<PlanetModel> model;
    std::unique_ptr<ui::LayerLibraryPanel> widget;
};

const QStringList allIDs{"Flares/Flares_star.png", "Flares/Flares_streak.png", "Glows/orb.png",
                         "Stickers/moon.png"};

} // namespace

TEST_F(LibraryPanelTest, ChipsFilterTheGridWhileTheCountStaysTheTotal) {
    ui::LayerLibraryPanel& p = panel();
    EXPECT_EQ(p.width(), 262);
    EXPECT_EQ(chipTitles(), (QStringList{"All", "Flares", "Glows", "Stickers"}));
    EXPECT_EQ(checkedChips(), QStringList{"All"});
    EXPECT_EQ(p.category(), QString());
    EXPECT_EQ(p.visibleAssetIDs(), allIDs);
    EXPECT_EQ(shownCells(), allIDs);
    EXPECT_EQ(countText(), QStringLiteral("4"));
    EXPECT_EQ(widget->findChild<QLabel*>(QStringLiteral("hint"))->text(),
              QStringLiteral("Click to add at the centre, or drag onto the planet."));

    QTest::mouseClick(chips()[2], Qt::LeftButton);
    EXPECT_EQ(p.category(), QStringLiteral("Glows"));
    EXPECT_EQ(checkedChips(), QStringList{"Glows"});
    EXPECT_EQ(p.visibleAssetIDs(), QStringList{"Glows/orb.png"});
    EXPECT_EQ(shownCells(), QStringList{"Glows/orb.png"});
    EXPECT_EQ(countText(), QStringLiteral("4"));

    // Pressing the selected chip again keeps it selected.
    QTest::mouseClick(chips()[2], Qt::LeftButton);
    EXPECT_EQ(checkedChips(), QStringList{"Glows"});

    QTest::mouseClick(chips()[0], Qt::LeftButton);
    EXPECT_EQ(shownCells(), allIDs);
}

TEST_F(LibraryPanelTest, CategoriesOfOneNameAreSelectedAndShownTogether) {
    // A "Layers" sub-folder and loose files in Layers/ both make a category "Layers".
    resources.addPng(QStringLiteral("Layers/Layers/inner.png"));
    resources.addPng(QStringLiteral("Layers/loose.png"));
    panel();
    const QStringList titles = chipTitles();
    ASSERT_EQ(titles.count(QStringLiteral("Layers")), 2);

    QTest::mouseClick(chips()[titles.indexOf(QStringLiteral("Layers"))], Qt::LeftButton);
    EXPECT_EQ(checkedChips(), (QStringList{"Layers", "Layers"}));
    EXPECT_EQ(widget->visibleAssetIDs(), (QStringList{"Layers/inner.png", "Layers/loose.png"}));
    EXPECT_EQ(shownCells(), widget->visibleAssetIDs());
}

TEST_F(LibraryPanelTest, ClickingAThumbnailAddsItAtTheCentreEachTime) {
    panel();
    QWidget* orb = cell(QStringLiteral("Glows/orb.png"));
    ASSERT_NE(orb, nullptr);
    QTest::mouseClick(orb, Qt::LeftButton);
    QTest::mouseClick(orb, Qt::LeftButton);
    ASSERT_EQ(model->layers().size(), 2);
    for (const PlacedLayer& layer : model->layers()) {
        EXPECT_EQ(layer.assetID, QStringLiteral("Glows/orb.png"));
        EXPECT_EQ(layer.center, (NormalizedPoint{0.5, 0.5}));
    }
    EXPECT_NE(model->layers()[0].id, model->layers()[1].id);
    EXPECT_EQ(model->selectedLayerID(), model->layers()[1].id);
    EXPECT_EQ(model->undoDepth(), 2);

    // A press that leaves the cell before release is not a click.
    QTest::mousePress(orb, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(-40, 5),
                        orb->mapToGlobal(QPointF(-40, 5)), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(orb, &release);
    EXPECT_EQ(model->layers().size(), 2);
}

TEST_F(LibraryPanelTest, ThumbnailsTellTheAssetNameAndWorkWithoutADecodableImage) {
    resources.addFile(QStringLiteral("Layers/Glows/Glows_broken.png"), "not a picture");
    panel();
    EXPECT_EQ(cell(QStringLiteral("Flares/Flares_star.png"))->toolTip(), QStringLiteral("star"));
    EXPECT_EQ(cell(QStringLiteral("Glows/orb.png"))->toolTip(), QStringLiteral("orb"));
    QWidget* broken = cell(QStringLiteral("Glows/Glows_broken.png"));
    ASSERT_NE(broken, nullptr);
    EXPECT_EQ(broken->toolTip(), QStringLiteral("broken"));

    // The broken cell shows only the checkerboard, and still adds its asset.
    const QImage image = broken->grab().toImage();
    const QColor centre = image.pixelColor(image.width() / 2, image.height() / 2);
    EXPECT_EQ(centre.red(), centre.blue());
    EXPECT_LT(centre.red(), 40);
    QTest::mouseClick(broken, Qt::LeftButton);
    ASSERT_EQ(model->layers().size(), 1);
    EXPECT_EQ(model->layers()[0].assetID, QStringLiteral("Glows/Glows_broken.png"));

    // A decodable one shows its artwork (the sample colour) inside the padding only.
    const QImage orb = cell(QStringLiteral("Glows/orb.png"))->grab().toImage();
    EXPECT_LE(test::channelDistance(orb.pixelColor(orb.width() / 2, orb.height() / 2),
                                    QColor(255, 200, 100)),
              2);
    EXPECT_GT(test::channelDistance(orb.pixelColor(orb.width() / 2, 2), QColor(255, 200, 100)),
              100);
}

// The drag carries the asset id behind the prefix, exactly as the id is spelled,
// and adds nothing by itself.
TEST_F(LibraryPanelTest, DraggingAThumbnailCarriesItsPayload) {
    resources.addPng(QStringLiteral("Layers/x.PNG"));
    panel();
    EXPECT_EQ(ui::LayerLibraryPanel::dragPayload(QStringLiteral("Layers/x.PNG")),
              QStringLiteral("velmora-layer:Layers/x.PNG"));
    QWidget* thumb = cell(QStringLiteral("Layers/x.PNG"));
    ASSERT_NE(thumb, nullptr);

    // Where the platform runs the drag, read it and cancel it from inside; where it
    // does not (offscreen), the drag object stays until the event loop runs again.
    QString carried;
    const auto readDrag = [&] {
        if (auto* drag = thumb->findChild<QDrag*>(); drag && carried.isEmpty())
            carried = drag->mimeData()->text();
    };
    QTimer::singleShot(0, thumb, [&] {
        readDrag();
        QTest::keyClick(thumb, Qt::Key_Escape);
    });
    QTest::mousePress(thumb, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    QTest::mouseMove(thumb, QPoint(10 + QApplication::startDragDistance() + 2, 10));
    readDrag();
    QTest::mouseRelease(thumb, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    QApplication::processEvents();
    EXPECT_EQ(carried, QStringLiteral("velmora-layer:Layers/x.PNG"));
    EXPECT_TRUE(model->layers().isEmpty());
}

TEST_F(LibraryPanelTest, ThumbnailsAreDecodedOnlyOnceTheirCellIsOnScreen) {
    for (int i = 0; i < 40; ++i)
        resources.addPng(QStringLiteral("Layers/Stickers/s%1.png").arg(i, 2, 10, QLatin1Char('0')));
    ui::LayerLibraryPanel& p = panel(300);
    QApplication::processEvents();
    const QStringList early = p.loadedThumbnailIDs();
    EXPECT_FALSE(early.isEmpty());
    EXPECT_TRUE(early.contains(QStringLiteral("Flares/Flares_star.png")));
    EXPECT_FALSE(early.contains(QStringLiteral("Stickers/s39.png")));

    auto* grid = p.findChild<QScrollArea*>(QStringLiteral("grid"));
    grid->verticalScrollBar()->setValue(grid->verticalScrollBar()->maximum());
    QApplication::processEvents();
    EXPECT_TRUE(p.loadedThumbnailIDs().contains(QStringLiteral("Stickers/s39.png")));
    EXPECT_LT(p.loadedThumbnailIDs().size(), model->library().assets().size());
}

TEST_F(LibraryPanelTest, CellsFitTheColumnsAndTheCategoryStartsOverWhenShownAgain) {
    ui::LayerLibraryPanel& p = panel();
    const QRect first = cell(allIDs[0])->geometry();
    const QRect second = cell(allIDs[1])->geometry();
    EXPECT_GE(first.width(), 62);
    EXPECT_LE(first.width(), 80);
    EXPECT_EQ(first.width(), first.height());
    EXPECT_NEAR(second.left() - first.right() - 1, 8, 1);
    EXPECT_EQ(first.top(), 2);

    p.setCategory(QStringLiteral("Stickers"));
    p.hide();
    p.show();
    EXPECT_EQ(p.category(), QString());
    EXPECT_EQ(checkedChips(), QStringList{"All"});
}

TEST_F(LibraryPanelTest, AnEmptyLibrarySaysWhereArtworkGoes) {
    ASSERT_TRUE(QDir(resources.file(QStringLiteral("Layers"))).removeRecursively());
    panel();
    EXPECT_EQ(countText(), QStringLiteral("0"));
    auto* text = widget->findChild<QLabel*>(QStringLiteral("emptyText"));
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->isVisible());
    EXPECT_TRUE(
        text->text().contains(QStringLiteral("<code>Layers/&lt;Category&gt;/*.png</code>")));
    QTextDocument shown;
    shown.setHtml(text->text());
    EXPECT_EQ(shown.toPlainText(),
              QStringLiteral("No layers found. Add a Layers/<Category>/*.png folder reference to "
                             "the app bundle."));
    EXPECT_TRUE(chips().isEmpty());
    EXPECT_EQ(widget->findChild<QScrollArea*>(), nullptr);
    EXPECT_EQ(widget->findChild<QLabel*>(QStringLiteral("hint")), nullptr);
}

TEST_F(LibraryPanelTest, EveryCategoryChipIsInViewAndAnswersAPlainClick) {
    for (const char* name : {"Lens Flares", "Light Leaks", "Overlays", "Rainbows", "Stickers"})
        resources.addPng(QStringLiteral("Layers/%1/x.png").arg(QLatin1String(name)), {32, 32});
    panel();
    const QList<QAbstractButton*> all = chips();
    ASSERT_EQ(all.size(), 8);
    // Too many for one row at the panel's width: they wrap, none is cut or hidden.
    EXPECT_GT(all.last()->y(), all.first()->y());
    for (QAbstractButton* chip : all) {
        const QRect shown(chip->mapTo(widget.get(), QPoint(0, 0)), chip->size());
        EXPECT_TRUE(widget->rect().contains(shown)) << chip->text().toStdString();
        EXPECT_TRUE(chip->isVisible());
        QTest::mouseClick(chip, Qt::LeftButton);
        EXPECT_TRUE(chip->isChecked()) << chip->text().toStdString();
    }
    // The grid starts below the last row of chips.
    const auto* grid = widget->findChild<QScrollArea*>(QStringLiteral("grid"));
    EXPECT_GE(grid->mapTo(widget.get(), QPoint(0, 0)).y(),
              all.last()->mapTo(widget.get(), QPoint(0, all.last()->height())).y());
}

TEST_F(LibraryPanelTest, AddedArtworkJoinsTheLibraryAndCanBeRemovedAgain) {
    test::TempTree user;
    test::TempTree sources;
    setUserArtworkFolder(user.file(QStringLiteral("Layers")));
    ui::LayerLibraryPanel& p = panel();
    QStringList notices;
    p.onNotice = [&notices](bool failed, const QString& text) {
        notices.append((failed ? QStringLiteral("failed: ") : QString()) + text);
    };
    const QString logo = sources.addPng(QStringLiteral("logo.png"), {64, 64}, Qt::yellow);
    const QString broken = sources.addFile(QStringLiteral("broken.webp"), "nothing");
    p.chooseArtworkFiles = [&] { return QStringList{logo, broken}; };

    QTest::mouseClick(widget->findChild<QAbstractButton*>(QStringLiteral("addArtwork")),
                      Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(p.category(), QStringLiteral("My Artwork"));
    EXPECT_EQ(checkedChips(), QStringList{"My Artwork"});
    EXPECT_EQ(shownCells(), QStringList{"user/My Artwork/logo.png"});
    ASSERT_EQ(notices.size(), 1);
    EXPECT_TRUE(notices[0].startsWith(QStringLiteral("failed: Couldn't add ") + broken))
        << notices[0].toStdString();

    // Files dropped on the panel come in the same way, into the chosen category.
    QTest::mouseClick(chips()[2], Qt::LeftButton); // Glows
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(sources.addPng(QStringLiteral("spark.png")))});
    QDragEnterEvent enter(QPoint(100, 300), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(widget.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(100, 300), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(widget.get(), &drop);
    QApplication::processEvents();
    EXPECT_EQ(p.category(), QStringLiteral("Glows"));
    EXPECT_EQ(shownCells(), (QStringList{"Glows/orb.png", "user/Glows/spark.png"}));

    // The user's thumbnail has a menu that removes it; shipped art has none.
    const auto menuOn = [this](const QString& id) {
        QWidget* target = cell(id);
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5),
                                target->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(target, &event);
        return widget->findChild<QMenu*>(QStringLiteral("artworkMenu"));
    };
    EXPECT_EQ(menuOn(QStringLiteral("Glows/orb.png")), nullptr);
    QMenu* menu = menuOn(QStringLiteral("user/Glows/spark.png"));
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Remove from Library"));
    menu->actions()[0]->trigger();
    menu->close();
    QApplication::processEvents();
    QApplication::processEvents();
    EXPECT_EQ(shownCells(), QStringList{"Glows/orb.png"});
    EXPECT_FALSE(QFileInfo::exists(user.file(QStringLiteral("Layers/Glows/spark.png"))));
    setUserArtworkFolder({});
}

// The user's own artwork: scanned beside the shipped library, imported from files,
// removed to the trash.

#include "layers/LayerLibrary.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "model/UserArtwork.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace velmora;

namespace {

QStringList ids(const QList<LayerAsset>& assets) {
    QStringList out;
    for (const LayerAsset& a : assets)
        out.append(a.id);
    return out;
}

QByteArray bytesOf(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

/// Every file under `folder`, relative, sorted.
QStringList filesUnder(const QString& folder) {
    QStringList out;
    QDir dir(folder);
    for (const QString& sub : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        for (const QString& f : filesUnder(dir.filePath(sub)))
            out.append(sub + QLatin1Char('/') + f);
    }
    out += dir.entryList(QDir::Files | QDir::Hidden);
    out.sort();
    return out;
}

class UserArtworkTest : public ::testing::Test {
protected:
    UserArtworkTest() {
        shipped.addPng(QStringLiteral("Layers/Glows/orb.png"), {64, 32});
        shipped.addPng(QStringLiteral("Layers/Stickers/moon.png"), {40, 40});
    }
    QString userFolder() const { return user.file(QStringLiteral("Layers")); }

    test::TempTree shipped;
    test::TempTree user;
    test::TempTree sources;
};

} // namespace

TEST_F(UserArtworkTest, TheUserLibraryFollowsTheShippedOneAndJoinsItsCategories) {
    user.addPng(QStringLiteral("Layers/Glows/my glow.png"));
    user.addPng(QStringLiteral("Layers/Logos/b.png"));
    user.addPng(QStringLiteral("Layers/Logos/A.png"));
    user.addPng(QStringLiteral("Layers/loose.png"));
    LayerLibrary library(shipped.path(), userFolder());

    // One Glows chip; new categories after the shipped ones, folders in file order,
    // loose files last, as in the shipped folder.
    EXPECT_EQ(library.categories(), (QStringList{"Glows", "Stickers", "Logos", "Layers"}));
    EXPECT_EQ(ids(library.assets(QStringLiteral("Glows"))),
              (QStringList{"Glows/orb.png", "user/Glows/my glow.png"})); // shipped first
    EXPECT_EQ(ids(library.assets(QStringLiteral("Logos"))),
              (QStringList{"user/Logos/A.png", "user/Logos/b.png"}));
    EXPECT_EQ(ids(library.assets(QStringLiteral("Layers"))), QStringList{"user/Layers/loose.png"});
    for (const LayerAsset& a : library.assets())
        EXPECT_EQ(a.isUser, a.id.startsWith(LayerLibrary::userPrefix)) << a.id;
    // A user id never names shipped art, even in a category of the same name.
    EXPECT_NE(library.asset(QStringLiteral("user/Glows/my glow.png")), nullptr);
    EXPECT_EQ(library.asset(QStringLiteral("Glows/my glow.png")), nullptr);
    EXPECT_TRUE(library.renderImage(QStringLiteral("user/Logos/A.png")).has_value());
}

TEST_F(UserArtworkTest, AMissingOrUnreadableUserFolderLeavesTheShippedLibraryAlone) {
    const QStringList expected = ids(LayerLibrary(shipped.path()).assets());
    const QString notAFolder = user.addFile(QStringLiteral("Layers"), "text");
    EXPECT_EQ(ids(LayerLibrary(shipped.path(), notAFolder).assets()), expected);
    EXPECT_EQ(ids(LayerLibrary(shipped.path(), user.file(QStringLiteral("none"))).assets()),
              expected);
    QFile::link(user.file(QStringLiteral("nowhere")), user.file(QStringLiteral("dangling")));
    EXPECT_EQ(ids(LayerLibrary(shipped.path(), user.file(QStringLiteral("dangling"))).assets()),
              expected);
}

TEST_F(UserArtworkTest, ImportCopiesPngsConvertsTheRestAndRefusesWhatDoesNotDecode) {
    const QString png = sources.addPng(QStringLiteral("logo.png"), {120, 60}, QColor(10, 200, 30));
    const QString jpeg = sources.file(QStringLiteral("photo.jpg"));
    test::testPanorama(80, 40).save(jpeg, "JPEG");
    const QString svg =
        sources.addFile(QStringLiteral("patch.svg"),
                        "<svg xmlns='http://www.w3.org/2000/svg' width='100' height='50'>"
                        "<circle cx='25' cy='25' r='20' fill='red'/></svg>");
    const QString broken = sources.addFile(QStringLiteral("broken.png"), "\x89PNG not really");
    const QString huge = sources.addFile(QStringLiteral("huge.png"), test::pngClaiming(9000, 9000));
    const QString folder = sources.file(QStringLiteral("a folder"));
    QDir().mkpath(folder);

    const ArtworkImport result =
        importArtwork({png, jpeg, svg, broken, huge, folder}, QString(), userFolder());
    const QString into = QDir(userFolder()).filePath(QStringLiteral("My Artwork"));
    EXPECT_EQ(result.added,
              (QStringList{into + "/logo.png", into + "/photo.png", into + "/patch.png"}));
    ASSERT_EQ(result.refused.size(), 3);
    EXPECT_TRUE(result.refused[0].startsWith(broken + ": ")) << result.refused[0];
    // Named once, like every other refusal.
    EXPECT_EQ(result.refused[1].count(huge), 1) << result.refused[1];
    EXPECT_TRUE(result.refused[1].contains(QStringLiteral("megapixel limit"))) << result.refused[1];
    EXPECT_TRUE(result.refused[2].startsWith(folder + ": ")) << result.refused[2];
    // Nothing else in the folder: no temporary files, no half copies.
    EXPECT_EQ(filesUnder(userFolder()),
              (QStringList{"My Artwork/logo.png", "My Artwork/patch.png", "My Artwork/photo.png"}));
    EXPECT_EQ(bytesOf(into + "/logo.png"), bytesOf(png)); // a PNG keeps its bytes
    EXPECT_EQ(QImageReader(into + "/photo.png").size(), QSize(80, 40));
    // The drawing comes in sharp: its longer side at the import size.
    EXPECT_EQ(QImageReader(into + "/patch.png").size(), QSize(svgImportSide, svgImportSide / 2));

    // The same name again gets a number; a chosen category gets its own folder.
    EXPECT_EQ(importArtwork({png}, QString(), userFolder()).added,
              QStringList{into + "/logo 2.png"});
    EXPECT_EQ(importArtwork({png}, QStringLiteral("Logos"), userFolder()).added,
              QStringList{userFolder() + "/Logos/logo.png"});
    // A category made only for refused files does not stay behind.
    EXPECT_TRUE(importArtwork({broken}, QStringLiteral("Empty"), userFolder()).added.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(userFolder() + "/Empty"));

    const LayerLibrary library(shipped.path(), userFolder());
    EXPECT_EQ(ids(library.assets(QStringLiteral("My Artwork"))),
              (QStringList{"user/My Artwork/logo 2.png", "user/My Artwork/logo.png",
                           "user/My Artwork/patch.png", "user/My Artwork/photo.png"}));
}

TEST_F(UserArtworkTest, RemovalGoesToTheTrashAndNeverTouchesShippedArt) {
    user.addPng(QStringLiteral("Layers/Logos/logo.png"));
    LayerLibrary library(shipped.path(), userFolder());
    const LayerAsset logo = *library.asset(QStringLiteral("user/Logos/logo.png"));
    ASSERT_TRUE(library.renderImage(logo.id).has_value());

    EXPECT_EQ(trashArtwork(logo), ArtworkRemoval::trashed);
    EXPECT_FALSE(QFileInfo::exists(logo.filePath()));
    // In the freedesktop trash of the data folder, with its record.
    const QString trash =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Trash";
    EXPECT_TRUE(QFileInfo::exists(trash + "/files/logo.png"));
    EXPECT_TRUE(QFileInfo::exists(trash + "/info/logo.png.trashinfo"));
    library.rescanUserFolder();
    EXPECT_EQ(library.asset(logo.id), nullptr);
    EXPECT_FALSE(library.renderImage(logo.id).has_value()); // the cache forgot it too

    const LayerAsset orb = *library.asset(QStringLiteral("Glows/orb.png"));
    EXPECT_EQ(trashArtwork(orb), ArtworkRemoval::failed);
    EXPECT_FALSE(deleteArtwork(orb).ok());
    EXPECT_TRUE(QFileInfo::exists(orb.filePath()));

    user.addPng(QStringLiteral("Layers/Logos/other.png"));
    library.rescanUserFolder();
    const LayerAsset other = *library.asset(QStringLiteral("user/Logos/other.png"));
    EXPECT_TRUE(deleteArtwork(other).ok());
    EXPECT_FALSE(QFileInfo::exists(other.filePath()));
}

TEST_F(UserArtworkTest, CentreOnPlanetFollowsTheShiftsAndIsOneStep) {
    setUserArtworkFolder(userFolder());
    PlanetModel model(test::renderer(), shipped.path());
    setUserArtworkFolder({});
    model.setPreviewRendering(false);
    model.addLayer(QStringLiteral("Glows/orb.png"), {0.2, 0.9});
    model.setSetting(Setting::shiftX, 0.4);
    model.setSetting(Setting::horizon, -0.2);
    const int depth = model.undoDepth();
    model.centreSelectedOnPlanet();
    EXPECT_EQ(model.selectedLayer()->center, (NormalizedPoint{0.7, 0.6}));
    EXPECT_EQ(model.undoDepth(), depth + 1);
    model.centreSelectedOnPlanet(); // already there: nothing to undo
    EXPECT_EQ(model.undoDepth(), depth + 1);
    model.undo();
    EXPECT_EQ(model.selectedLayer()->center, (NormalizedPoint{0.2, 0.9}));
}

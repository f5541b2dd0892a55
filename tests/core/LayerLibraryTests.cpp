#include "layers/DebugLog.h"
#include "layers/LayerLibrary.h"
#include "support/TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace velmora;

namespace {

/// Captures debugLog lines for the life of the object.
class LogCapture {
public:
    LogCapture() {
        m_previous = setDebugLogSink([this](const QString& line) { lines.append(line); });
    }
    ~LogCapture() { setDebugLogSink(m_previous); }
    QStringList lines;

private:
    DebugLogSink m_previous;
};

QStringList ids(const QList<LayerAsset>& assets) {
    QStringList out;
    for (const LayerAsset& a : assets)
        out.append(a.id);
    return out;
}

QStringList names(const QList<LayerAsset>& assets) {
    QStringList out;
    for (const LayerAsset& a : assets)
        out.append(a.name);
    return out;
}

} // namespace

TEST(LayerLibraryScan, FoldersThenLooseFilesInFileOrder) {
    test::TempTree tree;
    tree.addPng(QStringLiteral("Layers/Glows/a.png"));
    tree.addPng(QStringLiteral("Layers/Glows/B.png"));
    tree.addDir(QStringLiteral("Layers/Flares"));
    tree.addPng(QStringLiteral("Layers/x.PNG"));
    tree.addFile(QStringLiteral("Layers/Glows/notes.txt"), "not art");
    tree.addPng(QStringLiteral("Layers/Glows/deep/nested.png")); // two levels down: ignored

    LogCapture log;
    LayerLibrary library(tree.path());

    EXPECT_EQ(library.categories(), (QStringList{"Glows", "Layers"}));
    EXPECT_EQ(ids(library.assets()), (QStringList{"Glows/B.png", "Glows/a.png", "Layers/x.PNG"}));
    EXPECT_EQ(library.assets().last().name, QStringLiteral("x"));
    EXPECT_EQ(library.assets().last().filePath(), tree.file(QStringLiteral("Layers/x.PNG")));
    EXPECT_EQ(log.lines, (QStringList{
                             QStringLiteral("Layers folder: ") + tree.file("Layers"),
                             "  'Flares': no PNGs, skipped",
                             "  'Glows': 2 layers",
                             "  (loose) 1 layers directly in Layers/",
                             "Total: 3 layers in 2 categories",
                         }));
}

TEST(LayerLibraryScan, OrderIsByScalarValueNotLocaleOrNumber) {
    test::TempTree tree;
    for (const char* name : {"10.png", "2.png", "b.png", "B.png", "_u.png", "\xc3\xa9.png"})
        tree.addPng(QStringLiteral("Layers/Set/") + QString::fromUtf8(name));
    // A decomposed "e" + combining acute sorts as its composed form would.
    tree.addPng(QStringLiteral("Layers/Set/e") + QChar(0x0301) + QStringLiteral("x.png"));
    LayerLibrary library(tree.path());
    EXPECT_EQ(names(library.assets()),
              (QStringList{"10", "2", "B", "_u", "b", QString::fromUtf8("\xc3\xa9"),
                           QStringLiteral("e") + QChar(0x0301) + QStringLiteral("x")}));

    EXPECT_TRUE(LayerLibrary::fileOrderLess(QStringLiteral("B.png"), QStringLiteral("a.png")));
    EXPECT_TRUE(LayerLibrary::fileOrderLess(QStringLiteral("10.png"), QStringLiteral("2.png")));
    // Scalar order, not UTF-16 order: U+FF5E sorts before U+1F600.
    EXPECT_TRUE(
        LayerLibrary::fileOrderLess(QString(QChar(0xFF5E)), QString::fromUcs4(U"\U0001F600")));
}

TEST(LayerLibraryScan, NamingRuleStripsOnlyTheExactCategoryPrefix) {
    test::TempTree tree;
    tree.addPng(QStringLiteral("Layers/Glows/Glows_sun.png"));
    tree.addPng(QStringLiteral("Layers/Glows/Glows_.png"));
    tree.addPng(QStringLiteral("Layers/glows/Glows_sun.png"));
    tree.addPng(QStringLiteral("Layers/Glows/two.dots.png"));
    LayerLibrary library(tree.path());

    const QList<LayerAsset> upper = library.assets(QStringLiteral("Glows"));
    EXPECT_EQ(names(upper), (QStringList{"", "sun", "two.dots"}));
    EXPECT_EQ(upper[1].id, QStringLiteral("Glows/Glows_sun.png"));
    EXPECT_EQ(upper[1].category, QStringLiteral("Glows"));
    EXPECT_EQ(names(library.assets(QStringLiteral("glows"))), (QStringList{"Glows_sun"}));
    EXPECT_TRUE(library.assets(QStringLiteral("Flares")).isEmpty());
}

TEST(LayerLibraryScan, FolderNamedLayersAndLooseFilesMakeTwoCategories) {
    test::TempTree tree;
    tree.addPng(QStringLiteral("Layers/Layers/x.png"), {4, 4}, Qt::red);
    tree.addPng(QStringLiteral("Layers/x.png"), {6, 6}, Qt::blue);
    LayerLibrary library(tree.path());
    EXPECT_EQ(library.categories(), (QStringList{"Layers", "Layers"}));
    ASSERT_EQ(library.assets().size(), 2);
    // Both ids are "Layers/x.png"; lookup returns the earlier (the folder's).
    const LayerAsset* found = library.asset(QStringLiteral("Layers/x.png"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->filePath(), tree.file(QStringLiteral("Layers/Layers/x.png")));
    EXPECT_EQ(library.assets(QStringLiteral("Layers")).size(), 2);
}

TEST(LayerLibraryScan, LayersThatIsAFileAddsNothingAndSkipsTheFallback) {
    test::TempTree tree;
    tree.addFile(QStringLiteral("Layers"), "plain file");
    tree.addPng(QStringLiteral("sun.png"));
    LogCapture log;
    LayerLibrary library(tree.path());
    EXPECT_TRUE(library.assets().isEmpty());
    EXPECT_EQ(log.lines, (QStringList{QStringLiteral("Layers folder: ") + tree.file("Layers"),
                                      "Total: 0 layers in 0 categories"}));
}

TEST(LayerLibraryScan, FallbackGroupsLoosePngsByTheirFirstWord) {
    test::TempTree tree;
    tree.addPng(QStringLiteral("lens_flare.png"));
    tree.addPng(QStringLiteral("_halo.png"));
    tree.addPng(QStringLiteral("sun.png"));
    tree.addPng(QStringLiteral("lens_flare_big.png"));
    tree.addPng(QStringLiteral("a__b.png"));
    tree.addPng(QStringLiteral("___.png"));
    tree.addFile(QStringLiteral("readme.md"), "text");

    LogCapture log;
    LayerLibrary library(tree.path());

    EXPECT_EQ(library.categories(), (QStringList{"Layers", "a", "halo", "lens"}));
    EXPECT_EQ(ids(library.assets()),
              (QStringList{"Layers/___.png", "Layers/sun.png", "a/a__b.png", "halo/_halo.png",
                           "lens/lens_flare.png", "lens/lens_flare_big.png"}));
    EXPECT_EQ(names(library.assets()),
              (QStringList{"___", "sun", "_b", "_halo", "flare", "flare_big"}));
    EXPECT_EQ(
        log.lines,
        (QStringList{QStringLiteral("No Layers folder; scanning loose PNGs in ") + tree.path(),
                     "  'Layers': 2 layers", "  'a': 1 layers", "  'halo': 1 layers",
                     "  'lens': 2 layers", "Total: 6 layers in 4 categories"}));
}

TEST(LayerLibraryScan, NoResourcesFolderGivesAnEmptyLibrary) {
    LogCapture log;
    LayerLibrary library{QString()};
    EXPECT_TRUE(library.categories().isEmpty());
    EXPECT_EQ(log.lines, (QStringList{"Total: 0 layers in 0 categories"}));

    test::TempTree empty;
    LogCapture log2;
    LayerLibrary fallbackOnly(empty.path());
    EXPECT_EQ(log2.lines.size(), 2); // the fallback line, then the total
}

TEST(LayerLibraryImages, DisplayImageDecodesOnceAndForgetsFailures) {
    test::TempTree tree;
    const QString good = tree.addPng(QStringLiteral("Layers/Glows/orb.png"), {12, 6});
    const QString bad = tree.addFile(QStringLiteral("Layers/Glows/torn.png"), "not a png");
    LayerLibrary library(tree.path());

    const QImage first = library.displayImage(QStringLiteral("Glows/orb.png"));
    ASSERT_FALSE(first.isNull());
    EXPECT_EQ(first.size(), QSize(12, 6));
    QFile::remove(good); // a second request must come from the cache
    EXPECT_FALSE(library.displayImage(QStringLiteral("Glows/orb.png")).isNull());

    EXPECT_TRUE(library.displayImage(QStringLiteral("Glows/torn.png")).isNull());
    tree.addPng(QStringLiteral("Layers/Glows/torn.png"), {3, 3}); // repaired on disk
    EXPECT_EQ(library.displayImage(QStringLiteral("Glows/torn.png")).size(), QSize(3, 3));
    (void)bad;

    EXPECT_TRUE(library.displayImage(QStringLiteral("Glows/unknown.png")).isNull());
}

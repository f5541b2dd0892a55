// The translations: each complete against the sources and true to their
// placeholders, and the window in German that still fits at its smallest size.

#include "app/Application.h"
#include "app/MainWindow.h"
#include "model/PlanetModel.h"
#include "model/Resources.h"
#include "support/TestSupport.h"
#include "ui/CanvasRegion.h"
#include "ui/ContentView.h"
#include "ui/Header.h"
#include "ui/HeaderButton.h"
#include "ui/LayerInspector.h"
#include "ui/PresetButton.h"
#include "ui/SettingSlider.h"
#include "ui/Sidebar.h"
#include "ui/Toast.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <map>

using namespace velmora;

namespace {

const QString translationsDir = QStringLiteral(VELMORA_SOURCE_DIR "/translations");
const QString germanTs = translationsDir + QStringLiteral("/velmora_de.ts");

struct Message {
    QString context, source, translation, type;
};

std::vector<Message> readTs(const QString& path) {
    std::vector<Message> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    Message current;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == u"name") {
            context = xml.readElementText();
        } else if (xml.name() == u"message") {
            current = {context, {}, {}, {}};
        } else if (xml.name() == u"source") {
            current.source = xml.readElementText();
        } else if (xml.name() == u"translation") {
            current.type = xml.attributes().value(QStringLiteral("type")).toString();
            current.translation = xml.readElementText();
            messages.push_back(current);
        }
    }
    EXPECT_FALSE(xml.hasError()) << path.toStdString() << ": " << xml.errorString().toStdString();
    return messages;
}

/// The placeholders a text uses, each once: "%1", "%2".
QSet<QString> placeholders(const QString& text) {
    QSet<QString> found;
    static const QRegularExpression marker(QStringLiteral("%\\d"));
    for (const QRegularExpressionMatch& m : marker.globalMatch(text))
        found.insert(m.captured());
    return found;
}

} // namespace

/// Checks one .ts file against the sources as they are now.
void expectCompleteAndCurrent(const QString& ts) {
    SCOPED_TRACE(ts.toStdString());
    const std::vector<Message> committed = readTs(ts);
    ASSERT_GT(committed.size(), 100u);
    for (const Message& m : committed) {
        SCOPED_TRACE((m.context + QStringLiteral(": ") + m.source).toStdString());
        // Unfinished, vanished or obsolete entries all mean the file is behind.
        EXPECT_TRUE(m.type.isEmpty()) << m.type.toStdString();
        EXPECT_FALSE(m.translation.trimmed().isEmpty());
        EXPECT_EQ(placeholders(m.translation), placeholders(m.source));
        // A menu item's ellipsis says a dialog follows; the translation says so too.
        EXPECT_EQ(m.source.endsWith(u'…'), m.translation.endsWith(u'…'));
    }

    // lupdate over today's sources finds exactly the strings the file translates: a
    // string added to the window without a translation fails here.
    const QTemporaryDir scratch;
    const QString fresh = scratch.filePath(QStringLiteral("fresh.ts"));
    QFile::copy(ts, fresh);
    QFile::setPermissions(fresh, QFile::ReadOwner | QFile::WriteOwner);
    QProcess lupdate;
    lupdate.setWorkingDirectory(QStringLiteral(VELMORA_SOURCE_DIR));
    lupdate.start(QStringLiteral(VELMORA_LUPDATE),
                  {QStringLiteral("-silent"), QStringLiteral("-I"), QStringLiteral("src"),
                   QStringLiteral("-locations"), QStringLiteral("none"), QStringLiteral("src"),
                   QStringLiteral("-ts"), fresh});
    ASSERT_TRUE(lupdate.waitForFinished(60000));
    ASSERT_EQ(lupdate.exitCode(), 0) << lupdate.readAllStandardError().toStdString();
    std::map<std::pair<QString, QString>, QString> before;
    for (const Message& m : committed)
        before[{m.context, m.source}] = m.translation;
    std::size_t current = 0;
    for (const Message& m : readTs(fresh)) {
        SCOPED_TRACE((m.context + QStringLiteral(": ") + m.source).toStdString());
        if (m.type == u"vanished" || m.type == u"obsolete") {
            ADD_FAILURE() << "no longer in the sources; run the velmora_lupdate target";
            continue;
        }
        ++current;
        EXPECT_TRUE(before.count({m.context, m.source}))
            << "new in the sources; run the velmora_lupdate target and translate it";
    }
    EXPECT_EQ(current, committed.size());
}

TEST(Translations, AreCompleteForTheSourcesAsTheyAreAndKeepEveryPlaceholder) {
    const QStringList files =
        QDir(translationsDir).entryList({QStringLiteral("velmora_*.ts")}, QDir::Files);
    EXPECT_TRUE(files.contains(QStringLiteral("velmora_de.ts")));
    for (const QString& file : files)
        expectCompleteAndCurrent(translationsDir + QLatin1Char('/') + file);
}

namespace {

/// The window in German at its smallest, the sample-like picture open, the library
/// open and a layer selected whose blend mode has the longest German name.
class GermanWindowTest : public ::testing::Test {
protected:
    GermanWindowTest() {
        setResourcesRoot(test::buildResources());
        const QLocale german(QLocale::German, QLocale::Germany);
        installed = installTranslations(german);
        QLocale::setDefault(german); // as on a German desktop: decimal commas
        window = std::make_unique<MainWindow>(test::renderer());
        window->resize(window->minimumSize());
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        PlanetModel& model = window->content()->model();
        model.loadImage(render::Image::fromQImage(test::testPanorama(800, 400)),
                        QStringLiteral("beach"));
        window->content()->toggleLibrary();
        settle();
        model.addLayer(model.library().assets().first().id, {0.5, 0.5});
        model.setSelectedBlendMode(LayerBlendMode::screen);
        settle();
    }

    /// Waits for the drawer and the inspector to come to rest: on a busy machine
    /// their animations run late.
    void settle() const {
        const ui::CanvasRegion& region = *window->content()->canvasRegion();
        QTest::qWait(ui::ContentView::libraryAnimationMs);
        for (int still = 0, tries = 0; still < 6 && tries < 100; ++tries) {
            const QRect before = region.inspector()->geometry();
            const int width = region.width();
            QTest::qWait(50);
            const bool moved = region.width() != width || region.inspector()->geometry() != before;
            still = moved ? 0 : still + 1;
        }
    }
    ~GermanWindowTest() override {
        window.reset();
        installTranslations(QLocale(QLocale::English));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        setResourcesRoot({});
    }

    QRect inWindow(const QWidget* w) const {
        return {w->mapTo(window.get(), QPoint(0, 0)), w->size()};
    }

    bool installed = false;
    std::unique_ptr<MainWindow> window;
};

} // namespace

TEST_F(GermanWindowTest, NoVisibleWordIsStillTheEnglishSource) {
    ASSERT_TRUE(installed);
    // Every English source whose German differs: seeing one means a string missed tr().
    QSet<QString> english;
    for (const Message& m : readTs(germanTs)) {
        if (m.translation != m.source)
            english.insert(m.source);
    }
    QStringList shown;
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (label->isVisible())
            shown << label->text();
    }
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            shown << button->text() << button->toolTip() << button->accessibleName();
    }
    for (const QComboBox* box : window->findChildren<QComboBox*>()) {
        for (int i = 0; i < box->count(); ++i)
            shown << box->itemText(i);
    }
    for (const QMenu* menu : window->findChildren<QMenu*>()) {
        shown << menu->title();
        for (const QAction* action : menu->actions())
            shown << action->text();
    }
    int seen = 0;
    for (QString text : std::as_const(shown)) {
        if (text.isEmpty())
            continue;
        ++seen;
        EXPECT_FALSE(english.contains(text)) << text.toStdString();
    }
    EXPECT_GT(seen, 60);
    // The titles the sidebar shows in capitals, the presets and the blend mode.
    const ui::Sidebar& sidebar = *window->findChild<ui::Sidebar*>();
    EXPECT_NE(sidebar.slider(QStringLiteral("Saturation")), nullptr); // found by its key
    QStringList texts;
    for (const QLabel* label : sidebar.findChildren<QLabel*>())
        texts << label->text();
    EXPECT_TRUE(texts.contains(QStringLiteral("SÄTTIGUNG")));
    EXPECT_EQ(sidebar.slider(QStringLiteral("Zoom"))->readoutText(), QStringLiteral("1,00"));
    EXPECT_EQ(sidebar.slider(QStringLiteral("Vignette"))->readoutText(), QStringLiteral("Aus"));
    EXPECT_TRUE(texts.contains(QStringLiteral("Voreinstellungen")));
    EXPECT_EQ(window->content()->canvasRegion()->inspector()->blendModeButton()->text(),
              QStringLiteral("Negativ multiplizieren"));
}

TEST_F(GermanWindowTest, AFailureIsSaidInGermanDetailIncluded) {
    ASSERT_TRUE(installed);
    const QString missing = QStringLiteral("/nonexistent/Strand.jpg");
    window->content()->chooseImageFile = [missing] { return missing; };
    window->content()->importPhoto();
    EXPECT_TRUE(window->content()->isToastShown());
    EXPECT_EQ(window->content()->toast()->text(),
              QStringLiteral("Öffnen fehlgeschlagen: %1: Datei nicht gefunden").arg(missing));
}

TEST_F(GermanWindowTest, SidebarHeaderAndInspectorFitTheirLongerWordsAtTheSmallestWindow) {
    ASSERT_TRUE(installed);
    const QRect whole = window->rect();
    // Text that needs more room than it has is cut off: every visible label and
    // button of the sidebar has at least the width its words ask for.
    const auto fits = [this, &whole](QWidget* w) {
        SCOPED_TRACE(w->metaObject()->className() + (": " + w->objectName().toStdString()));
        EXPECT_TRUE(w->isVisible());
        EXPECT_GE(w->width(), w->sizeHint().width());
        // Across: the sidebar scrolls, so only its width is bounded.
        EXPECT_GE(inWindow(w).left(), whole.left());
        EXPECT_LE(inWindow(w).right(), whole.right());
    };
    auto* sidebar = window->findChild<ui::Sidebar*>();
    ASSERT_NE(sidebar, nullptr);
    const QRect column = inWindow(sidebar->viewport());
    int checked = 0;
    for (QLabel* label : sidebar->widget()->findChildren<QLabel*>()) {
        if (label->wordWrap() || label->text().isEmpty())
            continue;
        fits(label);
        EXPECT_LE(inWindow(label).right(), column.right()) << label->text().toStdString();
        ++checked;
    }
    for (QAbstractButton* button : sidebar->widget()->findChildren<QAbstractButton*>()) {
        if (button->text().isEmpty())
            continue;
        fits(button);
        EXPECT_LE(inWindow(button).right(), column.right()) << button->text().toStdString();
        ++checked;
    }
    for (QComboBox* box : sidebar->widget()->findChildren<QComboBox*>()) {
        fits(box);
        EXPECT_LE(inWindow(box).right(), column.right());
        ++checked;
    }
    EXPECT_GE(checked, 20); // titles, readouts, presets, Reset, the coverage menu

    // The header's buttons, side by side without overlapping.
    auto* header = window->findChild<ui::Header*>();
    ASSERT_NE(header, nullptr);
    const QList<QWidget*> headerButtons{header->importButton(), header->exportButton(),
                                        header->layersToggle()};
    for (QWidget* button : headerButtons)
        fits(button);
    for (qsizetype i = 1; i < headerButtons.size(); ++i)
        EXPECT_FALSE(inWindow(headerButtons[i - 1]).intersects(inWindow(headerButtons[i])));

    // The inspector closes up rather than losing a control, its long blend mode too.
    ui::CanvasRegion& region = *window->content()->canvasRegion();
    ui::LayerInspector* inspector = region.inspector();
    ASSERT_TRUE(inspector->isVisible());
    int controls = 0;
    for (QWidget* w : inspector->findChildren<QWidget*>()) {
        if (!qobject_cast<QAbstractButton*>(w) && !w->inherits("QSlider"))
            continue;
        SCOPED_TRACE(w->objectName().toStdString());
        EXPECT_TRUE(w->isVisible());
        EXPECT_TRUE(inWindow(&region).contains(inWindow(w)));
        ++controls;
    }
    EXPECT_EQ(controls, 11);
    // Negativ multiplizieren is too long for the compact bar: cut short, said whole.
    EXPECT_TRUE(inspector->isCompact());
    EXPECT_EQ(inspector->blendModeButton()->toolTip(),
              QStringLiteral("Füllmethode: Negativ multiplizieren"));
    // With the library closed there is room for all of it again.
    window->content()->toggleLibrary();
    settle();
    EXPECT_EQ(inspector->blendModeButton()->toolTip(), QStringLiteral("Füllmethode"));
    EXPECT_TRUE(inWindow(&region).contains(inWindow(inspector->blendModeButton())));
}

TEST(Translations, FollowTheUsersLanguageAndStayEnglishWithoutOne) {
    setResourcesRoot(test::buildResources());
    const auto undo = [] { return QCoreApplication::translate("velmora::ui::Header", "Undo"); };
    // Qt's own words come with ours: a standard dialog's button.
    const auto cancel = [] { return QCoreApplication::translate("QPlatformTheme", "Cancel"); };

    // A regional variant falls back to the language.
    EXPECT_TRUE(installTranslations(QLocale(QLocale::German, QLocale::Austria)));
    EXPECT_EQ(undo(), QStringLiteral("Rückgängig"));
    EXPECT_EQ(cancel(), QStringLiteral("Abbrechen"));

    // English needs none, and a language without ours leaves Qt's out as well rather
    // than mixing two languages in one window; either replaces the German.
    for (const QLocale& other : {QLocale(QLocale::English, QLocale::UnitedKingdom),
                                 QLocale(QLocale::French, QLocale::France)}) {
        SCOPED_TRACE(other.name().toStdString());
        ASSERT_TRUE(installTranslations(QLocale(QLocale::German)));
        EXPECT_FALSE(installTranslations(other));
        EXPECT_EQ(undo(), QStringLiteral("Undo"));
        EXPECT_EQ(cancel(), QStringLiteral("Cancel"));
    }
    setResourcesRoot({});
}

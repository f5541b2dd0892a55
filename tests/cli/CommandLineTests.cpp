#include "app/CommandLine.h"
#include "layers/LayerLibrary.h"
#include "model/LookFile.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace velmora;
using cli::Invocation;

namespace {

QString errorOf(const QStringList& arguments) {
    return cli::parse(arguments).error;
}

} // namespace

TEST(CommandLineParsing, CommandsAndTheirDefaults) {
    EXPECT_EQ(cli::parse({}).command, Invocation::Command::window);
    const Invocation open = cli::parse({QStringLiteral("beach.jpg")});
    EXPECT_EQ(open.command, Invocation::Command::window);
    EXPECT_EQ(open.image, QStringLiteral("beach.jpg"));
    EXPECT_EQ(cli::parse({QStringLiteral("--help")}).command, Invocation::Command::help);
    EXPECT_EQ(cli::parse({QStringLiteral("--version")}).command, Invocation::Command::version);
    EXPECT_EQ(
        cli::parse({QStringLiteral("layers"), QStringLiteral("--resources"), QStringLiteral("/r")})
            .resources,
        QStringLiteral("/r"));

    const Invocation render =
        cli::parse({QStringLiteral("render"), QStringLiteral("-o"), QStringLiteral("out.png")});
    ASSERT_TRUE(render.error.isEmpty()) << render.error;
    EXPECT_EQ(render.render.size, 2048);
    EXPECT_TRUE(render.render.inputs.isEmpty());
    EXPECT_FALSE(render.render.preset.has_value());

    EXPECT_FALSE(cli::needsDisplay(
        {QStringLiteral("render"), QStringLiteral("-o"), QStringLiteral("x.png")}));
    EXPECT_FALSE(cli::needsDisplay({QStringLiteral("layers")}));
    EXPECT_FALSE(cli::needsDisplay({QStringLiteral("--help")}));
    EXPECT_TRUE(cli::needsDisplay({QStringLiteral("beach.jpg")}));
}

TEST(CommandLineParsing, RenderOptionsInBothSpellings) {
    const Invocation inv = cli::parse(
        {QStringLiteral("render"), QStringLiteral("pano.jpg"), QStringLiteral("--output=o.png"),
         QStringLiteral("--size"), QStringLiteral("4096"), QStringLiteral("--preset=Sky World"),
         QStringLiteral("--rotate"), QStringLiteral("-30"), QStringLiteral("--shift-y=0.25"),
         QStringLiteral("--invert=no"), QStringLiteral("--layer"), QStringLiteral("Glows/orb.png"),
         QStringLiteral("--look=dusk.velmora-look")});
    ASSERT_TRUE(inv.error.isEmpty()) << inv.error;
    EXPECT_EQ(inv.render.lookFile, QStringLiteral("dusk.velmora-look"));
    EXPECT_EQ(inv.render.inputs, QStringList{QStringLiteral("pano.jpg")});
    EXPECT_EQ(inv.render.output, QStringLiteral("o.png"));
    EXPECT_EQ(inv.render.size, 4096);
    EXPECT_EQ(inv.render.preset, Preset::sky);
    EXPECT_EQ(inv.render.settings.at(Setting::rotationDegrees), -30.0);
    EXPECT_EQ(inv.render.settings.at(Setting::horizon), 0.25);
    EXPECT_EQ(inv.render.settings.at(Setting::invert), 0.0);
    EXPECT_EQ(inv.render.settings.size(), 3u);
    ASSERT_EQ(inv.render.layers.size(), 1);
    EXPECT_EQ(presetByName(u"double"), Preset::double_);
    EXPECT_EQ(presetByName(u"Spiral Planet"), Preset::spiral);
    EXPECT_EQ(presetByName(u"Sky"), std::nullopt);
}

// Every row of the settings table is an option by its own name, takes a value in
// both spellings (a switch on its own or with yes/no), is listed by --help with its
// range and default, and is the window's label in lower case with dashes.
TEST(CommandLineParsing, EverySettingOfTheTableIsAnOption) {
    const QString help = cli::helpText();
    for (const SettingInfo& info : settingsTable()) {
        const QString option = QString::fromLatin1(info.option);
        SCOPED_TRACE(option.toStdString());
        EXPECT_EQ(option, QString::fromUtf8(info.label).toLower().replace(QLatin1Char(' '), '-'));
        const QString flag = QStringLiteral("--") + option;
        const QStringList base{QStringLiteral("render"), QStringLiteral("-o"),
                               QStringLiteral("x.png")};
        if (info.control == SettingControl::choice) {
            const QList<SettingChoice> choices = settingChoices(info);
            for (qsizetype i = 0; i < choices.size(); ++i)
                EXPECT_EQ(cli::parse(base + QStringList{flag + QLatin1Char('=') + choices[i].name})
                              .render.settings.at(info.setting),
                          static_cast<double>(i));
            EXPECT_TRUE(
                cli::parse(base + QStringList{flag, QStringLiteral("0.5")}).error.startsWith(flag));
            EXPECT_TRUE(help.contains(flag + QLatin1Char(' ') + QLatin1String(info.valueName)));
            continue;
        }
        if (info.control == SettingControl::toggle) {
            EXPECT_EQ(cli::parse(base + QStringList{flag}).render.settings.at(info.setting), 1.0);
            EXPECT_EQ(cli::parse(base + QStringList{flag + QStringLiteral("=no")})
                          .render.settings.at(info.setting),
                      0.0);
            EXPECT_TRUE(help.contains(flag + QStringLiteral("[=yes|no]")));
            continue;
        }
        const double low = info.minimum + 0.25 * (info.maximum - info.minimum);
        const double high = info.minimum + 0.75 * (info.maximum - info.minimum);
        EXPECT_EQ(cli::parse(base + QStringList{flag, QString::number(low, 'g', 17)})
                      .render.settings.at(info.setting),
                  low);
        EXPECT_EQ(
            cli::parse(base + QStringList{flag + QLatin1Char('=') + QString::number(high, 'g', 17)})
                .render.settings.at(info.setting),
            high);
        // Beyond what it accepts: refused, naming the option and the range.
        for (const double beyond : {info.maximum * 2 + 1, info.minimum - 1, 1e308, -1e308}) {
            const QString error =
                cli::parse(base + QStringList{flag, QString::number(beyond, 'g', 17)}).error;
            EXPECT_TRUE(error.startsWith(flag)) << beyond << ": " << error;
            EXPECT_TRUE(
                error.contains(QStringLiteral("%1 to %2").arg(info.minimum).arg(info.maximum)))
                << error;
        }
        // "--zoom X            planet size [0.2 to 4, 1]"
        const QString range =
            QStringLiteral("[%1 to %2, %3]").arg(info.lower).arg(info.upper).arg(info.defaultValue);
        const QString accepts =
            QStringLiteral("accepts %1 to %2").arg(info.minimum).arg(info.maximum);
        const qsizetype line = help.indexOf(flag + QLatin1Char(' '));
        ASSERT_GE(line, 0);
        EXPECT_TRUE(help.mid(line, help.indexOf(QLatin1Char('\n'), line) - line).contains(range))
            << range.toStdString();
        EXPECT_LT(help.indexOf(accepts, line) - line, 160) << accepts.toStdString();
    }
}

TEST(CommandLineLook, OptionsMakeTheLookTheWindowWould) {
    test::SampleResources resources;
    LayerLibrary library(resources.path());
    cli::RenderOptions options;
    options.preset = Preset::spiral;
    options.settings[Setting::vignette] = 0.4;
    const Look graded = cli::lookFromOptions(options, library).value();
    Look expected = Look().withPreset(Preset::spiral);
    expected.setValue(Setting::vignette, 0.4);
    EXPECT_EQ(graded, expected);
    EXPECT_EQ(graded.selectedPreset, Preset::spiral); // a colour keeps the preset

    options.settings[Setting::twist] = 1.0; // a projection setting departs from it
    cli::LayerPlacement glow;
    glow.assetID = QStringLiteral("Glows/orb.png");
    glow.at = {2.0, 0.25};
    glow.rotation = 30;
    options.layers.append(glow);
    const Look placed = cli::lookFromOptions(options, library).value();
    EXPECT_EQ(placed.selectedPreset, std::nullopt);
    EXPECT_EQ(placed.value(Setting::twist), 1.0);
    EXPECT_EQ(placed.value(Setting::zoom), 0.8);
    ASSERT_EQ(placed.layers.size(), 1);
    EXPECT_EQ(placed.layers[0].center, (NormalizedPoint{1.0, 0.25})); // clamped, as a drop is
    EXPECT_EQ(placed.layers[0].blendMode, LayerBlendMode::screen);    // a glow starts in screen
    EXPECT_EQ(placed.layers[0].rotation, 30.0);

    cli::LayerPlacement missing;
    missing.assetID = QStringLiteral("Glows/none.png");
    options.layers.append(missing);
    const Result<Look> unknown = cli::lookFromOptions(options, library);
    EXPECT_FALSE(unknown.ok());
    EXPECT_TRUE(unknown.message().contains(QStringLiteral("Glows/none.png")));
}

TEST(CommandLineParsing, LayerOptions) {
    QString error;
    const auto full = cli::parseLayerOption(
        QStringLiteral(
            "Glows/orb.png@0.5,0.2:scale=0.3,rotation=15,opacity=0.5,blend=multiply,flip"),
        &error);
    ASSERT_TRUE(full.has_value()) << error;
    EXPECT_EQ(full->assetID, QStringLiteral("Glows/orb.png"));
    EXPECT_EQ(full->at, (NormalizedPoint{0.5, 0.2}));
    EXPECT_EQ(full->scale, 0.3);
    EXPECT_EQ(full->rotation, 15.0);
    EXPECT_EQ(full->opacity, 0.5);
    EXPECT_EQ(full->blend, LayerBlendMode::multiply);
    EXPECT_TRUE(full->flip);

    const auto plain = cli::parseLayerOption(QStringLiteral("Lens Flares/streak wide.png"), &error);
    ASSERT_TRUE(plain.has_value());
    EXPECT_EQ(plain->assetID, QStringLiteral("Lens Flares/streak wide.png"));
    EXPECT_EQ(plain->at, (NormalizedPoint{0.5, 0.5}));
    EXPECT_FALSE(plain->scale.has_value());
    EXPECT_FALSE(plain->blend.has_value());

    for (const char* on : {"flip", "flip=1", "flip=yes"})
        EXPECT_TRUE(
            cli::parseLayerOption(QStringLiteral("Glows/orb.png:") + QLatin1String(on), &error)
                ->flip)
            << on;
    EXPECT_FALSE(cli::parseLayerOption(QStringLiteral("Glows/orb.png:flip=no"), &error)->flip);

    for (const char* bad :
         {"Glows/orb.png:flip=sideways", "Glows/orb.png:blend=Screen", "Glows/orb.png:size=2",
          "Glows/orb.png@1", "Glows/orb.png@a,b", "Glows/orb.png:scale=inf", "@0.5,0.5", ""}) {
        EXPECT_FALSE(cli::parseLayerOption(QString::fromLatin1(bad), &error).has_value()) << bad;
        EXPECT_FALSE(error.isEmpty()) << bad;
    }
}

// Any id survives being printed by `layers` and read back by --layer, with a point
// and keys after it or without.
TEST(CommandLineParsing, EscapedIdsRoundTrip) {
    const QString ids[] = {
        QStringLiteral("Glows/orb.png"),
        QStringLiteral("Glows/a@b:c.png"),
        QStringLiteral("Odd\tone/x\ny.png"),
        QStringLiteral("Back\\slash/\\@:.png"),
        QStringLiteral("Glows/ends with @0.5,0.5"),
        QStringLiteral("Glows/x.png:scale=2"),
    };
    for (const QString& id : ids) {
        SCOPED_TRACE(id.toStdString());
        const QString escaped = cli::escapedAssetID(id);
        EXPECT_FALSE(escaped.contains(QLatin1Char('\t')) || escaped.contains(QLatin1Char('\n')));
        EXPECT_EQ(cli::unescapedAssetID(escaped), id);
        QString error;
        const auto bare = cli::parseLayerOption(escaped, &error);
        ASSERT_TRUE(bare.has_value()) << error;
        EXPECT_EQ(bare->assetID, id);
        EXPECT_EQ(bare->at, (NormalizedPoint{0.5, 0.5}));
        const auto full =
            cli::parseLayerOption(escaped + QStringLiteral("@0.2,0.3:scale=0.5"), &error);
        ASSERT_TRUE(full.has_value()) << error;
        EXPECT_EQ(full->assetID, id);
        EXPECT_EQ(full->at, (NormalizedPoint{0.2, 0.3}));
        EXPECT_EQ(full->scale, 0.5);
    }
    EXPECT_EQ(cli::escapedAssetID(QStringLiteral("Glows/orb.png")),
              QStringLiteral("Glows/orb.png"));
}

TEST(CommandLineParsing, UsageErrorsNameTheOption) {
    const QString r = QStringLiteral("render");
    const QString o = QStringLiteral("-o");
    const QString out = QStringLiteral("x.png");
    const struct {
        QStringList args;
        const char* mentions;
    } cases[] = {
        {{r, o, out, QStringLiteral("--frobnicate")}, "--frobnicate"},
        {{r, o, out, QStringLiteral("--zoom")}, "--zoom"},
        {{r, o, out, QStringLiteral("--zoom"), QStringLiteral("big")}, "--zoom"},
        {{r, o, out, QStringLiteral("--gamma=nan")}, "--gamma"},
        {{r, o, out, QStringLiteral("--vignette"), QStringLiteral("inf")}, "--vignette"},
        {{r, o, out, QStringLiteral("--size"), QStringLiteral("63")}, "--size"},
        {{r, o, out, QStringLiteral("--size"), QStringLiteral("2048.5")}, "--size"},
        {{r, o, out, QStringLiteral("--preset"), QStringLiteral("moon")}, "--preset"},
        {{r, o, out, QStringLiteral("--layer"), QStringLiteral("a.png:blend=glow")}, "--layer"},
        {{r, o, out, QStringLiteral("--invert=maybe")}, "--invert"},
        {{r, QStringLiteral("a.jpg"), QStringLiteral("b.jpg"), o, out}, "b.jpg"},
        {{r, QStringLiteral("a.jpg")}, "-o"},
        {{r, o}, "-o"},
        {{QStringLiteral("layers"), QStringLiteral("--size=3")}, "--size"},
        {{QStringLiteral("a.jpg"), QStringLiteral("b.jpg")}, "b.jpg"},
    };
    for (const auto& c : cases) {
        const QString error = errorOf(c.args);
        EXPECT_TRUE(error.contains(QString::fromLatin1(c.mentions)))
            << c.args.join(' ') << " -> " << error;
    }
}

namespace {

/// Runs the real program the way a script would: no display, no platform plugin.
struct Outcome {
    int status = -1;
    QString out;
    QString err;
};

Outcome runProgram(const QStringList& arguments,
                   const QList<std::pair<QString, QString>>& environment = {}) {
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.remove(QStringLiteral("VELMORA_RESOURCES"));
    for (const auto& [name, value] : environment)
        env.insert(name, value);
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(VELMORA_BINARY), arguments);
    process.waitForFinished(120000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromLocal8Bit(process.readAllStandardOutput()),
            QString::fromLocal8Bit(process.readAllStandardError())};
}

class CommandLineRun : public ::testing::Test {
protected:
    CommandLineRun() {
        resources.addPng(QStringLiteral("Layers/Stickers/block.png"), {400, 200},
                         QColor(255, 0, 0));
        picture = files.file(QStringLiteral("pano.png"));
        test::testPanorama(600, 300).save(picture);
    }

    QStringList render(const QStringList& extra) const {
        return QStringList{QStringLiteral("render"), QStringLiteral("--resources"),
                           resources.path()} +
               extra;
    }

    test::SampleResources resources;
    test::TempTree files;
    QString picture;
};

} // namespace

TEST_F(CommandLineRun, HelpVersionAndLayersNeedNoDisplay) {
    const Outcome help = runProgram({QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.contains(QStringLiteral("velmora render [IMAGE] -o OUT.png")));
    const Outcome version = runProgram({QStringLiteral("--version")});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("velmora ")));

    const Outcome layers =
        runProgram({QStringLiteral("layers"), QStringLiteral("--resources"), resources.path()});
    EXPECT_EQ(layers.status, 0) << layers.err;
    EXPECT_EQ(layers.out, QStringLiteral("Glows/orb.png\tGlows\torb\n"
                                         "Stickers/block.png\tStickers\tblock\n"
                                         "Stickers/moon.png\tStickers\tmoon\n"));
}

TEST_F(CommandLineRun, RendersASquarePngWithItsLayers) {
    const QString out = files.file(QStringLiteral("planet.png"));
    const Outcome run =
        runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--size"),
                           QStringLiteral("256"), QStringLiteral("--layer"),
                           QStringLiteral("Stickers/block.png@0.5,0.5:scale=0.5,rotation=90")}));
    ASSERT_EQ(run.status, 0) << run.err;
    const QImage image(out);
    ASSERT_EQ(image.size(), QSize(256, 256));
    // Turned a quarter: 64 wide, 128 tall, red.
    EXPECT_LE(test::channelDistance(image.pixelColor(128, 70), QColor(255, 0, 0)), 1);
    EXPECT_GT(test::channelDistance(image.pixelColor(170, 128), QColor(255, 0, 0)), 20);
}

TEST_F(CommandLineRun, FailuresNameTheFileExitOneAndWriteNothing) {
    const QString out = files.addFile(QStringLiteral("keep.png"), "earlier result");
    const QString inputs[] = {
        files.addFile(QStringLiteral("torn.jpg"), QByteArray("\xff\xd8\xff\xe0 torn", 10)),
        files.addFile(QStringLiteral("empty.png"), QByteArray()),
        files.addFile(QStringLiteral("text.png"), "hello\n"),
        files.addFile(QStringLiteral("huge.png"), test::pngHeaderOnly(100000, 100000)),
        files.file(QStringLiteral("missing.jpg")),
    };
    for (const QString& input : inputs) {
        const Outcome run = runProgram(render({input, QStringLiteral("-o"), out}));
        EXPECT_EQ(run.status, 1) << input;
        EXPECT_TRUE(run.err.contains(input)) << run.err;
    }
    const QString nowhere = files.file(QStringLiteral("no/such/dir/out.png"));
    const Outcome unwritable = runProgram(render({picture, QStringLiteral("-o"), nowhere}));
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_TRUE(unwritable.err.contains(nowhere)) << unwritable.err;

    // Without its kernel the program stops with the fixed message.
    test::TempTree noKernel;
    noKernel.addPng(QStringLiteral("Layers/Glows/orb.png"));
    const Outcome stopped = runProgram({QStringLiteral("render"), QStringLiteral("--resources"),
                                        noKernel.path(), picture, QStringLiteral("-o"), out});
    EXPECT_EQ(stopped.status, 1);
    EXPECT_TRUE(stopped.err.contains(QStringLiteral(
        "Couldn't load the tinyPlanet kernel. Check the Metal build flags (see setup notes).")))
        << stopped.err;

    QFile kept(out);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("earlier result"));
    EXPECT_FALSE(QFile::exists(nowhere));
}

// The window's translations are for the window: on a German desktop, with the
// translations at hand, the command line's messages and help stay English.
TEST_F(CommandLineRun, MessagesStayEnglishOnAGermanDesktop) {
    const QList<std::pair<QString, QString>> german{
        {QStringLiteral("LANG"), QStringLiteral("de_DE.UTF-8")},
        {QStringLiteral("LANGUAGE"), QStringLiteral("de")},
        {QStringLiteral("VELMORA_LANGUAGE"), QStringLiteral("de")}};
    ASSERT_TRUE(
        QFile::exists(test::buildResources() + QStringLiteral("/translations/velmora_de.qm")));
    const QString missing = files.file(QStringLiteral("missing.jpg"));
    const Outcome run =
        runProgram({QStringLiteral("render"), QStringLiteral("--resources"), test::buildResources(),
                    missing, QStringLiteral("-o"), files.file(QStringLiteral("out.png"))},
                   german);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.contains(missing + QStringLiteral(": no such file"))) << run.err;
    const Outcome help = runProgram({QStringLiteral("--help")}, german);
    EXPECT_TRUE(help.out.contains(QStringLiteral("saturation"))) << help.out;
    EXPECT_FALSE(help.out.contains(QStringLiteral("Sättigung")));
}

// Damage the decoder recovers from still renders (exit 0), with a warning that
// names the file; the same picture cut short is a failure.
TEST_F(CommandLineRun, DamagedJpegsWarnAndCutOnesFail) {
    const QString out = files.file(QStringLiteral("planet.png"));
    const QImage panorama = test::testPanorama(600, 300);
    const QString damaged =
        files.addFile(QStringLiteral("damaged.jpg"), test::damagedJpegOf(panorama));
    const Outcome warned = runProgram(render(
        {damaged, QStringLiteral("-o"), out, QStringLiteral("--size"), QStringLiteral("64")}));
    EXPECT_EQ(warned.status, 0) << warned.err;
    // Debug builds log the library scan first; the warning is a line of its own.
    EXPECT_TRUE(warned.err.contains(QStringLiteral("velmora: warning: ") + damaged +
                                    QStringLiteral(": the picture's data is damaged")))
        << warned.err;
    EXPECT_TRUE(QFile::exists(out));

    const QByteArray whole = test::jpegOf(panorama, 90);
    const QString cut = files.addFile(QStringLiteral("cut.jpg"), whole.left(whole.size() * 3 / 4));
    const Outcome failed = runProgram(render({cut, QStringLiteral("-o"), out}));
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.err.contains(cut + QStringLiteral(": the picture's data ends early")))
        << failed.err;
}

// A saved look is where the options start: rendering it with an override gives the
// picture the same settings and layers give as options. Artwork the catalogue lacks
// is left out with a warning; a look file that does not read is a failure.
TEST_F(CommandLineRun, ALookFileIsAppliedFirstAndOptionsOverrideIt) {
    Look look;
    look.setValue(Setting::zoom, 2.0);
    look.setValue(Setting::gamma, 1.6);
    look.selectedPreset.reset();
    PlacedLayer orb;
    orb.id = QUuid::createUuid();
    orb.assetID = QStringLiteral("Glows/orb.png");
    orb.center = {0.5, 0.25};
    orb.scale = 0.4;
    orb.blendMode = LayerBlendMode::screen;
    PlacedLayer gone = orb;
    gone.assetID = QStringLiteral("Stickers/gone.png");
    look.layers = {orb, gone};
    const QString saved = files.file(QStringLiteral("dusk.velmora-look"));
    ASSERT_TRUE(saveLookFile(look, saved).ok());

    const QString fromLook = files.file(QStringLiteral("look.png"));
    const Outcome run = runProgram(render(
        {picture, QStringLiteral("--look"), saved, QStringLiteral("--gamma"), QStringLiteral("0.8"),
         QStringLiteral("-o"), fromLook, QStringLiteral("--size"), QStringLiteral("128")}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.err.contains(QStringLiteral("velmora: warning: ") + saved +
                                 QStringLiteral(": the artwork \"Stickers/gone.png\"")))
        << run.err;

    const QString fromOptions = files.file(QStringLiteral("options.png"));
    const Outcome same = runProgram(render(
        {picture, QStringLiteral("--zoom"), QStringLiteral("2"), QStringLiteral("--gamma"),
         QStringLiteral("0.8"), QStringLiteral("--layer"),
         QStringLiteral("Glows/orb.png@0.5,0.25:scale=0.4,blend=screen"), QStringLiteral("-o"),
         fromOptions, QStringLiteral("--size"), QStringLiteral("128")}));
    ASSERT_EQ(same.status, 0) << same.err;
    EXPECT_EQ(QImage(fromLook), QImage(fromOptions));

    const QString broken = files.addFile(QStringLiteral("broken.velmora-look"), "{\"format\":");
    const Outcome failed = runProgram(
        render({picture, QStringLiteral("--look"), broken, QStringLiteral("-o"), fromLook}));
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.err.contains(broken + QStringLiteral(": cannot read the look")))
        << failed.err;
}

// A batch renders every picture with one look into a folder, each as the single
// form would; a broken picture is named and the rest are written (status 1, with a
// summary); an output that exists is skipped, and said to be, unless --overwrite.
TEST_F(CommandLineRun, BatchesGoOnPastABrokenPictureAndSkipWhatExists) {
    const QString out = files.file(QStringLiteral("out"));
    const QString second = files.file(QStringLiteral("second.jpg"));
    ASSERT_TRUE(test::testPanorama(400, 200).save(second));
    const QString broken = files.addFile(QStringLiteral("broken.jpg"), "not a picture");
    files.addFile(QStringLiteral("out/second.png"), "earlier");
    const QStringList look{QStringLiteral("--size"), QStringLiteral("64"),
                           QStringLiteral("--vignette"), QStringLiteral("0.5")};

    const Outcome batch = runProgram(
        render(QStringList{picture, broken, second, QStringLiteral("--output-dir"), out} + look));
    EXPECT_EQ(batch.status, 1) << batch.err;
    EXPECT_TRUE(batch.err.contains(broken)) << batch.err;
    EXPECT_TRUE(batch.err.contains(out + QStringLiteral("/second.png: exists, skipped")))
        << batch.err;
    EXPECT_TRUE(batch.err.endsWith(QStringLiteral("rendered 1 of 3 pictures into ") + out +
                                   QStringLiteral(", 1 skipped, 1 failed (broken.jpg)\n")))
        << batch.err;
    QFile earlier(out + QStringLiteral("/second.png"));
    ASSERT_TRUE(earlier.open(QIODevice::ReadOnly));
    EXPECT_EQ(earlier.readAll(), QByteArray("earlier"));

    const QString single = files.file(QStringLiteral("single.png"));
    ASSERT_EQ(runProgram(render(QStringList{picture, QStringLiteral("-o"), single} + look)).status,
              0);
    EXPECT_EQ(QImage(out + QStringLiteral("/pano.png")), QImage(single));

    // A folder stands for its pictures; other files in it are passed over.
    const QString trip = files.addDir(QStringLiteral("trip"));
    ASSERT_TRUE(test::testPanorama(300, 150).save(trip + QStringLiteral("/a.png")));
    ASSERT_TRUE(test::testPanorama(300, 150).save(trip + QStringLiteral("/b.jpg")));
    files.addFile(QStringLiteral("trip/notes.txt"), "where we went");
    const Outcome folder =
        runProgram(render(QStringList{trip, second, QStringLiteral("--output-dir"), out,
                                      QStringLiteral("--overwrite")} +
                          look));
    EXPECT_EQ(folder.status, 0) << folder.err;
    for (const char* name : {"a.png", "b.png", "second.png"})
        EXPECT_EQ(QImage(out + QLatin1Char('/') + QLatin1String(name)).size(), QSize(64, 64))
            << name;

    const Outcome both = runProgram(
        render({picture, QStringLiteral("-o"), single, QStringLiteral("--output-dir"), out}));
    EXPECT_EQ(both.status, 2);
    const Outcome two = runProgram(render({picture, second, QStringLiteral("-o"), single}));
    EXPECT_EQ(two.status, 2);
    EXPECT_TRUE(two.err.contains(QStringLiteral("render takes one picture"))) << two.err;
}

// The output's suffix chooses the format (--format for a batch); options that do
// not fit the format are usage errors.
TEST_F(CommandLineRun, TheSuffixChoosesTheFormat) {
    const auto formatOf = [](const QString& path) {
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        const QByteArray format = reader.format();
        return std::make_pair(format, reader.read().depth());
    };
    const QStringList small{QStringLiteral("--size"), QStringLiteral("64")};
    const auto renderTo = [&](const QString& name, const QStringList& extra) {
        const QString path = files.file(name);
        const Outcome run =
            runProgram(render(QStringList{picture, QStringLiteral("-o"), path} + extra + small));
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
        return path;
    };
    const QString jpeg =
        renderTo(QStringLiteral("p.jpg"), {QStringLiteral("--quality"), QStringLiteral("60")});
    EXPECT_EQ(formatOf(jpeg).first, QByteArray("jpeg"));
    const QString tiff = renderTo(QStringLiteral("p.tif"), {});
    EXPECT_EQ(formatOf(tiff), std::make_pair(QByteArray("tiff"), 64));
    const QString deep =
        renderTo(QStringLiteral("p.png"), {QStringLiteral("--depth"), QStringLiteral("16")});
    EXPECT_EQ(formatOf(deep), std::make_pair(QByteArray("png"), 64));

    const QString out = files.file(QStringLiteral("webps"));
    const Outcome batch = runProgram(
        render(QStringList{picture, QStringLiteral("--output-dir"), out, QStringLiteral("--format"),
                           QStringLiteral("webp"), QStringLiteral("--lossless")} +
               small));
    ASSERT_EQ(batch.status, 0) << batch.err;
    EXPECT_EQ(formatOf(out + QStringLiteral("/pano.webp")).first, QByteArray("webp"));

    for (const QStringList& wrong :
         {QStringList{QStringLiteral("-o"), deep, QStringLiteral("--lossless")},
          QStringList{QStringLiteral("-o"), jpeg, QStringLiteral("--depth"), QStringLiteral("16")},
          QStringList{QStringLiteral("-o"), jpeg, QStringLiteral("--quality"), QStringLiteral("0")},
          QStringList{QStringLiteral("-o"), deep, QStringLiteral("--format"),
                      QStringLiteral("jpg")},
          QStringList{QStringLiteral("-o"), tiff, QStringLiteral("--depth"), QStringLiteral("8")},
          QStringList{QStringLiteral("-o"), QStringLiteral("-"), QStringLiteral("--depth"),
                      QStringLiteral("16")}}) {
        const Outcome refused = runProgram(render(QStringList{picture} + wrong));
        EXPECT_EQ(refused.status, 2) << wrong.join(QLatin1Char(' ')).toStdString();
    }
}

// Only a file or a new path is written: renaming over a device or a pipe would put
// a plain file in its place. "-" is standard output.
TEST_F(CommandLineRun, DevicesArePassedOverAndADashIsStandardOutput) {
    // The system's devices are only asked about; a pipe of our own is written to.
    for (const char* device : {"/dev/null", "/dev/full"}) {
        const Status usable = cli::checkOutputPath(QString::fromLatin1(device));
        EXPECT_FALSE(usable.ok()) << device;
        EXPECT_TRUE(usable.message().contains(QStringLiteral("not a regular file")));
    }
    const QString fifo = files.file(QStringLiteral("pipe.png"));
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    const Outcome run = runProgram(render({picture, QStringLiteral("-o"), fifo}));
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.contains(fifo + QStringLiteral(": is not a regular file"))) << run.err;
    EXPECT_FALSE(QFileInfo(fifo).isFile());
    EXPECT_TRUE(cli::checkOutputPath(files.file(QStringLiteral("new.png"))).ok());

    QProcess process;
    process.start(QStringLiteral(VELMORA_BINARY),
                  render({picture, QStringLiteral("-o"), QStringLiteral("-"),
                          QStringLiteral("--size"), QStringLiteral("96")}));
    ASSERT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    const QByteArray png = process.readAllStandardOutput();
    EXPECT_TRUE(png.startsWith("\x89PNG\r\n"));
    EXPECT_EQ(QImage::fromData(png, "PNG").size(), QSize(96, 96));
}

// Artwork named on the command line must be drawn: broken files fail naming the
// file, and a pipe among the artwork neither hangs the catalogue nor a render.
TEST_F(CommandLineRun, ArtworkThatCannotBeReadFailsNamingItsFile) {
    const QString broken[] = {
        resources.addFile(QStringLiteral("Layers/Stickers/text.png"), "not a picture\n"),
        resources.addFile(QStringLiteral("Layers/Stickers/empty.png"), QByteArray()),
        resources.addFile(QStringLiteral("Layers/Stickers/torn.png"), test::pngHeaderOnly(64, 64)),
    };
    const QString fifo = resources.file(QStringLiteral("Layers/Glows/pipe.png"));
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);

    const QString out = files.file(QStringLiteral("planet.png"));
    for (const QString& path : broken) {
        const QString id = QStringLiteral("Stickers/") + QFileInfo(path).fileName();
        const Outcome run =
            runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--layer"), id}));
        EXPECT_EQ(run.status, 1) << id.toStdString();
        EXPECT_TRUE(run.err.contains(path)) << run.err;
    }
    EXPECT_FALSE(QFile::exists(out));

    const Outcome piped =
        runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--layer"),
                           QStringLiteral("Glows/pipe.png")}));
    EXPECT_EQ(piped.status, 1);
    EXPECT_TRUE(piped.err.contains(fifo)) << piped.err;
    const Outcome fine =
        runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--size=64"),
                           QStringLiteral("--layer"), QStringLiteral("Glows/orb.png")}));
    EXPECT_EQ(fine.status, 0) << fine.err;
}

// Artwork whose file names hold a tab, '@' or ':' is listed one per line and can be
// placed by the id printed.
TEST_F(CommandLineRun, EveryListedIdCanBePlaced) {
    resources.addPng(QStringLiteral("Layers/Stickers/tab\there.png"));
    resources.addPng(QStringLiteral("Layers/Stickers/at@and:colon.png"));
    const Outcome listed =
        runProgram({QStringLiteral("layers"), QStringLiteral("--resources"), resources.path()});
    ASSERT_EQ(listed.status, 0) << listed.err;
    const QStringList lines = listed.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), 5); // orb, block, moon and the two above
    const QString out = files.file(QStringLiteral("planet.png"));
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 3) << line;
        const Outcome run =
            runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--size=64"),
                               QStringLiteral("--layer"), fields[0] + QStringLiteral("@0.4,0.4")}));
        EXPECT_EQ(run.status, 0) << fields[0] << ": " << run.err;
    }
}

TEST_F(CommandLineRun, ALayerCanBeAnImageFileOrTheUsersOwnArt) {
    const QString logo = files.addPng(QStringLiteral("logo.png"), {100, 100}, QColor(0, 0, 255));
    const QString out = files.file(QStringLiteral("planet.png"));
    Outcome run = runProgram(
        render({picture, QStringLiteral("-o"), out, QStringLiteral("--size=128"),
                QStringLiteral("--layer"), logo + QStringLiteral("@0.5,0.5:scale=0.5")}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_LE(test::channelDistance(QImage(out).pixelColor(64, 64), QColor(0, 0, 255)), 1);

    run = runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--layer"),
                             files.file(QStringLiteral("gone.png"))}));
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("gone.png"))) << run.err;

    // The user's library (under the test's own data folder) is listed and placeable.
    const QString mine = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                         QStringLiteral("/velmora/Layers/Logos");
    QDir().mkpath(mine);
    QImage green(40, 40, QImage::Format_ARGB32);
    green.fill(QColor(0, 255, 0));
    ASSERT_TRUE(green.save(mine + QStringLiteral("/mark.png")));
    const Outcome listed =
        runProgram({QStringLiteral("layers"), QStringLiteral("--resources"), resources.path()});
    EXPECT_TRUE(listed.out.endsWith(QStringLiteral("user/Logos/mark.png\tLogos\tmark\n")))
        << listed.out;
    run = runProgram(render({picture, QStringLiteral("-o"), out, QStringLiteral("--size=128"),
                             QStringLiteral("--layer"),
                             QStringLiteral("user/Logos/mark.png@0.5,0.5:scale=0.5")}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_LE(test::channelDistance(QImage(out).pixelColor(64, 64), QColor(0, 255, 0)), 1);
    QDir(mine).removeRecursively();
}

TEST_F(CommandLineRun, UsageErrorsExitTwoBeforeTouchingAnything) {
    const QString out = files.file(QStringLiteral("never.png"));
    const QStringList bad[] = {
        render(
            {picture, QStringLiteral("-o"), out, QStringLiteral("--zoom"), QStringLiteral("nan")}),
        render({picture, QStringLiteral("-o"), out, QStringLiteral("--preset"),
                QStringLiteral("moon")}),
        render({picture, QStringLiteral("-o"), out, QStringLiteral("--layer"),
                QStringLiteral("Glows/none.png")}),
        render({picture, QStringLiteral("-o"), out, QStringLiteral("--layer"),
                QStringLiteral("Glows/orb.png:blend=glow")}),
        render({picture, QStringLiteral("-o"), out, QStringLiteral("--wat")}),
        render({picture}),
    };
    for (const QStringList& args : bad) {
        const Outcome run = runProgram(args);
        EXPECT_EQ(run.status, 2) << args.join(' ') << "\n" << run.err;
        EXPECT_FALSE(run.err.isEmpty());
    }
    EXPECT_FALSE(QFile::exists(out));
}

// animate takes render's look options plus its own, with its own defaults, and takes
// the format from the output's suffix only.
TEST(CommandLineParsing, AnimateOptionsAndTheirLimits) {
    const QString a = QStringLiteral("animate");
    const QString o = QStringLiteral("-o");
    const Invocation plain = cli::parse({a, o, QStringLiteral("spin.mp4")});
    ASSERT_TRUE(plain.error.isEmpty()) << plain.error;
    EXPECT_EQ(plain.command, Invocation::Command::animate);
    EXPECT_EQ(plain.animation.motion, Motion::spin);
    EXPECT_EQ(plain.animation.side, 1080);
    EXPECT_EQ(plain.animation.durationSeconds, 6.0);
    EXPECT_EQ(plain.animation.fps, 30);
    EXPECT_FALSE(cli::needsDisplay({a, o, QStringLiteral("spin.mp4")}));

    const Invocation full = cli::parse(
        {a, QStringLiteral("pano.jpg"), o, QStringLiteral("intro.WEBP"),
         QStringLiteral("--motion=intro"), QStringLiteral("--size"), QStringLiteral("501"),
         QStringLiteral("--duration"), QStringLiteral("2.5"), QStringLiteral("--fps=24"),
         QStringLiteral("--quality"), QStringLiteral("60"), QStringLiteral("--zoom=1.5"),
         QStringLiteral("--preset"), QStringLiteral("spiral")});
    ASSERT_TRUE(full.error.isEmpty()) << full.error;
    EXPECT_EQ(full.animation.motion, Motion::intro);
    EXPECT_EQ(full.animation.side, 501); // odd is fine for WebP
    EXPECT_EQ(full.animation.durationSeconds, 2.5);
    EXPECT_EQ(full.animation.fps, 24);
    EXPECT_EQ(full.animation.quality, 60);
    EXPECT_EQ(full.render.settings.at(Setting::zoom), 1.5);
    EXPECT_EQ(full.render.inputs, QStringList{QStringLiteral("pano.jpg")});

    const struct {
        QStringList args;
        const char* mentions;
    } refused[] = {
        {{a, o, QStringLiteral("spin.png")}, "spin.png"},
        {{a, o, QStringLiteral("-")}, "-"},
        {{a, QStringLiteral("pano.jpg")}, "-o"},
        {{a, o, QStringLiteral("x.mp4"), QStringLiteral("--size=501")}, "even"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--motion=wobble")}, "--motion"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--duration=0.1")}, "--duration"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--duration=nan")}, "--duration"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--fps=0")}, "--fps"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--fps=61")}, "--fps"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--output-dir=d")}, "--output-dir"},
        {{a, o, QStringLiteral("x.gif"), QStringLiteral("--lossless")}, "--lossless"},
        {{QStringLiteral("render"), o, QStringLiteral("x.png"), QStringLiteral("--fps=2")},
         "--fps"},
        {{a, QStringLiteral("a.jpg"), QStringLiteral("b.jpg"), o, QStringLiteral("x.mp4")},
         "b.jpg"},
    };
    for (const auto& c : refused) {
        const QString error = errorOf(c.args);
        EXPECT_TRUE(error.contains(QString::fromLatin1(c.mentions)))
            << c.args.join(' ') << " -> " << error;
    }
}

// The program writes the animation it was asked for, and a failure names the file,
// exits 1 and leaves nothing.
TEST_F(CommandLineRun, AnimateWritesTheLoopAndFailuresNameTheFile) {
    const QString out = files.file(QStringLiteral("spin.gif"));
    const Outcome run =
        runProgram({QStringLiteral("animate"), QStringLiteral("--resources"), resources.path(),
                    picture, QStringLiteral("-o"), out, QStringLiteral("--size=64"),
                    QStringLiteral("--duration=1"), QStringLiteral("--fps=8"),
                    QStringLiteral("--layer"), QStringLiteral("Stickers/moon.png")});
    EXPECT_EQ(run.status, 0) << run.err;
    QFile gif(out);
    ASSERT_TRUE(gif.open(QIODevice::ReadOnly));
    EXPECT_TRUE(gif.read(6) == "GIF89a");

    const QString broken = files.addFile(QStringLiteral("broken.jpg"), "not a picture");
    const QString nothing = files.file(QStringLiteral("nothing.mp4"));
    const Outcome failed =
        runProgram({QStringLiteral("animate"), QStringLiteral("--resources"), resources.path(),
                    broken, QStringLiteral("-o"), nothing, QStringLiteral("--size=64")});
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.err.contains(broken)) << failed.err;
    EXPECT_FALSE(QFile::exists(nothing));
}

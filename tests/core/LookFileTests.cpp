#include "layers/LayerLibrary.h"
#include "model/LookFile.h"
#include "model/PlanetModel.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace velmora;

namespace {

// Every setting off its default, no preset, a layer in each blend mode.
Look busyLook() {
    Look look;
    for (const SettingInfo& info : settingsTable())
        look.setValue(info.setting, info.control == SettingControl::toggle ||
                                            info.control == SettingControl::choice
                                        ? 1.0
                                        : info.lower + (info.upper - info.lower) / 3.0);
    look.selectedPreset.reset();
    const QString assets[] = {QStringLiteral("Glows/orb.png"), QStringLiteral("Stickers/moon.png"),
                              QStringLiteral("Glows/orb.png")};
    for (int i = 0; i < 3; ++i) {
        PlacedLayer layer;
        layer.id = QUuid::createUuid();
        layer.assetID = assets[i];
        layer.center = {0.1 + 0.3 * i, 1.0 / 3.0 - i};
        layer.scale = 0.2 + 0.1 * i;
        layer.rotation = -170.5 + 100.25 * i;
        layer.opacity = 0.3 + 0.3 * i;
        layer.flipped = i == 1;
        layer.blendMode = allLayerBlendModes[static_cast<size_t>(i)];
        look.layers.append(layer);
    }
    return look;
}

// Layer ids are not part of a saved look: a loaded layer gets a fresh one.
Look withoutIDs(Look look) {
    for (PlacedLayer& layer : look.layers)
        layer.id = QUuid();
    return look;
}

QByteArray edited(const Look& look, const std::function<void(QJsonObject&)>& edit) {
    QJsonObject root = QJsonDocument::fromJson(lookToJson(look)).object();
    edit(root);
    return QJsonDocument(root).toJson();
}

} // namespace

// What is saved reads back as the same look, exactly, every double included; the
// layers get new ids of their own.
TEST(LookFile, RoundTripsEverySettingAndLayer) {
    const Look look = busyLook();
    const Result<LoadedLook> read = lookFromJson(lookToJson(look), nullptr, QStringLiteral("a"));
    ASSERT_TRUE(read.ok()) << read.message();
    EXPECT_EQ(withoutIDs(read->look), withoutIDs(look));
    EXPECT_TRUE(read->notes.isEmpty());
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(read->look.layers[i].id.isNull());
        EXPECT_NE(read->look.layers[i].id, look.layers[i].id);
    }
    const Look spiral = Look().withPreset(Preset::spiral);
    EXPECT_EQ(lookFromJson(lookToJson(spiral), nullptr, QStringLiteral("b"))->look, spiral);

    // Human-readable: settings by their names, artwork by asset id.
    const QJsonObject root = QJsonDocument::fromJson(lookToJson(look)).object();
    EXPECT_EQ(root.value(QStringLiteral("format")).toString(), QStringLiteral("velmora-look"));
    EXPECT_EQ(root.value(QStringLiteral("version")).toInt(), lookFileVersion);
    EXPECT_TRUE(root.value(QStringLiteral("settings")).toObject().contains(QStringLiteral("zoom")));
}

// A file from a later version applies what this one knows: unknown keys, presets
// and blend modes are passed over; missing settings keep their defaults; values
// are held to the ranges the command line accepts.
TEST(LookFile, ReadsALaterVersionForWhatItKnows) {
    const QByteArray json = edited(busyLook(), [](QJsonObject& root) {
        root.insert(QStringLiteral("version"), 7);
        root.insert(QStringLiteral("animation"), QJsonObject{{QStringLiteral("fps"), 60}});
        root.insert(QStringLiteral("preset"), QStringLiteral("hyperbolic"));
        QJsonObject settings = root.value(QStringLiteral("settings")).toObject();
        settings.remove(QStringLiteral("gamma"));
        settings.insert(QStringLiteral("zoom"), 1e9);
        settings.insert(QStringLiteral("grain"), 0.4);
        root.insert(QStringLiteral("settings"), settings);
        QJsonArray layers = root.value(QStringLiteral("layers")).toArray();
        QJsonObject first = layers[0].toObject();
        first.insert(QStringLiteral("blend"), QStringLiteral("overlay"));
        first.insert(QStringLiteral("opacity"), -3);
        first.insert(QStringLiteral("shadow"), true);
        layers[0] = first;
        root.insert(QStringLiteral("layers"), layers);
    });
    const Result<LoadedLook> read = lookFromJson(json, nullptr, QStringLiteral("later.look"));
    ASSERT_TRUE(read.ok()) << read.message();
    const Look& look = read->look;
    EXPECT_FALSE(look.selectedPreset.has_value());
    EXPECT_EQ(look.value(Setting::gamma), settingInfo(Setting::gamma).defaultValue);
    EXPECT_EQ(look.value(Setting::zoom), settingInfo(Setting::zoom).maximum);
    EXPECT_EQ(look.value(Setting::contrast), busyLook().value(Setting::contrast));
    ASSERT_EQ(look.layers.size(), 3);
    EXPECT_EQ(look.layers[0].blendMode, LayerBlendMode::normal);
    EXPECT_EQ(look.layers[0].opacity, 0.0);
}

// Anything that is not such a document fails with a message naming the file and
// what is wrong, and gives no look at all.
TEST(LookFile, MalformedDocumentsFailInWords) {
    const Look look = busyLook();
    const struct {
        QByteArray json;
        const char* says;
    } cases[] = {
        {"{\"format\": \"velmora-look\", \"version\": 1,", "not JSON"},
        {"[1, 2, 3]", "not a Velmora look"},
        {"{\"format\": \"other-look\", \"version\": 1}", "not a Velmora look"},
        {"{\"format\": \"velmora-look\"}", "no version"},
        {edited(look,
                [](QJsonObject& root) {
                    QJsonObject settings = root.value(QStringLiteral("settings")).toObject();
                    settings.insert(QStringLiteral("zoom"), QStringLiteral("big"));
                    root.insert(QStringLiteral("settings"), settings);
                }),
         "setting \"zoom\" is not a number"},
        {edited(look,
                [](QJsonObject& root) {
                    root.insert(QStringLiteral("layers"),
                                QJsonArray{QJsonObject{{QStringLiteral("scale"), 1}}});
                }),
         "layer 1 names no artwork"},
        {edited(look,
                [](QJsonObject& root) {
                    root.insert(QStringLiteral("layers"),
                                QJsonArray{QJsonObject{
                                    {QStringLiteral("asset"), QStringLiteral("x")},
                                    {QStringLiteral("center"), QJsonArray{0.5, 0.5, 0.5}}}});
                }),
         "centre of layer 1"},
        {edited(look, [](QJsonObject& root) { root.insert(QStringLiteral("layers"), 3); }),
         "\"layers\" is not a list"},
    };
    for (const auto& c : cases) {
        const Result<LoadedLook> read = lookFromJson(c.json, nullptr, QStringLiteral("bad.look"));
        ASSERT_FALSE(read.ok()) << c.says;
        EXPECT_TRUE(read.message().startsWith(QStringLiteral("bad.look: cannot read the look")))
            << read.message();
        EXPECT_TRUE(read.message().contains(QLatin1String(c.says))) << read.message();
    }
}

// Against a library: a layer whose artwork is not there is left out and said; the
// rest applies. Files are written whole or not at all, and only files are read.
TEST(LookFile, FilesAndMissingArtwork) {
    test::SampleResources resources;
    const LayerLibrary library(resources.path());
    Look look = busyLook();
    look.layers[1].assetID = QStringLiteral("Stickers/gone.png");
    test::TempTree files;
    const QString path = files.file(QStringLiteral("mine.velmora-look"));
    ASSERT_TRUE(saveLookFile(look, path).ok());

    const Result<LoadedLook> read = loadLookFile(path, &library);
    ASSERT_TRUE(read.ok()) << read.message();
    ASSERT_EQ(read->look.layers.size(), 2);
    EXPECT_EQ(read->look.layers[1].assetID, look.layers[2].assetID);
    ASSERT_EQ(read->notes.size(), 1);
    EXPECT_TRUE(read->notes[0].startsWith(path + QStringLiteral(": the artwork "
                                                                "\"Stickers/gone.png\"")))
        << read->notes[0];

    // Saving into a folder that is a file fails, naming the path; nothing is left.
    const QString notAFolder = files.addFile(QStringLiteral("notes"), "text");
    const Status failed = saveLookFile(look, notAFolder + QStringLiteral("/x.velmora-look"));
    EXPECT_FALSE(failed.ok());
    EXPECT_TRUE(failed.message().startsWith(notAFolder)) << failed.message();

    const QString fifo = files.file(QStringLiteral("pipe.velmora-look"));
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(loadLookFile(fifo, &library).message(),
              fifo + QStringLiteral(": is not a regular file"));
    EXPECT_EQ(loadLookFile(files.file(QStringLiteral("none")), &library).message(),
              files.file(QStringLiteral("none")) + QStringLiteral(": no such file"));
}

// Applying a look keeps the picture and is one step of history.
TEST(LookFile, ApplyingALookIsOneUndoStepAndKeepsThePicture) {
    test::SampleResources resources;
    PlanetModel model(test::renderer(resources.path()), resources.path());
    model.loadImage(render::Image::fromQImage(test::testPanorama(400, 200)),
                    QStringLiteral("beach"));
    const Look before = model.look();
    const int depth = model.undoDepth();
    const Look look = busyLook();
    model.applyLook(look);
    EXPECT_EQ(model.look(), look);
    EXPECT_EQ(model.sourceName(), QStringLiteral("beach"));
    EXPECT_EQ(model.undoDepth(), depth + 1);
    model.undo();
    EXPECT_EQ(model.look(), before);
}

// A choice is saved by its name, so a person reading the file sees "full", and a
// name the setting does not have is a malformed file.
TEST(LookFile, ChoicesAreSavedByName) {
    Look look;
    look.setValue(Setting::coverage, 1.0);
    const QJsonObject settings = QJsonDocument::fromJson(lookToJson(look))
                                     .object()
                                     .value(QStringLiteral("settings"))
                                     .toObject();
    EXPECT_EQ(settings.value(QStringLiteral("coverage")).toString(), QStringLiteral("full"));
    const QByteArray odd = edited(look, [](QJsonObject& root) {
        QJsonObject values = root.value(QStringLiteral("settings")).toObject();
        values.insert(QStringLiteral("coverage"), QStringLiteral("halfway"));
        root.insert(QStringLiteral("settings"), values);
    });
    const Result<LoadedLook> read = lookFromJson(odd, nullptr, QStringLiteral("odd.velmora-look"));
    ASSERT_FALSE(read);
    EXPECT_TRUE(read.message().contains(QStringLiteral("halfway"))) << read.message();
    // A number is taken as the nearest choice, so it saves back as a name.
    const QByteArray numbered = edited(look, [](QJsonObject& root) {
        QJsonObject values = root.value(QStringLiteral("settings")).toObject();
        values.insert(QStringLiteral("coverage"), 0.7);
        root.insert(QStringLiteral("settings"), values);
    });
    const Result<LoadedLook> near = lookFromJson(numbered, nullptr, QStringLiteral("n"));
    ASSERT_TRUE(near) << near.message();
    EXPECT_EQ(near->look.value(Setting::coverage), 1.0);
}

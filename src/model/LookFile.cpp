#include "model/LookFile.h"

#include "layers/LayerLibrary.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QUuid>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace velmora {

namespace {

const QString formatName = QString::fromLatin1(lookFileSuffix);

// A look is a few kilobytes; anything far larger is not one, and reading it whole
// would only cost memory.
constexpr qint64 maxLookFileBytes = 4 * 1024 * 1024;

std::optional<Preset> presetNamed(const QString& name) {
    for (const Preset preset : allPresets)
        if (presetName(preset) == name)
            return preset;
    return std::nullopt;
}

// Reads the document's parts, stopping at the first value of the wrong type.
class Reader {
public:
    Reader(const LayerLibrary* library, const QString& what)
        : m_library(library)
        , m_what(what) {}

    Result<LoadedLook> read(const QByteArray& json) {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(json, &error);
        if (error.error != QJsonParseError::NoError)
            return fail(QStringLiteral("it is not JSON (%1 at byte %2)")
                            .arg(error.errorString())
                            .arg(error.offset));
        if (!document.isObject() ||
            document.object().value(QStringLiteral("format")).toString() != formatName)
            return fail(QStringLiteral("it is not a Velmora look"));
        const QJsonObject root = document.object();
        const QJsonValue version = root.value(QStringLiteral("version"));
        if (!version.isDouble() || version.toDouble() < 1)
            return fail(QStringLiteral("it has no version number"));

        LoadedLook loaded;
        Look& look = loaded.look;
        const QJsonValue preset = root.value(QStringLiteral("preset"));
        if (preset.isString())
            look.selectedPreset = presetNamed(preset.toString());
        else if (preset.isNull() || preset.isUndefined())
            look.selectedPreset.reset();
        else
            return fail(QStringLiteral("\"preset\" is not a name"));

        const QJsonValue settings = root.value(QStringLiteral("settings"));
        if (!settings.isUndefined() && !settings.isObject())
            return fail(QStringLiteral("\"settings\" is not an object"));
        const QJsonObject values = settings.toObject();
        for (const SettingInfo& info : settingsTable()) {
            const QJsonValue value = values.value(QLatin1String(info.name));
            if (value.isUndefined())
                continue;
            // A choice is written by name.
            if (info.control == SettingControl::choice && value.isString()) {
                const std::optional<double> chosen = choiceValue(info, value.toString());
                if (!chosen)
                    return fail(QStringLiteral("setting \"%1\" has no value \"%2\"")
                                    .arg(QLatin1String(info.name), value.toString()));
                look.setValue(info.setting, *chosen);
                continue;
            }
            // A switch may be written as true or false.
            if (info.control == SettingControl::toggle && value.isBool()) {
                look.setValue(info.setting, value.toBool() ? 1.0 : 0.0);
                continue;
            }
            const std::optional<double> number = finite(value);
            if (!number)
                return fail(QStringLiteral("setting \"%1\" is not a number").arg(info.name));
            double v = std::clamp(*number, info.minimum, info.maximum);
            // A choice by number is the nearest choice: it saves back by name.
            if (info.control == SettingControl::choice)
                v = std::round(v);
            look.setValue(info.setting, v);
        }

        const QJsonValue layers = root.value(QStringLiteral("layers"));
        if (!layers.isUndefined() && !layers.isArray())
            return fail(QStringLiteral("\"layers\" is not a list"));
        const QJsonArray list = layers.toArray();
        for (qsizetype i = 0; i < list.size(); ++i) {
            if (!list[i].isObject())
                return fail(QStringLiteral("layer %1 is not an object").arg(i + 1));
            const QJsonObject object = list[i].toObject();
            Result<PlacedLayer> layer = readLayer(object, i + 1);
            if (!layer)
                return layer.failure();
            if (m_library && !m_library->asset(layer->assetID)) {
                loaded.notes.append(QCoreApplication::translate(
                                        "LookFile", "%1: the artwork \"%2\" is not in the library; "
                                                    "the look is applied without it")
                                        .arg(m_what, layer->assetID));
                continue;
            }
            look.layers.append(std::move(layer).value());
        }
        return loaded;
    }

private:
    static std::optional<double> finite(const QJsonValue& value) {
        if (!value.isDouble() || !std::isfinite(value.toDouble()))
            return std::nullopt;
        return value.toDouble();
    }

    Failure fail(const QString& why) const {
        return Failure{QCoreApplication::translate("LookFile", "%1: cannot read the look, %2")
                           .arg(m_what, why)};
    }

    Result<PlacedLayer> readLayer(const QJsonObject& object, qsizetype number) const {
        PlacedLayer layer;
        layer.id = QUuid::createUuid();
        const QJsonValue asset = object.value(QStringLiteral("asset"));
        if (!asset.isString() || asset.toString().isEmpty())
            return fail(QStringLiteral("layer %1 names no artwork").arg(number));
        layer.assetID = asset.toString();

        const QJsonValue center = object.value(QStringLiteral("center"));
        if (!center.isUndefined()) {
            const QJsonArray xy = center.toArray();
            const std::optional<double> x = xy.size() == 2 ? finite(xy[0]) : std::nullopt;
            const std::optional<double> y = xy.size() == 2 ? finite(xy[1]) : std::nullopt;
            if (!center.isArray() || !x || !y)
                return fail(
                    QStringLiteral("the centre of layer %1 is not two numbers").arg(number));
            layer.center = {*x, *y};
        }
        const struct {
            const char* key;
            double* field;
        } numbers[] = {
            {"scale", &layer.scale}, {"rotation", &layer.rotation}, {"opacity", &layer.opacity}};
        for (const auto& [key, field] : numbers) {
            const QJsonValue value = object.value(QLatin1String(key));
            if (value.isUndefined())
                continue;
            const std::optional<double> read = finite(value);
            if (!read)
                return fail(
                    QStringLiteral("the %1 of layer %2 is not a number").arg(key).arg(number));
            *field = *read;
        }
        layer.opacity = std::clamp(layer.opacity, 0.0, 1.0);
        const QJsonValue flipped = object.value(QStringLiteral("flipped"));
        if (!flipped.isUndefined() && !flipped.isBool())
            return fail(QStringLiteral("\"flipped\" of layer %1 is not true or false").arg(number));
        layer.flipped = flipped.toBool();
        // A blend mode of a later version draws as normal here.
        layer.blendMode = layerBlendModeFromRaw(object.value(QStringLiteral("blend")).toString())
                              .value_or(LayerBlendMode::normal);
        return layer;
    }

    const LayerLibrary* m_library;
    QString m_what;
};

} // namespace

QByteArray lookToJson(const Look& look) {
    QJsonObject settings;
    for (const SettingInfo& info : settingsTable()) {
        if (info.control == SettingControl::choice)
            settings.insert(QLatin1String(info.name), choiceName(info, look.value(info.setting)));
        else
            settings.insert(QLatin1String(info.name), look.value(info.setting));
    }
    QJsonArray layers;
    for (const PlacedLayer& layer : look.layers) {
        layers.append(QJsonObject{
            {QStringLiteral("asset"), layer.assetID},
            {QStringLiteral("center"), QJsonArray{layer.center.x, layer.center.y}},
            {QStringLiteral("scale"), layer.scale},
            {QStringLiteral("rotation"), layer.rotation},
            {QStringLiteral("opacity"), layer.opacity},
            {QStringLiteral("flipped"), layer.flipped},
            {QStringLiteral("blend"), rawValue(layer.blendMode)},
        });
    }
    const QJsonObject root{
        {QStringLiteral("format"), formatName},
        {QStringLiteral("version"), lookFileVersion},
        {QStringLiteral("preset"), look.selectedPreset
                                       ? QJsonValue(presetName(*look.selectedPreset))
                                       : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("settings"), settings},
        {QStringLiteral("layers"), layers},
    };
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

Result<LoadedLook> lookFromJson(const QByteArray& json, const LayerLibrary* library,
                                const QString& what) {
    return Reader(library, what).read(json);
}

Status saveLookFile(const Look& look, const QString& path) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    const QByteArray json = lookToJson(look);
    if (file.write(json) != json.size() || !file.commit())
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    return {};
}

Result<LoadedLook> loadLookFile(const QString& path, const LayerLibrary* library) {
    const QFileInfo info(path);
    if (!info.exists())
        return Failure{QCoreApplication::translate("LookFile", "%1: no such file").arg(path)};
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::path(path.toStdString()), error))
        return Failure{
            QCoreApplication::translate("LookFile", "%1: is not a regular file").arg(path)};
    if (info.size() > maxLookFileBytes)
        return Failure{
            QCoreApplication::translate("LookFile", "%1: is far too large for a look").arg(path)};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure{QStringLiteral("%1: %2").arg(path, file.errorString())};
    return lookFromJson(file.read(maxLookFileBytes), library, path);
}

} // namespace velmora

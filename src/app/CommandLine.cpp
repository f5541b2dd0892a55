#include "app/CommandLine.h"

#include "app/BatchRender.h"

#include "layers/LayerLibrary.h"
#include "model/ImageDecoding.h"
#include "model/LookFile.h"
#include "model/PlanetRenderer.h"
#include "model/Resources.h"
#include "model/SourceMetadata.h"
#include "render/PngWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>

namespace velmora::cli {

namespace {

std::optional<double> finiteNumber(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<bool> yesNo(const QString& text) {
    const QString t = text.toLower();
    if (t == QLatin1String("yes") || t == QLatin1String("true") || t == QLatin1String("on") ||
        t == QLatin1String("1"))
        return true;
    if (t == QLatin1String("no") || t == QLatin1String("false") || t == QLatin1String("off") ||
        t == QLatin1String("0"))
        return false;
    return std::nullopt;
}

/// Walks the arguments; options take "--name value" or "--name=value".
class ArgumentReader {
public:
    explicit ArgumentReader(const QStringList& arguments)
        : m_args(arguments) {}
    bool atEnd() const { return m_index >= m_args.size(); }
    QString next() { return m_args.at(m_index++); }
    /// The value of the option just read: after '=', or the next argument (which may
    /// start with '-', as negative numbers do).
    std::optional<QString> valueOf(const QString& inlineValue, bool hasInline) {
        if (hasInline)
            return inlineValue;
        if (atEnd())
            return std::nullopt;
        return next();
    }

private:
    const QStringList& m_args;
    qsizetype m_index = 0;
};

Invocation withError(Invocation invocation, const QString& error) {
    invocation.error = error;
    return invocation;
}

/// `render` and `animate` share their options; animate adds the motion's and takes
/// the format from the output's suffix only.
Invocation parseRender(ArgumentReader& reader, bool animate) {
    Invocation inv;
    inv.command = animate ? Invocation::Command::animate : Invocation::Command::render;
    RenderOptions& r = inv.render;
    AnimationSettings& a = inv.animation;
    bool sawSize = false;
    bool sawOutput = false;
    bool optionsEnded = false;
    QString format;
    std::optional<int> quality;
    std::optional<int> depth;
    bool lossless = false;
    while (!reader.atEnd()) {
        const QString arg = reader.next();
        if (optionsEnded || !arg.startsWith(QLatin1Char('-')) || arg == QLatin1String("-")) {
            r.inputs.append(arg);
            continue;
        }
        if (arg == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype eq = arg.indexOf(QLatin1Char('='));
        const QString name = eq < 0 ? arg : arg.left(eq);
        const QString inlineValue = eq < 0 ? QString() : arg.mid(eq + 1);
        const bool hasInline = eq >= 0;
        const auto value = [&]() { return reader.valueOf(inlineValue, hasInline); };
        const auto missing = [&]() {
            return withError(inv, QStringLiteral("%1 needs a value").arg(name));
        };

        if (name == QLatin1String("-h") || name == QLatin1String("--help")) {
            inv.command = Invocation::Command::help;
            return inv;
        }
        if (name == QLatin1String("-o") || name == QLatin1String("--output")) {
            const auto v = value();
            if (!v || v->isEmpty())
                return missing();
            r.output = *v;
            sawOutput = true;
        } else if (name == QLatin1String("--size")) {
            const auto v = value();
            if (!v)
                return missing();
            const auto n = finiteNumber(*v);
            if (!n)
                return withError(inv, QStringLiteral("--size: '%1' is not a number").arg(*v));
            if (*n != std::floor(*n) || *n < 64 || *n > PlanetRenderer::maxOutputSide)
                return withError(
                    inv,
                    QStringLiteral("--size: %1 is not a whole number from 64 to 16384").arg(*v));
            r.size = static_cast<int>(*n);
            sawSize = true;
        } else if (animate && name == QLatin1String("--motion")) {
            const auto v = value();
            if (!v)
                return missing();
            const std::optional<Motion> motion = motionByName(*v);
            if (!motion)
                return withError(
                    inv, QStringLiteral("--motion: unknown motion '%1' (spin, intro)").arg(*v));
            a.motion = *motion;
        } else if (animate && name == QLatin1String("--duration")) {
            const auto v = value();
            if (!v)
                return missing();
            const auto n = finiteNumber(*v);
            if (!n || *n < AnimationSettings::minDuration || *n > AnimationSettings::maxDuration)
                return withError(inv, QStringLiteral("--duration: '%1' is not a number of seconds "
                                                     "from %2 to %3")
                                          .arg(*v)
                                          .arg(AnimationSettings::minDuration)
                                          .arg(AnimationSettings::maxDuration));
            a.durationSeconds = *n;
        } else if (animate && name == QLatin1String("--fps")) {
            const auto v = value();
            if (!v)
                return missing();
            const auto n = finiteNumber(*v);
            if (!n || *n != std::floor(*n) || *n < 1 || *n > AnimationSettings::maxFps)
                return withError(inv, QStringLiteral("--fps: '%1' is not a whole number from 1 "
                                                     "to %2")
                                          .arg(*v)
                                          .arg(AnimationSettings::maxFps));
            a.fps = static_cast<int>(*n);
        } else if (!animate && name == QLatin1String("--output-dir")) {
            const auto v = value();
            if (!v || v->isEmpty())
                return missing();
            r.outputDir = *v;
        } else if (!animate && name == QLatin1String("--overwrite")) {
            r.overwrite = true;
        } else if (!animate && name == QLatin1String("--format")) {
            const auto v = value();
            if (!v || v->isEmpty())
                return missing();
            if (!render::outputFormatForSuffix(*v))
                return withError(inv, QStringLiteral("--format: unknown format '%1' (png, jpg, "
                                                     "webp, tif)")
                                          .arg(*v));
            format = *v;
        } else if (name == QLatin1String("--quality")) {
            const auto v = value();
            if (!v)
                return missing();
            const auto n = finiteNumber(*v);
            if (!n || *n != std::floor(*n) || *n < 1 || *n > 100)
                return withError(
                    inv,
                    QStringLiteral("--quality: '%1' is not a whole number from 1 to 100").arg(*v));
            quality = static_cast<int>(*n);
        } else if (!animate && name == QLatin1String("--depth")) {
            const auto v = value();
            if (!v)
                return missing();
            if (*v != QLatin1String("8") && *v != QLatin1String("16"))
                return withError(inv, QStringLiteral("--depth: '%1' is not 8 or 16").arg(*v));
            depth = v->toInt();
        } else if (!animate && name == QLatin1String("--lossless")) {
            lossless = true;
        } else if (name == QLatin1String("--look")) {
            const auto v = value();
            if (!v || v->isEmpty())
                return missing();
            r.lookFile = *v;
        } else if (name == QLatin1String("--preset")) {
            const auto v = value();
            if (!v)
                return missing();
            r.preset = velmora::presetByName(*v);
            if (!r.preset)
                return withError(inv, QStringLiteral("--preset: unknown preset '%1' (classic, sky, "
                                                     "horizontal, spiral, double)")
                                          .arg(*v));
        } else if (name == QLatin1String("--layer")) {
            const auto v = value();
            if (!v)
                return missing();
            QString error;
            const std::optional<LayerPlacement> placement = parseLayerOption(*v, &error);
            if (!placement)
                return withError(inv, QStringLiteral("--layer: ") + error);
            r.layers.append(*placement);
        } else if (name == QLatin1String("--resources")) {
            const auto v = value();
            if (!v || v->isEmpty())
                return missing();
            inv.resources = *v;
        } else if (const std::optional<Setting> setting =
                       name.startsWith(QLatin1String("--"))
                           ? settingByOption(QStringView(name).mid(2))
                           : std::nullopt) {
            if (settingInfo(*setting).control == SettingControl::choice) {
                const auto v = value();
                if (!v)
                    return missing();
                const std::optional<double> chosen = choiceValue(settingInfo(*setting), *v);
                if (!chosen)
                    return withError(
                        inv, QStringLiteral("%1: '%2' is not %3")
                                 .arg(name, *v,
                                      QString::fromLatin1(settingInfo(*setting).valueName)
                                          .replace(QLatin1Char('|'), QStringLiteral(" or "))));
                r.settings[*setting] = *chosen;
                continue;
            }
            if (settingInfo(*setting).control == SettingControl::toggle) {
                // A switch: on by itself, or --name=yes|no.
                const std::optional<bool> on = hasInline ? yesNo(inlineValue) : true;
                if (!on)
                    return withError(
                        inv, QStringLiteral("%1: '%2' is not yes or no").arg(name, inlineValue));
                r.settings[*setting] = *on ? 1.0 : 0.0;
                continue;
            }
            const auto v = value();
            if (!v)
                return missing();
            const auto n = finiteNumber(*v);
            if (!n)
                return withError(inv,
                                 QStringLiteral("%1: '%2' is not a finite number").arg(name, *v));
            const SettingInfo& info = settingInfo(*setting);
            if (*n < info.minimum || *n > info.maximum)
                return withError(inv, QStringLiteral("%1: %2 is outside %3 to %4")
                                          .arg(name, *v, QString::number(info.minimum, 'g', 6),
                                               QString::number(info.maximum, 'g', 6)));
            r.settings[*setting] = *n;
        } else {
            return withError(
                inv, QStringLiteral("unknown option '%1' (velmora --help lists them)").arg(name));
        }
    }
    if (animate) {
        if (!sawOutput)
            return withError(inv, QStringLiteral("animate needs -o OUT.mp4 (or .webp, .gif)"));
        if (r.inputs.size() > 1)
            return withError(inv, QStringLiteral("animate takes one picture, but got '%1' and '%2'")
                                      .arg(r.inputs[0], r.inputs[1]));
        if (!render::animationFormatForSuffix(QFileInfo(r.output).suffix()))
            return withError(
                inv, QStringLiteral("-o: '%1' does not end in .mp4, .webp or .gif").arg(r.output));
        a.side = sawSize ? r.size : a.side;
        if (render::animationFormatForSuffix(QFileInfo(r.output).suffix()) ==
                render::AnimationFormat::mp4 &&
            a.side % 2 != 0)
            return withError(
                inv, QStringLiteral("--size: an MP4 video needs an even side, not %1").arg(a.side));
        if (quality)
            a.quality = *quality;
        return inv;
    }
    // The format: --format for a batch, else the output's suffix; a name without a
    // known suffix (or standard output) is PNG, as it always was.
    if (!r.outputDir.isEmpty() && format.isEmpty())
        format = QStringLiteral("png");
    if (!format.isEmpty() && r.outputDir.isEmpty())
        return withError(inv, QStringLiteral("--format is for --output-dir; -o takes the format "
                                             "from the file's suffix"));
    const QString suffix = r.outputDir.isEmpty() ? QFileInfo(r.output).suffix() : format;
    render::OutputEncoding& encoding = r.encoding;
    encoding.format = render::outputFormatForSuffix(suffix).value_or(render::OutputFormat::png);
    using render::OutputFormat;
    if (depth == 16) {
        if (encoding.format == OutputFormat::png)
            encoding.format = OutputFormat::png16;
        else if (encoding.format != OutputFormat::tiff16)
            return withError(inv, QStringLiteral("--depth 16 is for PNG and TIFF"));
    } else if (depth == 8 && encoding.format == OutputFormat::tiff16) {
        return withError(inv, QStringLiteral("TIFF is written at 16 bits"));
    }
    if (lossless) {
        if (encoding.format != OutputFormat::webp)
            return withError(inv, QStringLiteral("--lossless is for WebP"));
        encoding.format = OutputFormat::webpLossless;
    }
    if (quality) {
        if (encoding.format != OutputFormat::jpeg && encoding.format != OutputFormat::webp)
            return withError(inv, QStringLiteral("--quality is for JPEG and lossy WebP"));
        encoding.quality = *quality;
    }
    if (r.output == QLatin1String("-") && encoding.format != OutputFormat::png)
        return withError(inv, QStringLiteral("-o - writes an 8-bit PNG"));

    if (!r.outputDir.isEmpty()) {
        if (sawOutput)
            return withError(inv, QStringLiteral("-o and --output-dir do not go together (-o names "
                                                 "one file, --output-dir a folder for many)"));
        if (r.inputs.isEmpty())
            return withError(inv, QStringLiteral("--output-dir needs the pictures to render"));
        return inv;
    }
    if (r.inputs.size() > 1)
        return withError(inv, QStringLiteral("render takes one picture, but got '%1' and '%2' "
                                             "(--output-dir DIR renders several)")
                                  .arg(r.inputs[0], r.inputs[1]));
    if (!sawOutput)
        return withError(inv, QStringLiteral("render needs -o OUT.png"));
    return inv;
}

} // namespace

QString escapedAssetID(const QString& id) {
    QString escaped;
    escaped.reserve(id.size());
    for (const QChar c : id) {
        if (c == QLatin1Char('\t'))
            escaped += QStringLiteral("\\t");
        else if (c == QLatin1Char('\n'))
            escaped += QStringLiteral("\\n");
        else if (c == QLatin1Char('\\') || c == QLatin1Char('@') || c == QLatin1Char(':'))
            escaped += QLatin1Char('\\') + c;
        else
            escaped += c;
    }
    return escaped;
}

QString unescapedAssetID(const QString& text) {
    QString id;
    id.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar c = text[i];
        if (c == QLatin1Char('\\') && i + 1 < text.size()) {
            c = text[++i];
            c = c == QLatin1Char('t')   ? QChar(QLatin1Char('\t'))
                : c == QLatin1Char('n') ? QChar(QLatin1Char('\n'))
                                        : c;
        }
        id += c;
    }
    return id;
}

namespace {

/// The last `c` that no backslash escapes, or -1.
qsizetype lastUnescaped(const QString& text, QChar c) {
    qsizetype found = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\'))
            ++i;
        else if (text[i] == c)
            found = i;
    }
    return found;
}

} // namespace

std::optional<LayerPlacement> parseLayerOption(const QString& text, QString* error) {
    const auto fail = [&](const QString& why) -> std::optional<LayerPlacement> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    LayerPlacement placement;
    QString rest = text;

    // Options come after the last ':' when that part reads as options; asset ids
    // themselves rarely hold ':' but may.
    static const QStringList keys{QStringLiteral("scale"), QStringLiteral("rotation"),
                                  QStringLiteral("opacity"), QStringLiteral("blend")};
    const qsizetype colon = lastUnescaped(rest, QLatin1Char(':'));
    if (colon >= 0) {
        const QString options = rest.mid(colon + 1);
        const QStringList items = options.split(QLatin1Char(','));
        const bool looksLikeOptions =
            std::all_of(items.begin(), items.end(), [](const QString& item) {
                const QString key = item.section(QLatin1Char('='), 0, 0).trimmed();
                return item.contains(QLatin1Char('=')) || key == QLatin1String("flip") ||
                       keys.contains(key);
            });
        if (looksLikeOptions) {
            rest = rest.left(colon);
            for (const QString& item : items) {
                const QString key = item.section(QLatin1Char('='), 0, 0).trimmed();
                const QString val = item.section(QLatin1Char('='), 1).trimmed();
                if (key == QLatin1String("flip")) {
                    // A flag on its own, or flip=yes|no like the other switches.
                    const std::optional<bool> on =
                        item.contains(QLatin1Char('=')) ? yesNo(val) : true;
                    if (!on)
                        return fail(QStringLiteral("flip: '%1' is not yes or no").arg(val));
                    placement.flip = *on;
                } else if (key == QLatin1String("blend")) {
                    placement.blend = layerBlendModeFromRaw(val);
                    if (!placement.blend)
                        return fail(
                            QStringLiteral("unknown blend mode '%1' (normal, screen, multiply)")
                                .arg(val));
                } else if (keys.contains(key)) {
                    const auto n = finiteNumber(val);
                    if (!n)
                        return fail(
                            QStringLiteral("%1: '%2' is not a finite number").arg(key, val));
                    (key == QLatin1String("scale")      ? placement.scale
                     : key == QLatin1String("rotation") ? placement.rotation
                                                        : placement.opacity) = *n;
                } else {
                    return fail(
                        QStringLiteral("unknown key '%1' (scale, rotation, opacity, blend, flip)")
                            .arg(key));
                }
            }
        }
    }

    // A point after the last '@': "@X,Y".
    const qsizetype at = lastUnescaped(rest, QLatin1Char('@'));
    if (at >= 0) {
        const QStringList xy = rest.mid(at + 1).split(QLatin1Char(','));
        const auto x = xy.size() == 2 ? finiteNumber(xy[0]) : std::nullopt;
        const auto y = xy.size() == 2 ? finiteNumber(xy[1]) : std::nullopt;
        if (!x || !y)
            return fail(QStringLiteral("'%1' is not a point X,Y").arg(rest.mid(at + 1)));
        placement.at = {*x, *y};
        rest = rest.left(at);
    }
    if (rest.isEmpty())
        return fail(QStringLiteral("'%1' names no asset").arg(text));
    placement.assetID = unescapedAssetID(rest);
    return placement;
}

Invocation parse(const QStringList& arguments) {
    ArgumentReader reader(arguments);
    Invocation inv;
    if (reader.atEnd())
        return inv;
    const QString first = arguments.front();
    if (first == QLatin1String("render") || first == QLatin1String("animate")) {
        reader.next();
        return parseRender(reader, first == QLatin1String("animate"));
    }
    if (first == QLatin1String("-h") || first == QLatin1String("--help") ||
        first == QLatin1String("help")) {
        inv.command = Invocation::Command::help;
        return inv;
    }
    if (first == QLatin1String("--version")) {
        inv.command = Invocation::Command::version;
        return inv;
    }
    inv.command = first == QLatin1String("layers") ? Invocation::Command::layers
                                                   : Invocation::Command::window;
    if (inv.command == Invocation::Command::layers)
        reader.next();
    while (!reader.atEnd()) {
        const QString arg = reader.next();
        const qsizetype eq = arg.indexOf(QLatin1Char('='));
        const QString name = eq < 0 ? arg : arg.left(eq);
        if (name == QLatin1String("--resources")) {
            const auto v = reader.valueOf(arg.mid(eq + 1), eq >= 0);
            if (!v || v->isEmpty())
                return withError(inv, QStringLiteral("--resources needs a value"));
            inv.resources = *v;
        } else if (arg.startsWith(QLatin1Char('-'))) {
            return withError(
                inv, QStringLiteral("unknown option '%1' (velmora --help lists them)").arg(name));
        } else if (inv.command == Invocation::Command::window && inv.image.isEmpty()) {
            inv.image = arg;
        } else {
            return withError(inv, QStringLiteral("unexpected argument '%1'").arg(arg));
        }
    }
    return inv;
}

bool needsDisplay(const QStringList& arguments) {
    return parse(arguments).command == Invocation::Command::window;
}

QString versionText() {
    return QStringLiteral("velmora %1").arg(QStringLiteral(VELMORA_VERSION));
}

int runLayers(const Invocation& invocation, QTextStream& out, QTextStream& err) {
    if (!invocation.resources.isEmpty()) {
        if (!QFileInfo(invocation.resources).isDir()) {
            err << "velmora: " << invocation.resources << ": no such resources folder\n";
            return failure;
        }
        setResourcesRoot(invocation.resources);
    }
    const LayerLibrary library(resourcesRoot(), userArtworkFolder());
    for (const LayerAsset& asset : library.assets())
        out << escapedAssetID(asset.id) << '\t' << escapedAssetID(asset.category) << '\t'
            << escapedAssetID(asset.name) << '\n';
    return success;
}

Status checkOutputPath(const QString& path) {
    const QFileInfo target(path);
    if (target.isDir())
        return Failure{path + QStringLiteral(": is a folder")};
    // The write replaces the file by renaming over it: a device, pipe or socket would
    // be replaced by a plain file, so only files and new paths are taken.
    std::error_code error;
    const std::filesystem::file_status status =
        std::filesystem::status(std::filesystem::path(path.toStdString()), error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        return Failure{path + QStringLiteral(": is not a regular file (a device, pipe or socket); "
                                             "give a file, a new path, or - for standard output")};
    const QFileInfo folder(target.absolutePath());
    if (!folder.isDir())
        return Failure{path +
                       QStringLiteral(": the folder %1 does not exist").arg(folder.filePath())};
    if (!folder.isWritable())
        return Failure{path +
                       QStringLiteral(": the folder %1 is not writable").arg(folder.filePath())};
    return {};
}

Result<Look> lookFromOptions(const RenderOptions& options, LayerLibrary& library,
                             const Look& base) {
    Look look = base;
    if (options.preset)
        look = look.withPreset(*options.preset);
    for (const auto& [setting, value] : options.settings) {
        look.setValue(setting, value);
        if (settingInfo(setting).kind == SettingKind::projection)
            look.selectedPreset.reset();
    }
    for (const LayerPlacement& placement : options.layers) {
        // A file a script names (a logo for every planet of a batch) before an id.
        const LayerAsset* asset = QFileInfo(placement.assetID).isFile()
                                      ? library.addFile(placement.assetID)
                                      : library.asset(placement.assetID);
        if (!asset)
            return Failure{QStringLiteral("--layer: '%1' is neither an image file nor an asset "
                                          "(velmora layers lists them)")
                               .arg(placement.assetID)};
        PlacedLayer layer = placeAsset(*asset, placement.at);
        layer.scale = placement.scale.value_or(layer.scale);
        layer.rotation = placement.rotation.value_or(layer.rotation);
        layer.opacity = std::clamp(placement.opacity.value_or(layer.opacity), 0.0, 1.0);
        layer.blendMode = placement.blend.value_or(layer.blendMode);
        layer.flipped = placement.flip;
        look.layers.append(layer);
    }
    return look;
}

std::optional<int> prepareRender(const Invocation& invocation, QTextStream& err,
                                 RenderSetup& setup) {
    const RenderOptions& r = invocation.render;
    const auto fail = [&](const QString& message, int status) {
        err << "velmora: " << message << '\n';
        err.flush();
        return status;
    };
    if (!invocation.resources.isEmpty()) {
        if (!QFileInfo(invocation.resources).isDir())
            return fail(invocation.resources + QStringLiteral(": no such resources folder"),
                        failure);
        setResourcesRoot(invocation.resources);
    }
    const QString root = resourcesRoot();

    // Check the destination before spending seconds on a render.
    if (r.output != QLatin1String("-") && r.outputDir.isEmpty()) {
        if (const Status usable = checkOutputPath(r.output); !usable)
            return fail(usable.message(), failure);
    }

    setup.input =
        r.inputs.isEmpty() ? root + QStringLiteral("/samples/panorama.jpg") : r.inputs.front();
    if (r.inputs.isEmpty() && !QFileInfo(setup.input).isFile())
        return fail(
            QStringLiteral("no sample panorama at %1; give a picture to render").arg(setup.input),
            failure);

    Result<PlanetRenderer> renderer = PlanetRenderer::load(root);
    if (!renderer)
        return fail(renderer.message(), failure);
    setup.renderer.emplace(std::move(renderer).value());
    setup.library = std::make_unique<LayerLibrary>(root, userArtworkFolder());
    LayerLibrary& library = *setup.library;
    Look base;
    if (!r.lookFile.isEmpty()) {
        const Result<LoadedLook> loaded = loadLookFile(r.lookFile, &library);
        if (!loaded)
            return fail(loaded.message(), failure);
        for (const QString& note : loaded->notes)
            err << "velmora: warning: " << note << '\n';
        base = loaded->look;
    }
    const Result<Look> look = lookFromOptions(r, library, base);
    if (!look)
        return fail(look.message(), usageError);
    setup.look = *look;

    // A layer the user named is part of what was asked for: one that cannot be drawn
    // is a failure, not a quiet omission as in the window.
    for (const PlacedLayer& layer : look->layers) {
        const std::optional<render::Image> artwork = library.renderImage(layer.assetID);
        if (!artwork || !(artwork->extent().width() > 0.0))
            return fail(QStringLiteral("%1: the artwork for --layer %2 cannot be read")
                            .arg(library.asset(layer.assetID)->filePath(), layer.assetID),
                        failure);
    }
    return std::nullopt;
}

int runRender(const Invocation& invocation, QTextStream& out, QTextStream& err) {
    (void)out;
    const RenderOptions& r = invocation.render;
    const auto fail = [&](const QString& message, int status) {
        err << "velmora: " << message << '\n';
        err.flush();
        return status;
    };
    RenderSetup setup;
    if (const std::optional<int> failed = prepareRender(invocation, err, setup))
        return *failed;
    const PlanetRenderer& renderer = *setup.renderer;
    LayerLibrary& library = *setup.library;
    const Look& look = setup.look;
    const QString& input = setup.input;
    const bool batch = !r.outputDir.isEmpty();
    const bool toStandardOutput = r.output == QLatin1String("-");

    if (batch)
        return runBatch({r.inputs, r.outputDir, r.size, r.overwrite, r.encoding}, renderer, library,
                        look, err, ::isatty(STDERR_FILENO) == 1);

    QStringList warnings;
    const Result<render::Image> source = decodeImageFile(input, &warnings);
    if (!source)
        return fail(source.message(), failure);
    for (const QString& warning : warnings)
        err << "velmora: warning: " << warning << '\n';
    const Result<render::Image> planet = renderer.planet(look, *source, library, r.size);
    if (!planet)
        return fail(QStringLiteral("%1: %2").arg(r.output, planet.message()), failure);
    // Rendered strip by strip as it is written: memory does not grow with the size.
    const QRect square(0, 0, r.size, r.size);
    if (toStandardOutput) {
        QFile standardOutput;
        if (!standardOutput.open(stdout, QIODevice::WriteOnly))
            return fail(QStringLiteral("standard output: %1").arg(standardOutput.errorString()),
                        failure);
        if (const Status written = render::writePng(*planet, square, standardOutput); !written)
            return fail(QStringLiteral("standard output: %1").arg(written.message()), failure);
        return success;
    }
    render::OutputEncoding encoding = r.encoding;
    encoding.exif = carriedExif(input);
    if (const Status written = render::writeOutputFile(*planet, square, r.output, encoding);
        !written)
        return fail(written.message(), failure);
    return success;
}

} // namespace velmora::cli

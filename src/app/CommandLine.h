#pragma once

#include "app/HelpText.h"
#include "layers/LayerBlendMode.h"
#include "layers/LayerLibrary.h"
#include "layers/PlacedLayer.h"
#include "model/Animation.h"
#include "model/Look.h"
#include "model/PlanetRenderer.h"
#include "model/Preset.h"
#include "model/Settings.h"
#include "render/OutputFile.h"
#include "render/Result.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <map>
#include <memory>

#include <optional>

namespace velmora::cli {

/// Exit statuses scripts rely on.
enum ExitStatus { success = 0, failure = 1, usageError = 2 };

/// One --layer: ASSET_ID[@X,Y][:key=value,...]. Unset fields keep the defaults a
/// layer gets when it is added in the window.
struct LayerPlacement {
    QString assetID;
    NormalizedPoint at{0.5, 0.5};
    std::optional<double> scale;
    std::optional<double> rotation;
    std::optional<double> opacity;
    std::optional<LayerBlendMode> blend;
    bool flip = false;
};

/// The settings given on the command line, each by the option the table names.
using Settings = std::map<Setting, double>;

struct RenderOptions {
    /// None: the shipped sample panorama. More than one only with an output folder.
    QStringList inputs;
    QString output;
    /// --output-dir: render every input (files or folders) into it as NAME.png.
    QString outputDir;
    /// --overwrite: a batch replaces outputs that exist instead of skipping them.
    bool overwrite = false;
    /// The file format: from the output's suffix (PNG when it names none), or from
    /// --format for a batch; --depth 16, --lossless and --quality refine it.
    render::OutputEncoding encoding;
    int size = 2048;
    QString lookFile; ///< --look: a saved look applied before the other options
    std::optional<Preset> preset;
    Settings settings;
    QList<LayerPlacement> layers;
};

struct Invocation {
    enum class Command { window, render, animate, layers, help, version };
    Command command = Command::window;
    QString image;     ///< for the window: a picture to open
    QString resources; ///< --resources DIR
    /// render's options; animate takes them too (one input, -o, the look).
    RenderOptions render;
    /// animate's own: motion, duration, rate, quality and side (--size, default 1080).
    AnimationSettings animation;
    QString error; ///< a usage error, naming the option; empty when parsing succeeded
};

/// Parses the arguments after the program name. Never touches files.
Invocation parse(const QStringList& arguments);

/// An asset id as `layers` prints it and --layer takes it: a backslash before '@',
/// ':' and a backslash, and "\t" and "\n" for tabs and newlines, so the
/// tab-separated lines stay lines and any id can be named. Ids without those read
/// as they are.
QString escapedAssetID(const QString& id);
QString unescapedAssetID(const QString& text);

/// Parses one --layer value, or says what is wrong with it. The asset id may be
/// escaped as escapedAssetID() writes it.
std::optional<LayerPlacement> parseLayerOption(const QString& text, QString* error);

QString versionText();

/// Whether this invocation needs a window system (only the window does).
bool needsDisplay(const QStringList& arguments);

/// Whether `path` can take the PNG: a regular file or a new path in a writable
/// folder; never a folder, device, pipe or socket.
Status checkOutputPath(const QString& path);

/// The look `options` describe: the preset first, then each setting given, then the
/// layers as the window would add them, with their keys. A layer that names an
/// existing file is that file (added to `library`); otherwise it is an asset id.
/// Fails, naming it, for a layer that is neither.
/// `base` (a saved look, or the defaults) is where the options start from.
Result<Look> lookFromOptions(const RenderOptions& options, LayerLibrary& library,
                             const Look& base = Look());

/// What render and animate make ready before the first pixel.
struct RenderSetup {
    std::optional<PlanetRenderer> renderer;
    std::unique_ptr<LayerLibrary> library;
    /// The look file, then the options.
    Look look;
    /// The picture: the one given, or the sample.
    QString input;
};
/// Loads the renderer, the library and the look, and checks the output and every
/// layer's artwork; a failure is printed to `err` and its exit status returned.
std::optional<int> prepareRender(const Invocation& invocation, QTextStream& err,
                                 RenderSetup& setup);

/// Runs `render`: the picture with its settings and layers to OUT. Messages go to
/// `err`; nothing is written unless everything succeeds.
int runRender(const Invocation& invocation, QTextStream& out, QTextStream& err);

/// Runs `animate`: the picture's motion rendered frame by frame into OUT (MP4, WebP or
/// GIF by its suffix), with a progress line on a terminal (`terminal`).
int runAnimate(const Invocation& invocation, QTextStream& err, bool terminal);

/// Runs `layers`: one line per asset, "id<TAB>category<TAB>name", in library order.
int runLayers(const Invocation& invocation, QTextStream& out, QTextStream& err);

} // namespace velmora::cli

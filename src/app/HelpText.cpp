#include "app/HelpText.h"

#include "model/Settings.h"

#include <QRegularExpression>
#include <QStringList>

namespace velmora::cli {

namespace {

/// A space the text is not wrapped at.
constexpr QChar nbsp(0x00a0);

/// "0.2", "-180", "0.12": numbers as people write them.
QString number(double value) {
    return QString::number(value, 'g', 6);
}

/// A setting's option, from the settings table.
OptionHelp settingOption(const SettingInfo& info) {
    const QString option = QStringLiteral("--") + QLatin1String(info.option);
    const QString help = QLatin1String(info.help);
    if (info.control == SettingControl::toggle)
        return {option + QStringLiteral("[=yes|no]"),
                help + QStringLiteral(" [%1]").arg(info.defaultValue != 0.0
                                                       ? QStringLiteral("yes")
                                                       : QStringLiteral("no"))};
    if (info.control == SettingControl::choice)
        return {option + QLatin1Char(' ') + QLatin1String(info.valueName),
                help + QStringLiteral(" [%1]").arg(choiceName(info, info.defaultValue))};
    // The ranges stay whole when the text is wrapped.
    const auto unbroken = [](QString words) { return words.replace(QLatin1Char(' '), nbsp); };
    QString text = help;
    if (!text.isEmpty())
        text += QLatin1Char(' ');
    text += unbroken(QStringLiteral("[%1 to %2, %3];")
                         .arg(number(info.lower), number(info.upper), number(info.defaultValue))) +
            QLatin1Char(' ') +
            unbroken(
                QStringLiteral("accepts %1 to %2").arg(number(info.minimum), number(info.maximum)));
    return {option + QLatin1Char(' ') + QLatin1String(info.valueName), text};
}

Help makeHelp() {
    Help h;
    h.title = QStringLiteral("Velmora - tiny planet photo studio");
    h.usage = {
        {QStringLiteral("velmora [IMAGE]"), QStringLiteral("open the window; load IMAGE if given")},
        {QStringLiteral("velmora render [IMAGE] -o OUT.png [options]"), {}},
        {QStringLiteral("velmora render IMAGE... --output-dir DIR [--overwrite] [options]"), {}},
        {QStringLiteral("velmora animate [IMAGE] -o OUT.mp4 [--motion spin|intro] [options]"), {}},
        {QStringLiteral("velmora layers"), QStringLiteral("list the artwork catalogue")},
        {QStringLiteral("velmora --help | --version"), {}},
    };

    CommandHelp render{
        QStringLiteral("render"),
        QStringLiteral(
            "render turns IMAGE (by default the sample panorama that ships with Velmora) into a "
            "square tiny planet, by default a PNG, 8-bit RGBA, sRGB; the output's suffix chooses "
            "JPEG (.jpg), WebP (.webp) or 16-bit TIFF (.tif) instead. Settings are the window's, "
            "by the same names and in its units; the range and default each slider has are given "
            "in brackets, followed by the wider range the command line accepts."),
        {
            {QStringLiteral("-o, --output FILE"),
             QStringLiteral("where to write the planet (required); written whole or not at all; - "
                            "writes a PNG to standard output")},
            {QStringLiteral("--output-dir DIR"),
             QStringLiteral("render every IMAGE (files, or folders of pictures) into DIR as "
                            "NAME.png, instead of -o; a picture that fails is named and the rest "
                            "go on")},
            {QStringLiteral("--overwrite"),
             QStringLiteral("with --output-dir, replace outputs that exist (else they are "
                            "skipped)")},
            {QStringLiteral("--format FORMAT"),
             QStringLiteral("with --output-dir: png, jpg, webp or tif [png]")},
            {QStringLiteral("--quality Q"), QStringLiteral("JPEG and WebP quality, 1 to 100 [92]")},
            {QStringLiteral("--lossless"), QStringLiteral("WebP without loss")},
            {QStringLiteral("--depth 16"),
             QStringLiteral("16 bits a channel: PNG for further editing (TIFF always is)")},
            {QStringLiteral("--size N"), QStringLiteral("side in pixels, 64 to 16384 [2048]")},
            {QStringLiteral("--look FILE"),
             QStringLiteral("a look saved by the window (.velmora-look): its settings and layers "
                            "are applied first, every option below overrides them and --layer "
                            "adds to its layers")},
            {QStringLiteral("--preset NAME"),
             QStringLiteral("classic, sky, horizontal, spiral, double, or a title such as \"Sky "
                            "World\"; applied next, the settings below override it")},
        }};
    for (const SettingInfo& info : settingsTable())
        render.options.append(settingOption(info));
    render.options.append(
        {QStringLiteral("--layer LAYER"),
         QStringLiteral("artwork to place, bottom first; repeatable. LAYER is "
                        "ASSET[@X,Y][:key=value,...], ASSET an id from velmora layers or the path "
                        "of an image file (a logo, say); the point is where its centre goes (0,0 "
                        "top-left to 1,1 bottom-right, default 0.5,0.5); keys are scale (width as "
                        "a fraction of the side, default 0.25), rotation (degrees clockwise), "
                        "opacity (0 to 1), blend (normal, screen or multiply; glows, flares and "
                        "overlays start in screen) and the flag flip. For example\n"
                        "--layer \"Glows/orb.png@0.5,0.2:scale=0.3,rotation=15\"")});
    render.options.append({QStringLiteral("--resources DIR"),
                           QStringLiteral("use DIR as the resources folder (render and layers)")});
    h.commands.append(render);

    h.commands.append(
        {QStringLiteral("animate"),
         QStringLiteral("animate renders a short loop of the planet moving and writes it by OUT's "
                        "suffix: MP4 (H.264, .mp4), animated WebP (.webp) or GIF (.gif). It takes "
                        "render's options (-o, --size, --look, --preset, every setting, --layer); "
                        "the look they describe is where the motion ends. Its own:"),
         {
             {QStringLiteral("--motion MOTION"),
              QStringLiteral("spin (one turn clockwise, a seamless loop) or intro (the planet "
                             "unrolls from a close, flat view, then holds) [spin]")},
             {QStringLiteral("--size N"),
              QStringLiteral("side in pixels, 64 to 16384, even for MP4 [1080]")},
             {QStringLiteral("--duration SECONDS"), QStringLiteral("0.5 to 60 [6]")},
             {QStringLiteral("--fps N"), QStringLiteral("frames a second, 1 to 60 [30]")},
             {QStringLiteral("--quality Q"),
              QStringLiteral("MP4 and WebP quality, 1 to 100 [80]; GIF ignores it")},
         }});

    h.commands.append(
        {QStringLiteral("layers"),
         QStringLiteral("layers prints one line per artwork, shipped then the user's own (from "
                        "$XDG_DATA_HOME/velmora/Layers, ids starting with user/): its id, category "
                        "and name, tab-separated; a backslash escapes @, : and itself, and \\t and "
                        "\\n stand for a tab and a newline, in the form --layer takes."),
         {}});

    h.exitStatus = QStringLiteral("0 on success, 1 when a file cannot be read or written, 2 for a "
                                  "usage error.");
    return h;
}

/// `text` broken into lines of at most `width` characters (a longer word stands
/// alone) at its spaces, not its non-breaking ones; "\n" in it forces a break.
QStringList wrapped(const QString& text, qsizetype width) {
    QStringList lines;
    for (const QString& part : text.split(QLatin1Char('\n'))) {
        QString line;
        for (const QString& word : part.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            if (!line.isEmpty() && line.size() + 1 + word.size() > width) {
                lines.append(line);
                line.clear();
            }
            line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word;
        }
        lines.append(line);
    }
    for (QString& line : lines)
        line.replace(nbsp, QLatin1Char(' '));
    return lines;
}

constexpr qsizetype helpWidth = 80;
constexpr qsizetype optionColumn = 22; // where an option's text starts

QString paragraphs(const QString& text, qsizetype indent = 0) {
    QString out;
    const QString margin(indent, QLatin1Char(' '));
    for (const QString& paragraph : text.split(QStringLiteral("\n\n"))) {
        if (!out.isEmpty())
            out += QLatin1Char('\n');
        for (const QString& line : wrapped(paragraph, helpWidth - indent))
            out += margin + line + QLatin1Char('\n');
    }
    return out;
}

/// One option: its synopsis, then its text from the column (on the next line when the
/// synopsis reaches it).
QString optionLines(const OptionHelp& option) {
    QString out = QStringLiteral("  ") + option.synopsis;
    const QStringList lines = wrapped(option.text, helpWidth - optionColumn);
    if (out.size() < optionColumn)
        out += QString(optionColumn - out.size(), QLatin1Char(' '));
    else
        out += QLatin1Char('\n') + QString(optionColumn, QLatin1Char(' '));
    out += lines.join(QLatin1Char('\n') + QString(optionColumn, QLatin1Char(' ')));
    return out + QLatin1Char('\n');
}

/// Text for roff: backslashes and leading dots escaped, and the dashes of options
/// (a '-' starting a word or following one) written as minus signs, so they can be
/// copied from the page into a terminal.
QString roff(const QString& text) {
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char('\\')) {
            out += QStringLiteral("\\e");
        } else if (c == nbsp) {
            out += QStringLiteral("\\ ");
        } else if (c == QLatin1Char('-') &&
                   (i == 0 || text[i - 1].isSpace() || text[i - 1] == QLatin1Char('-') ||
                    text[i - 1] == QLatin1Char('(') || text[i - 1] == QLatin1Char('[') ||
                    text[i - 1] == QLatin1Char('"'))) {
            out += QStringLiteral("\\-");
        } else {
            out += c;
        }
    }
    QStringList lines = out.split(QLatin1Char('\n'));
    for (QString& line : lines) {
        if (line.startsWith(QLatin1Char('.')) || line.startsWith(QLatin1Char('\'')))
            line.prepend(QStringLiteral("\\&"));
    }
    return lines.join(QLatin1Char('\n'));
}

/// A synopsis in bold and italics: options bold, their values italic, brackets plain.
QString roffSynopsis(const QString& synopsis) {
    static const QRegularExpression token(QStringLiteral(R"((-[-\w]*)|([A-Z][A-Z.]*)|([^-A-Z]+))"));
    QString out;
    for (auto it = token.globalMatch(synopsis); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.hasCaptured(1))
            out += QStringLiteral("\\fB") + roff(m.captured(1)) + QStringLiteral("\\fR");
        else if (m.hasCaptured(2))
            out += QStringLiteral("\\fI") + roff(m.captured(2)) + QStringLiteral("\\fR");
        else
            out += roff(m.captured(3));
    }
    return out;
}

} // namespace

const Help& help() {
    static const Help h = makeHelp();
    return h;
}

QString helpText() {
    const Help& h = help();
    QString out = h.title + QStringLiteral("\n\nUsage:\n");
    constexpr qsizetype commentColumn = 43;
    for (const UsageLine& line : h.usage) {
        QString text = QStringLiteral("  ") + line.synopsis;
        if (!line.comment.isEmpty())
            text += QString(std::max<qsizetype>(1, commentColumn - text.size()), QLatin1Char(' ')) +
                    line.comment;
        out += text + QLatin1Char('\n');
    }
    for (const CommandHelp& command : h.commands) {
        out += QLatin1Char('\n') + paragraphs(command.description);
        if (!command.options.isEmpty())
            out += QLatin1Char('\n');
        for (const OptionHelp& option : command.options)
            out += optionLines(option);
    }
    out += QLatin1Char('\n') + paragraphs(QStringLiteral("Exit status: ") + h.exitStatus);
    return out;
}

QString manPage(const QString& version, const QString& date) {
    const Help& h = help();
    QString out;
    const auto line = [&out](const QString& text) { out += text + QLatin1Char('\n'); };
    line(
        QStringLiteral(".TH VELMORA 1 \"%1\" \"Velmora %2\" \"User Commands\"").arg(date, version));
    line(QStringLiteral(".SH NAME"));
    line(QStringLiteral("velmora \\- tiny planet photo studio"));

    line(QStringLiteral(".SH SYNOPSIS"));
    for (const UsageLine& usage : h.usage) {
        line(QStringLiteral(".br"));
        // Every line starts with the program's name, in bold like the options.
        line(QStringLiteral("\\fBvelmora\\fR") +
             roffSynopsis(usage.synopsis.mid(QStringLiteral("velmora").size())));
    }

    line(QStringLiteral(".SH DESCRIPTION"));
    line(roff(QStringLiteral(
        "Velmora wraps a photograph, ideally a 360-degree equirectangular panorama, round a "
        "point into a square tiny planet, grades it and places artwork on it. Without a command "
        "it opens the window, with IMAGE loaded if one is given. The commands below work without "
        "a window (no display is needed), for batches and scripts.")));

    for (const CommandHelp& command : h.commands) {
        line(QStringLiteral(".SS \"velmora %1\"").arg(command.command));
        bool first = true;
        for (const QString& paragraph : command.description.split(QStringLiteral("\n\n"))) {
            if (!first)
                line(QStringLiteral(".PP"));
            line(roff(paragraph));
            first = false;
        }
        for (const OptionHelp& option : command.options) {
            line(QStringLiteral(".TP"));
            line(roffSynopsis(option.synopsis));
            line(roff(option.text).replace(QLatin1Char('\n'), QStringLiteral("\n.br\n")));
        }
    }

    line(QStringLiteral(".SH \"EXIT STATUS\""));
    line(roff(h.exitStatus));

    line(QStringLiteral(".SH ENVIRONMENT"));
    line(QStringLiteral(".TP\n.B VELMORA_RESOURCES"));
    line(roff(QStringLiteral("the resources folder (artwork, projection kernel, fonts, sample), "
                             "when --resources does not name one")));
    line(QStringLiteral(".TP\n.B VELMORA_THREADS"));
    line(roff(QStringLiteral("the number of threads that render; by default one a core")));
    line(QStringLiteral(".TP\n.B XDG_DATA_HOME"));
    line(roff(QStringLiteral("where the user's own artwork lives, in velmora/Layers (by default "
                             "~/.local/share/velmora/Layers)")));

    line(QStringLiteral(".SH FILES"));
    line(QStringLiteral(".TP\n.I /usr/share/velmora/"));
    line(roff(QStringLiteral("the resources folder of an installed Velmora: ../share/velmora "
                             "above the folder of the executable")));
    line(QStringLiteral(".TP\n.I ~/.local/share/velmora/Layers/"));
    line(roff(QStringLiteral("the user's own artwork, one folder per category")));

    line(QStringLiteral(".SH EXAMPLES"));
    const QStringList examples{
        QStringLiteral("velmora render pano.jpg -o planet.png --size 4096 --preset spiral"),
        QStringLiteral("velmora render *.jpg --output-dir planets --look trip.velmora-look"),
        QStringLiteral("velmora animate pano.jpg -o spin.mp4 --motion spin --duration 8"),
    };
    for (const QString& example : examples) {
        line(QStringLiteral(".PP\n.nf"));
        line(QStringLiteral(".RS 4"));
        line(roff(example));
        line(QStringLiteral(".RE\n.fi"));
    }
    return out;
}

} // namespace velmora::cli

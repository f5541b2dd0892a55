#pragma once

#include <QList>
#include <QString>

namespace velmora::cli {

/// One way to call the program, as the usage lists it.
struct UsageLine {
    QString synopsis; ///< "velmora render [IMAGE] -o OUT.png [options]"
    QString comment;  ///< what it does, when the line alone does not say; may be empty
};

/// One option as --help and the manual page describe it.
struct OptionHelp {
    QString synopsis; ///< "-o, --output FILE"
    QString text;     ///< a sentence or two; "\n" keeps the next words on a line of their own
};

/// A command's part of the help: what it does, then its options.
struct CommandHelp {
    QString command;     ///< "render"
    QString description; ///< paragraphs separated by "\n\n"
    QList<OptionHelp> options;
};

/// Everything the help says, in order. --help and the manual page are both written
/// from it, so they list the same options with the same words.
struct Help {
    QString title;
    QList<UsageLine> usage;
    QList<CommandHelp> commands;
    QString exitStatus;
};

const Help& help();

/// --help: plain text for a terminal, 80 columns wide.
QString helpText();

/// The manual page, velmora(1), in roff (man macros). `date` is the release's,
/// as "2026-11-26".
QString manPage(const QString& version, const QString& date);

} // namespace velmora::cli

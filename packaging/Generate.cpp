// Writes the files that describe the command line from the program's own tables,
// so they cannot disagree with it:
//   velmora_generate man VERSION DATE OUT.1       the manual page, from --help
//   velmora_generate bash|zsh TEMPLATE OUT        a completion script: its @SETTINGS@
//                                                 and @CHOICES@ filled from the
//                                                 settings table

#include "app/HelpText.h"
#include "model/Settings.h"

#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringList>

#include <cstdio>

using namespace velmora;

namespace {

QString option(const SettingInfo& info) {
    return QStringLiteral("--") + QLatin1String(info.option);
}

/// What bash needs: the settings' options, those that take a number, and each
/// choice's values as an associative array's items.
QString bashValue(const QString& placeholder) {
    QStringList items;
    for (const SettingInfo& info : settingsTable()) {
        if (placeholder == QLatin1String("SETTINGS")) {
            items << option(info);
        } else if (placeholder == QLatin1String("NUMBER_SETTINGS")) {
            if (info.control != SettingControl::toggle && info.control != SettingControl::choice)
                items << option(info);
        } else if (placeholder == QLatin1String("CHOICES")) {
            QStringList names;
            for (const SettingChoice& choice : settingChoices(info))
                names << choice.name;
            if (!names.isEmpty())
                items << QStringLiteral("[%1]=\"%2\"").arg(option(info), names.join(u' '));
        }
    }
    return items.join(placeholder == QLatin1String("NUMBER_SETTINGS") ? QStringLiteral(" | ")
                                                                      : QStringLiteral(" "));
}

/// A description inside a zsh argument entry's brackets, within single quotes.
QString zshDescription(QString text) {
    return text.replace(u'\'', QStringLiteral("'\\''"))
        .replace(u'[', QStringLiteral("\\["))
        .replace(u']', QStringLiteral("\\]"))
        .replace(u':', QStringLiteral("\\:"));
}

/// What zsh needs: one _arguments entry a setting, quoted, a line each.
QString zshValue(const QString& placeholder) {
    if (placeholder != QLatin1String("SETTINGS"))
        return {};
    QStringList entries;
    for (const SettingInfo& info : settingsTable()) {
        const QString what =
            zshDescription(*info.help ? QLatin1String(info.help) : QLatin1String(info.label));
        QString entry;
        if (info.control == SettingControl::toggle) {
            entry = QStringLiteral("%1=-[%2]::on:(yes no)").arg(option(info), what);
        } else if (info.control == SettingControl::choice) {
            QStringList names;
            for (const SettingChoice& choice : settingChoices(info))
                names << choice.name;
            entry = QStringLiteral("%1[%2]:%3:(%4)")
                        .arg(option(info), what, QLatin1String(info.option), names.join(u' '));
        } else {
            entry = QStringLiteral("%1[%2]:%3")
                        .arg(option(info), what,
                             qstrcmp(info.valueName, "X") == 0
                                 ? QStringLiteral("value")
                                 : QString::fromLatin1(info.valueName).toLower());
        }
        entries << QStringLiteral("        '") + entry + QLatin1Char('\'');
    }
    return entries.join(u'\n');
}

bool write(const char* path, const QString& text) {
    QSaveFile out(QFile::decodeName(path));
    if (out.open(QIODevice::WriteOnly) && out.write(text.toUtf8()) >= 0 && out.commit())
        return true;
    std::fprintf(stderr, "velmora_generate: %s: %s\n", path, qPrintable(out.errorString()));
    return false;
}

} // namespace

int main(int argc, char** argv) {
    const QString what = argc > 1 ? QString::fromLatin1(argv[1]) : QString();
    if (what == QLatin1String("man") && argc == 5)
        return write(argv[4], cli::manPage(QString::fromUtf8(argv[2]), QString::fromUtf8(argv[3])))
                   ? 0
                   : 1;
    if ((what == QLatin1String("bash") || what == QLatin1String("zsh")) && argc == 4) {
        QFile templateFile(QFile::decodeName(argv[2]));
        if (!templateFile.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "velmora_generate: %s: %s\n", argv[2],
                         qPrintable(templateFile.errorString()));
            return 1;
        }
        QString text = QString::fromUtf8(templateFile.readAll());
        for (const char* placeholder : {"SETTINGS", "NUMBER_SETTINGS", "CHOICES"}) {
            const QString name = QString::fromLatin1(placeholder);
            const QString value = what == QLatin1String("bash") ? bashValue(name) : zshValue(name);
            text.replace(QLatin1Char('@') + name + QLatin1Char('@'), value);
        }
        if (text.contains(QRegularExpression(QStringLiteral("@[A-Z_]+@")))) {
            std::fprintf(stderr, "velmora_generate: %s: a placeholder is left unfilled\n", argv[2]);
            return 1;
        }
        return write(argv[3], text) ? 0 : 1;
    }
    std::fprintf(stderr, "usage: velmora_generate man VERSION DATE OUT.1\n"
                         "       velmora_generate bash|zsh TEMPLATE OUT\n");
    return 2;
}

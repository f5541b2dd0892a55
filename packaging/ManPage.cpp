// Writes velmora(1) from the help the program prints, so the two cannot disagree.
// Usage: velmora_manpage VERSION DATE OUT.1

#include "app/HelpText.h"

#include <QFile>
#include <QSaveFile>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: velmora_manpage VERSION DATE OUT.1\n");
        return 2;
    }
    QSaveFile out(QFile::decodeName(argv[3]));
    if (!out.open(QIODevice::WriteOnly) ||
        out.write(velmora::cli::manPage(QString::fromUtf8(argv[1]), QString::fromUtf8(argv[2]))
                      .toUtf8()) < 0 ||
        !out.commit()) {
        std::fprintf(stderr, "velmora_manpage: %s: %s\n", argv[3], qPrintable(out.errorString()));
        return 1;
    }
    return 0;
}

#include "app/CommandLine.h"
#include "model/ImageDecoding.h"

#include <QCoreApplication>
#include <QTextStream>

#ifdef VELMORA_WITH_GUI
#include "app/Application.h"
#endif

#include <cstdio>
#include <unistd.h>

using namespace velmora;

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    QTextStream out(stdout);
    QTextStream err(stderr);
    const cli::Invocation invocation = cli::parse(arguments);
    if (!invocation.error.isEmpty()) {
        err << "velmora: " << invocation.error << "\nTry 'velmora --help'.\n";
        return cli::usageError;
    }

    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    raiseImageAllocationLimit();

    switch (invocation.command) {
    case cli::Invocation::Command::help:
        out << cli::helpText();
        return cli::success;
    case cli::Invocation::Command::version:
        out << cli::versionText() << '\n';
        return cli::success;
    case cli::Invocation::Command::render: {
        // No window system needed: a core application is enough to decode and encode.
        QCoreApplication app(argc, argv);
        return cli::runRender(invocation, out, err);
    }
    case cli::Invocation::Command::animate: {
        QCoreApplication app(argc, argv);
        return cli::runAnimate(invocation, err, ::isatty(STDERR_FILENO) == 1);
    }
    case cli::Invocation::Command::layers: {
        QCoreApplication app(argc, argv);
        return cli::runLayers(invocation, out, err);
    }
    case cli::Invocation::Command::window:
        break;
    }
#ifdef VELMORA_WITH_GUI
    return runWindow(argc, argv, invocation);
#else
    err << "velmora: this build has no window; use 'velmora render' (see --help)\n";
    return cli::usageError;
#endif
}

#include "app/CommandLine.h"
#include "model/ImageDecoding.h"

#include <QCoreApplication>
#include <QTextStream>

#ifdef VELMORA_WITH_GUI
#include "app/Application.h"
#endif

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

using namespace velmora;

namespace {

/// An export renders, filters and deflates strips of a few megabytes on every
/// thread; glibc handed each buffer back to the system when it was freed and the
/// next strip faulted fresh pages in (0.4 s of system time for an 8192 export). A
/// command is short-lived, so it keeps freed memory below these sizes for reuse;
/// the window keeps glibc's own adaptive limits.
void keepFreedBuffers() {
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
}

} // namespace

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
        keepFreedBuffers();
        // No window system needed: a core application is enough to decode and encode.
        QCoreApplication app(argc, argv);
        return cli::runRender(invocation, out, err);
    }
    case cli::Invocation::Command::animate: {
        keepFreedBuffers();
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

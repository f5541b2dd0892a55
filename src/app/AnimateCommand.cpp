#include "app/CommandLine.h"

#include "model/Animation.h"
#include "model/ImageDecoding.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTextStream>

#include <chrono>
#include <future>

namespace velmora::cli {

namespace {

QString clock(qint64 seconds) {
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

/// "[#####-------] 42/180 frames  about 0:03 left", redrawn in place.
QString progressLine(int done, int total, qint64 elapsedMs) {
    constexpr int width = 24;
    const int filled = total > 0 ? width * done / total : 0;
    QString line = QStringLiteral("\r\x1b[K[") + QString(filled, QLatin1Char('#')) +
                   QString(width - filled, QLatin1Char('-')) +
                   QStringLiteral("] %1/%2 frames").arg(done).arg(total);
    if (done > 0 && done < total) {
        const qint64 left = elapsedMs * (total - done) / done / 1000;
        line += left > 0 ? QStringLiteral("  about %1 left").arg(clock(left))
                         : QStringLiteral("  almost done");
    }
    return line;
}

} // namespace

int runAnimate(const Invocation& invocation, QTextStream& err, bool terminal) {
    RenderSetup setup;
    if (const std::optional<int> failed = prepareRender(invocation, err, setup))
        return *failed;
    QStringList warnings;
    const Result<render::Image> source = decodeImageFile(setup.input, &warnings);
    if (!source) {
        err << "velmora: " << source.message() << '\n';
        return failure;
    }
    for (const QString& warning : warnings)
        err << "velmora: warning: " << warning << '\n';

    const AnimationJob job = makeAnimationJob(*setup.renderer, *source, setup.look, *setup.library,
                                              invocation.animation);
    const QString& output = invocation.render.output;
    render::RenderProgress progress;
    QElapsedTimer clock;
    clock.start();
    // The frames render and encode on the pool; this thread only draws the line.
    std::future<Status> written =
        std::async(std::launch::async, [&] { return writeAnimation(job, output, &progress); });
    if (terminal) {
        while (written.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
            err << progressLine(progress.done.load(), progress.total.load(), clock.elapsed());
            err.flush();
        }
        err << "\r\x1b[K";
        err.flush();
    }
    const Status status = written.get();
    if (!status) {
        err << "velmora: " << status.message() << '\n';
        return failure;
    }
    return success;
}

} // namespace velmora::cli

#include "app/BatchRender.h"

#include "model/ImageDecoding.h"
#include "model/PlanetRenderer.h"
#include "model/SourceMetadata.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>
#include <QTextStream>

#include <tbb/parallel_pipeline.h>

#include <memory>
#include <mutex>
#include <optional>

namespace velmora::cli {

namespace {

// Two pictures in flight: one decoding (a single thread) while the other renders
// (every core). More would only hold more decoded sources in memory.
constexpr std::size_t picturesInFlight = 2;

struct Job {
    QString input;
    QString output;
    /// Why it failed, or empty.
    QString failure;
    bool skipped = false;
    std::optional<render::Image> source;
    std::optional<render::Image> planet;
    QByteArray exif;
    QStringList warnings;
};
// Shared, as the pipeline's stages pass their items by value.
using JobPtr = std::shared_ptr<Job>;

// Files as given, folders as their pictures in name order; a path that is neither
// stays, so it fails by name like any unreadable picture.
QStringList expandInputs(const QStringList& inputs) {
    const QStringList suffixes = readableImageSuffixes();
    QStringList files;
    for (const QString& input : inputs) {
        const QFileInfo info(input);
        if (!info.isDir()) {
            files.append(input);
            continue;
        }
        const QFileInfoList entries =
            QDir(input).entryInfoList(QDir::Files | QDir::Readable, QDir::Name);
        for (const QFileInfo& entry : entries)
            if (suffixes.contains(entry.suffix().toLower()))
                files.append(entry.filePath());
    }
    return files;
}

// NAME.suffix in the folder; two inputs of one name (a/x.jpg, b/x.tif) get "x 2.png"
// rather than one overwriting the other.
QStringList outputPaths(const QStringList& inputs, const QString& folder, const QString& suffix) {
    QStringList outputs;
    QSet<QString> taken;
    for (const QString& input : inputs) {
        const QString name = QFileInfo(input).completeBaseName();
        QString candidate = name;
        for (int n = 2; taken.contains(candidate); ++n)
            candidate = QStringLiteral("%1 %2").arg(name).arg(n);
        taken.insert(candidate);
        outputs.append(QDir(folder).filePath(candidate + QLatin1Char('.') + suffix));
    }
    return outputs;
}

QString clock(qint64 seconds) {
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

class Progress {
public:
    Progress(QTextStream& err, bool terminal, int total)
        : m_err(err)
        , m_terminal(terminal)
        , m_total(total) {
        m_clock.start();
    }

    void starting(const QString& input) {
        const std::lock_guard lock(m_mutex);
        m_current = QFileInfo(input).fileName();
        draw();
    }

    void finished(const Job& job) {
        const std::lock_guard lock(m_mutex);
        ++m_done;
        clearLine();
        for (const QString& warning : job.warnings)
            m_err << "velmora: warning: " << warning << '\n';
        if (!job.failure.isEmpty())
            m_err << "velmora: " << job.failure << '\n';
        else if (job.skipped)
            m_err << "velmora: " << job.output << ": exists, skipped (--overwrite replaces it)\n";
        draw();
    }

    void clearLine() {
        if (m_terminal)
            m_err << "\r\x1b[K";
    }

private:
    void draw() {
        if (!m_terminal) {
            m_err.flush();
            return;
        }
        constexpr int width = 24;
        const int filled = m_total > 0 ? width * m_done / m_total : width;
        QString line = QStringLiteral("\r\x1b[K[") + QString(filled, QLatin1Char('#')) +
                       QString(width - filled, QLatin1Char('-')) +
                       QStringLiteral("] %1/%2").arg(m_done).arg(m_total);
        if (m_done < m_total)
            line += QStringLiteral("  ") + m_current;
        if (m_done > 0 && m_done < m_total) {
            const qint64 left = m_clock.elapsed() * (m_total - m_done) / m_done / 1000;
            line += left > 0 ? QStringLiteral("  about %1 left").arg(clock(left))
                             : QStringLiteral("  almost done");
        }
        m_err << line;
        m_err.flush();
    }

    std::mutex m_mutex;
    QTextStream& m_err;
    bool m_terminal;
    int m_total;
    int m_done = 0;
    QString m_current;
    QElapsedTimer m_clock;
};

} // namespace

int runBatch(const Batch& batch, const PlanetRenderer& renderer, LayerLibrary& library,
             const Look& look, QTextStream& err, bool terminal) {
    if (QFileInfo(batch.outputDir).exists() && !QFileInfo(batch.outputDir).isDir()) {
        err << "velmora: " << batch.outputDir << ": is not a folder\n";
        return 1;
    }
    if (!QDir().mkpath(batch.outputDir)) {
        err << "velmora: " << batch.outputDir << ": cannot make the folder\n";
        return 1;
    }
    const QStringList inputs = expandInputs(batch.inputs);
    const QStringList outputs =
        outputPaths(inputs, batch.outputDir, render::suffixOf(batch.encoding.format));
    if (inputs.isEmpty()) {
        err << "velmora: no pictures to render in " << batch.inputs.join(QStringLiteral(", "))
            << '\n';
        return 1;
    }

    Progress progress(err, terminal, static_cast<int>(inputs.size()));
    int rendered = 0;
    int skipped = 0;
    QStringList failed;
    qsizetype next = 0;
    const QRect square(0, 0, batch.side, batch.side);

    const auto take = [&](tbb::flow_control& control) -> JobPtr {
        if (next >= inputs.size()) {
            control.stop();
            return nullptr;
        }
        auto job = std::make_shared<Job>();
        job->input = inputs[next];
        job->output = outputs[next];
        ++next;
        job->skipped = !batch.overwrite && QFileInfo::exists(job->output);
        if (!job->skipped)
            progress.starting(job->input);
        return job;
    };
    const auto decode = [](JobPtr job) {
        if (job->skipped)
            return job;
        Result<render::Image> source = decodeImageFile(job->input, &job->warnings);
        if (!source) {
            job->failure = source.message();
            return job;
        }
        job->source = std::move(source).value();
        job->exif = carriedExif(job->input);
        return job;
    };
    const auto build = [&](JobPtr job) {
        if (!job->source)
            return job;
        Result<render::Image> planet = renderer.planet(look, *job->source, library, batch.side);
        if (!planet)
            job->failure = QStringLiteral("%1: %2").arg(job->input, planet.message());
        else
            job->planet = std::move(planet).value();
        return job;
    };
    const auto write = [&](JobPtr job) {
        if (!job->planet)
            return job;
        render::OutputEncoding encoding = batch.encoding;
        encoding.exif = job->exif;
        if (const Status written =
                render::writeOutputFile(*job->planet, square, job->output, encoding);
            !written)
            job->failure = written.message();
        job->planet.reset();
        job->source.reset();
        return job;
    };
    const auto report = [&](JobPtr job) {
        if (!job->failure.isEmpty())
            failed.append(QFileInfo(job->input).fileName());
        else if (job->skipped)
            ++skipped;
        else
            ++rendered;
        progress.finished(*job);
    };
    // Serial where the library's caches are touched (building the recipe), parallel
    // where pictures are decoded and rendered.
    using tbb::filter_mode;
    tbb::parallel_pipeline(
        picturesInFlight,
        tbb::make_filter<void, JobPtr>(filter_mode::serial_in_order, take) &
            tbb::make_filter<JobPtr, JobPtr>(filter_mode::parallel, decode) &
            tbb::make_filter<JobPtr, JobPtr>(filter_mode::serial_in_order, build) &
            tbb::make_filter<JobPtr, JobPtr>(filter_mode::parallel, write) &
            tbb::make_filter<JobPtr, void>(filter_mode::serial_in_order, report));

    progress.clearLine();
    err << "velmora: rendered " << rendered << " of " << inputs.size() << " pictures into "
        << batch.outputDir;
    if (skipped > 0)
        err << ", " << skipped << " skipped";
    if (!failed.isEmpty())
        err << ", " << failed.size() << " failed (" << failed.join(QStringLiteral(", ")) << ')';
    err << '\n';
    err.flush();
    return failed.isEmpty() ? 0 : 1;
}

} // namespace velmora::cli

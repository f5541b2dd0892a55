#include "ui/OutputJob.h"

#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

namespace velmora::ui {

OutputJob::OutputJob(QObject* parent)
    : QObject(parent) {
    m_quiet = new QTimer(this);
    m_quiet->setSingleShot(true);
    m_quiet->setInterval(quietMs);
    connect(m_quiet, &QTimer::timeout, this, [this] { setShowing(true); });
    connect(&m_watcher, &QFutureWatcher<Status>::finished, this, &OutputJob::finish);
}

OutputJob::~OutputJob() {
    cancel();
    wait();
}

void OutputJob::cancel() {
    if (m_running && m_progress)
        m_progress->cancelled = true;
}

double OutputJob::progress() const {
    return m_progress ? m_progress->fraction() : 0.0;
}

bool OutputJob::start(Work work, Done done) {
    if (m_running)
        return false;
    m_running = true;
    m_done = std::move(done);
    m_progress = std::make_shared<render::RenderProgress>();
    // The work gets its own share of the counter, so it outlives this object if need be.
    m_watcher.setFuture(QtConcurrent::run(
        [work = std::move(work), progress = m_progress] { return work(*progress); }));
    m_quiet->start();
    Q_EMIT runningChanged(true);
    return true;
}

void OutputJob::wait() {
    m_watcher.waitForFinished();
}

void OutputJob::finish() {
    m_quiet->stop();
    const Status status = m_watcher.result();
    const Done done = std::exchange(m_done, {});
    m_running = false;
    setShowing(false);
    Q_EMIT runningChanged(false);
    if (done)
        done(status);
}

void OutputJob::setShowing(bool showing) {
    if (showing == m_showing)
        return;
    m_showing = showing;
    Q_EMIT showingChanged(showing);
}

} // namespace velmora::ui

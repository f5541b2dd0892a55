#pragma once

#include "render/RenderContext.h"
#include "render/Result.h"

#include <QFutureWatcher>
#include <QObject>

#include <functional>
#include <memory>

class QTimer;

namespace velmora::ui {

/// One export or copy at a time, rendered on Qt's thread pool so the window keeps
/// painting and answering. A job that outlasts `quietMs` announces itself, so quick
/// ones never flash a progress bar. A job still running when this goes away is asked
/// to stop and waited for: a file being written is finished or, for work that stops
/// when asked (an animation), not written at all; never left half done.
class OutputJob : public QObject {
    Q_OBJECT

public:
    static constexpr int quietMs = 150;

    using Work = std::function<Status(render::RenderProgress&)>;
    using Done = std::function<void(const Status&)>;

    explicit OutputJob(QObject* parent = nullptr);
    ~OutputJob() override;

    bool isRunning() const { return m_running; }
    /// Whether the job has run long enough to show that it is working.
    bool isShowing() const { return m_showing; }
    /// The render's share done, 0 to 1.
    double progress() const;

    /// Runs `work` on the pool and then `done` with its status on this thread.
    /// Refused (false) while another job runs.
    bool start(Work work, Done done);
    /// Blocks until the running job, if any, has finished (its `done` not called).
    void wait();
    /// Asks the running job to stop; work that checks its progress's `cancelled` ends
    /// early and `done` gets its failure.
    void cancel();
    bool isCancelling() const { return m_progress && m_progress->cancelled.load(); }
    /// Units done and in all, as the work counts them (frames of an animation).
    int done() const { return m_progress ? m_progress->done.load() : 0; }
    int total() const { return m_progress ? m_progress->total.load() : 0; }

Q_SIGNALS:
    void runningChanged(bool running);
    void showingChanged(bool showing);

private:
    void finish();
    void setShowing(bool showing);

    QFutureWatcher<Status> m_watcher;
    std::shared_ptr<render::RenderProgress> m_progress;
    Done m_done;
    QTimer* m_quiet = nullptr;
    bool m_running = false;
    bool m_showing = false;
};

} // namespace velmora::ui

#pragma once

#include "ui/FloatingCapsule.h"

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

namespace velmora::ui {

/// A capsule over the canvas for work that takes a while and may be stopped (an
/// animation): what is happening, a bar that fills, and Cancel. It polls its counts
/// while shown, so the work needs no link back to the window.
class JobPanel : public FloatingCapsule {
    Q_OBJECT

public:
    static constexpr int refreshMs = 100;
    struct Counts {
        int done = 0;
        int total = 0;
        bool cancelling = false;
    };

    JobPanel(std::function<Counts()> source, QWidget* parent = nullptr);

    void setTitle(const QString& title);
    QString detail() const;
    QPushButton* cancelButton() const { return m_cancel; }

Q_SIGNALS:
    void cancelRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void poll();

    std::function<Counts()> m_source;
    QLabel* m_title = nullptr;
    QLabel* m_detail = nullptr;
    QProgressBar* m_bar = nullptr;
    QPushButton* m_cancel = nullptr;
    QTimer* m_timer = nullptr;
};

} // namespace velmora::ui

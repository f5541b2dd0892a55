#pragma once

#include <QString>
#include <QWidget>

#include <functional>

class QAbstractButton;

namespace velmora::ui {

/// A title followed by a small switch bound to a Boolean through a getter and a
/// setter. The setter does whatever else a change needs (history, for instance).
class PillToggle : public QWidget {
public:
    PillToggle(QString title, std::function<bool()> isOn, std::function<void(bool)> setOn,
               QWidget* parent = nullptr);

    /// Re-reads the value; call when the bound value may have changed elsewhere.
    void refresh();
    QAbstractButton* toggle() const { return m_switch; }

private:
    std::function<bool()> m_isOn;
    std::function<void(bool)> m_setOn;
    QAbstractButton* m_switch = nullptr;
};

} // namespace velmora::ui

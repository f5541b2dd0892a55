#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

class QComboBox;

namespace velmora::ui {

/// A setting with a few named values: its title over a menu of the values' labels.
/// Reads the value through `get` and writes a new one through `set`.
class ChoiceRow : public QWidget {
    Q_OBJECT

public:
    ChoiceRow(const QString& title, const QStringList& labels, std::function<int()> get,
              std::function<void(int)> set, QWidget* parent = nullptr);

    QComboBox* menu() const { return m_menu; }
    /// Shows the current value again (after undo, say).
    void refresh();

private:
    QComboBox* m_menu = nullptr;
    std::function<int()> m_get;
    std::function<void(int)> m_set;
};

} // namespace velmora::ui

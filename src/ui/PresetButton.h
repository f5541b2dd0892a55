#pragma once

#include "model/Preset.h"

#include <QAbstractButton>

namespace velmora::ui {

/// A full-width tile for one preset: its symbol and title, highlighted in the accent
/// colour while selected. clicked() is its action.
class PresetButton : public QAbstractButton {
public:
    explicit PresetButton(Preset preset, QWidget* parent = nullptr);

    Preset preset() const { return m_preset; }
    void setSelected(bool selected);
    bool isSelected() const { return m_selected; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Preset m_preset;
    bool m_selected = false;
};

} // namespace velmora::ui

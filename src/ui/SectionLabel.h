#pragma once

#include <QLabel>
#include <QString>

namespace velmora::ui {

/// A section heading in a side panel ("Presets", "Layers"); the text is shown as given.
class SectionLabel : public QLabel {
public:
    explicit SectionLabel(const QString& text, QWidget* parent = nullptr);
};

} // namespace velmora::ui

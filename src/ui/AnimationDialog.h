#pragma once

#include "model/Animation.h"
#include "render/AnimationWriter.h"

#include <QDialog>

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;

namespace velmora::ui {

/// What Export Animation asks before the file: the motion, the container, the size,
/// the length, the frame rate and the quality.
struct AnimationChoice {
    AnimationSettings settings;
    render::AnimationFormat format = render::AnimationFormat::mp4;
};

/// Edits an AnimationChoice. The sizes offered are even, so every one suits MP4;
/// quality is greyed for GIF, which has no such setting.
class AnimationDialog : public QDialog {
    Q_OBJECT

public:
    static inline const QList<int> sides{720, 1080, 1440, 2048};
    static inline const QList<int> rates{24, 30, 60};

    explicit AnimationDialog(const AnimationChoice& initial, QWidget* parent = nullptr);

    AnimationChoice choice() const;

    QComboBox* motionBox() const { return m_motion; }
    QComboBox* formatBox() const { return m_format; }
    QSpinBox* qualityBox() const { return m_quality; }

private:
    void refresh();

    QComboBox* m_motion = nullptr;
    QComboBox* m_format = nullptr;
    QComboBox* m_side = nullptr;
    QDoubleSpinBox* m_duration = nullptr;
    QComboBox* m_fps = nullptr;
    QSpinBox* m_quality = nullptr;
    QLabel* m_summary = nullptr;
};

} // namespace velmora::ui

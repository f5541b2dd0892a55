#pragma once

#include <QMargins>
#include <QPixmap>
#include <QWidget>

namespace velmora::ui {

/// A bar floating over the canvas: a translucent dark capsule with a hairline
/// outline and a soft shadow below it. The widget is larger than the capsule by
/// shadowMargins(), where the shadow falls; a layout set on it should add them to its
/// own margins.
class FloatingCapsule : public QWidget {
public:
    explicit FloatingCapsule(QWidget* parent = nullptr);

    /// Room round the capsule for the shadow (black 35 %, radius 12, 4 down).
    static QMargins shadowMargins();
    /// The capsule inside the widget.
    QRect capsuleRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_shadow;
};

} // namespace velmora::ui

#pragma once

#include "ui/FloatingCapsule.h"

namespace velmora::ui {

/// "Copied to clipboard", floating at the bottom of the window after a copy.
class CopyToast : public FloatingCapsule {
public:
    explicit CopyToast(QWidget* parent = nullptr);
};

} // namespace velmora::ui

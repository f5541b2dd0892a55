#pragma once

#include <QImage>

namespace velmora::ui {

/// Faint artwork (fine dust, sparse specks) averages away to almost nothing when it
/// is scaled down to a thumbnail. Returns `thumbnail` with its coverage raised so its
/// strongest pixel reaches `target` alpha, by at most `maxGain`; artwork that already
/// reads is returned unchanged. Works on premultiplied ARGB32 (other formats are
/// converted), so colours keep their hue.
QImage legibleThumbnail(const QImage& thumbnail, double target = 0.85, double maxGain = 4.0);

} // namespace velmora::ui

#include "imageview/imageplacement.h"

#include <cmath>

namespace {

/// value x numerator / denominator, rounded to the nearest whole number, halves away from zero; 0 for an empty extent.
int scaled(int value, int numerator, int denominator) {
    if (denominator == 0)
        return 0;
    return static_cast<int>(std::lround(static_cast<double>(value) * numerator / denominator));
}

} // namespace

ImagePlacement::ImagePlacement(const QSize& image, const QSize& widget) : image_(image) {
    if (image.isEmpty())
        return;
    const QSize size = image.scaled(widget, Qt::KeepAspectRatio).expandedTo({1, 1});
    picture_ = QRect(QPoint((widget.width() - size.width()) / 2, (widget.height() - size.height()) / 2), size);
}

QPoint ImagePlacement::toWidget(const QPoint& image) const {
    return picture_.topLeft() + QPoint(scaled(image.x(), picture_.width(), image_.width()),
                                       scaled(image.y(), picture_.height(), image_.height()));
}

QPoint ImagePlacement::toImage(const QPoint& widget) const {
    const QPoint inside = widget - picture_.topLeft();
    return {scaled(inside.x(), image_.width(), picture_.width()),
            scaled(inside.y(), image_.height(), picture_.height())};
}

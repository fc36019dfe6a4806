#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

/// Where an image stands in a widget that shows it scaled and centred, and how points go back and forth between the
/// two. Image coordinates count pixels of the image, widget coordinates those of the widget.
class ImagePlacement {
public:
    ImagePlacement() = default;
    /// The image as large as it fits into the widget with its proportions kept.
    ImagePlacement(const QSize& image, const QSize& widget);

    /// The picture's place in the widget; it never has zero width or height unless the image has.
    [[nodiscard]] QRect picture() const noexcept { return picture_; }

    [[nodiscard]] QPoint toWidget(const QPoint& image) const;
    /// The inverse; points beside the picture give coordinates outside the image.
    [[nodiscard]] QPoint toImage(const QPoint& widget) const;

private:
    QSize image_;
    QRect picture_;
};

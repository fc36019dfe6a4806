#pragma once

#include "imageview/imageplacement.h"

#include <QImage>
#include <QLabel>
#include <QPixmap>

/// Shows an image scaled to the label's size, smooth, centred, its proportions kept, and tells where the mouse is on
/// it. GUI thread.
class ImageLabel : public QLabel {
    Q_OBJECT

public:
    explicit ImageLabel(QWidget* parent = nullptr);

    /// From the first image on the label follows the mouse.
    void setImage(const QImage& image);
    [[nodiscard]] const QImage& image() const noexcept { return image_; }

    /// The picture's place in the label as it is now.
    [[nodiscard]] ImagePlacement placement() const { return {image_.size(), size()}; }

    /// The image's own size.
    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    /// The mouse moved to these image coordinates, which lie outside the image when the mouse is beside the picture;
    /// (-1, -1) when it left the label.
    void mouseOver(int x, int y);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    [[nodiscard]] const QPixmap& reduced(const QSize& size);

    QImage image_;
    QPixmap pixmap_;  // the whole image
    QPixmap reduced_; // the image in the size in which it was last shown, when that is smaller than its own
};

#pragma once

#include <QImage>
#include <QPixmap>
#include <QRect>

class QPainter;

/// An image that is painted smoothly in any size; the size in which it was painted last is kept. GUI thread.
class ScaledPicture {
public:
    void setImage(const QImage& image);
    [[nodiscard]] bool isNull() const { return whole_.isNull(); }

    /// Fills `area` of the painter's widget.
    void paint(QPainter& painter, const QRect& area);

private:
    QPixmap whole_;
    QPixmap reduced_; // in the size in which it was last painted, when that is smaller than its own
};

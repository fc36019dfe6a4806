#include "imageview/scaledpicture.h"

#include <QPaintDevice>
#include <QPainter>

void ScaledPicture::setImage(const QImage& image) {
    whole_ = QPixmap::fromImage(image);
    reduced_ = QPixmap();
}

void ScaledPicture::paint(QPainter& painter, const QRect& area) {
    const QSize pixels = area.size() * painter.device()->devicePixelRatioF();
    if (pixels.width() < whole_.width()) {
        if (reduced_.size() != pixels)
            reduced_ = whole_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        painter.drawPixmap(area, reduced_);
        return;
    }
    // Enlarged while painting, so that a large zoom costs no large pixmap.
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(area, whole_);
}

#include "imageview/imagelabel.h"

#include <QMouseEvent>
#include <QPainter>

ImageLabel::ImageLabel(QWidget* parent) : QLabel(parent) {
    setMinimumSize(1, 1);
    setBackgroundRole(QPalette::Base);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
}

void ImageLabel::setImage(const QImage& image) {
    image_ = image;
    pixmap_ = QPixmap::fromImage(image);
    reduced_ = QPixmap();
    setMouseTracking(true);
    updateGeometry();
    update();
}

QSize ImageLabel::sizeHint() const {
    return image_.isNull() ? QLabel::sizeHint() : image_.size();
}

const QPixmap& ImageLabel::reduced(const QSize& size) {
    if (reduced_.size() != size)
        reduced_ = pixmap_.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return reduced_;
}

void ImageLabel::paintEvent(QPaintEvent* event) {
    QLabel::paintEvent(event);
    if (pixmap_.isNull())
        return;
    QPainter painter(this);
    const QRect picture = placement().picture();
    const QSize pixels = picture.size() * devicePixelRatioF();
    if (pixels.width() < pixmap_.width()) {
        painter.drawPixmap(picture, reduced(pixels));
        return;
    }
    // Enlarged while painting, so that a large zoom costs no large pixmap.
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(picture, pixmap_);
}

void ImageLabel::mouseMoveEvent(QMouseEvent* event) {
    if (!image_.isNull()) {
        const QPoint point = placement().toImage(event->pos());
        Q_EMIT mouseOver(point.x(), point.y());
    }
    QLabel::mouseMoveEvent(event);
}

void ImageLabel::leaveEvent(QEvent* event) {
    Q_EMIT mouseOver(-1, -1);
    QLabel::leaveEvent(event);
}

#include "imageview/imagelabel.h"

#include "imageview/maskoverlay.h"
#include "imageview/selectionoverlay.h"

#include <QMouseEvent>
#include <QPainter>

ImageLabel::ImageLabel(QWidget* parent)
    : QLabel(parent), maskOverlay_(new MaskOverlay(this)), selectionOverlay_(new SelectionOverlay(this)) {
    maskOverlay_->setObjectName(QStringLiteral("maskOverlay"));
    selectionOverlay_->setObjectName(QStringLiteral("selectionOverlay"));
    setMinimumSize(1, 1);
    setBackgroundRole(QPalette::Base);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
}

void ImageLabel::setImage(const QImage& image) {
    image_ = image;
    picture_.setImage(image);
    setMouseTracking(true);
    updateGeometry();
    showSelection();
    update();
}

void ImageLabel::setMask(const cv::Mat& mask) {
    maskOverlay_->setMask(mask);
}

void ImageLabel::showMask(bool show) {
    maskOverlay_->showMask(show);
}

void ImageLabel::showSaturated(bool show) {
    maskOverlay_->showSaturated(show);
}

void ImageLabel::setSelectionMode(ImageSelection::Mode mode) {
    selection_.choose(mode);
    setCursor(Qt::CrossCursor);
    showSelection();
}

void ImageLabel::clearSelection() {
    selection_.clear();
    unsetCursor();
    showSelection();
}

bool ImageLabel::cancelSelection() {
    const bool cancelled = selection_.cancel();
    showSelection();
    return cancelled;
}

cv::Mat_<uchar> ImageLabel::selectionMask(bool invert) const {
    return selection_.mask(image_.size(), invert);
}

void ImageLabel::showSelection() {
    selectionOverlay_->setSelection(selection_, placement());
}

QSize ImageLabel::sizeHint() const {
    return image_.isNull() ? QLabel::sizeHint() : image_.size();
}

void ImageLabel::paintEvent(QPaintEvent* event) {
    QLabel::paintEvent(event);
    if (picture_.isNull())
        return;
    QPainter painter(this);
    picture_.paint(painter, placement().picture());
}

void ImageLabel::resizeEvent(QResizeEvent* event) {
    maskOverlay_->resize(event->size());
    selectionOverlay_->resize(event->size());
    showSelection();
    QLabel::resizeEvent(event);
}

void ImageLabel::mousePressEvent(QMouseEvent* event) {
    if (image_.isNull()) {
        QLabel::mousePressEvent(event);
        return;
    }
    const QPoint point = placement().toImage(event->pos());
    if (event->button() == Qt::RightButton)
        selection_.pressRight(point);
    else if (const auto line = selection_.press(point))
        Q_EMIT lineSelected(*line);
    showSelection();
}

void ImageLabel::mouseMoveEvent(QMouseEvent* event) {
    if (!image_.isNull()) {
        const QPoint point = placement().toImage(event->pos());
        selection_.move(point);
        if (selection_.isDrawing())
            showSelection();
        Q_EMIT mouseOver(point.x(), point.y());
    }
    QLabel::mouseMoveEvent(event);
}

void ImageLabel::mouseReleaseEvent(QMouseEvent* event) {
    if (!image_.isNull() && event->button() != Qt::RightButton) {
        selection_.release(placement().toImage(event->pos()));
        showSelection();
    }
    QLabel::mouseReleaseEvent(event);
}

void ImageLabel::leaveEvent(QEvent* event) {
    Q_EMIT mouseOver(-1, -1);
    QLabel::leaveEvent(event);
}

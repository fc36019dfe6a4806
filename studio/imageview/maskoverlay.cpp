#include "imageview/maskoverlay.h"

#include "imageview/imageplacement.h"
#include "imageview/maskimages.h"

#include <QPainter>

MaskOverlay::MaskOverlay(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void MaskOverlay::setMask(const cv::Mat_<uchar>& mask) {
    mask_ = mask;
    classes_.due = true;
    saturated_.due = true;
    update();
}

void MaskOverlay::showMask(bool show) {
    setShown(classes_, show);
}

void MaskOverlay::showSaturated(bool show) {
    setShown(saturated_, show);
}

void MaskOverlay::setShown(Layer& layer, bool shown) {
    layer.shown = shown;
    update();
}

void MaskOverlay::paintEvent(QPaintEvent* /*event*/) {
    if (mask_.empty())
        return;
    paint(classes_, &MaskImages::classes);
    paint(saturated_, &MaskImages::saturated);
}

void MaskOverlay::paint(Layer& layer, QImage (*make)(const cv::Mat_<uchar>&)) {
    if (!layer.shown)
        return;
    if (layer.due) {
        layer.picture.setImage(make(mask_));
        layer.due = false;
    }
    QPainter painter(this);
    layer.picture.paint(painter, ImagePlacement({mask_.cols, mask_.rows}, size()).picture());
}

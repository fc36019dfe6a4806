#include "imageview/imageselection.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <opencv2/imgproc.hpp>

void ImageSelection::choose(Mode mode) {
    forget();
    mode_ = mode;
}

void ImageSelection::clear() {
    forget();
    mode_.reset();
}

void ImageSelection::forget() {
    state_ = State::Idle;
    line_ = QLine();
    rectangle_ = QRect();
    polygon_.clear();
}

bool ImageSelection::cancel() {
    if (!isDrawing())
        return false;
    forget();
    return true;
}

std::optional<QLine> ImageSelection::press(const QPoint& point) {
    if (mode_ == Mode::Line) {
        if (isDrawing()) {
            line_.setP2(point);
            state_ = State::Idle;
            return line_;
        }
        line_ = QLine(point, point);
        state_ = State::Dragging;
    } else if (mode_ == Mode::Rectangle && !isDrawing()) {
        firstCorner_ = secondCorner_ = point;
        spanRectangle();
        state_ = State::Dragging;
    } else if (mode_ == Mode::Polygon) {
        if (isDrawing())
            polygon_.last() = point;
        else
            polygon_ = QPolygon(QVector<QPoint>{point});
        polygon_.append(point); // moves until the next press
        state_ = State::PolygonInProgress;
    }
    return std::nullopt;
}

void ImageSelection::pressRight(const QPoint& point) {
    if (mode_ != Mode::Polygon || !isDrawing())
        return;
    const int fixedPoints = polygon_.size() - 1;
    if (fixedPoints < 2) {
        polygon_ = QPolygon(QVector<QPoint>{point, point});
        return;
    }
    polygon_.last() = point;
    polygon_.append(polygon_.first());
    state_ = State::Idle;
}

void ImageSelection::move(const QPoint& point) {
    if (!isDrawing())
        return;
    if (mode_ == Mode::Line) {
        line_.setP2(point);
    } else if (mode_ == Mode::Rectangle) {
        secondCorner_ = point;
        spanRectangle();
    } else {
        polygon_.last() = point;
    }
}

void ImageSelection::release(const QPoint& point) {
    if (mode_ != Mode::Rectangle || !isDrawing())
        return;
    move(point);
    state_ = State::Idle;
}

void ImageSelection::spanRectangle() {
    const auto [left, right] = std::minmax({firstCorner_.x(), secondCorner_.x()});
    const auto [top, bottom] = std::minmax({firstCorner_.y(), secondCorner_.y()});
    rectangle_ = QRect(QPoint(left, top), QPoint(right, bottom));
}

cv::Mat_<uchar> ImageSelection::mask(const QSize& size, bool invert) const {
    QImage picture(size, QImage::Format_RGB888);
    picture.fill(0);
    {
        QPainter painter(&picture);
        const QColor color(maskedCode, maskedCode, maskedCode);
        painter.setPen(color);
        painter.setBrush(color);
        if (mode_ == Mode::Rectangle && rectangle_.isValid())
            painter.fillRect(rectangle_.adjusted(0, 0, 1, 1), color); // the pen goes around the outside
        else if (mode_ == Mode::Polygon && !polygon_.isEmpty())
            painter.drawPolygon(polygon_, Qt::OddEvenFill);
    }
    const cv::Mat pixels(picture.height(), picture.width(), CV_8UC3, picture.bits(),
                         static_cast<std::size_t>(picture.bytesPerLine()));
    cv::Mat_<uchar> mask;
    cv::cvtColor(pixels, mask, cv::COLOR_RGB2GRAY);
    if (invert)
        cv::subtract(cv::Scalar(maskedCode), mask, mask);
    return mask;
}

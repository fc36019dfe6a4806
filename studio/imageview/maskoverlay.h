#pragma once

#include "imageview/scaledpicture.h"

#include <QWidget>

#include <opencv2/core/mat.hpp>

/// Lays an image's mask over the picture below it: why pixels are hidden, and which are saturated. Of the same size as
/// the picture's label; mouse events go through it. GUI thread.
class MaskOverlay : public QWidget {
    Q_OBJECT

public:
    explicit MaskOverlay(QWidget* parent = nullptr);

    /// The mask is shared with the caller, who must not change it afterwards; empty for none.
    void setMask(const cv::Mat_<uchar>& mask);
    void showMask(bool show);
    void showSaturated(bool show);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// One of the two pictures, made of the mask when it is shown for the first time.
    struct Layer {
        bool shown = false;
        bool due = false;
        ScaledPicture picture;
    };

    void paint(Layer& layer, QImage (*make)(const cv::Mat_<uchar>&));
    void setShown(Layer& layer, bool shown);

    cv::Mat_<uchar> mask_;
    Layer classes_;
    Layer saturated_;
};

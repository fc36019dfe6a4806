#pragma once

#include "imageview/imagelabel.h"
#include "imageview/imageviewer.h"
#include "support/widgets.h"

#include <QAction>
#include <QApplication>
#include <QDoubleSpinBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QToolBar>

#include <gtest/gtest.h>

/// A viewer on the screen, large enough that its picture of 200 x 100 pixels is enlarged.
class ViewerFixture : public testing::Test {
protected:
    void show(QSize size = {690, 400}) {
        viewer_.resize(size);
        Vorta::Testing::showAndActivate(viewer_);
    }

    template <class T = QWidget>
    T& part(const char* name) const {
        return Vorta::Testing::find<T>(viewer_, QLatin1String(name));
    }

    QAction& action(const char* name) const { return part<QAction>(name); }
    ImageLabel& label() const { return part<ImageLabel>("imageLabel"); }
    QScrollArea& area() const { return part<QScrollArea>("scrollArea"); }
    QString message() const { return part<QStatusBar>("statusBar").currentMessage(); }
    /// A pixel of the image that the label shows.
    QRgb pixel(int x, int y) const { return label().image().pixel(x, y); }

    static cv::Mat_<cv::Vec3b> orange(int width = 200, int height = 100) {
        cv::Mat_<cv::Vec3b> image(height, width, cv::Vec3b(0, 128, 255));
        return image;
    }

    ImageViewer viewer_;
};

// A picture of known colours in a real window.
#pragma once

#include "support/widgets.h"
#include "view3d/dx11pointcloudwidget.h"
#include "vorta/common/pointcloud.h"

#include <QImage>
#include <QVBoxLayout>
#include <QWidget>
#include <algorithm>

namespace Vorta::Testing {

/// A plane of 162 x 100 mm, half a metre away, x and y growing with column and row: red left of the camera's axis,
/// green right of it. `nearLeft` mm is how much nearer the red half lies.
inline PointCloud makeFlag(std::size_t height = 150, std::size_t width = 243, float nearLeft = 0.0F) {
    PointCloud cloud(height, width);
    const float step = 162.0F / static_cast<float>(width);
    for (std::size_t row = 0; row < height; ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            Point& p = cloud(row, column);
            const bool left = 2 * column < width;
            p.x = step * (static_cast<float>(column) - 0.5F * static_cast<float>(width - 1));
            p.y = step * (static_cast<float>(row) - 0.5F * static_cast<float>(height - 1));
            p.z = left ? 500.0F - nearLeft : 500.0F;
            p.red = left ? 255 : 0;
            p.green = left ? 0 : 255;
            p.blue = 0;
        }
    }
    return cloud;
}

inline constexpr QRgb red = 0xFFFF0000;
inline constexpr QRgb green = 0xFF00FF00;
inline constexpr QRgb grey = 0xFF404040;

/// How many pixels of two pictures differ; all of them where the sizes do.
inline int differingPixels(const QImage& a, const QImage& b) {
    if (a.size() != b.size())
        return std::max(a.width() * a.height(), b.width() * b.height());
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y) ? 1 : 0;
    return count;
}

/// A window of 600 x 400 pixels that the view fills.
class Scene {
public:
    Scene() : view_(new DX11PointCloudWidget(&window_)) {
        auto* layout = new QVBoxLayout(&window_);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(view_);
        window_.setFixedSize(600, 400);
        showAndActivate(window_);
        view_->setBackgroundColor(QColor::fromRgb(grey));
    }

    QWidget& window() { return window_; }
    DX11PointCloudWidget& view() { return *view_; }

    /// What the X server shows.
    QImage screen() const { return grabFromScreen(*view_).convertToFormat(QImage::Format_RGB32); }

    /// Whether the window comes to show the picture, but for that many pixels.
    bool comesToShow(const QImage& picture, int differences = 0) const {
        return waitFor([&] { return differingPixels(screen(), picture) <= differences; });
    }
    bool comesToShow(int x, int y, QRgb color) const {
        return waitFor([&] { return screen().pixel(x, y) == color; });
    }

private:
    QWidget window_;
    DX11PointCloudWidget* view_;
};

} // namespace Vorta::Testing

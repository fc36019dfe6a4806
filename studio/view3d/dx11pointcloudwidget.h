#pragma once

#include "view3d/trackballwidget.h"
#include "vorta/common/pointcloud.h"
#include "vorta/compute/computedevice.h"
#include "vorta/compute/devicecloud.h"
#include "vorta/viewer/vortaviewer.h"

#include <QColor>
#include <QPointer>
#include <cstddef>

class QLabel;

namespace Vorta {

/// Shows a point cloud in 3D: hosts the viewer, which draws straight into this widget's native window.
///
/// Nothing is drawn before initialise(). Where the viewer cannot draw, the widget shows why in words, and all
/// operations stay usable.
class DX11PointCloudWidget : public TrackBallWidget {
    Q_OBJECT

public:
    explicit DX11PointCloudWidget(QWidget* parent = nullptr);
    ~DX11PointCloudWidget() override;

    using TrackBallWidget::render;
    using TrackBallWidget::resize;

    /// Gives the viewer this widget's native window. Returns whether it can draw there.
    bool initialise();

    /// What draws, for handing to the camera and to frames loaded from files.
    [[nodiscard]] ComputeDevice computeDevice() const;

    /// Shows a device cloud; keeps the view.
    void setDeviceCloud(const DeviceCloud& cloud);
    /// Shows `count` points, which are copied; `reset` also goes back to the initial view.
    void loadPoints(const Point* points, std::size_t count, bool reset);
    /// The same for a cloud with its grid, which meshing needs.
    void loadPoints(const PointCloud& cloud, bool reset);
    /// Shows new values of the points; keeps the view.
    void updatePoints(const Point* points, std::size_t count);
    /// While clouds follow one another each is shown as fully as stays fluid.
    void setStreaming(bool streaming);
    /// Shows that nothing has been captured yet, in the initial view.
    void setupInitialCloud();

    void enableColors(bool enabled);
    void enableMeshing(bool enabled);

    /// Opaque.
    [[nodiscard]] QColor backgroundColor() const;
    void setBackgroundColor(const QColor& color);

    bool render() override;
    bool resize(unsigned width, unsigned height) override;
    void resetView() override;

    /// Null: the toolkit never paints over what the viewer draws.
    [[nodiscard]] QPaintEngine* paintEngine() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void showNotice();

    VortaViewer viewer_;
    /// Whether initialise() has been called.
    bool hosting_ = false;
    /// Covers the window while the viewer cannot draw.
    QPointer<QLabel> notice_;
};

} // namespace Vorta

#pragma once

#include "vorta/common/pointcloud.h"
#include "vorta/compute/computedevice.h"
#include "vorta/compute/devicecloud.h"
#include "vorta/viewer/export.h"

#include <QtGui/QImage>
#include <QtGui/qwindowdefs.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace Vorta {

class VTrackBall;

/// Draws point clouds with OpenGL 3.3 into a native window that somebody else owns. GUI thread only.
///
/// Where drawing every point takes too long for smooth motion, frames that follow a mouse movement, a resize or a quick
/// succession of clouds show a subsampled grid, and the whole cloud is drawn a moment after things come to rest. The
/// window is redrawn by itself when it is uncovered.
///
///     VortaViewer::setDefaultSurfaceFormat();          // before the first window
///     viewer.setTrackBall(trackball);
///     if (!viewer.initialize(widget.winId()))
///         showMessage(viewer.errorText());
///     viewer.loadPoints(cloud);
///     viewer.initializeView();
///     viewer.render();
class VORTA_VIEWER_EXPORT VortaViewer {
public:
    using Color = std::array<float, 4>;

    VortaViewer();
    ~VortaViewer();
    VortaViewer(const VortaViewer&) = delete;
    VortaViewer& operator=(const VortaViewer&) = delete;
    VortaViewer(VortaViewer&&) = delete;
    VortaViewer& operator=(VortaViewer&&) = delete;

    /// Makes windows created from now on fit for direct drawing. Without it drawing takes a detour that costs some
    /// milliseconds a frame.
    static void setDefaultSurfaceFormat();

    /// Draws into this window of the running application from now on. Returns false when OpenGL 3.3 cannot be had for
    /// it; `errorText()` then says why, and everything but drawing goes on working. May be called again when the window
    /// changes.
    bool initialize(WId window);
    /// Why the last `initialize()` or `render()` failed, a sentence for the user; empty otherwise.
    [[nodiscard]] const std::string& errorText() const noexcept;

    /// Looks along the camera's axis, x right and y down, from where the whole cloud but its outliers fills the window.
    void initializeView();

    /// Draws a frame. Returns false when there is no window, no OpenGL, or the window cannot be seen now; in the last
    /// case the frame appears as soon as it can.
    bool render();

    /// The window's size in device-independent pixels. Returns false, and changes nothing, before `initialize()` has
    /// succeeded or when a side is 0. A view that nobody has moved fits itself to the new size.
    bool resize(unsigned width, unsigned height);

    /// The trackball that holds the view; null is ignored. Until this is called the viewer has one of its own.
    void setTrackBall(std::shared_ptr<VTrackBall> trackball);

    /// Shows a device cloud and keeps the view. A cloud that is already shown costs nothing; an empty one clears.
    void setDeviceCloud(const DeviceCloud& cloud);

    /// Shows points, which are copied, and keeps the view. Points with a coordinate that is not finite are left out.
    ///
    /// `count` points lie row by row in a grid of `width` columns. A width of 0 stands for the grid of the cloud shown
    /// before, if it has as many points; otherwise, and where `width` does not divide `count`, the points have no
    /// neighbours: they cannot be meshed.
    void loadPoints(const Point* points, std::size_t count, std::size_t width = 0);
    void loadPoints(const PointCloud& cloud);
    /// The same for new values of the points shown.
    void updatePoints(const Point* points, std::size_t count, std::size_t width = 0);

    /// On: clouds follow one another, and frames show as much of each as can be drawn fluidly. Off, the initial state:
    /// a cloud is shown whole unless the view moves.
    void setStreaming(bool streaming);

    /// Shows a ruled table with three axes, which says that nothing has been captured yet. x is red, y green, z blue.
    void setupInitialCloud();

    /// On, the initial state: the points' own colours. Off: coloured by the depth seen from the camera.
    void enableColors(bool enabled);
    /// On: neighbouring points are joined to a surface, except across depth jumps and invalid points. Initially off.
    void enableMeshing(bool enabled);

    /// Red, green, blue from 0 to 1; the fourth component is carried along without effect. Initially a dark grey.
    [[nodiscard]] Color backgroundColor() const noexcept;
    /// Components outside 0 to 1 are clamped.
    void setBackgroundColor(const Color& color);

    /// What draws; host memory before `initialize()` has succeeded.
    [[nodiscard]] ComputeDevice computeDevice() const;

    /// The picture of the whole cloud at the window's size in physical pixels, drawn aside; null without OpenGL.
    [[nodiscard]] QImage image();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Vorta

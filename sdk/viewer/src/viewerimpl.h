#pragma once

#include "cloudgrid.h"
#include "framebudget.h"
#include "glrenderer.h"
#include "splatrenderer.h"
#include "vorta/viewer/vortaviewer.h"
#include "vorta/viewer/vtrackball.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtGui/QWindow>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Vorta {

/// The viewer itself: which cloud is shown how, what of it is in graphics memory, and when it is drawn again.
struct VortaViewer::Impl : public QObject {
public:
    Impl();
    ~Impl() override;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    Impl(Impl&&) = delete;
    Impl& operator=(Impl&&) = delete;

    bool attach(QWindow* window);
    [[nodiscard]] const std::string& errorText() const noexcept { return errorText_; }
    void setTrackBall(std::shared_ptr<VTrackBall> trackball);
    void initializeView();
    bool render();
    bool resize(unsigned width, unsigned height);

    void setPoints(std::span<const Point> points, std::size_t width);
    void setCloud(const PointCloud& cloud);
    void setDeviceCloud(const PointCloud& cloud);
    void setInitialCloud();
    void setStreaming(bool streaming);

    void enableColors(bool enabled) { colored_ = enabled; }
    void enableMeshing(bool enabled) { meshed_ = enabled; }
    [[nodiscard]] Color background() const noexcept { return background_; }
    void setBackground(const Color& color) { background_ = color; }
    [[nodiscard]] const ComputeDevice& computeDevice() const noexcept { return device_; }
    [[nodiscard]] QImage image();

    /// Watches the window: draws when it is uncovered, lets go of it before its surface is destroyed.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool ensureRenderer();
    void releaseRenderer();
    void streamCloud(const PointCloud& cloud);
    void makeFullGrid();
    [[nodiscard]] std::size_t pointCount() const noexcept;
    [[nodiscard]] bool organised() const noexcept;
    /// `grid` holds every `stride`-th row and column of the new cloud.
    void cloudChanged(const CloudGrid& grid, std::size_t stride = 1);
    void fitView();
    [[nodiscard]] bool drawFrame(bool moving, bool uncovered = false);
    [[nodiscard]] bool drawByGl(const FrameSettings& frame);
    [[nodiscard]] bool contextLost();
    [[nodiscard]] std::size_t strideFor(bool moving);
    /// The points of a frame.
    [[nodiscard]] const CloudGrid& gridFor(CloudDetail detail, std::size_t stride);
    /// Whether a frame is drawn without OpenGL.
    [[nodiscard]] bool splatted(const FrameSettings& frame) const { return splats_ && !frame.meshed; }
    [[nodiscard]] bool upload(const CloudGrid& grid, CloudDetail detail, std::size_t stride);
    [[nodiscard]] FrameSettings frameSettings(CloudDetail detail) const;
    [[nodiscard]] std::optional<double> depthAtPixel(double x, double y);

    QPointer<QWindow> window_;
    std::unique_ptr<GlRenderer> renderer_;
    /// Whether a renderer could not be had for the window: it is not tried again with each frame.
    bool refused_ = false;
    /// Where OpenGL is computed by the processor: draws points faster.
    std::unique_ptr<SplatRenderer> splats_;
    ComputeDevice device_;
    std::string errorText_;
    std::shared_ptr<VTrackBall> trackball_;

    Color background_{32.0F / 255.0F, 34.0F / 255.0F, 38.0F / 255.0F, 0.0F};
    bool colored_ = true;
    bool meshed_ = false;

    CloudGrid full_;
    CloudGrid coarse_;
    /// For finding the depth below the cursor.
    CloudGrid pick_;
    std::size_t coarseStride_ = 0;
    std::size_t pickStride_ = 0;
    /// Whether full_ is still to be made of source_: of a stream only what is drawn is taken.
    bool fullIsDue_ = false;
    /// What full_ was made of, kept so that the same cloud is not taken in twice; empty for points without an owner.
    PointCloud source_;
    /// Size and columns of the newest grid.
    std::size_t gridSize_ = 0;
    std::size_t gridWidth_ = 0;
    /// Of full_; nothing while it has no points.
    std::optional<CloudBounds> bounds_;
    /// What the initial view was fitted to: the centre, and some of the points; none without a cloud.
    VTrackBall::Vector fittedCentre_{};
    std::vector<CloudVertex> fittedTo_;

    /// What the graphics memory lacks.
    bool fullUploaded_ = false;
    bool fullMeshed_ = false;
    std::size_t coarseUploaded_ = 0;
    bool coarseMeshed_ = false;
    std::vector<std::uint32_t> indices_;

    FrameBudget pointBudget_{0.0};
    FrameBudget meshBudget_{0.0};
    std::uint64_t movementsDrawn_ = 0;
    bool resized_ = false;
    /// What the window shows; nothing when it shows another cloud or size.
    std::optional<FrameSettings> shown_;
    bool streaming_ = false;
    QTimer refine_;
};

} // namespace Vorta

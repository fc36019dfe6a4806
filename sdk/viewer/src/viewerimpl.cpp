#include "viewerimpl.h"

#include "initialcloud.h"
#include "mesh.h"
#include "viewgeometry.h"
#include "vorta/common/log.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtGui/QPlatformSurfaceEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Vorta {

namespace {

constexpr const char* logSource = "VortaViewerLib/VortaViewer";

/// Rest after which the whole cloud is drawn, ms.
constexpr int refineDelayMs = 150;
/// How many points the initial view is fitted to.
constexpr std::size_t fitPoints = 20'000;
/// What drawing is expected to cost on the processor until it has been measured, ns.
constexpr double splatNs = 12.0;
constexpr double softwareMeshPointNs = 150.0;
/// How many points are searched for the depth below the cursor.
constexpr double pickPoints = 150e3;
/// Width of a drawn point relative to the distance of its neighbours, so that slopes stay closed.
constexpr double pointOverlap = 1.25;

} // namespace

VortaViewer::Impl::Impl() {
    refine_.setSingleShot(true);
    refine_.setInterval(refineDelayMs);
    connect(&refine_, &QTimer::timeout, this, [this] { static_cast<void>(drawFrame(false)); });
    setTrackBall(std::make_shared<VTrackBall>());
}

VortaViewer::Impl::~Impl() {
    trackball_->setDepthPicker(nullptr);
    releaseRenderer();
}

bool VortaViewer::Impl::attach(QWindow* window) {
    if (window == nullptr) {
        errorText_ = "The 3D view has no window to draw into.";
        return false;
    }
    if (window != window_) {
        releaseRenderer();
        if (window_)
            window_->removeEventFilter(this);
        window_ = window;
        window_->installEventFilter(this);
    }
    refused_ = false;
    return ensureRenderer();
}

bool VortaViewer::Impl::ensureRenderer() {
    if (renderer_)
        return true;
    if (refused_)
        return false;
    if (!window_) {
        errorText_ = "The 3D view has no window to draw into.";
        return false;
    }
    errorText_.clear();
    renderer_ = GlRenderer::create(*window_, errorText_);
    if (!renderer_) {
        refused_ = true;
        Log::warning(logSource, __LINE__, "The 3D view cannot draw: %s", errorText_);
        return false;
    }
    if (renderer_->software())
        splats_ = std::make_unique<SplatRenderer>(*window_);
    if (device_.name() != renderer_->name()) {
        device_ = ComputeDevice(renderer_->name());
        pointBudget_ = FrameBudget(splats_ ? splatNs : 0.0);
        meshBudget_ = FrameBudget(renderer_->software() ? softwareMeshPointNs : 0.0);
        Log::info(logSource, __LINE__, "The 3D view draws with %s", renderer_->name());
    }
    return true;
}

void VortaViewer::Impl::releaseRenderer() {
    refine_.stop();
    shown_.reset();
    splats_.reset();
    renderer_.reset();
    fullUploaded_ = false;
    fullMeshed_ = false;
    coarseUploaded_ = 0;
    coarseMeshed_ = false;
}

bool VortaViewer::Impl::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_ && event->type() == QEvent::PlatformSurface) {
        const auto* surface = static_cast<QPlatformSurfaceEvent*>(event);
        if (surface->surfaceEventType() == QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed)
            releaseRenderer();
    } else if (watched == window_ && event->type() == QEvent::Expose && window_->isExposed()) {
        static_cast<void>(drawFrame(true, true));
    }
    return QObject::eventFilter(watched, event);
}

void VortaViewer::Impl::setTrackBall(std::shared_ptr<VTrackBall> trackball) {
    if (trackball_) {
        trackball->setViewport(trackball_->width(), trackball_->height());
        trackball_->setDepthPicker(nullptr);
    }
    trackball_ = std::move(trackball);
    trackball_->setDepthPicker([this](double x, double y) { return depthAtPixel(x, y); });
    movementsDrawn_ = trackball_->movements();
}

std::optional<double> VortaViewer::Impl::depthAtPixel(double x, double y) {
    if (!bounds_)
        return std::nullopt;
    makeFullGrid();
    const auto points = static_cast<double>(full_.vertices().size());
    const auto stride = static_cast<std::size_t>(std::max(1.0, std::ceil(std::sqrt(points / pickPoints))));
    if (pickStride_ != stride) {
        pick_.subsample(full_, stride);
        pickStride_ = stride;
    }
    return depthAt(pick_, bounds_->spacing * static_cast<double>(stride), *trackball_, x, y);
}

void VortaViewer::Impl::initializeView() {
    makeFullGrid();
    fittedTo_.clear();
    fittedCentre_ = bounds_ ? bounds_->centre() : VTrackBall::Vector{};
    const auto vertices = full_.vertices();
    const std::size_t step = std::max<std::size_t>(1, vertices.size() / fitPoints);
    for (std::size_t i = 0; i < vertices.size(); i += step)
        fittedTo_.push_back(vertices[i]);
    fitView();
}

void VortaViewer::Impl::fitView() {
    double distance = 1.0;
    if (bounds_ && !fittedTo_.empty())
        distance = std::max(fittingDistance(fittedTo_, fittedCentre_, *trackball_), bounds_->robustRadius());
    trackball_->setView(fittedCentre_, distance);
}

bool VortaViewer::Impl::resize(unsigned width, unsigned height) {
    if (!renderer_ || width == 0 || height == 0)
        return false;
    trackball_->setViewport(width, height);
    if (!trackball_->movedSinceSetView())
        fitView();
    resized_ = true;
    shown_.reset();
    return true;
}

void VortaViewer::Impl::setPoints(std::span<const Point> points, std::size_t width) {
    if (width == 0 && points.size() == gridSize_)
        width = gridWidth_;
    source_ = PointCloud();
    fullIsDue_ = false;
    full_.assign(points, width);
    gridSize_ = points.size();
    gridWidth_ = full_.width();
    cloudChanged(full_);
}

void VortaViewer::Impl::setCloud(const PointCloud& cloud) {
    setPoints(cloud.points(), cloud.width());
    source_ = cloud;
}

void VortaViewer::Impl::setDeviceCloud(const PointCloud& cloud) {
    if (!cloud.empty() && cloud.sharesDataWith(source_))
        return;
    if (streaming_ && !cloud.empty())
        streamCloud(cloud);
    else
        setCloud(cloud);
}

void VortaViewer::Impl::streamCloud(const PointCloud& cloud) {
    source_ = cloud;
    gridSize_ = cloud.size();
    gridWidth_ = cloud.width();
    fullIsDue_ = true;
    const std::size_t stride = strideFor(true);
    if (stride == 1) {
        setCloud(cloud);
        return;
    }
    coarse_.sample(cloud.points(), cloud.width(), stride);
    cloudChanged(coarse_, stride);
    coarseStride_ = stride;
}

void VortaViewer::Impl::makeFullGrid() {
    if (!std::exchange(fullIsDue_, false))
        return;
    full_.assign(source_.points(), source_.width());
    if (bounds_)
        bounds_ = boundsOf(full_);
}

std::size_t VortaViewer::Impl::pointCount() const noexcept {
    return fullIsDue_ ? source_.size() : full_.vertices().size();
}

bool VortaViewer::Impl::organised() const noexcept {
    return fullIsDue_ || full_.organised();
}

void VortaViewer::Impl::setInitialCloud() {
    const std::vector<Point> points = makeInitialCloud();
    source_ = PointCloud();
    fullIsDue_ = false;
    full_.assign(points, 0);
    gridSize_ = 0;
    gridWidth_ = 0;
    cloudChanged(full_);
    bounds_->spacing = initialCloudSpacing;
}

void VortaViewer::Impl::setStreaming(bool streaming) {
    streaming_ = streaming;
    if (streaming_)
        refine_.stop();
    else if (shown_ && shown_->detail == CloudDetail::Coarse)
        refine_.start();
}

void VortaViewer::Impl::cloudChanged(const CloudGrid& grid, std::size_t stride) {
    shown_.reset();
    bounds_.reset();
    if (!grid.vertices().empty()) {
        bounds_ = boundsOf(grid);
        bounds_->spacing /= static_cast<double>(stride);
        trackball_->setCentre(bounds_->centre());
    }
    coarseStride_ = 0;
    pickStride_ = 0;
    fullUploaded_ = false;
    fullMeshed_ = false;
    coarseUploaded_ = 0;
    coarseMeshed_ = false;
}

bool VortaViewer::Impl::render() {
    const bool moving = streaming_ || resized_ || trackball_->movements() != movementsDrawn_;
    return drawFrame(moving);
}

std::size_t VortaViewer::Impl::strideFor(bool moving) {
    if (!moving)
        return 1;
    FrameBudget& budget = meshed_ && organised() ? meshBudget_ : pointBudget_;
    return budget.stride(pointCount(), streaming_ ? FrameBudget::streamedFrameMs : FrameBudget::movingFrameMs);
}

bool VortaViewer::Impl::drawFrame(bool moving, bool uncovered) {
    refine_.stop();
    if (!window_ || !window_->isExposed() || !ensureRenderer())
        return false;
    movementsDrawn_ = trackball_->movements();
    resized_ = false;
    const std::size_t stride = strideFor(moving);
    const CloudDetail detail = stride == 1 ? CloudDetail::Full : CloudDetail::Coarse;
    const CloudGrid& grid = gridFor(detail, stride);
    const FrameSettings frame = frameSettings(detail);
    if (uncovered || shown_ != frame) {
        QElapsedTimer clock;
        clock.start();
        if (splatted(frame))
            splats_->drawToWindow(grid.vertices(), frame);
        else if (!upload(grid, detail, stride) || !drawByGl(frame))
            return contextLost();
        shown_ = frame;
        FrameBudget& budget = frame.meshed ? meshBudget_ : pointBudget_;
        budget.measured(grid.vertices().size(), static_cast<double>(clock.nsecsElapsed()) * 1e-6);
    }
    if (stride > 1 && !streaming_)
        refine_.start();
    return true;
}

bool VortaViewer::Impl::drawByGl(const FrameSettings& frame) {
    if (!renderer_->besideWindow())
        return renderer_->drawToWindow(frame);
    QImage picture;
    if (!renderer_->drawToImage(frame, window_->size() * window_->devicePixelRatio(), picture))
        return false;
    splats_->show(picture);
    return true;
}

/// The next frame starts with a context made anew.
bool VortaViewer::Impl::contextLost() {
    const std::string refusal = renderer_ ? renderer_->refusal() : std::string();
    releaseRenderer();
    errorText_ = refusal.empty() ? "The graphics driver has given up the 3D view's context." : refusal;
    Log::warning(logSource, __LINE__, "%s", errorText_);
    return false;
}

const CloudGrid& VortaViewer::Impl::gridFor(CloudDetail detail, std::size_t stride) {
    const bool whole = detail == CloudDetail::Full;
    if (whole || coarseStride_ != stride)
        makeFullGrid();
    if (whole)
        return full_;
    if (coarseStride_ != stride) {
        coarse_.subsample(full_, stride);
        coarseStride_ = stride;
    }
    return coarse_;
}

bool VortaViewer::Impl::upload(const CloudGrid& grid, CloudDetail detail, std::size_t stride) {
    const bool whole = detail == CloudDetail::Full;
    if (whole ? !fullUploaded_ : coarseUploaded_ != stride) {
        if (!renderer_->uploadPoints(detail, grid.vertices()))
            return false;
        (whole ? fullMeshed_ : coarseMeshed_) = false;
        if (whole)
            fullUploaded_ = true;
        else
            coarseUploaded_ = stride;
    }
    bool& meshed = whole ? fullMeshed_ : coarseMeshed_;
    if (meshed_ && grid.organised() && !meshed) {
        meshGrid(grid, indices_);
        if (!renderer_->uploadTriangles(detail, indices_))
            return false;
        meshed = true;
    }
    return true;
}

FrameSettings VortaViewer::Impl::frameSettings(CloudDetail detail) const {
    FrameSettings frame{.detail = detail,
                        .meshed = meshed_ && organised(),
                        .colored = colored_,
                        .background = background_,
                        .eye = eyeMatrix(*trackball_)};
    const CloudBounds bounds = bounds_.value_or(CloudBounds{});
    frame.projection = projectionMatrix(clipPlanes(bounds, *trackball_), *trackball_);
    const double stride = detail == CloudDetail::Full ? 1.0 : static_cast<double>(coarseStride_);
    const double pixelRatio = window_ ? window_->devicePixelRatio() : 1.0;
    frame.pointScale =
        static_cast<float>(bounds.spacing * stride * pointOverlap * trackball_->focalLength() * pixelRatio);
    frame.nearestZ = static_cast<float>(bounds.robustMinimum[2]);
    frame.farthestZ = static_cast<float>(
        bounds.robustMinimum[2] < bounds.robustMaximum[2] ? bounds.robustMaximum[2] : bounds.robustMinimum[2] + 1.0);
    return frame;
}

QImage VortaViewer::Impl::image() {
    if (!window_ || !ensureRenderer())
        return {};
    const CloudGrid& grid = gridFor(CloudDetail::Full, 1);
    const FrameSettings frame = frameSettings(CloudDetail::Full);
    const double ratio = window_->devicePixelRatio();
    const QSize size(static_cast<int>(trackball_->width() * ratio), static_cast<int>(trackball_->height() * ratio));
    QImage picture;
    if (splatted(frame))
        picture = splats_->drawToImage(grid.vertices(), frame, size);
    else if (!upload(grid, CloudDetail::Full, 1) || !renderer_->drawToImage(frame, size, picture))
        return {};
    picture.setDevicePixelRatio(ratio);
    return picture;
}

} // namespace Vorta

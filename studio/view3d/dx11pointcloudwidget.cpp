#include "view3d/dx11pointcloudwidget.h"

#include "vorta/viewer/vtrackball.h"

#include <QEvent>
#include <QLabel>
#include <QPaintEvent>
#include <QPainter>

namespace Vorta {

DX11PointCloudWidget::DX11PointCloudWidget(QWidget* parent) : TrackBallWidget(parent) {
    setAttribute(Qt::WA_PaintOnScreen);
    setAttribute(Qt::WA_NoSystemBackground);
    // A window of its own to draw into, without making every widget around it native as well.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    setFocusPolicy(Qt::ClickFocus);
    viewer_.setTrackBall(trackball());
}

DX11PointCloudWidget::~DX11PointCloudWidget() = default;

bool DX11PointCloudWidget::initialise() {
    hosting_ = true;
    if (!viewer_.initialize(winId())) {
        showNotice();
        return false;
    }
    delete notice_;
    resize(static_cast<unsigned>(width()), static_cast<unsigned>(height()));
    return true;
}

void DX11PointCloudWidget::showNotice() {
    if (!notice_) {
        notice_ = new QLabel(this);
        notice_->setObjectName(QStringLiteral("noticeLabel"));
        notice_->setAlignment(Qt::AlignCenter);
        notice_->setWordWrap(true);
        notice_->setMargin(24);
        notice_->setAutoFillBackground(true);
        // This widget does not paint, so the label needs a window of its own.
        notice_->setAttribute(Qt::WA_NativeWindow);
    }
    notice_->setText(tr("The 3D view cannot be shown.\n\n%1\n\nMeasuring, images, files and settings work without it.")
                         .arg(QString::fromStdString(viewer_.errorText())));
    notice_->setGeometry(rect());
    notice_->show();
}

ComputeDevice DX11PointCloudWidget::computeDevice() const {
    return viewer_.computeDevice();
}

void DX11PointCloudWidget::setDeviceCloud(const DeviceCloud& cloud) {
    viewer_.setDeviceCloud(cloud);
}

void DX11PointCloudWidget::loadPoints(const Point* points, std::size_t count, bool reset) {
    viewer_.loadPoints(points, count);
    if (reset)
        resetView();
}

void DX11PointCloudWidget::loadPoints(const PointCloud& cloud, bool reset) {
    viewer_.loadPoints(cloud);
    if (reset)
        resetView();
}

void DX11PointCloudWidget::updatePoints(const Point* points, std::size_t count) {
    viewer_.updatePoints(points, count);
}

void DX11PointCloudWidget::setStreaming(bool streaming) {
    viewer_.setStreaming(streaming);
}

void DX11PointCloudWidget::setupInitialCloud() {
    viewer_.setupInitialCloud();
    resetView();
}

void DX11PointCloudWidget::enableColors(bool enabled) {
    viewer_.enableColors(enabled);
}

void DX11PointCloudWidget::enableMeshing(bool enabled) {
    viewer_.enableMeshing(enabled);
}

QColor DX11PointCloudWidget::backgroundColor() const {
    const VortaViewer::Color color = viewer_.backgroundColor();
    return QColor::fromRgbF(static_cast<qreal>(color[0]), static_cast<qreal>(color[1]), static_cast<qreal>(color[2]),
                            1.0);
}

void DX11PointCloudWidget::setBackgroundColor(const QColor& color) {
    viewer_.setBackgroundColor({static_cast<float>(color.redF()), static_cast<float>(color.greenF()),
                                static_cast<float>(color.blueF()), 0.0F});
}

bool DX11PointCloudWidget::render() {
    // After a context was lost the next frame makes another.
    const bool drawn = viewer_.render() || (!viewer_.errorText().empty() && viewer_.render());
    if (drawn)
        delete notice_;
    else if (hosting_ && !viewer_.errorText().empty())
        showNotice();
    return drawn;
}

bool DX11PointCloudWidget::resize(unsigned width, unsigned height) {
    const bool resized = viewer_.resize(width, height);
    if (resized)
        render();
    return resized;
}

void DX11PointCloudWidget::resetView() {
    viewer_.initializeView();
    render();
}

QPaintEngine* DX11PointCloudWidget::paintEngine() const {
    return nullptr;
}

bool DX11PointCloudWidget::event(QEvent* event) {
    // Moving to another top-level window can give this widget a new native window.
    if (event->type() == QEvent::WinIdChange && hosting_ && internalWinId() != 0)
        initialise();
    return TrackBallWidget::event(event);
}

void DX11PointCloudWidget::paintEvent(QPaintEvent* event) {
    // A picture of the widget that is taken elsewhere, as grab() does, gets what the window shows.
    QPoint offset;
    if (redirected(&offset) != nullptr) {
        QPainter painter(this);
        painter.drawImage(0, 0, viewer_.image());
    }
    TrackBallWidget::paintEvent(event);
}

void DX11PointCloudWidget::resizeEvent(QResizeEvent* event) {
    if (notice_)
        notice_->setGeometry(rect());
    TrackBallWidget::resizeEvent(event);
}

} // namespace Vorta

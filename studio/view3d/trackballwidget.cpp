#include "view3d/trackballwidget.h"

#include "vorta/viewer/vtrackball.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPixmap>
#include <QResizeEvent>
#include <QWheelEvent>

namespace Vorta {

namespace {

VMouseAction pressed(Qt::MouseButton button) {
    if (button == Qt::LeftButton)
        return VMouseAction::LeftPressed;
    if (button == Qt::RightButton)
        return VMouseAction::RightPressed;
    return button == Qt::MiddleButton ? VMouseAction::MiddlePressed : VMouseAction::None;
}

VMouseAction released(Qt::MouseButton button) {
    if (button == Qt::LeftButton)
        return VMouseAction::LeftReleased;
    if (button == Qt::RightButton)
        return VMouseAction::RightReleased;
    return button == Qt::MiddleButton ? VMouseAction::MiddleReleased : VMouseAction::None;
}

} // namespace

TrackBallWidget::TrackBallWidget(QWidget* parent)
    : QWidget(parent),
      trackball_(std::make_shared<VTrackBall>()),
      rotateCursor_(std::make_unique<QCursor>(QPixmap(QStringLiteral(":/icons/rotate.png")), -1, -1)) {}

TrackBallWidget::~TrackBallWidget() = default;

void TrackBallWidget::mousePressEvent(QMouseEvent* event) {
    // A box that opens amid a drag takes the release with it: what was pressed before the only button now is no more.
    if (event->buttons() == event->button())
        for (const auto action :
             {VMouseAction::LeftReleased, VMouseAction::RightReleased, VMouseAction::MiddleReleased})
            act(event->localPos(), action);
    act(event->localPos(), pressed(event->button()));
    // A second button changes nothing about what the first one does.
    if (event->buttons() == Qt::LeftButton)
        setCursor(*rotateCursor_);
    else if (event->buttons() == Qt::RightButton)
        setCursor(Qt::OpenHandCursor);
    else if (event->buttons() == Qt::MiddleButton)
        setCursor(Qt::SizeAllCursor);
}

void TrackBallWidget::mouseReleaseEvent(QMouseEvent* event) {
    act(event->localPos(), released(event->button()));
    if (event->buttons() == Qt::NoButton)
        setCursor(Qt::ArrowCursor);
}

void TrackBallWidget::mouseMoveEvent(QMouseEvent* event) {
    act(event->localPos(), VMouseAction::Move);
    render();
}

void TrackBallWidget::wheelEvent(QWheelEvent* event) {
    const QPoint delta = event->angleDelta();
    // With Alt held down some systems turn the wheel's axis.
    act(event->position(), VMouseAction::Wheel, delta.y() != 0 ? delta.y() : delta.x());
    render();
}

void TrackBallWidget::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
        return;
    }
    resetView();
    render();
    event->accept();
}

void TrackBallWidget::paintEvent(QPaintEvent* event) {
    event->accept();
}

void TrackBallWidget::resizeEvent(QResizeEvent* event) {
    resize(static_cast<unsigned>(event->size().width()), static_cast<unsigned>(event->size().height()));
}

void TrackBallWidget::act(const QPointF& position, VMouseAction action, int wheelDelta) {
    trackball_->MouseAction({.x = static_cast<float>(position.x()),
                             .y = static_cast<float>(position.y()),
                             .wheelDelta = wheelDelta,
                             .action = action});
}

} // namespace Vorta

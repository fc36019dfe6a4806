#pragma once

#include <QCursor>
#include <QWidget>
#include <memory>

namespace Vorta {

class VTrackBall;
enum class VMouseAction : std::int32_t;

/// Translates mouse, wheel and keys into trackball actions and shows with its cursor what a drag does. What is drawn,
/// and how, is the derived class's. GUI thread.
class TrackBallWidget : public QWidget {
    Q_OBJECT

public:
    explicit TrackBallWidget(QWidget* parent = nullptr);
    ~TrackBallWidget() override;

    using QWidget::render;
    using QWidget::resize;

    /// Draws a frame at once. Returns whether it was drawn.
    virtual bool render() = 0;
    /// Takes over the size in widget pixels. Returns whether the size can be drawn.
    virtual bool resize(unsigned width, unsigned height) = 0;
    /// Goes back to the initial view.
    virtual void resetView() = 0;

protected:
    [[nodiscard]] const std::shared_ptr<VTrackBall>& trackball() const noexcept { return trackball_; }

    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// Paints nothing: the window belongs to what render() draws.
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void act(const QPointF& position, VMouseAction action, int wheelDelta = 0);

    std::shared_ptr<VTrackBall> trackball_;
    std::unique_ptr<QCursor> rotateCursor_;
};

} // namespace Vorta

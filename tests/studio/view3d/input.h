// Mouse, wheel and keys as the window system would deliver them, without moving the real pointer.
#pragma once

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

namespace Vorta::Testing {

inline void sendMouse(QWidget& widget, QEvent::Type type, const QPointF& at, Qt::MouseButton button,
                      Qt::MouseButtons down) {
    QMouseEvent event(type, at, widget.mapToGlobal(at.toPoint()), button, down, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

/// `down`: the buttons that are down afterwards.
inline void press(QWidget& widget, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons down) {
    sendMouse(widget, QEvent::MouseButtonPress, at, button, down);
}

inline void release(QWidget& widget, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons down) {
    sendMouse(widget, QEvent::MouseButtonRelease, at, button, down);
}

inline void move(QWidget& widget, const QPointF& at, Qt::MouseButtons down) {
    sendMouse(widget, QEvent::MouseMove, at, Qt::NoButton, down);
}

/// One button pressed, moved along a straight line, released.
inline void drag(QWidget& widget, Qt::MouseButton button, const QPointF& from, const QPointF& to) {
    press(widget, from, button, button);
    for (int step = 1; step <= 4; ++step)
        move(widget, from + (to - from) * (step / 4.0), button);
    release(widget, to, button, Qt::NoButton);
}

inline void turnWheel(QWidget& widget, const QPointF& at, const QPoint& delta) {
    QWheelEvent event(at, widget.mapToGlobal(at.toPoint()), QPoint(), delta, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&widget, &event);
}

/// Returns whether the widget took the key.
inline bool pressKey(QWidget& widget, Qt::Key key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
    return event.isAccepted();
}

} // namespace Vorta::Testing

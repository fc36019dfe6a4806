#include "mainwindow/modifiershortcut.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QWidget>

#include <utility>

ModifierShortcut::ModifierShortcut(QAction& action, QWidget& window)
    : QObject(&window), action_(action), window_(window) {
    qApp->installEventFilter(this);
}

bool ModifierShortcut::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::WindowDeactivate)
        begun_ = false;
    if (event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    const auto* press = static_cast<const QKeyEvent*>(event);
    const QKeySequence keys = action_.shortcut();
    const Qt::KeyboardModifiers modifiers = press->modifiers();
    // Some systems count the pressed modifier itself among the modifiers.
    if (press->key() == keys[0] && (modifiers == Qt::NoModifier || modifiers == Qt::AltModifier)) {
        begun_ = window_.isActiveWindow();
    } else if (std::exchange(begun_, false) && press->key() == keys[1] && modifiers == Qt::NoModifier) {
        action_.trigger();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

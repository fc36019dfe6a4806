// Finding what a person sees: widgets and actions by object-name path or by text.
#pragma once

#include <QAction>
#include <QImage>
#include <QObject>
#include <QString>
#include <QWidget>
#include <functional>
#include <stdexcept>
#include <string>

namespace Vorta::Testing {

/// The one descendant of `root` at `path`: object names separated by '/', each a descendant at any depth of the one
/// before, for instance "CameraImageWidget/toolBar".
/// @throws std::runtime_error naming the part that is missing or ambiguous and the names that exist there.
QObject& objectAt(const QObject& root, const QString& path);

/// objectAt() as a T.
/// @throws std::runtime_error also when the object is not a T.
template <class T = QWidget>
T& find(const QObject& root, const QString& path) {
    QObject& object = objectAt(root, path);
    auto* typed = qobject_cast<T*>(&object);
    if (!typed)
        throw std::runtime_error(path.toStdString() + " is a " + object.metaObject()->className() + ", not a " +
                                 T::staticMetaObject.className());
    return *typed;
}

/// The one action below `root` whose text is `text`, with its "&".
/// @throws std::runtime_error when there is none or more than one, naming those that exist.
QAction& actionWithText(const QObject& root, const QString& text);

/// Shows `window` and waits until the window manager has drawn and activated it.
/// @throws std::runtime_error after 5 s.
void showAndActivate(QWidget& window);

/// Runs the event loop until `condition` holds.
/// @return whether it held within `timeoutMs`.
bool waitFor(const std::function<bool()>& condition, int timeoutMs = 5000);

/// What the X server shows in the rectangle of `widget`, whatever draws it (OpenGL too), in device pixels.
QImage grabFromScreen(const QWidget& widget);

/// The same picture with one pixel for each pixel of the widget, whatever the screen's scale.
QImage widgetPixels(const QImage& grabbed);

} // namespace Vorta::Testing

#include "support/widgets.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QStringList>
#include <QTest>
#include <QWindow>
#include <algorithm>

namespace Vorta::Testing {

namespace {

std::string namesBelow(const QObject& root) {
    QStringList names;
    for (const QObject* object : root.findChildren<QObject*>())
        if (!object->objectName().isEmpty() && !object->objectName().startsWith(QLatin1String("qt_")))
            names << object->objectName();
    names.removeDuplicates();
    return names.join(QStringLiteral(", ")).toStdString();
}

} // namespace

QObject& objectAt(const QObject& root, const QString& path) {
    const auto slash = path.indexOf(QLatin1Char('/'));
    const QString name = path.left(slash);
    const QList<QObject*> matches = root.findChildren<QObject*>(name);
    if (name.isEmpty() || matches.size() != 1)
        throw std::runtime_error(std::to_string(matches.size()) + " objects named \"" + name.toStdString() +
                                 "\" below \"" + root.objectName().toStdString() +
                                 "\"; there are: " + namesBelow(root));
    return slash < 0 ? *matches.front() : objectAt(*matches.front(), path.mid(slash + 1));
}

QAction& actionWithText(const QObject& root, const QString& text) {
    QStringList texts;
    QList<QAction*> matches;
    for (QAction* action : root.findChildren<QAction*>()) {
        if (!action->text().isEmpty())
            texts << action->text();
        if (action->text() == text)
            matches << action;
    }
    if (matches.size() != 1)
        throw std::runtime_error(std::to_string(matches.size()) + " actions with the text \"" + text.toStdString() +
                                 "\"; there are: " + texts.join(QStringLiteral(", ")).toStdString());
    return *matches.front();
}

void showAndActivate(QWidget& window) {
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowExposed(&window) || !QTest::qWaitForWindowActive(&window))
        throw std::runtime_error("the window \"" + window.windowTitle().toStdString() +
                                 "\" was not shown and activated within 5 s; is a window manager running?");
}

bool waitFor(const std::function<bool()>& condition, int timeoutMs) {
    return QTest::qWaitFor(condition, timeoutMs);
}

QImage grabFromScreen(const QWidget& widget) {
    QScreen* screen = QGuiApplication::primaryScreen();
    if (const QWindow* window = widget.window()->windowHandle())
        screen = window->screen();
    const QPoint corner = widget.mapToGlobal(QPoint(0, 0)) - screen->geometry().topLeft();
    return screen->grabWindow(0, corner.x(), corner.y(), widget.width(), widget.height()).toImage();
}

QImage widgetPixels(const QImage& grabbed) {
    QImage image = grabbed.scaled(grabbed.size() / grabbed.devicePixelRatio());
    image.setDevicePixelRatio(1.0);
    return image;
}

} // namespace Vorta::Testing

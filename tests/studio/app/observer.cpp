// Linked into the program under test beside its own main(): tells on standard output what a person would see and obeys
// commands on standard input. The program itself is the real one.
//
// Tells:  "window <title>", "box <title>|<text>|<buttons>", "connected", "points <count>"
// Obeys:  "accept" (press the box's default button), "throw", "throw-int", "grab", "close", "quit", "locale"

#include "camera/vortainterface.h"
#include "mainwindow/mainwindow.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLocale>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <iostream>
#include <stdexcept>
#include <string>

namespace {

void tell(const QString& line) {
    std::cout << line.toStdString() << std::endl;
}

class Observer : public QObject {
public:
    Observer() : QObject(qApp) {
        connect(&timer_, &QTimer::timeout, this, &Observer::look);
        timer_.start(20);
        auto* listener = QThread::create([this] {
            std::string line;
            while (std::getline(std::cin, line))
                QMetaObject::invokeMethod(
                    this, [this, line] { obey(line); }, Qt::QueuedConnection);
        });
        // Blocked in a read until the test closes the pipe; it dies with the process.
        listener->start();
    }

private:
    void look() {
        lookAtBox();
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* window = qobject_cast<MainWindow*>(widget);
            if (!window || !window->isVisible() || window_ == window)
                continue;
            window_ = window;
            tell(QStringLiteral("window ") + window->windowTitle());
        }
        if (!window_)
            return;
        auto* grab = window_->findChild<QAction*>(QStringLiteral("actionGrab"));
        if (grab && grab->isEnabled() != canGrab_) {
            canGrab_ = grab->isEnabled();
            if (canGrab_)
                tell(QStringLiteral("connected"));
        }
    }

    void lookAtBox() {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == box_)
            return;
        box_ = box;
        if (!box)
            return;
        QStringList buttons;
        for (const QAbstractButton* button : box->buttons())
            buttons += button->text().remove(QLatin1Char('&'));
        tell(QStringLiteral("box %1|%2|%3").arg(box->windowTitle(), box->text(), buttons.join(QLatin1Char(','))));
    }

    void obey(const std::string& command) {
        if (command == "accept" && box_)
            box_->defaultButton() ? box_->defaultButton()->click() : box_->buttons().constFirst()->click();
        else if (command == "throw")
            throw std::runtime_error("Thrown on purpose");
        else if (command == "throw-int")
            throw 42;
        else if (command == "grab" && window_)
            window_->findChild<QAction*>(QStringLiteral("actionGrab"))->trigger();
        else if (command == "close" && window_)
            window_->close();
        else if (command == "quit")
            QApplication::quit();
        else if (command == "locale")
            tell(QStringLiteral("locale ") + QLocale().toString(1.5) + QLatin1Char(' ') +
                 QCoreApplication::organizationName() + QLatin1Char('/') + QCoreApplication::applicationName());
        else
            tell(QStringLiteral("refused ") + QString::fromStdString(command));
    }

    QTimer timer_;
    QPointer<QMessageBox> box_;
    QPointer<MainWindow> window_;
    bool canGrab_ = false;
};

void observe() {
    new Observer;
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(observe)

// Linked into the program under test beside its own main(): tells on standard output what a person would see and obeys
// commands on standard input. The program itself is the real one.
//
// Tells:  "window <title>", "box <title>|<text>|<buttons>", "connected", "live"
// Obeys:  "accept" (press the box's default button), "throw", "throw-int", "grab", "live", "close", "quit", "locale"

#include "camera/vortainterface.h"
#include "mainwindow/mainwindow.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLocale>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTextDocument>
#include <QTimer>

#include <deque>
#include <iostream>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

void tell(const QString& line) {
    std::cout << line.toStdString() << std::endl;
}

/// Lines from standard input, read on a thread of its own. One for the process: the program may make several
/// application objects one after the other.
class Commands {
public:
    Commands() {
        std::thread([this] {
            std::string line;
            while (std::getline(std::cin, line)) {
                const std::lock_guard lock(mutex_);
                lines_.push_back(line);
            }
        }).detach(); // blocked in a read until the process ends
    }

    std::optional<std::string> next() {
        const std::lock_guard lock(mutex_);
        if (lines_.empty())
            return std::nullopt;
        std::string line = std::move(lines_.front());
        lines_.pop_front();
        return line;
    }

    static Commands& instance() {
        static auto* commands = new Commands; // outlives everything, as its thread does
        return *commands;
    }

private:
    std::mutex mutex_;
    std::deque<std::string> lines_;
};

class Observer : public QObject {
public:
    Observer() : QObject(qApp) {
        connect(&timer_, &QTimer::timeout, this, &Observer::look);
        timer_.start(20);
    }

private:
    void look() {
        // From the event loop and not from here: what a command throws is the program's to catch.
        while (const auto command = Commands::instance().next())
            QMetaObject::invokeMethod(
                this, [this, line = *command] { obey(line); }, Qt::QueuedConnection);
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
        auto* stop = window_->findChild<QAction*>(QStringLiteral("actionStop"));
        if (stop && stop->isEnabled() != canStop_) {
            canStop_ = stop->isEnabled();
            if (canStop_)
                tell(QStringLiteral("live"));
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
        const bool rich = box->textFormat() != Qt::PlainText && Qt::mightBeRichText(box->text());
        tell(QStringLiteral("box %1|%2|%3")
                 .arg(box->windowTitle(), rich ? QStringLiteral("drawn as rich text") : box->text(),
                      buttons.join(QLatin1Char(','))));
    }

    void obey(const std::string& command) {
        if (command == "accept" && box_)
            box_->defaultButton() ? box_->defaultButton()->click() : box_->buttons().constFirst()->click();
        else if (command == "throw")
            throw std::runtime_error("Thrown on <b>purpose</b>");
        else if (command == "throw-int")
            throw 42;
        else if (command == "grab" && window_)
            window_->findChild<QAction*>(QStringLiteral("actionGrab"))->trigger();
        else if (command == "live" && window_)
            window_->findChild<QAction*>(QStringLiteral("actionLive"))->trigger();
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
    bool canStop_ = false;
};

void observe() {
    new Observer;
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(observe)

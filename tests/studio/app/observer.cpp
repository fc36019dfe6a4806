// Linked into the program under test beside its own main(): tells on standard output what a person would see and obeys
// commands on standard input. The program itself is the real one.
//
// Tells:  "window <title>", "box <title>|<text>|<buttons>", "connected", "live"
// Obeys:  "accept" (press the box's default button), "answer <button's text>" (press another one), "throw",
//         "throw-int", "close", "quit", "locale", "trigger <action>", "click <button>", "press <dialog> <button's
//         text>", "set <control> <value>", "show <control>" (tells "<control>: <value>"), "camera <setting>" (tells
//         "<setting>: <value>"), all by their object names

#include "app/studio.h"
#include "camera/vortainterface.h"
#include "mainwindow/mainwindow.h"
#include "vorta/api/application.h"
#include "vorta/api/camera.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QMetaProperty>
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
        // From the event loop and not from here: what a command throws is the program's to catch. One at a time, so
        // that a dialog that a command ends has left its event loop before the next.
        if (const auto command = Commands::instance().next())
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
        else if (command == "close" && window_)
            window_->close();
        else if (command == "quit")
            QApplication::quit();
        else if (command == "locale")
            tell(QStringLiteral("locale ") + QLocale().toString(1.5) + QLatin1Char(' ') +
                 QCoreApplication::organizationName() + QLatin1Char('/') + QCoreApplication::applicationName());
        else if (!use(QString::fromStdString(command).split(QLatin1Char(' '))))
            tell(QStringLiteral("refused ") + QString::fromStdString(command));
    }

    /// Obeys a command with arguments; false when it has none or there is nothing of that name.
    bool use(const QStringList& words) {
        const QString& verb = words.at(0);
        const QString name = words.value(1);
        const QString rest = words.mid(2).join(QLatin1Char(' '));
        if (verb == QLatin1String("answer"))
            return box_ && press(*box_, name);
        if (auto* action = named<QAction>(name); action && verb == QLatin1String("trigger"))
            action->trigger();
        else if (auto* button = named<QAbstractButton>(name); button && verb == QLatin1String("click"))
            button->click();
        else if (auto* dialog = named<QDialog>(name); dialog && verb == QLatin1String("press"))
            return press(*dialog, rest);
        else if (auto* control = named<QWidget>(name); control && verb == QLatin1String("set"))
            return control->metaObject()->userProperty().write(control, rest);
        else if (control && verb == QLatin1String("show"))
            tell(name + QStringLiteral(": ") + textOf(*control));
        else if (verb == QLatin1String("camera"))
            tell(name + QStringLiteral(": ") +
                 QString::fromStdString(Vorta::Studio::instance()->application().cameras().at(0).settings().getString(
                     name.toStdString())));
        else
            return false;
        return true;
    }

    /// Of the windows and dialogs that are open.
    template <class T>
    static T* named(const QString& name) {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible())
                continue;
            if (auto* found = dynamic_cast<T*>(window); found && found->objectName() == name)
                return found;
            if (T* found = window->findChild<T*>(name))
                return found;
        }
        return nullptr;
    }

    static bool press(const QDialog& dialog, const QString& text) {
        for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
            if (button->text().remove(QLatin1Char('&')) == text && button->isEnabled()) {
                button->click();
                return true;
            }
        return false;
    }

    /// The value of a control, a label's text in one line, or the cells of a list or table, row by row.
    static QString textOf(const QWidget& control) {
        if (const auto* label = dynamic_cast<const QLabel*>(&control))
            return label->text().simplified();
        const auto* view = dynamic_cast<const QAbstractItemView*>(&control);
        if (!view)
            return control.metaObject()->userProperty().read(&control).toString();
        const QAbstractItemModel& model = *view->model();
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model.columnCount(); ++column)
                cells += model.index(row, column).data().toString();
            rows += cells.join(QLatin1Char('='));
        }
        return rows.join(QStringLiteral("; "));
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

#include "support/modaldriver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

namespace Vorta::Testing {

namespace {

constexpr int pollIntervalMs = 10;

QString withoutMnemonic(QString text) {
    return text.remove(QLatin1Char('&'));
}

QString labelTexts(const QWidget& box) {
    QStringList texts;
    for (const QLabel* label : box.findChildren<QLabel*>())
        if (label->isVisible() && !label->text().isEmpty())
            texts << label->text();
    return texts.join(QLatin1Char('\n'));
}

/// Without the tags of a text that is drawn as rich text.
QString drawnText(const QMessageBox& box) {
    const bool rich =
        box.textFormat() == Qt::RichText || (box.textFormat() == Qt::AutoText && Qt::mightBeRichText(box.text()));
    return rich ? QTextDocumentFragment::fromHtml(box.text()).toPlainText() : box.text();
}

ModalDriver::Box read(const QWidget& box) {
    ModalDriver::Box seen;
    seen.objectName = box.objectName();
    seen.title = box.windowTitle();
    seen.parent = box.parentWidget();
    const auto* message = qobject_cast<const QMessageBox*>(&box);
    seen.text = message ? drawnText(*message) : labelTexts(box);
    if (message) {
        seen.informativeText = message->informativeText();
        seen.icon = message->icon();
    }
    for (const QAbstractButton* button : box.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && !button->text().isEmpty())
            seen.buttons << withoutMnemonic(button->text());
        const auto* push = qobject_cast<const QPushButton*>(button);
        if (push && push->isDefault())
            seen.defaultButton = withoutMnemonic(push->text());
    }
    return seen;
}

void cancel(QWidget& box) {
    if (auto* dialog = qobject_cast<QDialog*>(&box))
        dialog->reject();
    else
        box.close();
}

void click(QWidget& box, const QString& name) {
    for (QAbstractButton* button : box.findChildren<QAbstractButton*>()) {
        if (withoutMnemonic(button->text()) != withoutMnemonic(name) && button->objectName() != name)
            continue;
        if (!button->isEnabled() || !button->isVisible())
            break;
        // A window manager may give a fresh box other sizes first, at which the button has no height to click on.
        if (button->size().isEmpty())
            QTimer::singleShot(pollIntervalMs, &box, [&box, name] { click(box, name); });
        else
            QTest::mouseClick(button, Qt::LeftButton);
        return;
    }
    ADD_FAILURE() << "the box \"" << qPrintable(box.windowTitle()) << "\" has no button \"" << qPrintable(name)
                  << "\" to click; it has: " << qPrintable(read(box).buttons.join(QStringLiteral(", ")));
    cancel(box);
}

void pressEscape(QWidget& box) {
    // Straight to the box: as long as the window manager has not made it active, the application would take the key for
    // a shortcut of the window behind it, and a box that is opened again at once may never become active.
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    static_cast<QObject&>(box).event(&press);
}

void chooseFile(QWidget& box, const QString& path) {
    auto* dialog = qobject_cast<QFileDialog*>(&box);
    auto* edit = box.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (!dialog || !edit) {
        ADD_FAILURE() << "the box \"" << qPrintable(box.windowTitle()) << "\" is not a file dialog";
        cancel(box);
        return;
    }
    edit->setText(path);
    QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
}

} // namespace

ModalDriver::ModalDriver() {
    QObject::connect(&timer_, &QTimer::timeout, this, [this] { poll(); });
    timer_.start(pollIntervalMs);
}

ModalDriver::~ModalDriver() {
    if (!steps_.empty())
        ADD_FAILURE() << steps_.size() << " expected modal boxes did not appear";
}

ModalDriver& ModalDriver::thenClick(const QString& button) {
    return then([button](QWidget& box) { click(box, button); });
}

ModalDriver& ModalDriver::thenChooseFile(const QString& path) {
    return then([path](QWidget& box) { chooseFile(box, path); });
}

ModalDriver& ModalDriver::thenCancel() {
    return then(pressEscape);
}

ModalDriver& ModalDriver::then(std::function<void(QWidget&)> step) {
    steps_.push_back(std::move(step));
    return *this;
}

bool ModalDriver::eventFilter(QObject* watched, QEvent* event) {
    // The same dialog object may be opened again: once hidden it counts as a new box.
    if (event->type() == QEvent::Hide)
        answered_.erase(std::remove(answered_.begin(), answered_.end(), watched), answered_.end());
    return QObject::eventFilter(watched, event);
}

void ModalDriver::poll() {
    QWidget* box = QApplication::activeModalWidget();
    if (!box || !box->isVisible() || std::find(answered_.begin(), answered_.end(), box) != answered_.end())
        return;
    answered_.push_back(box);
    box->installEventFilter(this);
    seen_.push_back(read(*box));
    if (steps_.empty()) {
        ADD_FAILURE() << "unexpected modal box \"" << qPrintable(seen_.back().title)
                      << "\": " << qPrintable(seen_.back().text);
        cancel(*box);
        return;
    }
    // Outside the timer's own event, which does not fire again while a step opens a box of its own.
    QMetaObject::invokeMethod(
        box, [step = std::move(steps_.front()), box] { step(*box); }, Qt::QueuedConnection);
    steps_.pop_front();
}

} // namespace Vorta::Testing

// Answers the modal boxes that the code under test opens, as a person would: reads title and text, clicks a button.
#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <deque>
#include <functional>
#include <vector>

namespace Vorta::Testing {

/// Drives the modal boxes that appear while it lives, one queued step a box, in the order of their appearance:
///
///     ModalDriver boxes;
///     boxes.thenClick("OK");
///     window.save();                                   // opens the box, returns once it is answered
///     EXPECT_EQ(boxes.seen().at(0).title, "Save PLY");
///
/// A box without a step fails the test and is closed, so that no test hangs; so does a step whose box never came, when
/// the driver goes. Construct it before the box is opened, on the GUI thread.
class ModalDriver : public QObject {
public:
    /// What a person could read in a box when it appeared.
    struct Box {
        QString objectName;
        QString title; ///< window title
        QString text;  ///< a message box's text as it is drawn, else the texts of all labels, one a line
        QMessageBox::Icon icon = QMessageBox::NoIcon; ///< a message box's kind
        QString informativeText;                      ///< a message box's second text
        QStringList buttons;                          ///< texts of the visible buttons, without "&"
        QString defaultButton;                        ///< text of the button that Return presses, without "&"
        QPointer<QWidget> parent;
    };

    ModalDriver();
    ~ModalDriver() override;
    ModalDriver(const ModalDriver&) = delete;
    ModalDriver& operator=(const ModalDriver&) = delete;

    /// The boxes that appeared, oldest first.
    [[nodiscard]] const std::vector<Box>& seen() const { return seen_; }

    /// Queues: click the button with this text ("&" does not matter) or object name.
    ModalDriver& thenClick(const QString& button);
    /// Queues: choose `path` in a QFileDialog and accept it.
    ModalDriver& thenChooseFile(const QString& path);
    /// Queues: close with Escape.
    ModalDriver& thenCancel();
    /// Queues: call `step` with the box; it must close it, or open another.
    ModalDriver& then(std::function<void(QWidget&)> step);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void poll();

    QTimer timer_;
    std::vector<const QObject*> answered_; ///< the boxes that were answered and have not gone yet
    std::deque<std::function<void(QWidget&)>> steps_;
    std::vector<Box> seen_;
};

} // namespace Vorta::Testing

// Shows the updater under the real application object and goes on by itself: downloads what is offered and says yes.
// Tells every box on standard output as "title|text". Exit status: 0 when the updater quits, 3 after a box that tells
// of an exception, 4 when there is nothing to download.

#include "app/studio.h"
#include "services/filedownloader.h"
#include "services/updaterwidget.h"
#include "vorta/api/application.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>

#include <algorithm>
#include <iostream>
#include <utility>

namespace {

class Driver : public QObject {
public:
    explicit Driver(VortaQt::UpdaterWidget& updater)
        : updater_(updater),
          stack_(updater.findChild<QStackedWidget*>(QStringLiteral("stateStack"))),
          update_(updater.findChild<QPushButton*>(QStringLiteral("buttonUpdate"))) {
        connect(&timer_, &QTimer::timeout, this, &Driver::look);
        timer_.start(20);
    }

private:
    void look() {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            answer(*box);
        else if (!stack_->currentWidget()->isAncestorOf(update_) || isWaiting())
            return;
        else if (!update_->isEnabled())
            QCoreApplication::exit(4);
        else if (!std::exchange(clicked_, true))
            update_->click();
    }

    /// Whether one of the replies has not come yet.
    [[nodiscard]] bool isWaiting() const {
        const auto all = updater_.findChildren<VortaQt::FileDownloader*>();
        return std::ranges::any_of(all, [](const VortaQt::FileDownloader* downloader) {
            return !downloader->body() && downloader->errorText().isEmpty();
        });
    }

    void answer(QMessageBox& box) {
        if (answered_ == &box)
            return;
        answered_ = &box;
        std::cout << qPrintable(box.windowTitle()) << '|' << qPrintable(box.text()) << std::endl;
        if (QAbstractButton* yes = box.button(QMessageBox::Yes))
            yes->click();
        else
            QCoreApplication::exit(3);
    }

    QTimer timer_;
    VortaQt::UpdaterWidget& updater_;
    QStackedWidget* stack_;
    QPushButton* update_;
    QPointer<QMessageBox> answered_;
    bool clicked_ = false;
};

} // namespace

int main(int argc, char** argv) {
    Vorta::Application application;
    const Vorta::Studio studio(application, argc, argv);
    VortaQt::UpdaterWidget updater(nullptr, true);
    updater.show();
    const Driver driver(updater);
    return QApplication::exec();
}

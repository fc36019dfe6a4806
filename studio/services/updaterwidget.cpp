#include "services/updaterwidget.h"

#include "services/appsettings.h"
#include "services/filedownloader.h"
#include "services/platform/platform.h"
#include "ui_UpdaterWidget.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/common/semversion.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include <string>

namespace VortaQt {

namespace {

constexpr const char* logSource = "VortaStudio/UpdaterWidget";
constexpr const char* ignoredVersionKey = "Updater/ignoreVersion";

enum Page { CheckPage, BusyPage, UpdatePage, InstallPage };

std::string localText(const QString& text) {
    return text.toLocal8Bit().toStdString();
}

void logFailure(const FileDownloader& downloader) {
    if (!downloader.body())
        Vorta::Log::warning(logSource, __LINE__, "Looking for updates failed: %s", localText(downloader.errorText()));
}

} // namespace

UpdaterWidget::UpdaterWidget(QWidget* parent, bool checkNow)
    : QDialog(parent),
      ui_(std::make_unique<Ui::UpdaterWidget>()),
      latestVersion_(std::make_unique<Vorta::SemVersion>()) {
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    ui_->setupUi(this);
    ui_->labelCurVersion->setText(QString::fromStdString(installedVersion().toString()));
    slotUpdateState(UIState::NoUpdate);

    connect(ui_->buttonCheck, &QPushButton::clicked, this, &UpdaterWidget::slotCheckForUpdate);
    connect(ui_->buttonUpdate, &QPushButton::clicked, this, &UpdaterWidget::slotDownloadUpdate);
    connect(ui_->buttonInstall, &QPushButton::clicked, this, &UpdaterWidget::slotInstallUpdate);
    connect(ui_->ignoreLatestVersion, &QCheckBox::stateChanged, this, &UpdaterWidget::slotIgnoreChanged);
    if (checkNow)
        slotCheckForUpdate();
}

UpdaterWidget::~UpdaterWidget() = default;

void UpdaterWidget::done(int result) {
    // Otherwise a question would come out of nowhere when a forgotten download ends.
    for (FileDownloader* downloader : findChildren<FileDownloader*>())
        downloader->cancel();
    if (ui_->stateStack->currentIndex() == BusyPage)
        slotUpdateState(installerPath_.isEmpty() ? UIState::NoUpdate : UIState::UpdateAvailable);
    QDialog::done(result);
}

void UpdaterWidget::slotUpdateState(UIState state) {
    QPushButton* next = ui_->buttonUpdate;
    switch (state) {
    case UIState::NoUpdate:
    case UIState::UpdateAvailable:
        ui_->stateStack->setCurrentIndex(UpdatePage);
        ui_->buttonUpdate->setEnabled(state == UIState::UpdateAvailable);
        setWindowTitle(state == UIState::UpdateAvailable
                           ? QCoreApplication::translate("UpdaterWidget", "New update available")
                           : QCoreApplication::translate("UpdaterWidget", "Updater"));
        break;
    case UIState::Busy:
        showProgress(0, -1);
        ui_->stateStack->setCurrentIndex(BusyPage);
        return;
    case UIState::Install:
        ui_->stateStack->setCurrentIndex(InstallPage);
        next = ui_->buttonInstall;
        break;
    }
    // Return goes on with what is offered; with nothing to do it closes.
    if (!next->isEnabled())
        next = ui_->buttonBox->button(QDialogButtonBox::Close);
    next->setDefault(true);
    next->setFocus();
}

void UpdaterWidget::slotCheckForUpdate() {
    slotUpdateState(UIState::Busy);
    auto* version = new FileDownloader(addresses_.latestVersion(), this, textLimits);
    connect(version, &FileDownloader::downloaded, this, [this, version] {
        logFailure(*version);
        handleLatestVersion(version->body());
    });
    auto* checksum = new FileDownloader(addresses_.latestChecksum(), this, textLimits);
    connect(checksum, &FileDownloader::downloaded, this, [this, checksum] {
        logFailure(*checksum);
        handleLatestChecksum(checksum->body());
    });
}

void UpdaterWidget::slotDownloadUpdate() {
    slotUpdateState(UIState::Busy);
    auto* installer = new FileDownloader(addresses_.installer(installerFileName_), this, installerLimits);
    connect(installer, &FileDownloader::progress, this, &UpdaterWidget::showProgress);
    connect(installer, &FileDownloader::downloaded, this, [this, installer] {
        logFailure(*installer);
        handleInstaller(installer->body());
    });
}

void UpdaterWidget::slotInstallUpdate() {
    slotUpdateState(UIState::Install);
    if (!askToClose())
        return;
    if (const std::optional<QString> failure = Platform::openWithShell(installerPath_))
        // No blank before the path: the text is the one that support knows.
        throw Vorta::RuntimeException("failed to run" + localText(installerPath_) + ":\n" + localText(*failure));
    QCoreApplication::quit();
}

void UpdaterWidget::handleLatestVersion(const std::optional<QByteArray>& body) {
    // Also what is left when the text turns out to be no version: nobody is kept waiting, and nothing is offered.
    slotUpdateState(UIState::NoUpdate);
    installerFileName_.clear();
    installerPath_.clear();
    if (!body)
        return;
    *latestVersion_ = Vorta::SemVersion(printableText(*body));
    const QString text = QString::fromStdString(latestVersion_->toString());
    ui_->labelLastVersion->setText(text);
    // Another version is offered also when it is an older one: the server's release is the valid one.
    if (*latestVersion_ != installedVersion()) {
        installerFileName_ = VortaQt::installerFileName(*latestVersion_);
        installerPath_ = VortaQt::installerPath(addresses_.installer(installerFileName_));
        slotUpdateState(UIState::UpdateAvailable);
    }
    offerToIgnore();
}

void UpdaterWidget::offerToIgnore() {
    // Read before the box is unchecked, which removes it from the store.
    const QString ignored = AppSettings::instance().getString(ignoredVersionKey, QString());
    ui_->ignoreLatestVersion->setEnabled(true);
    ui_->ignoreLatestVersion->setChecked(false);
    if (!ignored.isEmpty() && Vorta::SemVersion(localText(ignored)) >= *latestVersion_)
        ui_->ignoreLatestVersion->setChecked(true);
}

void UpdaterWidget::handleLatestChecksum(const std::optional<QByteArray>& body) {
    expectedDigest_ = {}; // which no installer has
    expectedDigest_ = decodeDigest(body.value_or(QByteArray()).toStdString());
}

void UpdaterWidget::handleInstaller(const std::optional<QByteArray>& body) {
    slotUpdateState(UIState::UpdateAvailable);
    saveVerified(body);
    slotInstallUpdate();
}

void UpdaterWidget::saveVerified(const std::optional<QByteArray>& body) const {
    if (!body)
        throw Vorta::RuntimeException("Failed to download new installer");
    QFile file(installerPath_);
    // Opened first, so that an earlier file of that name is gone when the digest is wrong.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw Vorta::RuntimeException("Failed to open file '" + localText(installerPath_) + "' for writing");
    if (digestOf(*body) != expectedDigest_)
        throw Vorta::RuntimeException("The checksum of the downloaded installer does not match the expected one.");
    if (file.write(*body) != body->size())
        throw Vorta::RuntimeException("Failed to write data to file '" + localText(installerPath_) + "'");
}

bool UpdaterWidget::askToClose() {
    // Not on the stack: it goes with this dialog, should that be destroyed meanwhile.
    const QPointer<QMessageBox> box = new QMessageBox(
        QMessageBox::Question, QString(), QStringLiteral("The application needs to close to proceed. Continue?"),
        QMessageBox::Yes | QMessageBox::No, this);
    const int answer = box->exec();
    if (!box)
        return false;
    delete box;
    return answer == QMessageBox::Yes || answer == QMessageBox::Ok;
}

void UpdaterWidget::slotIgnoreChanged(int checkState) {
    AppSettings& settings = AppSettings::instance();
    if (checkState == Qt::Checked)
        settings.setString(ignoredVersionKey, QString::fromStdString(latestVersion_->toString()));
    else
        settings.remove(QLatin1String(ignoredVersionKey));
}

void UpdaterWidget::showProgress(qint64 received, qint64 total) {
    const ProgressBarState state = progressBarState(received, total);
    ui_->indicatorChecking->setRange(0, state.maximum);
    ui_->indicatorChecking->setValue(state.value);
}

} // namespace VortaQt

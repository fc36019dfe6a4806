#pragma once

#include "services/updates.h"

#include <QByteArray>
#include <QDialog>
#include <QString>

#include <memory>
#include <optional>

namespace Ui {
class UpdaterWidget;
} // namespace Ui

namespace Vorta {
class SemVersion;
} // namespace Vorta

namespace VortaQt {

class FileDownloader;

/// Tells whether there is a newer release, downloads its installer, checks it against the published digest and runs it.
/// Closing the dialog gives up what it is downloading. GUI thread.
///
/// What a reply makes wrong is thrown out of its handler, and so reaches the application object.
class UpdaterWidget : public QDialog {
    Q_OBJECT

public:
    enum class UIState {
        NoUpdate = 0,        ///< nothing to download
        Busy = 1,            ///< waiting for the server
        UpdateAvailable = 2, ///< the latest version can be downloaded
        Install = 3          ///< the installer is there
    };
    Q_ENUM(UIState)

    explicit UpdaterWidget(QWidget* parent = nullptr, bool checkNow = false);
    UpdaterWidget(const UpdaterWidget&) = delete;
    UpdaterWidget& operator=(const UpdaterWidget&) = delete;
    ~UpdaterWidget() override;

    void done(int result) override;

    /// The ends of the three requests. A body is absent when its request failed.
    void handleLatestVersion(const std::optional<QByteArray>& body);
    void handleLatestChecksum(const std::optional<QByteArray>& body);
    void handleInstaller(const std::optional<QByteArray>& body);

public Q_SLOTS:
    void slotUpdateState(UIState state);
    void slotCheckForUpdate();
    void slotDownloadUpdate();
    /// Asks whether the application may close, runs the installer and quits.
    void slotInstallUpdate();

private:
    void slotIgnoreChanged(int checkState);
    void showProgress(qint64 received, qint64 total);
    void offerToIgnore();
    void saveVerified(const std::optional<QByteArray>& body) const;
    [[nodiscard]] bool askToClose();

    std::unique_ptr<Ui::UpdaterWidget> ui_;
    UpdateAddresses addresses_;
    std::unique_ptr<Vorta::SemVersion> latestVersion_; ///< 0.0.0 until it is known
    QString installerFileName_;
    QString installerPath_;
    Digest expectedDigest_{};
};

} // namespace VortaQt

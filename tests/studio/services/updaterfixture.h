#pragma once

#include "services/appsettings.h"
#include "services/filedownloader.h"
#include "services/updaterwidget.h"
#include "studio/services/httpserver.h"
#include "support/widgets.h"

#include <QApplication>
#include <QCheckBox>
#include <QCryptographicHash>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <string>

namespace Vorta::Testing {

/// An update server and a temporary folder of this test alone.
class UpdaterFixture : public testing::Test {
protected:
    UpdaterFixture() {
        qputenv("VORTA_UPDATE_URL", server_.base().toLatin1());
        qputenv("TMPDIR", QFile::encodeName(folder_.path()));
        // The last box that closes must not be what quits.
        QApplication::setQuitOnLastWindowClosed(false);
    }
    ~UpdaterFixture() override {
        QApplication::setQuitOnLastWindowClosed(true);
        preferences_.clear();
        qunsetenv("VORTA_UPDATE_URL");
        temporaryFolder_.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", temporaryFolder_);
    }

    void publish(const QByteArray& version, const QByteArray& checksum) {
        server_.serve(QStringLiteral("latest_version"), version);
        server_.serve(QStringLiteral("latest_checksum"), checksum);
    }
    /// A version with an installer and its digest.
    void publishInstaller(const QByteArray& version, const QByteArray& installer) {
        publish(version, QCryptographicHash::hash(installer, QCryptographicHash::Sha1).toHex());
        server_.serve(QStringLiteral("VortaSetup_%1.exe").arg(QString::fromLatin1(version)), installer);
    }

    /// Where the installer of a version is kept.
    [[nodiscard]] QString path(const char* version) const {
        return folder_.filePath(QStringLiteral("VortaSetup_%1.exe").arg(QLatin1String(version)));
    }
    static QByteArray contents(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("there is no such file");
    }

    /// Checks from the server, until both replies are handled.
    void check(VortaQt::UpdaterWidget& updater) {
        const auto answered = [&] {
            const auto all = updater.findChildren<VortaQt::FileDownloader*>();
            return std::ranges::count_if(all, [](const VortaQt::FileDownloader* downloader) {
                return downloader->body() || !downloader->errorText().isEmpty();
            });
        };
        const auto before = answered();
        updater.slotCheckForUpdate();
        EXPECT_TRUE(waitFor([&] { return answered() == before + 2; }));
    }

    [[nodiscard]] QVariant ignored() const { return preferences_.value(QStringLiteral("Updater/ignoreVersion")); }
    void ignore(const char* version) {
        preferences_.setValue(QStringLiteral("Updater/ignoreVersion"), QString::fromLatin1(version));
    }

    /// What is thrown, in the words of a box.
    static std::string thrownBy(const std::function<void()>& action) {
        try {
            action();
        } catch (const std::exception& exception) {
            return exception.what();
        }
        return "nothing was thrown";
    }

    QByteArray temporaryFolder_ = qgetenv("TMPDIR");
    QTemporaryDir folder_;
    HttpServer server_;
    VortaQt::AppSettings preferences_{nullptr};
};

/// The dialog and what a person sees of it.
struct Updater : VortaQt::UpdaterWidget {
    using UpdaterWidget::UpdaterWidget;

    QStackedWidget& stack() { return Vorta::Testing::find<QStackedWidget>(*this, QStringLiteral("stateStack")); }
    QPushButton& check() { return Vorta::Testing::find<QPushButton>(*this, QStringLiteral("buttonCheck")); }
    QPushButton& update() { return Vorta::Testing::find<QPushButton>(*this, QStringLiteral("buttonUpdate")); }
    QPushButton& install() { return Vorta::Testing::find<QPushButton>(*this, QStringLiteral("buttonInstall")); }
    QCheckBox& ignoreBox() { return Vorta::Testing::find<QCheckBox>(*this, QStringLiteral("ignoreLatestVersion")); }
    QProgressBar& indicator() { return Vorta::Testing::find<QProgressBar>(*this, QStringLiteral("indicatorChecking")); }
    QString latest() { return Vorta::Testing::find<QLabel>(*this, QStringLiteral("labelLastVersion")).text(); }
    QString installed() { return Vorta::Testing::find<QLabel>(*this, QStringLiteral("labelCurVersion")).text(); }

    /// Page, whether there is something to download, title.
    [[nodiscard]] std::string state() {
        return std::to_string(stack().currentIndex()) + (update().isEnabled() ? " enabled " : " disabled ") +
               windowTitle().toStdString();
    }
};

inline const std::string noUpdate = "2 disabled Updater";
inline const std::string updateAvailable = "2 enabled New update available";

} // namespace Vorta::Testing

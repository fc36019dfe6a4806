#pragma once

#include "services/componentversions.h"

#include <QDialog>

#include <memory>

namespace Ui {
class AboutDialog;
}

namespace VortaQt {

/// Names the application and lists the versions of its files, to be copied into a support request; leads to the
/// licences of the libraries that it uses. GUI thread.
class AboutDialog : public QDialog {
    Q_OBJECT

public:
    /// `appName` and `description` may hold rich text.
    AboutDialog(const QString& appName, const QString& description, ComponentVersions components,
                QWidget* parent = nullptr);
    ~AboutDialog() override;

public Q_SLOTS:
    /// Puts the components' text on the clipboard.
    void on_copyToClipboardButton_clicked();
    void showLegalNotice();

private:
    void fillTable();

    std::unique_ptr<Ui::AboutDialog> ui_;
    ComponentVersions components_;
};

} // namespace VortaQt

#pragma once

#include <QDialog>
#include <QMap>
#include <QString>

#include <memory>

namespace Ui {
class LegalNoticeDialog;
}

namespace VortaQt {

/// Lists libraries and shows the licence of the chosen one. GUI thread.
class LegalNoticeDialog : public QDialog {
    Q_OBJECT

public:
    explicit LegalNoticeDialog(QWidget* parent = nullptr);
    ~LegalNoticeDialog() override;

    /// Appends a library whose licence is the text `resource`, in UTF-8.
    void addLibrary(const QString& name, const QString& resource);

public Q_SLOTS:
    /// Shows the licence of the library, or which resource is missing.
    void showDetails(const QString& name);
    /// Enables the buttons that lead to the rows before and after this one.
    void handleRowChanged(int currentRow);

protected:
    /// Begins with the first library.
    void showEvent(QShowEvent* event) override;

private:
    void moveBy(int rows);

    std::unique_ptr<Ui::LegalNoticeDialog> ui_;
    QMap<QString, QString> resources_; ///< by library
};

} // namespace VortaQt

#include "services/legalnoticedialog.h"

#include "ui_LegalNoticeDialog.h"

#include <QFile>
#include <QFontDatabase>
#include <QShowEvent>

namespace VortaQt {

LegalNoticeDialog::LegalNoticeDialog(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::LegalNoticeDialog>()) {
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    ui_->setupUi(this);
    // Licence texts are laid out for a typewriter.
    ui_->detailsBrowser->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    connect(ui_->libraryList, &QListWidget::currentTextChanged, this, &LegalNoticeDialog::showDetails);
    connect(ui_->libraryList, &QListWidget::currentRowChanged, this, &LegalNoticeDialog::handleRowChanged);
    connect(ui_->previousButton, &QPushButton::clicked, this, [this] { moveBy(-1); });
    connect(ui_->nextButton, &QPushButton::clicked, this, [this] { moveBy(1); });
    connect(ui_->okButton, &QPushButton::clicked, this, &QDialog::accept);
}

LegalNoticeDialog::~LegalNoticeDialog() = default;

void LegalNoticeDialog::addLibrary(const QString& name, const QString& resource) {
    resources_.insert(name, resource);
    ui_->libraryList->addItem(name);
    // The row that was the last has one behind it now.
    handleRowChanged(ui_->libraryList->currentRow());
}

void LegalNoticeDialog::showDetails(const QString& name) {
    const QString resource = resources_.value(name);
    QFile file(resource);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text))
        ui_->detailsBrowser->setPlainText(QString::fromUtf8(file.readAll()));
    else
        ui_->detailsBrowser->setPlainText(QStringLiteral("Resource not found: %1").arg(resource));
}

void LegalNoticeDialog::handleRowChanged(int currentRow) {
    const bool hasPrevious = currentRow >= 1;
    const bool hasNext = currentRow < ui_->libraryList->count() - 1;
    // Else the focus of a button that ends at the last row would go on to the one that closes the dialog.
    if ((!hasPrevious && ui_->previousButton->hasFocus()) || (!hasNext && ui_->nextButton->hasFocus()))
        ui_->libraryList->setFocus();
    ui_->previousButton->setEnabled(hasPrevious);
    ui_->nextButton->setEnabled(hasNext);
}

void LegalNoticeDialog::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    // The window system's own event, after the window was an icon, leaves the choice alone.
    if (!event->spontaneous())
        ui_->libraryList->setCurrentRow(0);
}

void LegalNoticeDialog::moveBy(int rows) {
    ui_->libraryList->setCurrentRow(ui_->libraryList->currentRow() + rows);
}

} // namespace VortaQt

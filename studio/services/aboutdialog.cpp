#include "services/aboutdialog.h"

#include "services/legalnoticedialog.h"
#include "ui_AboutDialog.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>

#include <algorithm>
#include <array>
#include <utility>

namespace VortaQt {

namespace {

struct Library {
    const char* name;
    const char* licence; ///< resource
};

constexpr std::array libraries{
    Library{"Qt", ":/text/resources/qt_lgpl2.1_license.txt"},
    Library{"OpenCV", ":/text/resources/opencv_license.txt"},
    Library{"Boost", ":/text/resources/boost_license.txt"},
    Library{"Qwt", ":/text/resources/qwt_license.txt"},
    Library{"NetCDF", ":/text/resources/netcdf_license.txt"},
    Library{"Botan", ":/text/resources/botan_license.txt"},
    Library{"HIDAPI", ":/text/resources/hidapi_license.txt"},
    Library{"yaml-cpp", ":/text/resources/yaml-cpp_license.txt"},
    Library{"pugixml", ":/text/resources/pugixml_license.txt"},
};

/// Puts `value` in place of the first `placeholder` in the label's text.
void fillIn(QLabel& label, QLatin1String placeholder, const QString& value) {
    QString text = label.text();
    if (const int at = text.indexOf(placeholder); at >= 0)
        label.setText(text.replace(at, placeholder.size(), value));
}

/// Wide enough for names and versions, which do not wrap, to stand whole in columns of equal width.
int minimumTableWidth(const QTableWidget& table) {
    const QAbstractItemView& cells = table;
    int widest = 0;
    for (const int column : {0, 2, 3})
        widest = std::max({widest, cells.sizeHintForColumn(column), table.horizontalHeader()->sectionSizeHint(column)});
    return table.columnCount() * widest + table.verticalScrollBar()->sizeHint().width() + 2 * table.frameWidth();
}

} // namespace

AboutDialog::AboutDialog(const QString& appName, const QString& description, ComponentVersions components,
                         QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::AboutDialog>()), components_(std::move(components)) {
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    ui_->setupUi(this);
    ui_->logoLabel->setPixmap(QPixmap(QStringLiteral(":/icons/VortaLogo.png")));
    fillIn(*ui_->nameLabel, QLatin1String("__appname__"), appName);
    fillIn(*ui_->descriptionLabel, QLatin1String("__description__"), description);
    fillIn(*ui_->descriptionLabel, QLatin1String("__vortacopyright__"), QStringLiteral("Copyright \u00a9 2026 Vorta"));
    connect(ui_->legalNoticeButton, &QPushButton::clicked, this, &AboutDialog::showLegalNotice);
    connect(ui_->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(ui_->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    fillTable();
    ui_->buttonBox->button(QDialogButtonBox::Ok)->setFocus();
}

AboutDialog::~AboutDialog() = default;

void AboutDialog::fillTable() {
    QTableWidget& table = *ui_->componentTable;
    const QStringList headers{QStringLiteral("Component"), QStringLiteral("Description"),
                              QStringLiteral("File Version"), QStringLiteral("Product Version")};
    table.setColumnCount(headers.size());
    table.setHorizontalHeaderLabels(headers);
    table.setRowCount(components_.size());
    int row = 0;
    for (auto component = components_.begin(); component != components_.end(); ++component, ++row) {
        int column = 0;
        for (const QString& text :
             {component.key(), component->description, component->fileVersion, component->productVersion})
            table.setItem(row, column++, new QTableWidgetItem(text));
    }

    QHeaderView& header = *table.horizontalHeader();
    QFont font = header.font();
    font.setWeight(QFont::Bold);
    header.setFont(font);
    header.setSectionResizeMode(QHeaderView::Stretch);
    header.setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // Texts wrap when the window gets narrower.
    table.verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table.resizeRowsToContents();
    table.resizeColumnsToContents();
    table.setMinimumWidth(minimumTableWidth(table));
}

void AboutDialog::on_copyToClipboardButton_clicked() {
    QGuiApplication::clipboard()->setText(componentText(components_));
}

void AboutDialog::showLegalNotice() {
    LegalNoticeDialog dialog(this);
    for (const Library& library : libraries)
        dialog.addLibrary(QLatin1String(library.name), QLatin1String(library.licence));
    dialog.exec();
}

} // namespace VortaQt

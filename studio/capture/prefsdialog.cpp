#include "capture/prefsdialog.h"

#include "camera/vortainterface.h"
#include "services/appsettings.h"
#include "services/logevent.h"
#include "settings/expertsettingdialog.h"
#include "settings/expertsettings.h"
#include "settings/expertsettingstablemodel.h"
#include "settings/latin1.h"
#include "settings/settingtooltip.h"
#include "settings/settingtooltipdelegate.h"
#include "ui_PrefsDialog.h"
#include "vorta/common/log.h"

#include <QDoubleValidator>
#include <QFileDialog>
#include <QFileInfo>
#include <QShortcut>
#include <QSignalBlocker>

#include <algorithm>

namespace {

using Vorta::Settings;
using Vorta::SettingsInternal;
using VortaQt::latin1;
using Pattern = SettingsInternal::Measurement::AdvancedPattern;
using Revision = SettingsInternal::Global::ProductRevision;
using CalibrationFile = SettingsInternal::Measurement::CalibrationFile;
using Mode = PreferencesValues::Mode;

constexpr const char* logThresholdKey = "GUI/LogThreshold";

template <class X>
void setUpThreshold(QLineEdit& edit, int decimals) {
    auto* validator = new QDoubleValidator(X::range().minimum, X::range().maximum, decimals, &edit);
    validator->setNotation(QDoubleValidator::StandardNotation);
    // The thresholds are shown and read with a decimal point, whatever the user's language.
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::RejectGroupSeparator);
    validator->setLocale(locale);
    edit.setValidator(validator);
}

template <class X>
void setUpBalance(QDoubleSpinBox& box) {
    box.setRange(X::range().minimum, X::range().maximum);
}

template <class X>
void explain(QWidget& control) {
    control.setToolTip(VortaQt::settingToolTip(latin1(X::path)));
}

} // namespace

PrefsDialog::PrefsDialog(const Vorta::VortaInterface& controller, QWidget* parent)
    : QDialog(parent), controller_(controller), ui_(std::make_unique<Ui::PrefsDialog>()) {
    ui_->setupUi(this);
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setUpControls();
    setUpExpertTable();
    setToolTips();
    loadFromCamera();
    connectControls();
    linkExpertTable();
    slotHandleExpertSettingSelectionChanged();
}

PrefsDialog::~PrefsDialog() = default;

void PrefsDialog::setUpControls() {
    setUpThreshold<Settings::Filters::Contrast::Threshold>(*ui_->minContrastEdit, 2);
    setUpThreshold<Settings::Filters::Outlier::Threshold>(*ui_->disconnectedThresholdEdit, 3);
    setUpBalance<Settings::RedBalance>(*ui_->colorBalanceRedSpinBox);
    setUpBalance<Settings::BlueBalance>(*ui_->colorBalanceBlueSpinBox);
    for (const std::string_view revision : Revision::texts())
        ui_->vortaVersionBox->addItem(latin1(revision));
    using Vorta::Log::Severity;
    for (const Severity severity :
         {Severity::Error, Severity::Warning, Severity::Info, Severity::Debug, Severity::Trace})
        ui_->logThresholdComboBox->addItem(QString::fromStdString(Vorta::Log::toString(severity)));
}

void PrefsDialog::setUpExpertTable() {
    expertSettings_ = new VortaQt::ExpertSettingsTableModel(this);
    ui_->treeViewExpert->setModel(expertSettings_);
    ui_->treeViewExpert->setItemDelegate(new VortaQt::SettingToolTipDelegate(ui_->treeViewExpert));
}

void PrefsDialog::setToolTips() {
    explain<Settings::Filters::Contrast::Threshold>(*ui_->minContrastEdit);
    explain<Settings::Filters::Outlier::Enabled>(*ui_->disconnectedEnabledBox);
    explain<Settings::Filters::Outlier::Threshold>(*ui_->disconnectedThresholdEdit);
    explain<Settings::Filters::Saturated::Enabled>(*ui_->maskSaturatedBox);
    explain<Settings::Filters::Reflection::Enabled>(*ui_->reflectionFilterBox);
    explain<CalibrationFile>(*ui_->calibFileEdit);
    explain<Settings::Bidirectional>(*ui_->BidirectionalPatternsBox);
    explain<Settings::RedBalance>(*ui_->colorBalanceRedSpinBox);
    explain<Settings::BlueBalance>(*ui_->colorBalanceBlueSpinBox);
    explain<Revision>(*ui_->vortaVersionBox);
}

void PrefsDialog::connectControls() {
    const auto onClick = [this](QPushButton* button, auto slot) { connect(button, &QPushButton::clicked, this, slot); };
    // OK comes by way of accept().
    onClick(ui_->buttonBox->button(QDialogButtonBox::Apply), &PrefsDialog::slotApply);
    onClick(ui_->buttonBox->button(QDialogButtonBox::RestoreDefaults), &PrefsDialog::slotRestoreDefaults);
    onClick(ui_->calibFileButton, &PrefsDialog::slotBrowseForCalibrationFile);
    onClick(ui_->pushButtonAddExpertSetting, &PrefsDialog::slotAddExpertSetting);
    onClick(ui_->pushButtonEditExpertSetting, &PrefsDialog::slotEditExpertSetting);
    onClick(ui_->pushButtonDeleteExpertSetting, &PrefsDialog::slotDeleteExpertSetting);
    onClick(ui_->pushButtonClearExpertSettings, &PrefsDialog::slotClearExpertSettings);

    connect(ui_->treeViewExpert, &QTreeView::doubleClicked, this, &PrefsDialog::slotEditExpertSetting);
    const auto* deleteKey =
        new QShortcut(QKeySequence::Delete, ui_->treeViewExpert, nullptr, nullptr, Qt::WidgetShortcut);
    connect(deleteKey, &QShortcut::activated, this, &PrefsDialog::slotDeleteExpertSetting);
    connect(ui_->treeViewExpert->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &PrefsDialog::slotHandleExpertSettingSelectionChanged);
    connect(expertSettings_, &QAbstractItemModel::modelReset, this,
            &PrefsDialog::slotHandleExpertSettingSelectionChanged);
    connect(&controller_, &Vorta::VortaInterface::settingsChanged, this, &PrefsDialog::loadFromCamera);
}

/// A setting that stands in the expert table too is the same in both places: the table is applied last.
void PrefsDialog::linkExpertTable() {
    connect(ui_->calibFileEdit, &QLineEdit::textChanged, this,
            [this](const QString& text) { expertSettings_->addSetting(latin1(CalibrationFile::path), text); });
    connect(ui_->vortaVersionBox, &QComboBox::currentTextChanged, this,
            [this](const QString& text) { expertSettings_->addSetting(latin1(Revision::path), text); });
    connect(ui_->errorCorrectingCodeButton, &QRadioButton::toggled, this, [this](bool checked) {
        const auto pattern = patternOf(checked ? Mode::ErrorCorrecting : Mode::Normal, controller_.settings());
        expertSettings_->addSetting(latin1(Pattern::path), QString::fromStdString(pattern.toString()));
    });
    connect(expertSettings_, &VortaQt::ExpertSettingsTableModel::settingAdded, this,
            &PrefsDialog::takeOverExpertSetting);
}

void PrefsDialog::takeOverExpertSetting(const QString& path, const QString& value) {
    pending_.removeAll(path); // the user wants it after all
    if (path == latin1(CalibrationFile::path) && value != ui_->calibFileEdit->text()) {
        const QSignalBlocker blocker(ui_->calibFileEdit);
        ui_->calibFileEdit->setText(value);
    } else if (path == latin1(Revision::path)) {
        const QSignalBlocker blocker(ui_->vortaVersionBox);
        ui_->vortaVersionBox->setCurrentText(value);
    } else if (path == latin1(Pattern::path)) {
        const QSignalBlocker blocker(ui_->errorCorrectingCodeButton);
        Settings settings = controller_.settings();
        settings.getSettingsInternal().set(Pattern::fromString(value.toStdString()));
        const Mode mode = PreferencesValues::of(settings).mode;
        // Between the two modes without error correction the table does not choose.
        if (mode == Mode::ErrorCorrecting || ui_->errorCorrectingCodeButton->isChecked())
            showMode(mode);
    }
}

void PrefsDialog::showMode(Mode mode) {
    QRadioButton* const buttons[] = {ui_->normalCodeButton, ui_->errorCorrectingCodeButton,
                                     ui_->BidirectionalPatternsBox};
    buttons[static_cast<std::size_t>(mode)]->setChecked(true);
}

PreferencesValues::Mode PrefsDialog::mode() const {
    if (ui_->errorCorrectingCodeButton->isChecked())
        return Mode::ErrorCorrecting;
    return ui_->BidirectionalPatternsBox->isChecked() ? Mode::Bidirectional : Mode::Normal;
}

void PrefsDialog::showValuesOf(const Settings& settings) {
    const PreferencesValues values = PreferencesValues::of(settings);
    ui_->calibFileEdit->setText(values.calibrationFile);
    ui_->minContrastEdit->setText(values.contrastThreshold);
    ui_->disconnectedEnabledBox->setChecked(values.outlierEnabled);
    ui_->disconnectedThresholdEdit->setText(values.outlierThreshold);
    ui_->maskSaturatedBox->setChecked(values.saturatedEnabled);
    ui_->reflectionFilterBox->setChecked(values.reflectionEnabled);
    ui_->colorBalanceRedSpinBox->setValue(values.redBalance);
    ui_->colorBalanceBlueSpinBox->setValue(values.blueBalance);
    showMode(values.mode);
    ui_->vortaVersionBox->setCurrentText(values.productRevision);

    const bool oldHead = needsCalibrationFile(settings);
    for (QWidget* widget :
         {static_cast<QWidget*>(ui_->groupBoxCalibrationFile), static_cast<QWidget*>(ui_->labelProductRevision),
          static_cast<QWidget*>(ui_->vortaVersionBox)})
        widget->setVisible(oldHead);
    showLogThreshold();
}

void PrefsDialog::showLogThreshold() {
    const QString current = QString::fromStdString(Vorta::Log::toString(Vorta::Log::level()));
    const QString stored = VortaQt::AppSettings::instance().getString(logThresholdKey, QString());
    const bool known = ui_->logThresholdComboBox->findText(stored) >= 0;
    ui_->logThresholdComboBox->setCurrentText(known ? stored : current);
}

void PrefsDialog::loadFromCamera() {
    {
        // What comes from the camera is no wish of the user's.
        const QSignalBlocker calibrationFile(ui_->calibFileEdit);
        const QSignalBlocker revision(ui_->vortaVersionBox);
        const QSignalBlocker mode(ui_->errorCorrectingCodeButton);
        showValuesOf(controller_.settings());
    }
    pending_.clear();
    expertSettings_->clear();
    const QMap<QString, QString> settings = VortaQt::collectExpertSettings(controller_.settings());
    for (auto setting = settings.cbegin(); setting != settings.cend(); ++setting)
        expertSettings_->addSetting(setting.key(), setting.value());
    fitExpertColumns();
}

void PrefsDialog::fitExpertColumns() {
    ui_->treeViewExpert->resizeColumnToContents(0);
    ui_->treeViewExpert->resizeColumnToContents(1);
}

Settings PrefsDialog::collect() const {
    const PreferencesValues values{.calibrationFile = ui_->calibFileEdit->text(),
                                   .contrastThreshold = ui_->minContrastEdit->text(),
                                   .outlierEnabled = ui_->disconnectedEnabledBox->isChecked(),
                                   .outlierThreshold = ui_->disconnectedThresholdEdit->text(),
                                   .saturatedEnabled = ui_->maskSaturatedBox->isChecked(),
                                   .reflectionEnabled = ui_->reflectionFilterBox->isChecked(),
                                   .mode = mode(),
                                   .redBalance = ui_->colorBalanceRedSpinBox->value(),
                                   .blueBalance = ui_->colorBalanceBlueSpinBox->value(),
                                   .productRevision = ui_->vortaVersionBox->currentText()};
    Settings settings = controller_.settings();
    values.writeTo(settings);
    VortaQt::applyExpertSettings(settings, expertSettings_->settings());
    return settings;
}

void PrefsDialog::show() {
    if (!isVisible())
        loadFromCamera();
    QDialog::show();
    raise();
    activateWindow();
}

void PrefsDialog::accept() {
    slotOk();
}

void PrefsDialog::slotApply() {
    Settings settings = collect();
    if (!pending_.isEmpty()) {
        VortaQt::resetToDefaults(settings, pending_);
        pending_.clear();
    }
    const QString logThreshold = ui_->logThresholdComboBox->currentText();
    Vorta::Log::setLevel(VortaQt::severityFromString(logThreshold.toStdString()));
    VortaQt::AppSettings::instance().setString(logThresholdKey, logThreshold);
    Q_EMIT preferencesApplied(settings);
    loadFromCamera();
}

void PrefsDialog::slotOk() {
    slotApply();
    QDialog::accept();
}

void PrefsDialog::slotRestoreDefaults() {
    showValuesOf(Settings());
}

void PrefsDialog::slotBrowseForCalibrationFile() {
    const QString current = ui_->calibFileEdit->text();
    const QString folder = current.isEmpty() ? QString() : QFileInfo(current).absolutePath();
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Load calibration file"), folder,
                                                      QStringLiteral("Calibration fil (*.yml);;"));
    if (!path.isEmpty())
        ui_->calibFileEdit->setText(path);
}

void PrefsDialog::slotHandleExpertSettingSelectionChanged() {
    const bool selected = ui_->treeViewExpert->currentIndex().isValid();
    ui_->pushButtonEditExpertSetting->setEnabled(selected);
    ui_->pushButtonDeleteExpertSetting->setEnabled(selected);
}

QString PrefsDialog::currentExpertPath() const {
    const QModelIndex current = ui_->treeViewExpert->currentIndex();
    return current.isValid() ? expertSettings_->paths().at(current.row()) : QString();
}

void PrefsDialog::selectExpertSetting(int row) {
    fitExpertColumns();
    const int last = expertSettings_->rowCount() - 1;
    if (last >= 0)
        ui_->treeViewExpert->setCurrentIndex(expertSettings_->index(std::clamp(row, 0, last), 0));
}

void PrefsDialog::slotAddExpertSetting() {
    VortaQt::ExpertSettingDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    expertSettings_->addSetting(dialog.path(), dialog.value());
    selectExpertSetting(expertSettings_->paths().indexOf(dialog.path()));
}

void PrefsDialog::slotEditExpertSetting() {
    const QString path = currentExpertPath();
    if (path.isEmpty())
        return;
    VortaQt::ExpertSettingDialog dialog(this);
    dialog.setSetting(path, expertSettings_->value(path));
    if (dialog.exec() != QDialog::Accepted)
        return;
    // Another path takes the row's place.
    if (dialog.path() != path)
        removeExpertSetting(path);
    expertSettings_->addSetting(dialog.path(), dialog.value());
    selectExpertSetting(expertSettings_->paths().indexOf(dialog.path()));
}

void PrefsDialog::removeExpertSetting(const QString& path) {
    if (!pending_.contains(path))
        pending_.append(path);
    expertSettings_->removeSetting(path);
}

void PrefsDialog::slotDeleteExpertSetting() {
    const int row = ui_->treeViewExpert->currentIndex().row();
    const QString path = currentExpertPath();
    if (path.isEmpty())
        return;
    removeExpertSetting(path);
    selectExpertSetting(row);
}

void PrefsDialog::slotClearExpertSettings() {
    expertSettings_->clear();
}

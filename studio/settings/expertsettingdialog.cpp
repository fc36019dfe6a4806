#include "settings/expertsettingdialog.h"

#include "settings/latin1.h"
#include "settings/settingtooltip.h"
#include "ui_ExpertSettingDialog.h"
#include "vorta/common/settings.h"

#include <QKeyEvent>
#include <QPushButton>

#include <algorithm>
#include <exception>

namespace VortaQt {

namespace {

using Vorta::SettingsInternal;

QStringList groupNames() {
    QStringList names;
    for (const Vorta::SettingGroupDescription& group : SettingsInternal::groups())
        names += latin1(group.path);
    names.sort();
    return names;
}

bool isAccepted(const QString& path, const QString& value) {
    SettingsInternal settings;
    try {
        settings.set(path.toLocal8Bit().toStdString(), value.toLocal8Bit().toStdString());
    } catch (const std::exception&) {
        return false; // the button says so
    }
    return true;
}

/// The choice before or after the text; from any other text the first or the last one.
QString neighbour(const QStringList& choices, const QString& text, int step) {
    const int last = choices.size() - 1;
    const int position = choices.indexOf(text);
    if (position < 0)
        return choices[step > 0 ? 0 : last];
    return choices[std::clamp(position + step, 0, last)];
}

} // namespace

ExpertSettingDialog::ExpertSettingDialog(QWidget* parent)
    : QDialog(parent), form_(std::make_unique<Ui::ExpertSettingDialog>()) {
    form_->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    for (const QString& name : groupNames()) {
        form_->pathComboBox->addItem(name);
        form_->pathComboBox->setItemData(form_->pathComboBox->count() - 1, settingToolTip(name), Qt::ToolTipRole);
    }
    for (QLineEdit* edit : {form_->nameLineEdit, form_->valueLineEdit}) {
        edit->installEventFilter(this);
        connect(edit, &QLineEdit::textChanged, this, &ExpertSettingDialog::check);
    }
    connect(form_->pathComboBox, &QComboBox::currentTextChanged, this, &ExpertSettingDialog::check);
    form_->pathComboBox->lineEdit()->selectAll(); // typing replaces the group that stands there first
    check();
}

ExpertSettingDialog::~ExpertSettingDialog() = default;

QString ExpertSettingDialog::group() const {
    return form_->pathComboBox->currentText().trimmed();
}

QString ExpertSettingDialog::path() const {
    // In one step: a "%" in the texts is no place to fill.
    return QStringLiteral("%1/%2").arg(group(), form_->nameLineEdit->text().trimmed());
}

QString ExpertSettingDialog::value() const {
    return form_->valueLineEdit->text().trimmed();
}

void ExpertSettingDialog::setSetting(const QString& path, const QString& value) {
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    form_->pathComboBox->setCurrentText(path.left(std::max(slash, 0)));
    form_->nameLineEdit->setText(path.mid(slash + 1));
    form_->valueLineEdit->setText(value);
    // Who edits a setting wants another value.
    form_->valueLineEdit->selectAll();
    form_->valueLineEdit->setFocus();
}

QStringList ExpertSettingDialog::names() const {
    QStringList names;
    const QString prefix = group() + QLatin1Char('/');
    for (const Vorta::SettingDescription& setting : SettingsInternal::catalogue())
        if (latin1(setting.path).startsWith(prefix))
            names += latin1(setting.name);
    return names;
}

QStringList ExpertSettingDialog::values() const {
    QStringList values;
    const auto catalogue = SettingsInternal::catalogue();
    const auto setting = std::ranges::find_if(
        catalogue, [path = path()](const Vorta::SettingDescription& each) { return path == latin1(each.path); });
    if (setting == catalogue.end())
        return values;
    for (const std::string_view choice : setting->choices)
        values += latin1(choice);
    if (setting->type == "switch")
        values = QStringList{QStringLiteral("false"), QStringLiteral("true")};
    return values;
}

void ExpertSettingDialog::check() {
    form_->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(isAccepted(path(), value()));
    describe();
}

/// The tool tips follow what is entered.
void ExpertSettingDialog::describe() {
    form_->pathComboBox->setToolTip(settingToolTip(group()));
    const QString choice = names().join(QStringLiteral(", "));
    form_->nameLineEdit->setToolTip(choice.isEmpty() ? tr("Name of a setting in the group")
                                                     : tr("<b>Settings in %1</b><br>%2").arg(group(), choice));
    const QString setting = settingToolTip(path());
    form_->valueLineEdit->setToolTip(setting.isEmpty() ? tr("Value for the setting") : setting);
}

bool ExpertSettingDialog::eventFilter(QObject* watched, QEvent* event) {
    auto* edit = qobject_cast<QLineEdit*>(watched);
    if (edit && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const int step = key->key() == Qt::Key_Down ? 1 : key->key() == Qt::Key_Up ? -1 : 0;
        const QStringList choices = edit == form_->nameLineEdit ? names() : values();
        if (step != 0 && !choices.isEmpty()) {
            edit->setText(neighbour(choices, edit->text().trimmed(), step));
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace VortaQt

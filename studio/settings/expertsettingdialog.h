#pragma once

#include <QDialog>
#include <QString>
#include <QStringList>

#include <memory>

namespace Ui {
class ExpertSettingDialog;
}

namespace VortaQt {

/// Asks for one expert setting: its group, its name and a value. It can be accepted only while the setting exists and
/// accepts the value. Up and Down in a field step through what can stand there. GUI thread.
///
///     ExpertSettingDialog dialog(this);
///     if (dialog.exec() == QDialog::Accepted)
///         model.addSetting(dialog.path(), dialog.value());
class ExpertSettingDialog : public QDialog {
    Q_OBJECT

public:
    explicit ExpertSettingDialog(QWidget* parent = nullptr);
    ~ExpertSettingDialog() override;

    /// The entered setting, for instance "Camera/Gain"; white space around group and name is left out.
    [[nodiscard]] QString path() const;
    /// The entered value without the white space around it.
    [[nodiscard]] QString value() const;

    /// Fills the fields, to edit a setting that is there already.
    void setSetting(const QString& path, const QString& value);

    /// Takes Up and Down in the line edits.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void check();
    void describe();
    [[nodiscard]] QString group() const;
    /// The names of the group's settings, and the values that the setting can have where they are few.
    [[nodiscard]] QStringList names() const;
    [[nodiscard]] QStringList values() const;

    std::unique_ptr<Ui::ExpertSettingDialog> form_;
};

} // namespace VortaQt

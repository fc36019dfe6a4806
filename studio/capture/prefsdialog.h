#pragma once

#include "capture/preferencesvalues.h"
#include "vorta/common/settings.h"

#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class PrefsDialog;
}

namespace Vorta {
class VortaInterface;
}

namespace VortaQt {
class ExpertSettingsTableModel;
}

/// The "Preferences" dialog: camera settings that have controls of their own, the log's threshold, and the expert
/// settings.
///
/// It shows the camera's settings, and shows them anew whenever they change. It changes no camera: "OK" and "Apply"
/// hand the new settings out by `preferencesApplied`. GUI thread.
class PrefsDialog : public QDialog {
    Q_OBJECT

public:
    /// `controller` outlives the dialog.
    explicit PrefsDialog(const Vorta::VortaInterface& controller, QWidget* parent = nullptr);
    ~PrefsDialog() override;

Q_SIGNALS:
    void preferencesApplied(Vorta::Settings settings);

public Q_SLOTS:
    /// Shows the camera's settings; what was left unapplied before is gone. A dialog that is open comes to the front.
    void show();
    /// Does what OK does.
    void accept() override;
    void slotBrowseForCalibrationFile();
    /// Throws ArgumentOutOfRangeException, before anything is done, when a threshold is not one that its setting
    /// accepts.
    void slotApply();
    /// Applies and closes; stays open when it cannot apply.
    void slotOk();
    /// Fills the controls with the defaults, for the next Apply.
    void slotRestoreDefaults();
    void slotHandleExpertSettingSelectionChanged();
    void slotAddExpertSetting();
    void slotEditExpertSetting();
    /// The setting gets its default with the next Apply.
    void slotDeleteExpertSetting();
    /// The settings keep their values.
    void slotClearExpertSettings();

private:
    void setUpControls();
    void setUpExpertTable();
    void setToolTips();
    void connectControls();
    void linkExpertTable();
    void showValuesOf(const Vorta::Settings& settings);
    void showMode(PreferencesValues::Mode mode);
    [[nodiscard]] PreferencesValues::Mode mode() const;
    void showLogThreshold();
    void loadFromCamera();
    void fitExpertColumns();
    [[nodiscard]] Vorta::Settings collect() const;
    void takeOverExpertSetting(const QString& path, const QString& value);
    [[nodiscard]] QString currentExpertPath() const;
    void selectExpertSetting(int row);
    void removeExpertSetting(const QString& path);

    const Vorta::VortaInterface& controller_;
    std::unique_ptr<Ui::PrefsDialog> ui_;
    VortaQt::ExpertSettingsTableModel* expertSettings_ = nullptr;
    QStringList pending_; ///< paths whose rows were deleted and which get their defaults with the next Apply
};

// A preferences dialog, wired to its controller as the main window wires it.
#pragma once

#include "capture/prefsdialog.h"
#include "studio/capture/dialogfixture.h"
#include "vorta/common/log.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QTabWidget>
#include <QTreeView>

#include <initializer_list>
#include <utility>

namespace Vorta::Testing {

class PrefsTest : public DialogTest {
protected:
    using Texts = std::initializer_list<std::pair<const char*, const char*>>;

    ~PrefsTest() override { Log::setLevel(Log::Severity::Info); }

    static Settings settingsWith(Texts texts) {
        Settings settings;
        for (const auto& [path, text] : texts)
            settings.set(path, text);
        return settings;
    }

    /// With a camera that has these settings.
    void open(Texts texts = {}) {
        dialog_.reset();
        controller_.reset();
        preferences_.saveCameraSettings(settingsWith(texts));
        dialog_ = std::make_unique<PrefsDialog>(controller());
        QObject::connect(dialog_.get(), &PrefsDialog::preferencesApplied, &controller(),
                         [this](const Settings& settings) {
                             ++applied_;
                             controller().setSettingsQuietly(settings);
                         });
        dialog_->show();
        showAndActivate(*dialog_);
    }

    PrefsDialog& dialog() { return *dialog_; }
    template <class T>
    T& part(const char* name) {
        return find<T>(*dialog_, QLatin1String(name));
    }
    QLineEdit& edit(const char* name) { return part<QLineEdit>(name); }
    void showTab(const char* name) { part<QTabWidget>("tabWidget").setCurrentWidget(&part<QWidget>(name)); }
    void press(QDialogButtonBox::StandardButton button) { click(*part<QDialogButtonBox>("buttonBox").button(button)); }
    void apply() { press(QDialogButtonBox::Apply); }

    std::string setting(const char* path) { return controller().settings().getString(path); }

    /// Rows of the expert table, "Camera/Gain=2 Lens/MaxIris=40".
    std::string expertRows() {
        const QAbstractItemModel& model = *part<QTreeView>("treeViewExpert").model();
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row)
            rows += model.index(row, 0).data().toString() + QLatin1Char('=') + model.index(row, 1).data().toString();
        return rows.join(QLatin1Char(' ')).toStdString();
    }
    void selectRow(int row) {
        auto& view = part<QTreeView>("treeViewExpert");
        showTab("tabExpert");
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(view.model()->index(row, 0)).center());
    }

    std::unique_ptr<PrefsDialog> dialog_;
    int applied_ = 0; ///< times that settings were handed out
};

} // namespace Vorta::Testing

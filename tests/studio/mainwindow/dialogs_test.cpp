// The dialogs and the settings dock as the main window's commands show them.
#include "capture/gcpsdialog.h"
#include "capture/prefsdialog.h"
#include "studio/mainwindow/windowfixture.h"

#include <QDialogButtonBox>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QMetaMethod>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeView>

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using namespace Vorta;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::Window;
using Vorta::Testing::World;

class WindowDialogs : public Window {
protected:
    template <class T>
    T& dialog() {
        return *window_.findChild<T*>();
    }

    void addIris(int value) {
        Vorta::Testing::find<QSpinBox>(dialog<GcpsDialog>(), QStringLiteral("irisSpinBox")).setValue(value);
        Vorta::Testing::find<QPushButton>(dialog<GcpsDialog>(), QStringLiteral("irisAddButton")).click();
    }

    static std::string cameraSetting(const char* path) {
        return World::instance().application.cameras().at(0).settings().getString(path);
    }
};

TEST_F(WindowDialogs, CaptureDialogIsShownBesideTheWindow) {
    show();
    auto& capture = dialog<GcpsDialog>();
    EXPECT_FALSE(capture.isVisible());
    action("actionCapture").trigger();
    EXPECT_TRUE(capture.isVisible());
    EXPECT_FALSE(capture.isModal());
}

TEST_F(WindowDialogs, HdrNeedsTwoIrisValues) {
    show();
    EXPECT_TRUE(action("actionGrab").isEnabled());
    EXPECT_FALSE(action("actionHDR").isEnabled());
    addIris(12);
    EXPECT_TRUE(action("actionHDR").isEnabled());
    Vorta::Testing::find<QPushButton>(dialog<GcpsDialog>(), QStringLiteral("irisClearButton")).click();
    EXPECT_FALSE(action("actionHDR").isEnabled());
    EXPECT_TRUE(action("actionGrab").isEnabled());
}

TEST_F(WindowDialogs, ToolbarMeasuresWithTheCaptureDialogsValues) {
    show();
    Vorta::Testing::find<QSpinBox>(dialog<GcpsDialog>(), QStringLiteral("exposureTimeSpinBox")).setValue(4321);
    Vorta::Testing::find<QSpinBox>(dialog<GcpsDialog>(), QStringLiteral("irisSpinBox")).setValue(25);
    grab();
    EXPECT_EQ(cameraSetting("ExposureTime"), "4321");
    EXPECT_EQ(cameraSetting("Iris"), "25");
    addIris(40);
    action("actionHDR").trigger();
    EXPECT_EQ(cameraSetting("Iris"), "40") << "the last of the list";
}

TEST_F(WindowDialogs, LiveClosesThePreferencesToChanges) {
    show();
    action("actionPreferences").trigger();
    auto& preferences = dialog<PrefsDialog>();
    EXPECT_TRUE(preferences.isVisible());
    EXPECT_TRUE(preferences.isEnabled());
    action("actionLive").trigger();
    ASSERT_TRUE(controller_.status().live);
    EXPECT_FALSE(preferences.isEnabled());
    EXPECT_TRUE(action("actionStop").isEnabled());
    for (const char* name : {"actionGrab", "actionHDR", "actionLive"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
    action("actionStop").trigger();
    EXPECT_TRUE(preferences.isEnabled());
    EXPECT_FALSE(controller_.status().live);
}

TEST_F(WindowDialogs, PreferencesOpenedDuringLiveAreClosedToChangesToo) {
    show();
    action("actionLive").trigger();
    ASSERT_TRUE(controller_.status().live);
    action("actionPreferences").trigger();
    EXPECT_FALSE(dialog<PrefsDialog>().isEnabled());
    action("actionStop").trigger();
    EXPECT_TRUE(dialog<PrefsDialog>().isEnabled());
}

TEST_F(WindowDialogs, PreferencesAreOneDialog) {
    show();
    action("actionPreferences").trigger();
    auto& preferences = dialog<PrefsDialog>();
    preferences.close();
    action("actionPreferences").trigger();
    EXPECT_TRUE(preferences.isVisible());
    EXPECT_EQ(window_.findChildren<PrefsDialog*>().size(), 1);
}

TEST_F(WindowDialogs, AppliedPreferencesReachTheCameraAndTheNextStart) {
    show();
    action("actionPreferences").trigger();
    auto& preferences = dialog<PrefsDialog>();
    Vorta::Testing::find<QDoubleSpinBox>(preferences, QStringLiteral("colorBalanceRedSpinBox")).setValue(1.5);
    Vorta::Testing::find<QDialogButtonBox>(preferences, QStringLiteral("buttonBox"))
        .button(QDialogButtonBox::Apply)
        ->click();
    EXPECT_EQ(cameraSetting("RedBalance"), "1.5");
    Settings stored;
    World::instance().preferences.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("RedBalance"), "1.5");
}

TEST_F(WindowDialogs, SettingsDockIsHiddenUntilAskedForAndShowsBothSettings) {
    show();
    auto& dock = Vorta::Testing::find<QDockWidget>(window_, QStringLiteral("SettingsDockWidget"));
    EXPECT_FALSE(dock.isVisible());
    EXPECT_FALSE(action("actionSettings").isChecked());
    EXPECT_EQ(dock.windowTitle(), QStringLiteral("Settings"));
    EXPECT_EQ(window_.dockWidgetArea(&dock), Qt::LeftDockWidgetArea);
    action("actionSettings").trigger();
    EXPECT_TRUE(dock.isVisible());
    const auto trees = dock.findChildren<QTreeView*>();
    ASSERT_EQ(trees.size(), 2);
    const auto filled = [&] {
        return std::ranges::count_if(
            trees, [](const QTreeView* tree) { return tree->model() && tree->model()->rowCount() > 0; });
    };
    EXPECT_EQ(filled(), 1) << "the camera's";
    grab();
    EXPECT_EQ(filled(), 2) << "and the frame's";
}

TEST_F(WindowDialogs, SettingsDockFollowsCapturesAndSettingsFiles) {
    show();
    action("actionSettings").trigger();
    auto& widget = Vorta::Testing::find<QWidget>(window_, QStringLiteral("SettingsWidget"));
    const auto shown = [&](const char* view, const char* name) {
        const QAbstractItemModel& model = *Vorta::Testing::find<QTreeView>(widget, QLatin1String(view)).model();
        const QModelIndexList rows = model.match(model.index(0, 0), Qt::DisplayRole, QLatin1String(name));
        return rows.isEmpty() ? std::string() : rows.front().siblingAtColumn(1).data().toString().toStdString();
    };
    auto& tabs = Vorta::Testing::find<QTabWidget>(widget, QStringLiteral("tabWidget"));
    auto& apply = Vorta::Testing::find<QPushButton>(widget, QStringLiteral("applyButton"));

    FrameSpec request = spec();
    for (const char* exposure : {"8000", "9000"}) {
        request.exposureTime = std::chrono::microseconds{std::stoi(exposure)};
        controller_.measure(request);
        EXPECT_EQ(shown("treeViewMeasurement", "ExposureTime"), exposure);
        EXPECT_EQ(tabs.currentIndex(), 1);
        EXPECT_FALSE(apply.isEnabled());
    }
    tabs.setCurrentIndex(0);
    cv::Mat_<uchar> mask(150, 243, uchar{5});
    controller_.slotHandleMaskUpdate(mask);
    EXPECT_EQ(tabs.currentIndex(), 0) << "a mask is no new frame";

    Settings file;
    file.set("RedBalance", "1.5");
    file.save(path("a.yml").toStdString());
    controller_.loadSettingsFile(path("a.yml"));
    EXPECT_EQ(shown("treeViewCamera", "RedBalance"), "1.5");
    EXPECT_EQ(tabs.currentIndex(), 0);

    Q_EMIT apply.clicked();
    EXPECT_EQ(cameraSetting("ExposureTime"), "9000") << "the frame's settings went to the camera";
    EXPECT_EQ(cameraSetting("RedBalance"), "1");
}

TEST_F(WindowDialogs, AboutNamesTheProgramAndItsFiles) {
    ModalDriver boxes;
    QString title;
    QStringList files;
    boxes.then([&](QWidget& box) {
        title = box.windowTitle();
        const auto* table = box.findChild<QTableWidget*>();
        for (int row = 0; row < table->rowCount(); ++row)
            files.append(table->item(row, 0)->text());
        dynamic_cast<QDialog&>(box).accept();
    });
    action("actionAbout").trigger();
    EXPECT_EQ(title, QStringLiteral("About"));
    EXPECT_EQ(files.join(QLatin1Char(' ')),
              QStringLiteral("VortaAPI.dll VortaCameraNetCDF.dll VortaCameraToshibaTeli.dll VortaNET.dll "
                             "VortaStudio.exe VortaVis3D.dll VortaVis3DNET.dll pyvorta.pyd"));
    EXPECT_THAT(boxes.seen().at(0).text.toStdString(),
                testing::AllOf(testing::HasSubstr("Vorta Studio"),
                               testing::HasSubstr("Graphical user interface for the Vorta 3D Camera")));
}

TEST_F(WindowDialogs, UpdateOpensTheUpdater) {
    ModalDriver boxes;
    boxes.thenCancel();
    action("actionUpdate").trigger();
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Updater"));
    EXPECT_EQ(boxes.seen()[0].parent, &window_);
}

TEST_F(WindowDialogs, SlotsStandInTheirOrder) {
    std::vector<std::string> slotNames;
    const QMetaObject& meta = MainWindow::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        slotNames.push_back(meta.method(i).name().toStdString());
    EXPECT_THAT(slotNames,
                testing::ElementsAre(
                    "show", "slotOpenFile", "slotFileSave", "slotLoadSettings", "slotSaveSettings", "slotExit",
                    "slotShowHelpAbout", "slotShowHelpUpdate", "slotDeviceCloudUpdated", "slotDeviceCloudsUpdatedHDR",
                    "slotHandlePointCloudDataUpdate", "slotUpdateMeasurementActionsFromState",
                    "slotUpdateMeasurementActions", "slotHandleStateChange", "grab", "startContinuous",
                    "showMeasureDialog", "showPrefsDialog", "restoreGeometryAndState", "toggleRgb", "toggleMeshing",
                    "slotSetBackgroundColor", "slotHandleInitialShow", "slotShowMessage", "slotShowWarning"));
}

} // namespace

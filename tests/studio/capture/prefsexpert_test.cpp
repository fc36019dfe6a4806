#include "studio/capture/prefsfixture.h"
#include "support/modaldriver.h"

#include <QSignalSpy>

#include <array>

namespace {

using namespace Vorta;
using Vorta::Testing::find;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::PrefsTest;

class ExpertSettings : public PrefsTest {
protected:
    /// Fills the entry dialog and accepts it.
    static std::function<void(QWidget&)> enter(const char* group, const char* name, const char* value) {
        return [=](QWidget& box) {
            find<QComboBox>(box, QStringLiteral("pathComboBox")).setCurrentText(QLatin1String(group));
            find<QLineEdit>(box, QStringLiteral("nameLineEdit")).setText(QLatin1String(name));
            find<QLineEdit>(box, QStringLiteral("valueLineEdit")).setText(QLatin1String(value));
            click(*find<QDialogButtonBox>(box, QStringLiteral("buttonBox")).button(QDialogButtonBox::Ok));
        };
    }
    void press(const char* button) {
        showTab("tabExpert");
        click(part<QPushButton>(button));
    }
    QTreeView& table() { return part<QTreeView>("treeViewExpert"); }
    bool canEdit() {
        EXPECT_EQ(part<QWidget>("pushButtonEditExpertSetting").isEnabled(),
                  part<QWidget>("pushButtonDeleteExpertSetting").isEnabled());
        return part<QWidget>("pushButtonEditExpertSetting").isEnabled();
    }

    ModalDriver boxes_;
};

TEST_F(ExpertSettings, StandInTheTable) {
    open({{"Lens/MaxIris", "40"}, {"Camera/Gain", "2"}, {"Iris", "7"}});
    EXPECT_EQ(expertRows(), "Camera/Gain=2 Lens/MaxIris=40");
    showTab("tabExpert");
    const int pathWidth = table().fontMetrics().horizontalAdvance(QStringLiteral("Lens/MaxIris"));
    EXPECT_GE(table().columnWidth(0), pathWidth) << "as wide as its contents";
    EXPECT_LE(table().columnWidth(0), 2 * pathWidth);
}

TEST_F(ExpertSettings, CanBeEditedOrDeletedWhenOneIsSelected) {
    open({{"Lens/MaxIris", "40"}, {"Camera/Gain", "2"}});
    EXPECT_FALSE(canEdit());
    selectRow(1);
    EXPECT_TRUE(canEdit());
    press("pushButtonClearExpertSettings");
    EXPECT_FALSE(canEdit());
    dialog().slotEditExpertSetting();
    dialog().slotDeleteExpertSetting();
    EXPECT_EQ(expertRows(), "");
}

TEST_F(ExpertSettings, AreAddedByTheEntryDialog) {
    connectCamera();
    open();
    boxes_.then(enter("Camera", "Gain", "2.5"));
    press("pushButtonAddExpertSetting");
    EXPECT_EQ(boxes_.seen().at(0).objectName, QStringLiteral("ExpertSettingDialog"));
    EXPECT_EQ(expertRows(), "Camera/Gain=2.5");
    EXPECT_TRUE(canEdit()) << "the new row is the current one";
    const int needed = table().fontMetrics().horizontalAdvance(QStringLiteral("Camera"));
    EXPECT_GT(table().columnWidth(0), needed) << "the new names are readable";
    boxes_.thenCancel();
    press("pushButtonAddExpertSetting");
    EXPECT_EQ(expertRows(), "Camera/Gain=2.5");
    EXPECT_EQ(setting("Camera/Gain"), "1") << "nothing before Apply";
    apply();
    EXPECT_EQ(setting("Camera/Gain"), "2.5");
    EXPECT_EQ(expertRows(), "Camera/Gain=2.5");
}

TEST_F(ExpertSettings, AreEditedInPlace) {
    open({{"Lens/MaxIris", "40"}, {"Camera/Gain", "2"}});
    selectRow(0);
    QString group, name, value;
    boxes_.then([&](QWidget& box) {
        group = find<QComboBox>(box, QStringLiteral("pathComboBox")).currentText();
        name = find<QLineEdit>(box, QStringLiteral("nameLineEdit")).text();
        value = find<QLineEdit>(box, QStringLiteral("valueLineEdit")).text();
        enter("Camera", "Gain", "4")(box);
    });
    press("pushButtonEditExpertSetting");
    EXPECT_EQ(group, QStringLiteral("Camera"));
    EXPECT_EQ(name, QStringLiteral("Gain"));
    EXPECT_EQ(value, QStringLiteral("2"));
    EXPECT_EQ(expertRows(), "Camera/Gain=4 Lens/MaxIris=40");
    EXPECT_EQ(table().currentIndex().row(), 0);
    boxes_.thenCancel();
    press("pushButtonEditExpertSetting");
    EXPECT_EQ(expertRows(), "Camera/Gain=4 Lens/MaxIris=40");
    apply();
    EXPECT_EQ(setting("Camera/Gain"), "4");
}

TEST_F(ExpertSettings, AreEditedByADoubleClick) {
    open({{"Camera/Gain", "2"}});
    selectRow(0);
    boxes_.then(enter("Camera", "Gain", "3"));
    const QPoint place = table().visualRect(table().model()->index(0, 1)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(expertRows(), "Camera/Gain=3");
}

TEST_F(ExpertSettings, EditedIntoAnotherOneGiveUpTheFirst) {
    open({{"Camera/Gain", "2"}});
    selectRow(0);
    boxes_.then(enter("Camera", "Gamma", "2"));
    press("pushButtonEditExpertSetting");
    EXPECT_EQ(expertRows(), "Camera/Gamma=2");
    apply();
    EXPECT_EQ(controller().settings(), settingsWith({{"Camera/Gamma", "2"}}));
}

TEST_F(ExpertSettings, DeletedGetTheirDefaultsWithApply) {
    open({{"Lens/MaxIris", "40"}, {"Camera/Gain", "2"}, {"Measurement/MinZ", "5"}});
    selectRow(1);
    press("pushButtonDeleteExpertSetting");
    EXPECT_EQ(expertRows(), "Camera/Gain=2 Measurement/MinZ=5");
    EXPECT_EQ(table().currentIndex().row(), 1) << "the row that moved up";
    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_Delete);
    EXPECT_EQ(expertRows(), "Camera/Gain=2");
    EXPECT_EQ(setting("Lens/MaxIris"), "40") << "nothing before Apply";
    apply();
    EXPECT_EQ(controller().settings(), settingsWith({{"Camera/Gain", "2"}}));
}

TEST_F(ExpertSettings, ClearedKeepTheirValues) {
    const Texts texts{{"Lens/MaxIris", "40"}, {"Camera/Gain", "2"}};
    open(texts);
    press("pushButtonClearExpertSettings");
    EXPECT_EQ(expertRows(), "");
    apply();
    EXPECT_EQ(controller().settings(), settingsWith(texts));
    EXPECT_EQ(expertRows(), "Camera/Gain=2 Lens/MaxIris=40") << "the table shows the camera's settings again";
}

TEST_F(ExpertSettings, DeletedComeBackWhenTheDialogReloads) {
    open({{"Camera/Gain", "2"}});
    selectRow(0);
    press("pushButtonDeleteExpertSetting");
    dialog().close();
    dialog().show();
    EXPECT_EQ(expertRows(), "Camera/Gain=2");
    apply();
    EXPECT_EQ(setting("Camera/Gain"), "2") << "nothing is pending any more";
}

TEST_F(ExpertSettings, DeletedStayPendingWhateverElseIsPressed) {
    open({{"Camera/Gain", "2"}, {"Lens/MaxIris", "40"}});
    selectRow(0);
    press("pushButtonDeleteExpertSetting");
    PrefsTest::press(QDialogButtonBox::RestoreDefaults);
    EXPECT_EQ(expertRows(), "Lens/MaxIris=40") << "the table has no defaults";
    press("pushButtonClearExpertSettings");
    apply();
    EXPECT_EQ(controller().settings(), settingsWith({{"Lens/MaxIris", "40"}}));
}

TEST_F(ExpertSettings, DeletedAndAddedAgainAreNotReset) {
    open({{"Camera/Gain", "2"}});
    selectRow(0);
    press("pushButtonDeleteExpertSetting");
    boxes_.then(enter("Camera", "Gain", "3"));
    press("pushButtonAddExpertSetting");
    apply();
    EXPECT_EQ(setting("Camera/Gain"), "3");
}

TEST_F(ExpertSettings, FollowTheCalibrationFile) {
    open({{"Global/ProductRevision", "Rev2"}});
    type(edit("calibFileEdit"), "/x.yml");
    EXPECT_EQ(expertRows(), "Global/ProductRevision=Rev2 Measurement/CalibrationFile=/x.yml");
    edit("calibFileEdit").setCursorPosition(2);
    QTest::keyClicks(&edit("calibFileEdit"), QStringLiteral("yz"));
    EXPECT_EQ(edit("calibFileEdit").text(), QStringLiteral("/xyz.yml")) << "the cursor stays where it is";
    EXPECT_EQ(expertRows(), "Global/ProductRevision=Rev2 Measurement/CalibrationFile=/xyz.yml");
    apply();
    EXPECT_EQ(setting("Measurement/CalibrationFile"), "/xyz.yml");
}

TEST_F(ExpertSettings, FollowTheProductRevision) {
    open({{"Global/ProductRevision", "Rev2"}});
    showTab("tabGlobal");
    QTest::keyClick(&part<QComboBox>("vortaVersionBox"), Qt::Key_Up);
    EXPECT_EQ(expertRows(), "Global/ProductRevision=Rev1");
    apply();
    EXPECT_EQ(setting("Global/ProductRevision"), "Rev1");
}

TEST_F(ExpertSettings, LeadTheControlsThatShowTheSame) {
    open();
    boxes_.then(enter("Global", "ProductRevision", "Rev1"));
    press("pushButtonAddExpertSetting");
    EXPECT_EQ(part<QComboBox>("vortaVersionBox").currentText(), QStringLiteral("Rev1"));
    boxes_.then(enter("Measurement", "CalibrationFile", "/x.yml"));
    press("pushButtonAddExpertSetting");
    EXPECT_EQ(edit("calibFileEdit").text(), QStringLiteral("/x.yml"));
    boxes_.then(enter("Measurement", "AdvancedPattern", "ErrorCorrecting"));
    press("pushButtonAddExpertSetting");
    EXPECT_TRUE(part<QRadioButton>("errorCorrectingCodeButton").isChecked());
    EXPECT_EQ(expertRows(), "Global/ProductRevision=Rev1 Measurement/CalibrationFile=/x.yml "
                            "Measurement/AdvancedPattern=ErrorCorrecting");
    boxes_.then(enter("Measurement", "AdvancedPattern", "Plain"));
    press("pushButtonAddExpertSetting");
    EXPECT_TRUE(part<QRadioButton>("normalCodeButton").isChecked());
    apply();
    EXPECT_EQ(setting("Global/ProductRevision"), "Rev1");
    EXPECT_EQ(setting("Measurement/CalibrationFile"), "/x.yml");
    EXPECT_EQ(setting("Measurement/AdvancedPattern"), "Plain");
}

TEST_F(ExpertSettings, AreEnteredOnceAlsoWhereAControlFollows) {
    open();
    const QSignalSpy entered(table().model(), &QAbstractItemModel::modelReset);
    for (const auto& [group, name, value] : {std::array{"Global", "ProductRevision", "Rev1"},
                                             {"Measurement", "CalibrationFile", "/x.yml"},
                                             {"Measurement", "AdvancedPattern", "ErrorCorrecting"}}) {
        const int before = entered.size();
        boxes_.then(enter(group, name, value));
        press("pushButtonAddExpertSetting");
        EXPECT_EQ(entered.size(), before + 1) << name;
    }
}

TEST_F(ExpertSettings, ADeletedCalibrationFileIsNoneWithApply) {
    open({{"Measurement/CalibrationFile", "/x.yml"}});
    selectRow(0);
    press("pushButtonDeleteExpertSetting");
    apply();
    EXPECT_EQ(setting("Measurement/CalibrationFile"), "");
    EXPECT_EQ(edit("calibFileEdit").text(), QString());
}

TEST_F(ExpertSettings, GoThroughThePreferencesStore) {
    open();
    boxes_.then(enter("Projector", "MaxLEDCurrents", "90 80 70"));
    press("pushButtonAddExpertSetting");
    apply();
    preferences_.saveCameraSettings(controller().settings());
    controller_.reset();
    const PrefsDialog again(controller());
    const QAbstractItemModel& model = *find<QTreeView>(again, QStringLiteral("treeViewExpert")).model();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.index(0, 1).data().toString(), QStringLiteral("90 80 70"));
}

} // namespace

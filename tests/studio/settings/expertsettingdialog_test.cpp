#include "settings/expertsettingdialog.h"

#include "settings/settingtooltip.h"
#include "support/widgets.h"
#include "vorta/common/settings.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace Vorta::Testing;
using VortaQt::ExpertSettingDialog;
using VortaQt::settingToolTip;

namespace {

class ExpertSettingEntry : public testing::Test {
protected:
    void enter(const char* group, const char* settingName, const char* text) {
        pathBox.setEditText(QString::fromUtf8(group));
        name.setText(QString::fromUtf8(settingName));
        value.setText(QString::fromUtf8(text));
    }

    /// Types over what the field that has the focus holds.
    static void type(const char* text) {
        QWidget* field = QApplication::focusWidget();
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(field, QString::fromUtf8(text));
    }

    ExpertSettingDialog dialog;
    QComboBox& pathBox = find<QComboBox>(dialog, QStringLiteral("pathComboBox"));
    QLineEdit& name = find<QLineEdit>(dialog, QStringLiteral("nameLineEdit"));
    QLineEdit& value = find<QLineEdit>(dialog, QStringLiteral("valueLineEdit"));
    QDialogButtonBox& buttons = find<QDialogButtonBox>(dialog, QStringLiteral("buttonBox"));
    QPushButton& ok = *buttons.button(QDialogButtonBox::Ok);
    QPushButton& cancel = *buttons.button(QDialogButtonBox::Cancel);
};

TEST_F(ExpertSettingEntry, isAFormOfThreeFields) {
    EXPECT_EQ(dialog.objectName(), QStringLiteral("ExpertSettingDialog"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add Expert Setting"));
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_EQ(buttons.standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    const struct {
        const char* label;
        const char* text;
        QWidget* buddy;
    } labels[] = {{"label", "&Path:", &pathBox}, {"label_2", "&Name:", &name}, {"label_3", "&Value:", &value}};
    for (const auto& expected : labels) {
        const auto& label = find<QLabel>(dialog, QLatin1String(expected.label));
        EXPECT_EQ(label.text(), QLatin1String(expected.text));
        EXPECT_EQ(label.buddy(), expected.buddy) << expected.label;
    }
    auto* outer = qobject_cast<QGridLayout*>(dialog.layout());
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->objectName(), QStringLiteral("gridLayout_2"));
    const auto* inner = dialog.findChild<QGridLayout*>(QStringLiteral("gridLayout"));
    ASSERT_TRUE(inner);
    EXPECT_GE(outer->indexOf(dialog.findChild<QGridLayout*>(QStringLiteral("gridLayout"))), 0);
    EXPECT_GE(inner->indexOf(&pathBox), 0);
}

TEST_F(ExpertSettingEntry, offersTheSixGroupsAndTakesOtherTexts) {
    ASSERT_EQ(pathBox.count(), 6);
    const char* const groups[] = {"Calibration", "Camera", "Global", "Lens", "Measurement", "Projector"};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(pathBox.itemText(i), QLatin1String(groups[i]));
    EXPECT_EQ(pathBox.currentText(), QStringLiteral("Calibration"));
    EXPECT_TRUE(pathBox.isEditable());
    pathBox.setEditText(QStringLiteral("Elsewhere"));
    name.setText(QStringLiteral("Thing"));
    EXPECT_EQ(dialog.path(), QStringLiteral("Elsewhere/Thing"));
    EXPECT_FALSE(ok.isEnabled());
}

TEST_F(ExpertSettingEntry, nothingCanBeAcceptedAtFirst) {
    EXPECT_FALSE(ok.isEnabled());
    EXPECT_TRUE(cancel.isEnabled());
    EXPECT_EQ(dialog.path(), QStringLiteral("Calibration/"));
    EXPECT_EQ(dialog.value(), QString());
}

TEST_F(ExpertSettingEntry, everyFieldIsCheckedAsItChanges) {
    enter("Camera", "Gain", "2");
    EXPECT_TRUE(ok.isEnabled());
    pathBox.setCurrentIndex(3);
    EXPECT_FALSE(ok.isEnabled()) << "Lens/Gain";
    pathBox.setCurrentIndex(1);
    EXPECT_TRUE(ok.isEnabled());
    pathBox.setEditText(QStringLiteral("camera"));
    EXPECT_FALSE(ok.isEnabled());
    pathBox.setEditText(QStringLiteral("Camera"));
    name.setText(QStringLiteral("Gai"));
    EXPECT_FALSE(ok.isEnabled());
    name.setText(QStringLiteral("Gain"));
    EXPECT_TRUE(ok.isEnabled());
    value.setText(QStringLiteral("0.5"));
    EXPECT_FALSE(ok.isEnabled()) << "below the least gain";
    value.setText(QStringLiteral("many"));
    EXPECT_FALSE(ok.isEnabled());
    value.clear();
    EXPECT_FALSE(ok.isEnabled());
    value.setText(QStringLiteral("16"));
    EXPECT_TRUE(ok.isEnabled());
    name.clear();
    EXPECT_FALSE(ok.isEnabled());
}

TEST_F(ExpertSettingEntry, acceptsWhatTheSettingsAccept) {
    const struct {
        const char* group;
        const char* name;
        const char* value;
        bool accepted;
    } entries[] = {
        {"Calibration", "Method", "Polynomial", true},
        {"Calibration", "Method", "polynomial", false},
        {"Calibration", "method", "Polynomial", false},
        {"Calibration/", "Method", "Polynomial", false},
        {"Calibration", "/Method", "Polynomial", false},
        {"Calibration", "Method/", "Polynomial", false},
        {"", "Calibration/Method", "Polynomial", false},
        {"Measurement", "CalibrationFile", "", true},
        {"Measurement", "CalibrationFile", "/a b/c%1.yml", true},
        {"Projector", "MaxLEDCurrents", "90 90 90", true},
        {"Projector", "MaxLEDCurrents", "90  90 90", false},
        {"Projector", "ToggleRGB", "RB", true},
        {"Projector", "ToggleRGB", "R B", false},
        {"Lens", "MaxIris", "63", true},
        {"Lens", "MaxIris", "64", false},
        {"Global", "Validate", "false", true},
        {"Global", "Validate", "0", false},
        {"Filters/Contrast", "Threshold", "3", false}, // public settings are no expert settings
        {"Camera", "%1", "%2", false},
    };
    for (const auto& entry : entries) {
        enter(entry.group, entry.name, entry.value);
        EXPECT_EQ(ok.isEnabled(), entry.accepted) << entry.group << '/' << entry.name << " = " << entry.value;
    }
}

TEST_F(ExpertSettingEntry, whiteSpaceAroundTheTextsDoesNotMatter) {
    enter(" Camera\t", "  Gain ", "\t 2 ");
    EXPECT_TRUE(ok.isEnabled());
    EXPECT_EQ(dialog.path(), QStringLiteral("Camera/Gain"));
    EXPECT_EQ(dialog.value(), QStringLiteral("2"));
    enter("Camera", "Ga in", "2");
    EXPECT_FALSE(ok.isEnabled());
    enter("Lens", "MaxIris", "6 3");
    EXPECT_FALSE(ok.isEnabled());
    enter("Measurement", "CalibrationFile", "  a  b.yml ");
    EXPECT_EQ(dialog.value(), QStringLiteral("a  b.yml"));
}

TEST_F(ExpertSettingEntry, canBeFilledToEditASetting) {
    dialog.setSetting(QStringLiteral("Projector/MaxTemperature"), QStringLiteral("75"));
    EXPECT_EQ(pathBox.currentText(), QStringLiteral("Projector"));
    EXPECT_EQ(name.text(), QStringLiteral("MaxTemperature"));
    EXPECT_EQ(value.text(), QStringLiteral("75"));
    EXPECT_TRUE(ok.isEnabled());
    EXPECT_EQ(dialog.path(), QStringLiteral("Projector/MaxTemperature"));
    dialog.setSetting(QStringLiteral("Nowhere"), QString());
    EXPECT_EQ(dialog.path(), QStringLiteral("/Nowhere"));
    EXPECT_FALSE(ok.isEnabled());
}

TEST_F(ExpertSettingEntry, isFilledInAndAcceptedByKeysAlone) {
    showAndActivate(dialog);
    EXPECT_EQ(QApplication::focusWidget(), &pathBox);
    QTest::keyClicks(&pathBox, QStringLiteral("Camera"));
    EXPECT_EQ(pathBox.currentText(), QStringLiteral("Camera")) << "in place of the first group";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), &name);
    type("Gain");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), &value);
    type("2.5");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.path(), QStringLiteral("Camera/Gain"));
    EXPECT_EQ(dialog.value(), QStringLiteral("2.5"));
    EXPECT_EQ(pathBox.count(), 6) << "typing adds no group";
}

TEST_F(ExpertSettingEntry, typingReplacesTheValueThatIsEdited) {
    dialog.setSetting(QStringLiteral("Projector/MaxTemperature"), QStringLiteral("75"));
    showAndActivate(dialog);
    ASSERT_EQ(QApplication::focusWidget(), &value);
    QTest::keyClicks(&value, QStringLiteral("60"));
    QTest::keyClick(&value, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.path(), QStringLiteral("Projector/MaxTemperature"));
    EXPECT_EQ(dialog.value(), QStringLiteral("60"));
}

TEST_F(ExpertSettingEntry, returnDoesNothingWhileTheEntryIsNotAccepted) {
    showAndActivate(dialog);
    name.setFocus();
    type("Nonexistent");
    QTest::keyClick(&name, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
    QTest::mouseClick(&ok, Qt::LeftButton);
    EXPECT_TRUE(dialog.isVisible());
    pathBox.setFocus();
    type("Elsewhere");
    QTest::keyClick(&pathBox, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(pathBox.count(), 6);
}

TEST_F(ExpertSettingEntry, escapeAndCancelReject) {
    showAndActivate(dialog);
    enter("Camera", "Gain", "2");
    dialog.setResult(QDialog::Accepted);
    QTest::keyClick(&name, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);

    showAndActivate(dialog);
    dialog.setResult(QDialog::Accepted);
    QTest::mouseClick(&cancel, Qt::LeftButton);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

TEST_F(ExpertSettingEntry, theOkButtonAccepts) {
    showAndActivate(dialog);
    enter("Global", "DebugMessages", "true");
    QTest::mouseClick(&ok, Qt::LeftButton);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(ExpertSettingEntry, mnemonicsReachTheFields) {
    showAndActivate(dialog);
    const struct {
        Qt::Key key;
        QWidget* field;
    } fields[] = {{Qt::Key_V, &value}, {Qt::Key_P, &pathBox}, {Qt::Key_N, &name}};
    for (const auto& expected : fields) {
        QTest::keyClick(QApplication::focusWidget(), expected.key, Qt::AltModifier);
        EXPECT_EQ(QApplication::focusWidget(), expected.field);
    }
}

TEST_F(ExpertSettingEntry, arrowsStepThroughTheNamesOfTheGroup) {
    pathBox.setCurrentIndex(5);
    QTest::keyClick(&name, Qt::Key_Down);
    EXPECT_EQ(name.text(), QStringLiteral("ToggleRGB"));
    QTest::keyClick(&name, Qt::Key_Down);
    EXPECT_EQ(name.text(), QStringLiteral("VirtualTemperature"));
    QTest::keyClick(&name, Qt::Key_Up);
    QTest::keyClick(&name, Qt::Key_Up);
    EXPECT_EQ(name.text(), QStringLiteral("ToggleRGB")) << "the first";
    name.setText(QStringLiteral("Nonexistent"));
    QTest::keyClick(&name, Qt::Key_Up);
    EXPECT_EQ(name.text(), QStringLiteral("MaxTemperature"));
    QTest::keyClick(&name, Qt::Key_Down);
    EXPECT_EQ(name.text(), QStringLiteral("MaxTemperature")) << "the last";

    pathBox.setEditText(QStringLiteral("Elsewhere"));
    QTest::keyClick(&name, Qt::Key_Down);
    EXPECT_EQ(name.text(), QStringLiteral("MaxTemperature")) << "nothing to offer";
}

TEST_F(ExpertSettingEntry, arrowsStepThroughTheChoicesForTheValue) {
    enter("Camera", "TriggerPolarity", "");
    QTest::keyClick(&value, Qt::Key_Down);
    EXPECT_EQ(value.text(), QStringLiteral("RisingEdge"));
    EXPECT_TRUE(ok.isEnabled());
    QTest::keyClick(&value, Qt::Key_Down);
    EXPECT_EQ(value.text(), QStringLiteral("FallingEdge"));
    name.setText(QStringLiteral("SaveImages"));
    QTest::keyClick(&value, Qt::Key_Up);
    EXPECT_EQ(value.text(), QStringLiteral("true"));
    QTest::keyClick(&value, Qt::Key_Up);
    EXPECT_EQ(value.text(), QStringLiteral("false"));
    EXPECT_TRUE(ok.isEnabled());
    enter("Camera", "Gain", "2");
    QTest::keyClick(&value, Qt::Key_Down);
    EXPECT_EQ(value.text(), QStringLiteral("2"));
}

TEST_F(ExpertSettingEntry, toolTipsFollowWhatIsEntered) {
    EXPECT_EQ(pathBox.toolTip(), settingToolTip(QStringLiteral("Calibration")));
    EXPECT_EQ(name.toolTip(), QStringLiteral("<b>Settings in Calibration</b><br>Method"));
    EXPECT_EQ(value.toolTip(), QStringLiteral("Value for the setting"));
    enter("Lens", "MaxIris", "");
    EXPECT_EQ(value.toolTip(), QStringLiteral("<b>Lens/MaxIris</b><br>Iris value at which the lens is fully open."
                                              "<br>Accepts a whole number from 1 to 63 steps. Default: 63."));
    enter("Elsewhere", "MaxIris", "");
    EXPECT_EQ(pathBox.toolTip(), QString());
    EXPECT_EQ(name.toolTip(), QStringLiteral("Name of a setting in the group"));
    EXPECT_EQ(value.toolTip(), QStringLiteral("Value for the setting"));
    EXPECT_EQ(pathBox.itemData(3, Qt::ToolTipRole).toString(), settingToolTip(QStringLiteral("Lens")));
}

TEST_F(ExpertSettingEntry, showsTheLongestNamesInFull) {
    showAndActivate(dialog);
    dialog.resize(dialog.minimumSizeHint());
    for (const Vorta::SettingDescription& setting : Vorta::SettingsInternal::catalogue()) {
        const QString text = QString::fromUtf8(setting.name.data(), static_cast<int>(setting.name.size()));
        EXPECT_LT(name.fontMetrics().horizontalAdvance(text), name.width() - 10) << setting.name;
    }
}

} // namespace

#include "studio/capture/prefsfixture.h"

#include <algorithm>
#include <utility>

namespace {

class PreferencesForm : public Vorta::Testing::PrefsTest {};

TEST_F(PreferencesForm, AreBuiltFromTheirForm) {
    open();
    EXPECT_EQ(dialog().objectName(), QStringLiteral("prefsDialog"));
    EXPECT_EQ(dialog().windowTitle(), QStringLiteral("Preferences"));
    EXPECT_FALSE(dialog().isModal());
    EXPECT_FALSE(dialog().windowFlags() & Qt::WindowContextHelpButtonHint);
    const auto& tabs = part<QTabWidget>("tabWidget");
    const std::pair<const char*, const char*> pages[] = {
        {"tabSettings", "Se&ttings"}, {"tabCamera", "C&amera"}, {"tabGlobal", "&Global"}, {"tabExpert", "&Expert"}};
    ASSERT_EQ(tabs.count(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(tabs.widget(i)->objectName(), QLatin1String(pages[i].first));
        EXPECT_EQ(tabs.tabText(i), QLatin1String(pages[i].second));
    }
    EXPECT_EQ(part<QDialogButtonBox>("buttonBox").standardButtons(),
              QDialogButtonBox::Ok | QDialogButtonBox::Apply | QDialogButtonBox::RestoreDefaults);
}

TEST_F(PreferencesForm, ControlsHaveTheirTexts) {
    open();
    const std::pair<const char*, const char*> groups[] = {{"maskDisconnectedBox", "Mask &Disconnected"},
                                                          {"filterGroupBox", "&Filters"},
                                                          {"groupBoxCalibrationFile", "&Calibration File"},
                                                          {"modeBox", "M&ode"}};
    for (const auto& [name, title] : groups)
        EXPECT_EQ(part<QGroupBox>(name).title(), QLatin1String(title));
    const std::pair<const char*, const char*> buttons[] = {{"disconnectedEnabledBox", "&Enable"},
                                                           {"maskSaturatedBox", "Mask Off &Saturated Pixels"},
                                                           {"reflectionFilterBox", "&Reflection Filter"},
                                                           {"calibFileButton", "Bro&wse..."},
                                                           {"normalCodeButton", "&Normal"},
                                                           {"errorCorrectingCodeButton", "&Error Correcting"},
                                                           {"BidirectionalPatternsBox", "&Bi-directional"},
                                                           {"pushButtonAddExpertSetting", "&Add..."},
                                                           {"pushButtonEditExpertSetting", "&Edit..."},
                                                           {"pushButtonDeleteExpertSetting", "&Delete"},
                                                           {"pushButtonClearExpertSettings", "&Clear"}};
    for (const auto& [name, text] : buttons) {
        EXPECT_EQ(part<QAbstractButton>(name).text(), QLatin1String(text));
        EXPECT_FALSE(part<QAbstractButton>(name).toolTip().isEmpty()) << name;
    }
}

TEST_F(PreferencesForm, LabelsLeadToTheirControls) {
    open();
    const std::pair<const char*, const char*> buddies[] = {
        {"minContrastEdit", "Mi&nimum Contrast:"},         {"disconnectedThresholdEdit", "T&hreshold:"},
        {"colorBalanceRedSpinBox", "Re&d Color Balance:"}, {"colorBalanceBlueSpinBox", "Bl&ue Color Balance:"},
        {"vortaVersionBox", "Product &Revision:"},         {"logThresholdComboBox", "&Log Threshold:"}};
    const QList<QLabel*> labels = dialog().findChildren<QLabel*>();
    for (const auto& [name, text] : buddies) {
        const QWidget* control = &part<QWidget>(name);
        const auto label = std::find_if(labels.begin(), labels.end(),
                                        [=](const QLabel* candidate) { return candidate->buddy() == control; });
        ASSERT_NE(label, labels.end()) << name;
        EXPECT_EQ((*label)->text(), QLatin1String(text));
        EXPECT_FALSE(control->toolTip().isEmpty()) << name;
    }
    EXPECT_EQ(part<QLabel>("labelProductRevision").buddy(), &part<QWidget>("vortaVersionBox"));
    EXPECT_EQ(part<QLabel>("labelLogThreshold").buddy(), &part<QWidget>("logThresholdComboBox"));
}

TEST_F(PreferencesForm, BalancesAreFineSpinBoxes) {
    open();
    for (const char* name : {"colorBalanceRedSpinBox", "colorBalanceBlueSpinBox"}) {
        const auto& box = part<QDoubleSpinBox>(name);
        EXPECT_EQ(box.decimals(), 3);
        EXPECT_EQ(box.minimum(), 0.0);
        EXPECT_EQ(box.maximum(), 100.0);
        EXPECT_EQ(box.singleStep(), 0.1);
    }
}

TEST_F(PreferencesForm, OnlyOldHeadsShowRevisionAndCalibrationFile) {
    for (const char* revision : {"Rev0", "Rev1", "Rev2"}) {
        open({{"Global/ProductRevision", revision}});
        for (const char* name : {"groupBoxCalibrationFile", "labelProductRevision", "vortaVersionBox"})
            EXPECT_FALSE(part<QWidget>(name).isHidden()) << name << " " << revision;
    }
    open({{"Global/ProductRevision", "Rev3"}});
    for (const char* name : {"groupBoxCalibrationFile", "labelProductRevision", "vortaVersionBox"})
        EXPECT_TRUE(part<QWidget>(name).isHidden()) << name;
    EXPECT_FALSE(part<QWidget>("logThresholdComboBox").isHidden());
    QStringList revisions;
    for (int i = 0; i < part<QComboBox>("vortaVersionBox").count(); ++i)
        revisions += part<QComboBox>("vortaVersionBox").itemText(i);
    EXPECT_EQ(revisions.join(QLatin1Char(' ')), QStringLiteral("Rev0 Rev1 Rev2 Rev3"));
}

TEST_F(PreferencesForm, TabVisitsTheControlsOfAPage) {
    open({{"Global/ProductRevision", "Rev2"}});
    QStringList visited;
    edit("minContrastEdit").setFocus();
    for (int step = 0; step < 8; ++step) {
        visited += QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited.join(QLatin1Char(' ')),
              QStringLiteral("minContrastEdit disconnectedEnabledBox disconnectedThresholdEdit maskSaturatedBox "
                             "reflectionFilterBox calibFileEdit calibFileButton normalCodeButton"));
    QTest::keyClick(&dialog(), Qt::Key_G, Qt::AltModifier);
    EXPECT_EQ(part<QTabWidget>("tabWidget").currentWidget()->objectName(), QStringLiteral("tabGlobal"));
    QTest::keyClick(&dialog(), Qt::Key_L, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), &part<QWidget>("logThresholdComboBox"));
}

TEST_F(PreferencesForm, NothingIsCutOffAtTheSmallestSize) {
    open({{"Global/ProductRevision", "Rev2"},
          {"Measurement/CalibrationFile",
           "/a/very/long/path/to/a/calibration/file/that/no/line/edit/shows/whole/calib_data.yml"},
          {"Projector/MaxLEDCurrents", "33.333 33.333 33.333"},
          {"Filters/Outlier/Threshold", "999.999"}});
    dialog().resize(1, 1);
    for (const char* tab : {"tabSettings", "tabCamera", "tabGlobal", "tabExpert"}) {
        showTab(tab);
        QCoreApplication::processEvents();
        EXPECT_EQ(cutOff(dialog()), "") << tab;
    }
}

} // namespace

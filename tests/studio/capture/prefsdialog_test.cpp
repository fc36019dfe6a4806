#include "studio/capture/prefsfixture.h"
#include "support/modaldriver.h"
#include "vorta/common/exceptions.h"

#include <QFileDialog>
#include <QTemporaryDir>

namespace {

using namespace Vorta;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::PrefsTest;

class Preferences : public PrefsTest {};

TEST_F(Preferences, ShowTheCamerasSettings) {
    open({{"Filters/Contrast/Threshold", "0.5"},
          {"Filters/Outlier/Enabled", "false"},
          {"Filters/Outlier/Threshold", "0.5"},
          {"Filters/Saturated/Enabled", "false"},
          {"Filters/Reflection/Enabled", "true"},
          {"RedBalance", "1.25"},
          {"BlueBalance", "0.75"},
          {"Bidirectional", "true"},
          {"Measurement/CalibrationFile", "/a/b.yml"},
          {"Global/ProductRevision", "Rev1"}});
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("0.50"));
    EXPECT_FALSE(part<QCheckBox>("disconnectedEnabledBox").isChecked());
    EXPECT_EQ(edit("disconnectedThresholdEdit").text(), QStringLiteral("0.500"));
    EXPECT_FALSE(part<QCheckBox>("maskSaturatedBox").isChecked());
    EXPECT_TRUE(part<QCheckBox>("reflectionFilterBox").isChecked());
    EXPECT_EQ(part<QDoubleSpinBox>("colorBalanceRedSpinBox").value(), 1.25);
    EXPECT_EQ(part<QDoubleSpinBox>("colorBalanceBlueSpinBox").value(), 0.75);
    EXPECT_TRUE(part<QRadioButton>("BidirectionalPatternsBox").isChecked());
    EXPECT_EQ(edit("calibFileEdit").text(), QStringLiteral("/a/b.yml"));
    EXPECT_EQ(part<QComboBox>("vortaVersionBox").currentText(), QStringLiteral("Rev1"));
    EXPECT_EQ(applied_, 0);
    EXPECT_EQ(expertRows(), "Global/ProductRevision=Rev1 Measurement/CalibrationFile=/a/b.yml");

    open();
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("5.00"));
    EXPECT_TRUE(part<QCheckBox>("disconnectedEnabledBox").isChecked());
    EXPECT_TRUE(part<QRadioButton>("normalCodeButton").isChecked());
    EXPECT_EQ(expertRows(), "");
    open({{"Measurement/AdvancedPattern", "ErrorCorrecting"}, {"Bidirectional", "true"}});
    EXPECT_TRUE(part<QRadioButton>("errorCorrectingCodeButton").isChecked());
}

TEST_F(Preferences, ApplyHandsOutWhatTheControlsShow) {
    connectCamera();
    dialog_ = std::make_unique<PrefsDialog>(controller());
    QObject::connect(dialog_.get(), &PrefsDialog::preferencesApplied, &controller(), &VortaInterface::setSettings);
    dialog().show();
    Vorta::Testing::showAndActivate(dialog());
    type(edit("minContrastEdit"), "2.25");
    QTest::keyClick(&part<QCheckBox>("disconnectedEnabledBox"), Qt::Key_Space);
    type(edit("disconnectedThresholdEdit"), "7.125");
    QTest::keyClick(&part<QCheckBox>("maskSaturatedBox"), Qt::Key_Space);
    QTest::keyClick(&part<QCheckBox>("reflectionFilterBox"), Qt::Key_Space);
    click(part<QRadioButton>("BidirectionalPatternsBox"));
    showTab("tabCamera");
    type(part<QDoubleSpinBox>("colorBalanceRedSpinBox"), "1.125");
    type(part<QDoubleSpinBox>("colorBalanceBlueSpinBox"), "0.875");
    EXPECT_EQ(cameraText("Filters/Contrast/Threshold"), "5") << "nothing before Apply";
    apply();
    EXPECT_TRUE(dialog().isVisible());
    for (const auto& [path, text] : Texts{{"Filters/Contrast/Threshold", "2.25"},
                                          {"Filters/Outlier/Enabled", "false"},
                                          {"Filters/Outlier/Threshold", "7.125"},
                                          {"Filters/Saturated/Enabled", "false"},
                                          {"Filters/Reflection/Enabled", "true"},
                                          {"Bidirectional", "true"},
                                          {"RedBalance", "1.125"},
                                          {"BlueBalance", "0.875"},
                                          {"Global/ProductRevision", "Rev3"},
                                          {"Measurement/CalibrationFile", ""},
                                          {"Measurement/AdvancedPattern", "Diamond"},
                                          {"Iris", "31"}})
        EXPECT_EQ(cameraText(path), text) << path;
}

TEST_F(Preferences, OkAppliesAndCloses) {
    open();
    type(edit("minContrastEdit"), "3");
    press(QDialogButtonBox::Ok);
    EXPECT_FALSE(dialog().isVisible());
    EXPECT_EQ(applied_, 1);
    EXPECT_EQ(setting("Filters/Contrast/Threshold"), "3");
    dialog().show();
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("3.00"));
    QTest::keyClick(&edit("minContrastEdit"), Qt::Key_Return);
    EXPECT_FALSE(dialog().isVisible()) << "Return is OK";
    EXPECT_EQ(applied_, 2);
}

TEST_F(Preferences, LeaveTheLastCapturesIrisAndExposureToTheCamera) {
    open({{"Iris", "31"}});
    connectCamera();
    controller().measure({.brightness = 0.5F, .exposureTime = std::chrono::microseconds{8'000}, .iris = 17});
    dialog().close();
    dialog().show();
    apply();
    EXPECT_EQ(cameraText("Iris"), "17") << "live acquisition goes on with it";
    EXPECT_EQ(cameraText("ExposureTime"), "8000");
    EXPECT_EQ(cameraText("Brightness"), "0.5");
    Settings stored;
    preferences_.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("Iris"), "17") << "the last that was used";
}

TEST_F(Preferences, ClosingForgetsWhatWasNotApplied) {
    open();
    type(edit("minContrastEdit"), "3");
    QTest::keyClick(&dialog(), Qt::Key_Escape);
    EXPECT_FALSE(dialog().isVisible());
    EXPECT_EQ(applied_, 0);
    EXPECT_EQ(setting("Filters/Contrast/Threshold"), "5");
    dialog().show();
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("5.00"));
}

TEST_F(Preferences, ShowBringsAnOpenDialogToTheFrontAsItIs) {
    open();
    type(edit("minContrastEdit"), "3");
    dialog().show();
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("3"));
}

TEST_F(Preferences, FollowTheCamerasSettings) {
    open();
    controller().setSettings(settingsWith({{"Filters/Contrast/Threshold", "9"}, {"Camera/Gain", "2"}}));
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("9.00"));
    EXPECT_EQ(expertRows(), "Camera/Gain=2");
}

TEST_F(Preferences, RestoreDefaultsChangesTheControlsAlone) {
    const Texts texts{{"Filters/Contrast/Threshold", "2"},
                      {"Filters/Outlier/Enabled", "false"},
                      {"RedBalance", "1.5"},
                      {"Bidirectional", "true"},
                      {"Camera/Gain", "2"},
                      {"Measurement/CalibrationFile", "/a/b.yml"},
                      {"Global/ProductRevision", "Rev2"}};
    open(texts);
    press(QDialogButtonBox::RestoreDefaults);
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("5.00"));
    EXPECT_TRUE(part<QCheckBox>("disconnectedEnabledBox").isChecked());
    EXPECT_EQ(part<QDoubleSpinBox>("colorBalanceRedSpinBox").value(), 1.0);
    EXPECT_TRUE(part<QRadioButton>("normalCodeButton").isChecked());
    EXPECT_EQ(applied_, 0);
    EXPECT_EQ(controller().settings(), settingsWith(texts));
    dialog().close();
    EXPECT_EQ(applied_, 0);
    EXPECT_EQ(controller().settings(), settingsWith(texts));

    dialog().show();
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("2.00"));
    press(QDialogButtonBox::RestoreDefaults);
    apply();
    EXPECT_EQ(controller().settings(), settingsWith({{"Camera/Gain", "2"}})) << "what has no control of its own stays";
    EXPECT_EQ(expertRows(), "Camera/Gain=2");
}

TEST_F(Preferences, RestoreDefaultsShowsTheStoredLogThresholdAndNoOldHeadsControls) {
    preferences_.setString("GUI/LogThreshold", QStringLiteral("Debug"));
    open({{"Global/ProductRevision", "Rev2"}});
    auto& logThreshold = part<QComboBox>("logThresholdComboBox");
    logThreshold.setCurrentText(QStringLiteral("Error"));
    press(QDialogButtonBox::RestoreDefaults);
    EXPECT_EQ(logThreshold.currentText(), QStringLiteral("Debug")) << "it is no setting of the camera";
    for (const char* name : {"groupBoxCalibrationFile", "labelProductRevision", "vortaVersionBox"})
        EXPECT_TRUE(part<QWidget>(name).isHidden()) << name;
    dialog().close();
    dialog().show();
    for (const char* name : {"groupBoxCalibrationFile", "labelProductRevision", "vortaVersionBox"})
        EXPECT_FALSE(part<QWidget>(name).isHidden()) << name << ": the camera's own revision";
}

TEST_F(Preferences, ThresholdsTakeNumbersAlone) {
    open();
    for (const char* name : {"minContrastEdit", "disconnectedThresholdEdit"}) {
        edit(name).clear();
        type(edit(name), "1x.e-2,5");
        EXPECT_EQ(edit(name).text(), QStringLiteral("1.25")) << name;
        edit(name).clear();
    }
    apply();
    EXPECT_EQ(setting("Filters/Contrast/Threshold"), "0") << "no number counts as 0";
    EXPECT_EQ(setting("Filters/Outlier/Threshold"), "0");
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("0.00"));
}

TEST_F(Preferences, AThresholdOutOfRangeIsRefusedAndNothingDone) {
    open();
    type(edit("minContrastEdit"), "200");
    part<QComboBox>("logThresholdComboBox").setCurrentText(QStringLiteral("Trace"));
    try {
        dialog().slotOk();
        FAIL() << "200 was accepted";
    } catch (const ArgumentOutOfRangeException& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("Filters/Contrast/Threshold"));
        EXPECT_THAT(e.what(), testing::HasSubstr("127.5"));
    }
    EXPECT_TRUE(dialog().isVisible());
    EXPECT_EQ(edit("minContrastEdit").text(), QStringLiteral("200"));
    EXPECT_EQ(applied_, 0);
    EXPECT_EQ(Log::level(), Log::Severity::Info);
    EXPECT_FALSE(preferences_.contains(QStringLiteral("GUI/LogThreshold")));
}

TEST_F(Preferences, ErrorCorrectingIsAModeThatCanBeChosen) {
    open();
    click(part<QRadioButton>("errorCorrectingCodeButton"));
    apply();
    EXPECT_EQ(setting("Measurement/AdvancedPattern"), "ErrorCorrecting");
    EXPECT_EQ(setting("Bidirectional"), "false");
    EXPECT_TRUE(part<QRadioButton>("errorCorrectingCodeButton").isChecked());
    EXPECT_EQ(expertRows(), "Measurement/AdvancedPattern=ErrorCorrecting");
    click(part<QRadioButton>("BidirectionalPatternsBox"));
    apply();
    EXPECT_EQ(setting("Measurement/AdvancedPattern"), "Diamond");
    EXPECT_EQ(setting("Bidirectional"), "true");
    EXPECT_EQ(expertRows(), "");
}

TEST_F(Preferences, OtherPatternsOutliveAnotherMode) {
    open({{"Measurement/AdvancedPattern", "Plain"}});
    click(part<QRadioButton>("errorCorrectingCodeButton"));
    click(part<QRadioButton>("normalCodeButton"));
    apply();
    EXPECT_EQ(setting("Measurement/AdvancedPattern"), "Plain");
}

TEST_F(Preferences, LogThresholdTakesEffectAndIsKept) {
    open();
    auto& box = part<QComboBox>("logThresholdComboBox");
    QStringList names;
    for (int i = 0; i < box.count(); ++i)
        names += box.itemText(i);
    EXPECT_EQ(names.join(QLatin1Char(' ')), QStringLiteral("Error Warning Info Debug Trace"));
    EXPECT_EQ(box.currentText(), QStringLiteral("Info")) << "the present level where nothing is stored";
    showTab("tabGlobal");
    QTest::keyClick(&box, Qt::Key_Down);
    EXPECT_EQ(Log::level(), Log::Severity::Info) << "nothing before Apply";
    apply();
    EXPECT_EQ(Log::level(), Log::Severity::Debug);
    EXPECT_EQ(preferences_.getString("GUI/LogThreshold", {}), QStringLiteral("Debug"));
    EXPECT_EQ(box.currentText(), QStringLiteral("Debug"));
    open();
    EXPECT_EQ(part<QComboBox>("logThresholdComboBox").currentText(), QStringLiteral("Debug"));
}

TEST_F(Preferences, BrowseStartsAtTheCalibrationFile) {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QString::fromUtf8("\u00e4.yml"));
    QFile(file).open(QIODevice::WriteOnly);
    open({{"Global/ProductRevision", "Rev2"},
          {"Measurement/CalibrationFile", folder.filePath(QStringLiteral("gone.yml")).toLocal8Bit().constData()}});
    QString start, filter;
    ModalDriver boxes;
    boxes.then([&](QWidget& box) {
        auto& chooser = dynamic_cast<QFileDialog&>(box);
        start = chooser.directory().absolutePath();
        filter = chooser.nameFilters().constFirst();
        chooser.reject();
    });
    click(part<QPushButton>("calibFileButton"));
    EXPECT_EQ(boxes.seen().at(0).title, QStringLiteral("Load calibration file"));
    EXPECT_EQ(start, folder.path());
    EXPECT_EQ(filter, QStringLiteral("Calibration fil (*.yml)"));
    EXPECT_EQ(edit("calibFileEdit").text(), folder.filePath(QStringLiteral("gone.yml"))) << "cancelled";
    boxes.thenChooseFile(file);
    click(part<QPushButton>("calibFileButton"));
    EXPECT_EQ(edit("calibFileEdit").text(), file);
    apply();
    EXPECT_EQ(setting("Measurement/CalibrationFile"), file.toStdString());
    EXPECT_EQ(edit("calibFileEdit").text(), file) << "as the camera has it";
}

TEST_F(Preferences, ABrokenStoreDoesNotKeepThemFromOpening) {
    const QStringList keys{QStringLiteral("GUI/LogThreshold"),
                           QStringLiteral("Settings/RedBalance"),
                           QStringLiteral("Settings/BlueBalance"),
                           QStringLiteral("Settings/Bidirectional"),
                           QStringLiteral("Settings/Filters/Contrast/Threshold"),
                           QStringLiteral("Settings/Filters/Outlier/Enabled"),
                           QStringLiteral("Settings/Filters/Outlier/Threshold"),
                           QStringLiteral("Settings/Filters/Saturated/Enabled"),
                           QStringLiteral("Settings/Filters/Reflection/Enabled"),
                           QStringLiteral("Internal/Measurement/AdvancedPattern"),
                           QStringLiteral("Internal/Global/ProductRevision"),
                           QStringLiteral("Internal/Nothing/Such")};
    const QVariant brokenValues[] = {QStringLiteral("broken"),
                                     QString(),
                                     QByteArray("\xff\x00\x01", 3),
                                     -1,
                                     QVariantList{1, QStringLiteral("a")},
                                     1e300};
    for (const QString& key : keys)
        for (const QVariant& broken : brokenValues) {
            preferences_.clear();
            preferences_.setValue(key, broken);
            controller_.reset();
            const PrefsDialog broke(controller());
            EXPECT_EQ(controller().settings(), Settings{})
                << key.toStdString() << " " << broken.toString().toStdString();
            const auto text = [&](const char* name) {
                return Vorta::Testing::find<QLineEdit>(broke, QLatin1String(name)).text();
            };
            EXPECT_EQ(text("minContrastEdit"), QStringLiteral("5.00"));
            EXPECT_EQ(text("disconnectedThresholdEdit"), QStringLiteral("5.000"));
            EXPECT_EQ(Vorta::Testing::find<QComboBox>(broke, QStringLiteral("logThresholdComboBox")).currentText(),
                      QStringLiteral("Info"));
        }
}

} // namespace

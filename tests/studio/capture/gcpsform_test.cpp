#include "studio/capture/gcpsfixture.h"

#include <QGroupBox>

#include <utility>

namespace {

class Form : public Vorta::Testing::GcpsTest {};

TEST_F(Form, IsBuiltFromItsForm) {
    open();
    EXPECT_EQ(dialog().windowTitle(), QStringLiteral("Capture"));
    EXPECT_FALSE(dialog().windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_FALSE(dialog().isModal());
    const std::pair<const char*, const char*> titles[] = {{"groupBox", "Iris &Control"},
                                                          {"groupBoxExposureControl", "E&xposure Control"},
                                                          {"groupBoxLEDIntensity", "&LED Control"}};
    for (const auto& [name, title] : titles)
        EXPECT_EQ(part<QGroupBox>(name).title(), QLatin1String(title));
    const std::pair<const char*, const char*> buttons[] = {
        {"irisAddButton", "&Add"},
        {"irisDeleteButton", "&Delete"},
        {"irisClearButton", "Clea&r"},
        {"measureButton", "&Grab"},
        {"measureHDRButton", "&HDR"},
        {"measureLiveButton", "&Live"},
        {"measureStopButton", "St&op"},
        {"setDefaultButton", "Set &Default"},
        {"saveButton", "&Save"},
        {"closeButton", "&Close"},
        {"checkBoxAlwaysUseMax", "Al&ways use max for single frames"}};
    for (const auto& [name, text] : buttons) {
        EXPECT_EQ(part<QAbstractButton>(name).text(), QLatin1String(text));
        EXPECT_FALSE(part<QAbstractButton>(name).toolTip().isEmpty()) << name;
    }
    for (const char* name : {"measureButton", "measureHDRButton", "measureLiveButton", "measureStopButton"})
        EXPECT_FALSE(part<QPushButton>(name).icon().pixmap(24, 24).isNull()) << name;
}

TEST_F(Form, LabelsLeadToTheirControls) {
    open();
    struct Row {
        const char *label, *text, *buddy;
    };
    for (const Row& row : {Row{"irisLabel", "Active &Iris:", "irisSpinBox"},
                           Row{"exposureTimeLabel", "Exposure &Time:", "exposureTimeSpinBox"},
                           Row{"ledCurrentLabel", "Intensity (P&ower)", "minLEDBox"}}) {
        EXPECT_EQ(part<QLabel>(row.label).text(), QLatin1String(row.text));
        EXPECT_EQ(part<QLabel>(row.label).buddy()->objectName(), QLatin1String(row.buddy));
    }
    EXPECT_EQ(part<QLabel>("labelMicroSec").text(), QStringLiteral("µs"));
}

TEST_F(Form, ControlsHaveTheRangesOfTheirSettings) {
    open();
    for (const char* name : {"irisSlider", "exposureTimeSlider", "ledCurrentSlider"})
        EXPECT_EQ(part<QSlider>(name).orientation(), Qt::Horizontal);
    EXPECT_EQ(iris().minimum(), 1);
    EXPECT_EQ(iris().maximum(), 63);
    EXPECT_EQ(part<QSlider>("irisSlider").minimum(), 1);
    EXPECT_EQ(part<QSlider>("irisSlider").maximum(), 63);
    EXPECT_EQ(exposure().minimum(), 100);
    EXPECT_EQ(exposure().maximum(), 200'000);
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").minimum(), 100);
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").maximum(), 200'000);
    EXPECT_EQ(led().minimum(), 0.0);
    EXPECT_EQ(led().maximum(), 1.0);
    EXPECT_EQ(led().decimals(), 3);
    EXPECT_EQ(led().singleStep(), 0.05);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").minimum(), 0);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").maximum(), 200);
}

TEST_F(Form, ToolTipsExplainTheSettings) {
    open();
    const std::pair<const char*, const char*> tips[] = {{"irisSpinBox", "a whole number from 1 to 63 steps"},
                                                        {"irisSlider", "a whole number from 1 to 63 steps"},
                                                        {"exposureTimeSpinBox", "a whole number from 100 to 200000 µs"},
                                                        {"exposureTimeSlider", "a whole number from 100 to 200000 µs"},
                                                        {"minLEDBox", "a number from 0 to 1"},
                                                        {"ledCurrentSlider", "a number from 0 to 1"}};
    for (const auto& [name, tip] : tips)
        EXPECT_TRUE(part<QWidget>(name).toolTip().contains(QString::fromUtf8(tip))) << name;
}

TEST_F(Form, TabVisitsTheControlsInTheirOrder) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    dialog().slotEnableMeasurementControlsFromState(status(true, false));
    QStringList visited;
    list().setFocus();
    for (int step = 0; step < 16; ++step) {
        visited += QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited.join(QLatin1Char(' ')),
              QStringLiteral("irisListView irisSpinBox irisSlider irisAddButton irisDeleteButton irisClearButton "
                             "exposureTimeSpinBox exposureTimeSlider minLEDBox ledCurrentSlider checkBoxAlwaysUseMax "
                             "measureButton measureHDRButton measureLiveButton setDefaultButton saveButton"));
}

TEST_F(Form, NothingIsCutOffAtTheSmallestSize) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    exposure().setValue(200'000);
    EXPECT_EQ(cutOff(dialog()), "");
    dialog().resize(1, 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog().size(), dialog().minimumSizeHint());
    EXPECT_EQ(cutOff(dialog()), "");
}

} // namespace

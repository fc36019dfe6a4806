#include "studio/capture/gcpsfixture.h"

#include <QCheckBox>
#include <QItemSelectionModel>
#include <QSignalSpy>

#include <boost/numeric/conversion/cast.hpp>

namespace {

using Vorta::Settings;
using Vorta::Testing::GcpsTest;
using Vorta::Testing::showAndActivate;

class Dialog : public GcpsTest {};

TEST_F(Dialog, StartsWithTheDefaults) {
    open();
    EXPECT_EQ(iris().value(), 31);
    EXPECT_EQ(part<QSlider>("irisSlider").value(), 31);
    EXPECT_EQ(exposure().value(), 10'000);
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").value(), 10'000);
    EXPECT_EQ(led().value(), 1.0);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").value(), 200);
    EXPECT_EQ(listed(), "31") << "the camera's iris where nothing is stored";
    EXPECT_EQ(list().currentIndex().row(), 0);
    EXPECT_FALSE(useMaximum().isChecked());
    EXPECT_FALSE(dialog().isHdrPossible());
    for (const char* name : {"measureButton", "measureHDRButton", "measureLiveButton", "measureStopButton"})
        EXPECT_FALSE(part<QWidget>(name).isEnabled()) << name << " without a camera";
}

TEST_F(Dialog, StartsWithWhatIsStored) {
    Settings stored;
    stored.set("Iris", "20");
    stored.set("ExposureTime", "4321");
    stored.set("Brightness", "0");
    preferences_.saveCameraSettings(stored);
    preferences_.setString("GUI/HDRIris", QStringLiteral("45 15 31"));
    preferences_.setBool("GUI/MaxLEDForSingle", true);
    open();
    EXPECT_EQ(iris().value(), 20);
    EXPECT_EQ(part<QSlider>("irisSlider").value(), 20);
    EXPECT_EQ(exposure().value(), 4321);
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").value(), 4321);
    EXPECT_EQ(led().value(), 0.0);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").value(), 0);
    EXPECT_EQ(listed(), "15 31 45");
    EXPECT_EQ(list().currentIndex().row(), 0);
    EXPECT_TRUE(useMaximum().isChecked());
    EXPECT_TRUE(dialog().isHdrPossible());
}

TEST_F(Dialog, AddPutsTheIrisInItsPlace) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    const QSignalSpy changes(&dialog(), &GcpsDialog::irisCountChanged);
    type(iris(), "8");
    click(part<QPushButton>("irisAddButton"));
    EXPECT_EQ(listed(), "2 5 8 11");
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(list().currentIndex().row(), 0);
    EXPECT_EQ(iris().value(), 2) << "the first row's value";
}

TEST_F(Dialog, AValueIsNotAddedTwice) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    auto& add = part<QPushButton>("irisAddButton");
    EXPECT_TRUE(add.isEnabled());
    type(iris(), "5");
    EXPECT_FALSE(add.isEnabled());
    click(add);
    EXPECT_EQ(listed(), "2 5 11");
    type(iris(), "6");
    EXPECT_TRUE(add.isEnabled());
    click(add);
    EXPECT_FALSE(add.isEnabled()) << "2, which became active";
    EXPECT_EQ(listed(), "2 5 6 11");
}

TEST_F(Dialog, ClearLeavesTheActiveIris) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    const QSignalSpy changes(&dialog(), &GcpsDialog::irisCountChanged);
    type(iris(), "6");
    click(part<QPushButton>("irisClearButton"));
    EXPECT_EQ(listed(), "6");
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(iris().value(), 6);
    EXPECT_FALSE(part<QPushButton>("irisDeleteButton").isEnabled());
    EXPECT_FALSE(part<QPushButton>("irisAddButton").isEnabled());
}

TEST_F(Dialog, DeleteTakesTheSelectedRow) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    const QSignalSpy changes(&dialog(), &GcpsDialog::irisCountChanged);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Down);
    EXPECT_EQ(iris().value(), 5) << "the current row's value";
    click(part<QPushButton>("irisDeleteButton"));
    EXPECT_EQ(listed(), "2 11");
    EXPECT_EQ(iris().value(), 2);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_End);
    QTest::keyClick(&list(), Qt::Key_Delete);
    EXPECT_EQ(listed(), "2");
    EXPECT_EQ(changes.count(), 2);
    EXPECT_FALSE(part<QPushButton>("irisDeleteButton").isEnabled());
    QTest::keyClick(&list(), Qt::Key_Delete);
    EXPECT_EQ(listed(), "2") << "the last value stays";
}

TEST_F(Dialog, DeleteWithoutACurrentRowDoesNothing) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    list().selectionModel()->clearCurrentIndex();
    click(part<QPushButton>("irisDeleteButton"));
    EXPECT_EQ(listed(), "2 5 11");
}

TEST_F(Dialog, AClickedRowGivesTheActiveIris) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    const auto clickRow = [this](int row) {
        QTest::mouseClick(list().viewport(), Qt::LeftButton, {},
                          list().visualRect(list().model()->index(row, 0)).center());
    };
    clickRow(2);
    EXPECT_EQ(iris().value(), 11);
    type(iris(), "40");
    clickRow(2);
    EXPECT_EQ(iris().value(), 11) << "also when the row is current already";
}

TEST_F(Dialog, TellsOfTheActiveIris) {
    open();
    QSignalSpy values(&dialog(), &GcpsDialog::irisValueChanged);
    iris().setFocus();
    QTest::keyClick(&iris(), Qt::Key_Up);
    QTest::keyClick(&part<QSlider>("irisSlider"), Qt::Key_Right);
    ASSERT_EQ(values.count(), 2);
    EXPECT_EQ(values.at(0).at(0).toInt(), 32);
    EXPECT_EQ(values.at(1).at(0).toInt(), 33);
}

TEST_F(Dialog, SlidersAndSpinBoxesGoTogether) {
    open();
    type(iris(), "7");
    EXPECT_EQ(part<QSlider>("irisSlider").value(), 7);
    part<QSlider>("irisSlider").setValue(60);
    EXPECT_EQ(iris().value(), 60);
    type(exposure(), "123456");
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").value(), 123'456);
    part<QSlider>("exposureTimeSlider").setValue(777);
    EXPECT_EQ(exposure().value(), 777);

    part<QSlider>("ledCurrentSlider").setValue(100);
    EXPECT_EQ(led().value(), 0.5);
    type(led(), "0.333");
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").value(), 66);
    EXPECT_EQ(led().value(), 0.333) << "the slider does not answer";
    led().setRange(2.0, 6.0);
    part<QSlider>("ledCurrentSlider").setValue(50);
    EXPECT_EQ(led().value(), 3.0) << "the slider lies over whatever range the box has";
}

TEST_F(Dialog, EachControlSpeaksOnceForAChange) {
    open();
    const QSignalSpy irisSlider(&part<QSlider>("irisSlider"), &QSlider::valueChanged);
    const QSignalSpy irisBox(&iris(), QOverload<int>::of(&QSpinBox::valueChanged));
    const QSignalSpy exposureSlider(&part<QSlider>("exposureTimeSlider"), &QSlider::valueChanged);
    const QSignalSpy exposureBox(&exposure(), QOverload<int>::of(&QSpinBox::valueChanged));
    const QSignalSpy ledSlider(&part<QSlider>("ledCurrentSlider"), &QSlider::valueChanged);
    const QSignalSpy ledBox(&led(), QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    iris().setValue(7);
    EXPECT_EQ(irisBox.count(), 1);
    EXPECT_EQ(irisSlider.count(), 0) << "kept quiet";
    part<QSlider>("irisSlider").setValue(8);
    EXPECT_EQ(irisBox.count(), 2);
    exposure().setValue(500);
    EXPECT_EQ(exposureBox.count(), 1);
    EXPECT_EQ(exposureSlider.count(), 1) << "not kept quiet";
    part<QSlider>("exposureTimeSlider").setValue(600);
    EXPECT_EQ(exposureBox.count(), 2);
    EXPECT_EQ(exposureSlider.count(), 2);
    led().setValue(0.25);
    EXPECT_EQ(ledBox.count(), 1);
    EXPECT_EQ(ledSlider.count(), 0) << "kept quiet";
    part<QSlider>("ledCurrentSlider").setValue(10);
    EXPECT_EQ(ledBox.count(), 1) << "kept quiet";
}

TEST_F(Dialog, ButtonsFollowTheStatus) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    struct Row {
        bool connected, live, capture, stop;
    };
    for (const Row& row : {Row{false, false, false, false}, Row{true, false, true, false}, Row{true, true, false, true},
                           Row{false, true, false, false}}) {
        dialog().slotEnableMeasurementControlsFromState(status(row.connected, row.live));
        EXPECT_EQ(part<QWidget>("measureButton").isEnabled(), row.capture);
        EXPECT_EQ(part<QWidget>("measureHDRButton").isEnabled(), row.capture);
        EXPECT_EQ(part<QWidget>("measureLiveButton").isEnabled(), row.capture);
        EXPECT_EQ(part<QWidget>("measureStopButton").isEnabled(), row.stop);
    }
}

TEST_F(Dialog, OneIrisMakesNoHdr) {
    open();
    dialog().slotEnableMeasurementControlsFromState(status(true, false));
    EXPECT_TRUE(part<QWidget>("measureButton").isEnabled());
    EXPECT_FALSE(part<QWidget>("measureHDRButton").isEnabled());
    EXPECT_FALSE(part<QWidget>("irisDeleteButton").isEnabled());
}

TEST_F(Dialog, SetDefaultBringsAllControlsBack) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    part<QSlider>("irisSlider").setValue(5);
    exposure().setValue(500);
    led().setValue(0.25);
    useMaximum().setChecked(true);
    const QSignalSpy changes(&dialog(), &GcpsDialog::irisCountChanged);
    click(part<QPushButton>("setDefaultButton"));
    EXPECT_EQ(listed(), "31");
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(iris().value(), 31);
    EXPECT_EQ(part<QSlider>("irisSlider").value(), 31);
    EXPECT_EQ(exposure().value(), 10'000);
    EXPECT_EQ(part<QSlider>("exposureTimeSlider").value(), 10'000);
    EXPECT_EQ(led().value(), 1.0);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").value(), 200);
    EXPECT_FALSE(useMaximum().isChecked());
}

TEST_F(Dialog, SaveKeepsEverythingForTheNextStart) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("2 5 11"));
    open();
    type(iris(), "40");
    click(part<QPushButton>("irisAddButton"));
    type(iris(), "17");
    type(exposure(), "4321");
    type(led(), "0.125");
    QTest::keyClick(&useMaximum(), Qt::Key_Space);
    const Settings before = controller().settings();
    click(part<QPushButton>("saveButton"));
    EXPECT_EQ(controller().settings(), before) << "the camera's settings stay";
    EXPECT_EQ(preferences_.getString("GUI/HDRIris", {}), QStringLiteral("2 5 11 40"));
    EXPECT_EQ(preferences_.value(QStringLiteral("GUI/MaxLEDForSingle")).toInt(), 1);
    Settings stored;
    preferences_.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("Iris"), "17");
    EXPECT_EQ(stored.getString("ExposureTime"), "4321");
    EXPECT_EQ(stored.getString("Brightness"), "0.125");
    EXPECT_EQ(stored.getString("Filters/Contrast/Threshold"), "5");

    reopen();
    EXPECT_EQ(listed(), "2 5 11 40");
    EXPECT_EQ(iris().value(), 17);
    EXPECT_EQ(exposure().value(), 4321);
    EXPECT_EQ(led().value(), 0.125);
    EXPECT_EQ(part<QSlider>("ledCurrentSlider").value(), 25);
    EXPECT_TRUE(useMaximum().isChecked());
}

TEST_F(Dialog, WithoutSaveNothingIsKept) {
    open();
    type(iris(), "40");
    click(part<QPushButton>("irisAddButton"));
    QTest::keyClick(&useMaximum(), Qt::Key_Space);
    click(part<QPushButton>("closeButton"));
    EXPECT_FALSE(dialog().isVisible());
    EXPECT_TRUE(preferences_.allKeys().isEmpty());
    showAndActivate(dialog());
    EXPECT_EQ(listed(), "31 40") << "but it lasts as long as the dialog";
    EXPECT_TRUE(useMaximum().isChecked());
}

TEST_F(Dialog, ANegativeIrisIsNotSaved) {
    open();
    iris().setMinimum(-5);
    iris().setValue(-1);
    try {
        dialog().slotSave();
        FAIL() << "-1 was saved";
    } catch (const boost::numeric::bad_numeric_cast& e) {
        EXPECT_STREQ(e.what(), "bad numeric conversion: negative overflow");
    }
    EXPECT_TRUE(preferences_.allKeys().isEmpty());
}

TEST_F(Dialog, ControlTurnsGrabIntoGrabRaw) {
    open();
    auto& grab = part<QPushButton>("measureButton");
    for (const char* focus : {"irisListView", "irisSpinBox", "irisSlider", "exposureTimeSpinBox", "minLEDBox",
                              "checkBoxAlwaysUseMax", "closeButton"}) {
        auto& control = part<QWidget>(focus);
        control.setFocus();
        const int width = grab.width();
        QTest::keyPress(&control, Qt::Key_Control);
        EXPECT_EQ(grab.text(), QStringLiteral("&Grab Raw")) << focus;
        QTest::keyPress(&control, Qt::Key_Control, Qt::ControlModifier); // the key repeats itself
        EXPECT_EQ(grab.text(), QStringLiteral("&Grab Raw")) << focus;
        QCoreApplication::processEvents();
        EXPECT_EQ(grab.width(), width) << "the buttons stay where they are";
        QTest::keyRelease(&control, Qt::Key_Control, Qt::ControlModifier);
        EXPECT_EQ(grab.text(), QStringLiteral("&Grab")) << focus;
    }
}

TEST_F(Dialog, ControlEndsAlsoWhileAnArrowKeyRepeats) {
    open();
    for (const char* name : {"irisSpinBox", "exposureTimeSpinBox", "minLEDBox"}) {
        auto& box = part<QWidget>(name);
        box.setFocus();
        QTest::keyPress(&box, Qt::Key_Control);
        QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::ControlModifier, QString(), true);
        QCoreApplication::sendEvent(&box, &up);
        EXPECT_EQ(part<QPushButton>("measureButton").text(), QStringLiteral("&Grab Raw")) << name;
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Control, Qt::ControlModifier);
        QCoreApplication::sendEvent(&box, &release);
        EXPECT_EQ(part<QPushButton>("measureButton").text(), QStringLiteral("&Grab")) << name;
    }
}

TEST_F(Dialog, ControlIsForgottenWithTheFocus) {
    open();
    QTest::keyPress(&iris(), Qt::Key_Control);
    QWidget other;
    showAndActivate(other);
    EXPECT_TRUE(
        Vorta::Testing::waitFor([&] { return part<QPushButton>("measureButton").text() == QLatin1String("&Grab"); }));
    QTest::keyRelease(&other, Qt::Key_Control);
}

TEST_F(Dialog, OtherKeysDoWhatTheyDoInAnyDialog) {
    open();
    QTest::keyPress(&iris(), Qt::Key_Shift);
    EXPECT_EQ(part<QPushButton>("measureButton").text(), QStringLiteral("&Grab"));
    QTest::keyClick(&iris(), Qt::Key_Escape);
    EXPECT_FALSE(dialog().isVisible());
}

TEST_F(Dialog, ABrokenStoreDoesNotKeepItFromOpening) {
    const QStringList keys{QStringLiteral("GUI/HDRIris"),           QStringLiteral("GUI/MaxLEDForSingle"),
                           QStringLiteral("Settings/Iris"),         QStringLiteral("Settings/ExposureTime"),
                           QStringLiteral("Settings/Brightness"),   QStringLiteral("Settings/Nothing/Such"),
                           QStringLiteral("Internal/Lens/MaxIris"), QStringLiteral("Internal/Camera/Driver")};
    const QVariant brokenValues[] = {QStringLiteral("broken"),
                                     QStringLiteral("-1"),
                                     QStringLiteral("0 64 99999999999999999999999 x"),
                                     QString(),
                                     QByteArray("\xff\x00\x01", 3),
                                     QVariantList{1, QStringLiteral("a")},
                                     1e300};
    for (const QString& key : keys)
        for (const QVariant& broken : brokenValues) {
            preferences_.clear();
            preferences_.setValue(key, broken);
            reopen();
            EXPECT_EQ(listed(), "31") << key.toStdString() << " " << broken.toString().toStdString();
            EXPECT_EQ(iris().value(), 31);
            EXPECT_EQ(exposure().value(), 10'000);
            EXPECT_GE(led().value(), 0.0);
        }
}

TEST_F(Dialog, AStoredListIsFreedOfWhatNoLensCanDo) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("64 20 0 20 x 63"));
    open();
    EXPECT_EQ(listed(), "20 63");
    EXPECT_EQ(iris().value(), 31);
}

} // namespace

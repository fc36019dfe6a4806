#include "camera/statusbar.h"

#include "support/widgets.h"

#include <QLabel>
#include <QPixmap>
#include <gtest/gtest.h>

namespace {

using Vorta::CameraState;
using Vorta::CameraStatus;
using Vorta::Testing::find;
using Vorta::Testing::showAndActivate;
using Vorta::Testing::waitFor;

class StatusBarTest : public testing::Test {
protected:
    QString temperature() const { return label("temperatureLabel").text(); }
    QString connection() const { return label("connectionLabel").text(); }
    QImage icon() const { return pixels(label("cameraIconLabel").pixmap(Qt::ReturnByValue)); }
    QLabel& label(const char* name) const { return find<QLabel>(bar_, QLatin1String(name)); }

    static QImage iconFile(const char* name) { return pixels(QPixmap(QLatin1String(name))); }

    static QImage pixels(const QPixmap& pixmap) {
        return pixmap.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }

    static CameraStatus connected(float temperature) {
        CameraStatus status;
        status.connected = true;
        status.temperature = temperature;
        return status;
    }

    Ui::StatusBar bar_{nullptr};
};

TEST(CameraStatus, DefaultKnowsNoComponentTemperature) {
    const CameraStatus status;
    EXPECT_FALSE(status.connected);
    EXPECT_FALSE(status.stateFlag);
    EXPECT_FALSE(status.live);
    EXPECT_EQ(status.temperature, 0.0F);
    for (const float t : {status.lensTemperature, status.ledTemperature, status.pcbTemperature, status.dmdTemperature})
        EXPECT_EQ(t, -300.0F);
}

TEST(CameraStatus, TakesItsFieldsFromTheCamerasState) {
    const CameraStatus status(CameraState{.opened = true,
                                          .connected = false,
                                          .live = true,
                                          .headTemperature = 37.43,
                                          .lensTemperature = 1.5,
                                          .ledTemperature = 2.5,
                                          .pcbTemperature = 3.5,
                                          .dmdTemperature = 4.5});
    EXPECT_TRUE(status.stateFlag);
    EXPECT_FALSE(status.connected);
    EXPECT_TRUE(status.live);
    EXPECT_EQ(status.temperature, 37.43F);
    EXPECT_EQ(status.lensTemperature, 1.5F);
    EXPECT_EQ(status.ledTemperature, 2.5F);
    EXPECT_EQ(status.pcbTemperature, 3.5F);
    EXPECT_EQ(status.dmdTemperature, 4.5F);
    EXPECT_TRUE(CameraStatus(CameraState{.connected = true}).connected);
}

TEST_F(StatusBarTest, StartsWithoutAConnection) {
    EXPECT_EQ(temperature(), QString());
    EXPECT_EQ(connection(), QStringLiteral("<font color='red'>[NO CONNECTION]</font>"));
    ASSERT_FALSE(icon().isNull());
    EXPECT_EQ(icon(), iconFile(":/icons/camera_red.png"));
    EXPECT_EQ(bar_.toolTip(), QString());
}

TEST_F(StatusBarTest, DefaultStatusReplacesEverything) {
    CameraStatus status = connected(20.0F);
    status.ledTemperature = 40.0F;
    bar_.slotSetStatus(status);
    bar_.slotSetStatus(CameraStatus{});
    EXPECT_EQ(temperature(), QString());
    EXPECT_EQ(connection(), QStringLiteral("<font color='red'>[NO CONNECTION]</font>"));
    EXPECT_EQ(icon(), iconFile(":/icons/camera_red.png"));
    EXPECT_EQ(bar_.toolTip(), QString());
}

TEST_F(StatusBarTest, ConnectedShowsTheHeadTemperatureWithOneDecimal) {
    bar_.slotSetStatus(connected(37.43F));
    EXPECT_EQ(temperature(), QString::fromUtf8("Temperature: 37.4°C"));
    EXPECT_EQ(connection(), QStringLiteral("<font color='green'>[Connected]</font>"));
    EXPECT_EQ(icon(), iconFile(":/icons/camera_green.png"));
    EXPECT_NE(icon(), iconFile(":/icons/camera_red.png"));
    EXPECT_EQ(bar_.toolTip(), QString());
}

TEST_F(StatusBarTest, HeadTemperatureHasNoMarkForUnknown) {
    bar_.slotSetStatus(connected(-300.0F));
    EXPECT_EQ(temperature(), QString::fromUtf8("Temperature: -300.0°C"));
    CameraStatus lost;
    lost.temperature = 37.4F;
    bar_.slotSetStatus(lost);
    EXPECT_EQ(temperature(), QString());
}

TEST_F(StatusBarTest, ToolTipListsTheKnownComponentsInItsOwnOrder) {
    CameraStatus status;
    status.lensTemperature = 33.5F;
    status.ledTemperature = 41.0F;
    status.pcbTemperature = 45.2F;
    status.dmdTemperature = 39.9F;
    bar_.slotSetStatus(status);
    EXPECT_EQ(bar_.toolTip(), QString::fromUtf8("LED: 41.0°C, Lens: 33.5°C, PCB: 45.2°C, DMD: 39.9°C"));
    status.ledTemperature = -300.0F;
    status.lensTemperature = -299.9F;
    bar_.slotSetStatus(status);
    EXPECT_EQ(bar_.toolTip(), QString::fromUtf8("Lens: -299.9°C, PCB: 45.2°C, DMD: 39.9°C"));
}

TEST_F(StatusBarTest, OneKnownComponentStandsWithoutASeparator) {
    CameraStatus status;
    status.dmdTemperature = 39.94F;
    bar_.slotSetStatus(status);
    EXPECT_EQ(bar_.toolTip(), QString::fromUtf8("DMD: 39.9°C"));
}

TEST_F(StatusBarTest, PermanentLabelsStandInOrder) {
    bar_.resize(700, 30);
    bar_.slotSetStatus(connected(20.0F));
    showAndActivate(bar_);
    EXPECT_LT(label("temperatureLabel").x(), label("connectionLabel").x());
    EXPECT_LT(label("connectionLabel").x(), label("cameraIconLabel").x());
}

TEST_F(StatusBarTest, MessageGoesByItselfAndAStatusLeavesIt) {
    showAndActivate(bar_);
    bar_.slotSetTemporaryStatus(QStringLiteral("Connecting..."));
    bar_.slotSetStatus(connected(20.0F));
    EXPECT_EQ(bar_.currentMessage(), QStringLiteral("Connecting..."));
    EXPECT_FALSE(waitFor([this] { return bar_.currentMessage().isEmpty(); }, 2000)) << "gone too early";
    EXPECT_TRUE(waitFor([this] { return bar_.currentMessage().isEmpty(); }, 3000));
}

} // namespace

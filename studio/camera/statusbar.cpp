#include "camera/statusbar.h"

#include <QIcon>
#include <QStringList>

#include <array>

namespace Ui {

namespace {

constexpr int temporaryMessageMs = 3000;

QString degrees(float temperature) {
    return QString::number(static_cast<double>(temperature), 'f', 1) + QLatin1String("\xB0"
                                                                                     "C");
}

/// The known component temperatures, the warmest part first.
QString componentTemperatures(const Vorta::CameraStatus& status) {
    struct Component {
        QLatin1String name;
        float temperature = 0.0F;
    };
    const std::array components{Component{QLatin1String("LED: "), status.ledTemperature},
                                Component{QLatin1String("Lens: "), status.lensTemperature},
                                Component{QLatin1String("PCB: "), status.pcbTemperature},
                                Component{QLatin1String("DMD: "), status.dmdTemperature}};
    QStringList parts;
    for (const Component& component : components)
        if (component.temperature > Vorta::CameraStatus::unknownTemperature)
            parts += component.name + degrees(component.temperature);
    return parts.join(QLatin1String(", "));
}

} // namespace

StatusBar::StatusBar(QWidget* parent)
    : QStatusBar(parent), temperature_(new QLabel(this)), connection_(new QLabel(this)), cameraIcon_(new QLabel(this)) {
    temperature_->setObjectName(QStringLiteral("temperatureLabel"));
    connection_->setObjectName(QStringLiteral("connectionLabel"));
    connection_->setTextFormat(Qt::RichText);
    cameraIcon_->setObjectName(QStringLiteral("cameraIconLabel"));
    for (QLabel* label : {temperature_, connection_, cameraIcon_})
        addPermanentWidget(label);
    setTemperature(0.0F, false);
    setConnected(false);
}

void StatusBar::slotSetStatus(const Vorta::CameraStatus& status) {
    setConnected(status.connected);
    setTemperature(status.temperature, status.connected);
    setToolTip(componentTemperatures(status));
}

void StatusBar::slotSetTemporaryStatus(const QString& text) {
    showMessage(text, temporaryMessageMs);
}

void StatusBar::setTemperature(float temperature, bool connected) {
    temperature_->setText(connected ? QLatin1String("Temperature: ") + degrees(temperature) : QString());
}

void StatusBar::setConnected(bool connected) {
    connection_->setText(connected ? QStringLiteral("<font color='green'>[Connected]</font>")
                                   : QStringLiteral("<font color='red'>[NO CONNECTION]</font>"));
    const QIcon icon(connected ? QStringLiteral(":/icons/camera_green.png") : QStringLiteral(":/icons/camera_red.png"));
    // Through QIcon, which has the image for screens of high density too.
    cameraIcon_->setPixmap(icon.pixmap(icon.availableSizes().value(0)));
}

} // namespace Ui

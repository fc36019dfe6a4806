#pragma once

#include "camera/camerastatus.h"

#include <QLabel>
#include <QStatusBar>

namespace Ui {

/// The main window's status bar: connection and temperature of the camera on the right, messages on the left.
/// GUI thread.
class StatusBar : public QStatusBar {
    Q_OBJECT

public:
    explicit StatusBar(QWidget* parent);

public Q_SLOTS:
    /// Shows connection, head temperature and, as the bar's tool tip, the component temperatures that are known.
    void slotSetStatus(const Vorta::CameraStatus& status);
    /// Shows a message for three seconds.
    void slotSetTemporaryStatus(const QString& text);

private:
    void setTemperature(float temperature, bool connected);
    void setConnected(bool connected);

    QLabel* temperature_;
    QLabel* connection_;
    QLabel* cameraIcon_;
};

} // namespace Ui

#pragma once

#include "camera/camerastatus.h"
#include "camera/framespec.h"

#include <QDialog>

#include <memory>

class IrisListViewModel;

namespace Ui {
class GcpsDialog;
}

namespace Vorta {
class VortaInterface;
}

/// The "Capture" dialog: the user sets iris, exposure time and projector brightness and asks for single frames, HDR
/// frames and live acquisition.
///
/// It follows the controller's status by itself, but captures nothing: it asks by signals. What is set in it lasts as
/// long as the dialog; "Save" keeps it for the next start, without changing the camera. GUI thread.
class GcpsDialog : public QDialog {
    Q_OBJECT

public:
    /// `controller` outlives the dialog. Starts with the camera's settings and the stored iris list.
    explicit GcpsDialog(const Vorta::VortaInterface& controller, QWidget* parent = nullptr);
    ~GcpsDialog() override;

    /// Whether the iris list holds enough values for an HDR capture.
    [[nodiscard]] bool isHdrPossible() const;

Q_SIGNALS:
    /// The iris list has been changed.
    void irisCountChanged();
    void measurementTriggered(Vorta::FrameSpec spec);
    void stopLiveMeasure();
    void irisValueChanged(int value);

public Q_SLOTS:
    void slotEnableMeasurementControlsFromState(const Vorta::CameraStatus& status);
    /// What the four capture buttons do, for commands elsewhere that do the same.
    void slotGrab();
    void slotGrabHdr();
    void slotStartLive();
    void slotStopLive();

    void slotAddIrisValue();
    void slotDeleteIrisValue();
    /// Leaves the active iris in the list, so that it is never empty.
    void slotClearIrisValues();
    void slotHandleIrisValueChanged(int value);
    void slotHandleIrisValuesReset();
    void slotHandleIrisIndexChanged();
    void slotSetDefault();
    /// Throws boost::numeric::negative_overflow, before anything is stored, for a negative iris.
    void slotSave();
    void slotHandleLEDSliderChanged(int value);
    void slotHandleLEDSpinBoxChanged(double value);
    void slotHandleExposureTimeSliderChanged(int value);
    void slotHandleExposureTimeSpinBoxChanged(int value);
    void slotHandleIrisSliderChanged(int value);
    void slotHandleIrisSpinBoxChanged(int value);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void setToolTips();
    void load();
    void connectControls();
    void alignControls();
    void updateIrisButtons();
    void setRaw(bool raw);
    void takeTypedValues();
    [[nodiscard]] Vorta::FrameSpec captureRequest();

    const Vorta::VortaInterface& controller_;
    std::unique_ptr<Ui::GcpsDialog> ui_;
    IrisListViewModel* irises_;
    bool raw_ = false;
};

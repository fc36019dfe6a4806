#pragma once

#include "vorta/api/camerastate.h"

#include <QMetaType>

namespace Vorta {

/// What the controller last learned about the camera. Temperatures are in degrees Celsius.
class CameraStatus {
public:
    /// Component temperatures at or below this are not known; it lies below absolute zero.
    static constexpr float unknownTemperature = -300.0F;

    CameraStatus() = default;
    explicit CameraStatus(const CameraState& state)
        : connected(state.connected),
          stateFlag(state.opened),
          live(state.live),
          temperature(static_cast<float>(state.headTemperature)),
          lensTemperature(static_cast<float>(state.lensTemperature)),
          ledTemperature(static_cast<float>(state.ledTemperature)),
          pcbTemperature(static_cast<float>(state.pcbTemperature)),
          dmdTemperature(static_cast<float>(state.dmdTemperature)) {}
    CameraStatus(const CameraStatus&) = default;
    CameraStatus& operator=(const CameraStatus&) = default;
    CameraStatus(CameraStatus&&) = default;
    CameraStatus& operator=(CameraStatus&&) = default;
    virtual ~CameraStatus() = default;

    bool connected = false;   ///< a camera is connected and usable
    bool stateFlag = false;   ///< a connection has been made and not been closed yet
    bool live = false;        ///< live acquisition is running
    float temperature = 0.0F; ///< of the head; meaningful while connected, so it needs no mark for "unknown"
    float lensTemperature = unknownTemperature;
    float ledTemperature = unknownTemperature;
    float pcbTemperature = unknownTemperature;
    float dmdTemperature = unknownTemperature; ///< of the projector chip
};

} // namespace Vorta

Q_DECLARE_METATYPE(Vorta::CameraStatus)

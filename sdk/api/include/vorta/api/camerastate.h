#pragma once

namespace Vorta {

/// What a camera says of itself at one moment. Temperatures are in degrees Celsius, -300 where unknown.
struct CameraState {
    bool opened = false;    ///< a connection has been made and not been closed yet, even if the head is gone
    bool connected = false; ///< the head answers and can capture
    bool live = false;      ///< live acquisition runs
    double headTemperature = 0.0;
    double lensTemperature = -300.0;
    double ledTemperature = -300.0;
    double pcbTemperature = -300.0;
    double dmdTemperature = -300.0;
};

} // namespace Vorta

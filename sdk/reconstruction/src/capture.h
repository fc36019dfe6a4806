#pragma once

#include "tonecurve.h"

#include "vorta/driver/imagestack.h"
#include "vorta/reconstruction/reconstructor.h"

namespace Vorta::Reconstruction {

/// What the threads need to know of one capture.
struct Capture {
    const Driver::ImageStack& images;
    const Parameters& parameters;
    ToneCurve tone{parameters};
};

} // namespace Vorta::Reconstruction

#pragma once

#include "vorta/driver/imagestack.h"

#include <memory>

namespace Vorta {

/// Memory for the raw images of a head's captures. Images that a frame has taken along come back when the last frame
/// lets go of them: live acquisition would otherwise have the system map tens of megabytes with every frame. Any
/// thread.
class ImagePool {
public:
    ImagePool();

    /// Images of arbitrary shape and content.
    [[nodiscard]] Driver::ImageStack take();

    /// `images` to be held by frames, which may outlive this object.
    [[nodiscard]] std::shared_ptr<const Driver::ImageStack> share(Driver::ImageStack images);

    /// Gives back to the system what nobody uses.
    void clear();

private:
    class Spares;
    std::shared_ptr<Spares> spares_;
};

} // namespace Vorta

#pragma once

#include "sdk/api/testtools.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

/// Frames with everything that a frame can have.
namespace Vorta::Testing {

/// Images of the pixels that `next` gives.
inline RawImages rawImages(std::size_t count, std::size_t height, std::size_t width,
                           const std::function<std::uint8_t()>& next) {
    auto images = std::make_shared<Driver::ImageStack>();
    images->resize(count, height, width);
    for (std::size_t i = 0; i < count; ++i)
        for (std::uint8_t& pixel : images->image(i))
            pixel = next();
    return {
        .images = std::move(images),
        .bayerLayout = Driver::BayerLayout::GRBG,
        .dimensions = {.sensorWidth = width, .sensorHeight = height, .projectorWidth = 912, .projectorHeight = 1140}};
}

/// Images whose pixels count on from 0 and wrap around at 256.
inline RawImages rawImages(std::size_t count, std::size_t height, std::size_t width) {
    return rawImages(count, height, width, [value = std::uint8_t{0}]() mutable { return value++; });
}

/// `smallFrame` with raw images, a calibration and two child frames, the first with raw images.
inline Frame completeFrame(const char* saveImages = "true", const char* saveChildren = "true") {
    const Frame small = smallFrame();
    Settings settings = small.settings();
    settings.set("Camera/SaveImages", saveImages);
    settings.set("Camera/SaveChildMeasurements", saveChildren);
    const auto frameOf = [&](const char* serialNumber, RawImages raw) {
        FrameInfo info = small.getImpl().info();
        info.head.serialNumber = serialNumber;
        info.calibrationText = "cameras: [1, 2.5]\n# \"quoted\" \\ text\n";
        info.raw = std::move(raw);
        return Frame(std::make_shared<FrameImpl>(smallCloud(), settings, info, ComputeDevice{}));
    };
    Frame frame = frameOf("T-0001", rawImages(4, 2, 3));
    frame.getImpl().setChildFrames({frameOf("C-0", rawImages(2, 2, 3)), frameOf("C-1", {})});
    return frame;
}

/// 900 x 300 points and two images: several blocks of each, the last ones shorter, both hard and easy to compress.
inline Frame largeFrame() {
    PointCloud cloud(900, 300);
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> value(0.0F, 1000.0F);
    for (std::size_t i = 0; i < cloud.size(); ++i)
        cloud[i] = {.x = static_cast<float>(i),
                    .y = 2.0F,
                    .z = value(random),
                    .contrast = 0.5F,
                    .blue = static_cast<std::uint8_t>(i % 251),
                    .green = static_cast<std::uint8_t>(random() >> 8U),
                    .red = 6,
                    .alpha = 255};
    cloud[17].x = cloud[17].y = cloud[17].z = std::numeric_limits<float>::quiet_NaN();
    FrameInfo info;
    info.raw = rawImages(2, 900, 300, [&, count = 0]() mutable {
        return ++count <= 270'000 ? std::uint8_t{7} : static_cast<std::uint8_t>(random() >> 8U);
    });
    Settings settings;
    settings.set("Camera/SaveImages", "true");
    return Frame(std::make_shared<FrameImpl>(cloud, settings, info, ComputeDevice{}));
}

} // namespace Vorta::Testing

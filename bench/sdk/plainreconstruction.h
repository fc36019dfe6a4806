#pragma once

#include "vorta/common/pointcloud.h"
#include "vorta/driver/calibration.h"
#include "vorta/driver/imagestack.h"
#include "vorta/reconstruction/sequence.h"

#include <array>
#include <cstddef>
#include <vector>

/// The plain way from images to points: one loop over the pixels with the standard library's functions, single
/// precision, one thread, no colour. Rays are computed once, as a fast implementation would do too.
class PlainReconstruction {
public:
    PlainReconstruction(const Vorta::Driver::Calibration& head, const Vorta::Reconstruction::AxisLayout& axis);

    void reconstruct(const Vorta::Driver::ImageStack& images, Vorta::PointCloud& out) const;

private:
    struct Column {
        float position;   // from the edge of column 0
        float modulation; // grey levels
        bool valid;
    };
    [[nodiscard]] Column decode(const Vorta::Driver::ImageStack& images, std::size_t pixel) const;
    [[nodiscard]] bool undistort(float target, float slope, float intercept, float& x) const;
    void triangulate(const Column& column, std::size_t pixel, Vorta::Point& point) const;

    struct Lens {
        float fx = 0, fy = 0, cx = 0, cy = 0, k1 = 0, k2 = 0, k3 = 0, p1 = 0, p2 = 0;
    };
    Lens lens_; // of the projector
    float width_;
    float height_;
    std::array<float, 9> rotation_{};
    std::array<float, 3> translation_{};
    Vorta::Reconstruction::AxisLayout axis_;
    std::vector<float> rayX_;
    std::vector<float> rayY_;
};

#pragma once

#include "vorta/common/pointcloud.h"

#include <limits>
#include <opencv2/core/mat.hpp>

namespace Vorta {

/// Why a pixel is hidden, in the bytes of a mask image. In any mask 0 shows the pixel and every other value hides it.
namespace MaskCode {
inline constexpr uchar valid = 0;
inline constexpr uchar lowContrast = 1;
inline constexpr uchar saturated = 2;
inline constexpr uchar outOfRange = 3;
inline constexpr uchar disconnected = 4; // never found by the automatic classification; the number stays taken
inline constexpr uchar irrelevant = 5;   // without a depth, or masked by the user
} // namespace MaskCode

/// Depths of the nearest and the farthest point in millimetres, NaN left out; +infinity and -infinity without points.
struct DepthRange {
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
};

/// Range of z over all points; an extreme that is zero is +0.0.
[[nodiscard]] DepthRange depthRange(const PointCloud& cloud);

/// The record of one measurement, shared by the controller, the views and the exports through std::shared_ptr.
///
/// All images are height rows x width columns of the cloud. Clouds and images are handles on shared data: whoever
/// changes pixels makes a copy first. GUI thread.
class CloudWithImagesAndMask {
public:
    /// The cloud as measured. It is also the masked cloud, with the same data, until that is rebuilt.
    void setPointCloud(const PointCloud& cloud);
    /// The same for a caller who has the cloud's depth range at hand. Both throw ArgumentNullException ("cloud") for an
    /// empty cloud.
    void setPointCloud(const PointCloud& cloud, const DepthRange& range);
    /// z of each point in millimetres, NaN where invalid.
    void setDepthImage(const cv::Mat& image) { depthImage_ = image; }
    /// Blue, green and red bytes of each point.
    void setColorImage(const cv::Mat& image) { colorImage_ = image; }
    /// Codes as in MaskCode; an empty matrix hides nothing.
    void setMask(const cv::Mat_<uchar>& mask) { mask_ = mask; }

    /// Makes a new masked cloud: the measured one with x, y and z NaN wherever the mask is not zero. Throws
    /// ArgumentInvalidException ("mask") when the mask has another size than the cloud, and then changes nothing.
    void updateMaskedCloud();

    [[nodiscard]] const PointCloud& pointCloud() const noexcept { return pointCloud_; }
    [[nodiscard]] const PointCloud& maskedPointCloud() const noexcept { return maskedPointCloud_; }
    [[nodiscard]] const cv::Mat_<float>& depthImage() const noexcept { return depthImage_; }
    [[nodiscard]] const cv::Mat_<uchar>& mask() const noexcept { return mask_; }
    [[nodiscard]] const cv::Mat& colorImage() const noexcept { return colorImage_; }
    /// Smallest and largest z of the measured cloud, millimetres.
    [[nodiscard]] double minZ() const noexcept { return range_.minimum; }
    [[nodiscard]] double maxZ() const noexcept { return range_.maximum; }

private:
    PointCloud pointCloud_;
    PointCloud maskedPointCloud_;
    cv::Mat_<float> depthImage_;
    cv::Mat_<uchar> mask_;
    cv::Mat colorImage_;
    DepthRange range_;
};

} // namespace Vorta

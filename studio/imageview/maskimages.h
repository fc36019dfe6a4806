#pragma once

#include <QImage>

#include <opencv2/core/mat.hpp>

/// Masks as transparent images of their size (QImage::Format_ARGB32), to be laid over the image that they belong to.
namespace MaskImages {

/// Shows why pixels are hidden: dark red for low contrast, dark green for out of range, blue for anything else.
[[nodiscard]] QImage classes(const cv::Mat_<uchar>& mask);

/// Shows the saturated pixels in magenta.
[[nodiscard]] QImage saturated(const cv::Mat_<uchar>& mask);

} // namespace MaskImages

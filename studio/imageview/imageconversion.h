#pragma once

#include <QImage>
#include <QString>

#include <opencv2/core/mat.hpp>

class ColorMap;

/// Images of a record as images that Qt shows, and their pixels as texts.
namespace ImageConversion {

/// An independent image of `mat`: one 8-bit channel (shown grey), or three in the order blue, green, red. Throws
/// ArgumentInvalidException ("mat") for any other type.
[[nodiscard]] QImage displayImage(const cv::Mat& mat);

/// Depths in the colours of `map`, QImage::Format_RGB888.
[[nodiscard]] QImage depthImage(const cv::Mat_<float>& depths, const ColorMap& map);

/// The value of the pixel in column x of row y, within the matrix, as the read-out shows it.
[[nodiscard]] QString pixelText(const cv::Mat& mat, int x, int y);

/// The name of a mask code's class; empty for a valid pixel and for codes that have none.
[[nodiscard]] QString maskClassText(uchar code);

} // namespace ImageConversion

#pragma once

#include <opencv2/core/mat.hpp>
#include <string>

/// Writes an image (8-bit, one channel or blue, green, red) in the format that the name ends in; `path` is in the local
/// 8-bit encoding. Returns false when the file cannot be written, also when its ending names no format. Throws
/// Vorta::IOException when the program's image module is missing.
///
/// The codecs bring more than a hundred libraries with them, so they are loaded with the first image that is written
/// and not with the program.
[[nodiscard]] bool writeImageFile(const std::string& path, const cv::Mat& image);

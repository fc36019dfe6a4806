#include "imageview/maskimages.h"

#include <array>
#include <cstddef>

namespace MaskImages {

namespace {

constexpr std::size_t lowContrast = 1;
constexpr std::size_t saturation = 2;
constexpr std::size_t outOfRange = 3;
using Palette = std::array<QRgb, 256>; // by code

constexpr Palette classPalette() {
    Palette palette{};
    palette.fill(0x800000FF);
    palette[0] = 0x00000000;
    palette[lowContrast] = 0x80500000;
    palette[outOfRange] = 0x80005000;
    return palette;
}

constexpr Palette saturatedPalette() {
    Palette palette{};
    palette[saturation] = 0xFFFF00FF;
    return palette;
}

QImage painted(const cv::Mat_<uchar>& mask, const Palette& palette) {
    QImage image(mask.cols, mask.rows, QImage::Format_ARGB32);
    for (int row = 0; row < mask.rows; ++row) {
        const auto* codes = mask.ptr<uchar>(row);
        auto* pixels = reinterpret_cast<QRgb*>(image.scanLine(row));
        for (int column = 0; column < mask.cols; ++column)
            pixels[column] = palette[codes[column]];
    }
    return image;
}

} // namespace

QImage classes(const cv::Mat_<uchar>& mask) {
    static constexpr Palette palette = classPalette();
    return painted(mask, palette);
}

QImage saturated(const cv::Mat_<uchar>& mask) {
    static constexpr Palette palette = saturatedPalette();
    return painted(mask, palette);
}

} // namespace MaskImages

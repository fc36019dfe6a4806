#include "imageview/imagefile.h"

#include "imageview/module.h"

bool writeImageFile(const std::string& path, const cv::Mat& image) {
    using WriteImage = bool (*)(const char*, const cv::Mat*);
    const auto write = reinterpret_cast<WriteImage>(
        moduleFunction("VortaImageFiles", "vortaWriteImage", "The image '" + path + "' cannot be written"));
    return write(path.c_str(), &image);
}

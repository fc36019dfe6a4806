// The module that writeImageFile() loads.

#include <boost/config.hpp>
#include <opencv2/imgcodecs.hpp>

extern "C" BOOST_SYMBOL_EXPORT bool vortaWriteImage(const char* path, const cv::Mat* image);

bool vortaWriteImage(const char* path, const cv::Mat* image) {
    try {
        return cv::imwrite(path, *image);
    } catch (const cv::Exception&) {
        return false; // the ending names no format; the caller says which file could not be written
    }
}

#include "imageview/imagefile.h"

#include "vorta/common/exceptions.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

bool writeImageFile(const std::string& path, const cv::Mat& image) {
    using WriteImage = bool (*)(const char*, const cv::Mat*);
    QLibrary module(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("VortaImageFiles")));
    // Stays loaded when `module` goes: a second image finds it in memory.
    const auto write = reinterpret_cast<WriteImage>(module.resolve("vortaWriteImage"));
    if (!write)
        throw Vorta::IOException("The image '" + path + "' cannot be written: " + module.errorString().toStdString());
    return write(path.c_str(), &image);
}

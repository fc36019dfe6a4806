#pragma once

#include <QString>

namespace VortaQt::Platform {

/// The version record of a program, library or plug-in. Texts are empty where the file has none.
struct FileVersionRecord {
    QString description;
    QString comments;
    QString fileVersion;
    QString productVersion;
};

} // namespace VortaQt::Platform

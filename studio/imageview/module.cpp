#include "imageview/module.h"

#include "vorta/common/exceptions.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

QFunctionPointer moduleFunction(const char* module, const char* name, const std::string& failure) {
    QLibrary library(QDir(QCoreApplication::applicationDirPath()).filePath(QLatin1String(module)));
    // Stays loaded when `library` goes: the next call finds it in memory.
    const QFunctionPointer function = library.resolve(name);
    if (!function)
        throw Vorta::IOException(failure + ": " + library.errorString().toStdString());
    return function;
}

#include "services/componentversions.h"

#include "services/platform/platform.h"

#include <QCoreApplication>

namespace VortaQt {

ComponentVersions readComponentVersions(const QString& folder, const QStringList& names) {
    ComponentVersions components;
    for (const QString& name : names)
        components.insert(name, Platform::fileVersionRecord(Platform::nativeFile(folder, name)));
    return components;
}

ComponentVersions studioComponents() {
    return readComponentVersions(
        QCoreApplication::applicationDirPath(),
        {QStringLiteral("VortaStudio.exe"), QStringLiteral("VortaAPI.dll"), QStringLiteral("VortaVis3D.dll"),
         QStringLiteral("VortaNET.dll"), QStringLiteral("VortaVis3DNET.dll"), QStringLiteral("pyvorta.pyd"),
         QStringLiteral("VortaCameraToshibaTeli.dll"), QStringLiteral("VortaCameraNetCDF.dll")});
}

QString componentText(const ComponentVersions& components) {
    QString text;
    for (auto component = components.begin(); component != components.end(); ++component) {
        text += component.key() + QLatin1String(": Description: ") + component->description + QLatin1Char('\n');
        text += QLatin1String("FileVersion: ") + component->fileVersion + QLatin1String(" ProductVersion: ") +
                component->productVersion + QLatin1Char('\n');
        text += QLatin1String("Comments: ") + component->comments + QLatin1Char('\n');
    }
    return text;
}

} // namespace VortaQt

#include "resources/applicationicon.h"

#include <QString>

namespace Vorta {

QIcon applicationIcon() {
    QIcon icon(QStringLiteral(":/icons/VortaStudio.png"));
    for (const int pixels : {16, 24, 32, 48, 256})
        icon.addFile(QStringLiteral(":/icons/VortaStudio-%1.png").arg(pixels));
    return icon;
}

} // namespace Vorta

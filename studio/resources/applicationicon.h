#pragma once

#include <QIcon>

namespace Vorta {

/// The program's icon, rendered for every size in which desktops show it (16 to 256 pixels), so that it is crisp in a
/// title bar and in a task switcher alike. Needs a QGuiApplication.
[[nodiscard]] QIcon applicationIcon();

} // namespace Vorta

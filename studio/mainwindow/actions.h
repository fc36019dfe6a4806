#pragma once

#include <QString>

#include <array>
#include <span>

class QAction;
class QObject;

/// Every command of the main window, in one table.
namespace Actions {

enum class Id {
    Load,
    Save,
    LoadSettings,
    SaveSettings,
    Exit,
    Preferences,
    Capture,
    CameraImage,
    DepthImage,
    LogWindow,
    Settings,
    Toolbar,
    ResetLayout,
    ResetView,
    About,
    Update,
    Grab,
    Hdr,
    Live,
    Stop,
    DisplayRgb,
    ToggleMesh,
    BackgroundColor,
    Count
};

enum class Menu { None, File, Edit, Image, View, Help };

struct Description {
    Id id;
    const char* objectName;
    const char* text;        ///< "&" marks the mnemonic
    const char* shortText;   ///< under the toolbar's icon; nullptr: the text
    const char* toolTip;     ///< nullptr: the text
    const char* icon;        ///< below ":/icons/"; nullptr: none
    std::array<int, 2> keys; ///< pressed one after the other; 0: none
    Menu menu;
    bool checkable;
    bool checked; ///< at first
};

/// In the order of the ids; within one menu that is the menu's order.
[[nodiscard]] std::span<const Description> all();
[[nodiscard]] const Description& description(Id id);

/// The toolbar's commands by group; a separator stands between groups.
[[nodiscard]] std::span<const std::span<const Id>> toolBarGroups();

/// Gives an action the texts, icon, keys and states that the table states for it.
void configure(QAction& action, Id id);

} // namespace Actions

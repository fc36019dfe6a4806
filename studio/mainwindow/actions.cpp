#include "mainwindow/actions.h"

#include <QAction>
#include <QIcon>
#include <QKeySequence>

namespace Actions {

namespace {

constexpr bool checkable = true;
constexpr bool checked = true;
constexpr std::array<int, 2> noKeys{};
// Two presses, not the chord that window managers take for themselves.
constexpr std::array<int, 2> altThenF4{Qt::Key_Alt, Qt::Key_F4};

constexpr std::array<Description, static_cast<std::size_t>(Id::Count)> table{{
    {Id::Load, "actionLoad", "&Load...", nullptr, nullptr, "folder.png", noKeys, Menu::File, !checkable, !checked},
    {Id::Save, "actionSave", "&Save...", nullptr, nullptr, "disk.png", noKeys, Menu::File, !checkable, !checked},
    {Id::LoadSettings, "actionLoadSettings", "L&oad Settings...", nullptr, nullptr, "openConfig.png", noKeys,
     Menu::File, !checkable, !checked},
    {Id::SaveSettings, "actionSaveSettings", "Sa&ve Settings...", nullptr, nullptr, "saveConfig.png", noKeys,
     Menu::File, !checkable, !checked},
    {Id::Exit, "actionExit", "&Exit", nullptr, nullptr, nullptr, altThenF4, Menu::File, !checkable, !checked},
    {Id::Preferences, "actionPreferences", "&Preferences...", nullptr, nullptr, "preferences.png", noKeys, Menu::Edit,
     !checkable, !checked},
    {Id::Capture, "actionCapture", "&Capture...", nullptr, nullptr, "capture.png", noKeys, Menu::Image, !checkable,
     !checked},
    {Id::CameraImage, "actionCameraImage", "&Camera Image", nullptr, nullptr, nullptr, noKeys, Menu::View, checkable,
     checked},
    {Id::DepthImage, "actionDepthImage", "&Depth Image", nullptr, nullptr, nullptr, noKeys, Menu::View, checkable,
     checked},
    {Id::LogWindow, "actionLogWindow", "&Log Window", nullptr, nullptr, "blue-document-clock.png", noKeys, Menu::View,
     checkable, checked},
    {Id::Settings, "actionSettings", "&Settings", nullptr, nullptr, nullptr, noKeys, Menu::View, checkable, !checked},
    {Id::Toolbar, "actionToolbar", "&Toolbar", nullptr, nullptr, nullptr, noKeys, Menu::View, checkable, checked},
    {Id::ResetLayout, "actionResetLayout", "&Reset Layout", nullptr, nullptr, nullptr, noKeys, Menu::View, !checkable,
     !checked},
    {Id::ResetView, "actionResetView", "Reset 3D Point Cloud &View", "&Reset", nullptr, "resetview.png", noKeys,
     Menu::View, !checkable, !checked},
    {Id::About, "actionAbout", "&About...", nullptr, nullptr, "question-frame.png", noKeys, Menu::Help, !checkable,
     !checked},
    {Id::Update, "actionUpdate", "&Update...", nullptr, nullptr, nullptr, noKeys, Menu::Help, !checkable, !checked},
    {Id::Grab, "actionGrab", "&Grab", nullptr, nullptr, "camera.png", noKeys, Menu::None, !checkable, !checked},
    {Id::Hdr, "actionHDR", "&HDR", nullptr, nullptr, "HDR.png", noKeys, Menu::None, !checkable, !checked},
    {Id::Live, "actionLive", "&Live", nullptr, nullptr, "Video.png", noKeys, Menu::None, !checkable, !checked},
    {Id::Stop, "actionStop", "&Stop", nullptr, nullptr, "stop.png", noKeys, Menu::None, !checkable, !checked},
    {Id::DisplayRgb, "actionDisplayRGB", "&DisplayRGB", "&Colors", nullptr, "rgb.png", noKeys, Menu::None, checkable,
     checked},
    {Id::ToggleMesh, "actionToggleMesh", "&Toggle Mesh", "&Mesh", "Toggle live mesh on/off", "mesh.png", noKeys,
     Menu::None, checkable, !checked},
    {Id::BackgroundColor, "actionBackgroundColor", "Set &Background Color", "&Background", "Set background color",
     "backgroundColor.png", noKeys, Menu::None, !checkable, !checked},
}};

constexpr std::array files{Id::Load, Id::Save};
constexpr std::array captures{Id::Grab, Id::Hdr};
constexpr std::array live{Id::Live, Id::Stop};
constexpr std::array display{Id::DisplayRgb, Id::ToggleMesh, Id::BackgroundColor, Id::ResetView};
constexpr std::array dialogs{Id::Capture, Id::Preferences};
constexpr std::array<std::span<const Id>, 5> groups{files, captures, live, display, dialogs};

} // namespace

std::span<const Description> all() {
    return table;
}

const Description& description(Id id) {
    return table[static_cast<std::size_t>(id)];
}

std::span<const std::span<const Id>> toolBarGroups() {
    return groups;
}

void configure(QAction& action, Id id) {
    const Description& d = description(id);
    action.setObjectName(QLatin1String(d.objectName));
    action.setText(QLatin1String(d.text));
    if (d.shortText)
        action.setIconText(QString(QLatin1String(d.shortText)).remove(QLatin1Char('&')));
    if (d.toolTip)
        action.setToolTip(QLatin1String(d.toolTip));
    if (d.icon)
        action.setIcon(QIcon(QStringLiteral(":/icons/") + QLatin1String(d.icon)));
    if (d.keys != noKeys)
        action.setShortcut(QKeySequence(d.keys[0], d.keys[1]));
    action.setCheckable(d.checkable);
    if (d.checkable)
        action.setChecked(d.checked);
}

} // namespace Actions

#include "mainwindow/actions.h"

#include <QAction>
#include <QIcon>
#include <QKeySequence>
#include <QSet>

#include <gtest/gtest.h>

namespace {

TEST(Actions, StandInTheOrderOfTheirIds) {
    int expected = 0;
    for (const Actions::Description& d : Actions::all())
        EXPECT_EQ(static_cast<int>(d.id), expected++) << d.text;
}

TEST(Actions, ObjectNamesAreUnique) {
    QSet<QString> names;
    for (const Actions::Description& d : Actions::all())
        names.insert(QString::fromLatin1(d.objectName));
    EXPECT_EQ(static_cast<std::size_t>(names.size()), Actions::all().size());
}

TEST(Actions, IconsExist) {
    for (const Actions::Description& d : Actions::all()) {
        if (!d.icon)
            continue;
        const QIcon icon(QStringLiteral(":/icons/") + QString::fromLatin1(d.icon));
        EXPECT_FALSE(icon.pixmap(45, 32).isNull()) << d.icon;
    }
}

TEST(Actions, MnemonicsWithinAMenuDiffer) {
    using Actions::Menu;
    for (const Menu menu : {Menu::File, Menu::Edit, Menu::Image, Menu::View, Menu::Help}) {
        QSet<QChar> letters;
        for (const Actions::Description& d : Actions::all()) {
            if (d.menu != menu)
                continue;
            const QString text = QString::fromLatin1(d.text);
            const QChar letter = text.at(text.indexOf(QLatin1Char('&')) + 1).toLower();
            EXPECT_FALSE(letters.contains(letter)) << d.text;
            letters.insert(letter);
        }
    }
}

TEST(Actions, CarryTheirTexts) {
    QAction mesh;
    Actions::configure(mesh, Actions::Id::ToggleMesh);
    EXPECT_EQ(mesh.objectName(), QStringLiteral("actionToggleMesh"));
    EXPECT_EQ(mesh.text(), QStringLiteral("&Toggle Mesh"));
    EXPECT_EQ(mesh.iconText(), QStringLiteral("Mesh"));
    EXPECT_EQ(mesh.toolTip(), QStringLiteral("Toggle live mesh on/off"));
    EXPECT_TRUE(mesh.isCheckable());
    EXPECT_FALSE(mesh.isChecked());
    QAction colors;
    Actions::configure(colors, Actions::Id::DisplayRgb);
    EXPECT_EQ(colors.iconText(), QStringLiteral("Colors"));
    EXPECT_TRUE(colors.isChecked());
    QAction background;
    Actions::configure(background, Actions::Id::BackgroundColor);
    EXPECT_EQ(background.iconText(), QStringLiteral("Background"));
    EXPECT_EQ(background.toolTip(), QStringLiteral("Set background color"));
    QAction reset;
    Actions::configure(reset, Actions::Id::ResetView);
    EXPECT_EQ(reset.iconText(), QStringLiteral("Reset"));
}

TEST(Actions, ExitTakesAltAndThenF4) {
    QAction exit;
    Actions::configure(exit, Actions::Id::Exit);
    ASSERT_EQ(exit.shortcut().count(), 2);
    EXPECT_EQ(exit.shortcut()[0], static_cast<int>(Qt::Key_Alt));
    EXPECT_EQ(exit.shortcut()[1], static_cast<int>(Qt::Key_F4));
}

TEST(Actions, MeasurementAndDisplayCommandsStandOnTheToolbarOnly) {
    using Actions::Id;
    QSet<int> onToolBar;
    for (const auto group : Actions::toolBarGroups())
        for (const Id id : group)
            onToolBar.insert(static_cast<int>(id));
    for (const Id id : {Id::Grab, Id::Hdr, Id::Live, Id::Stop, Id::DisplayRgb, Id::ToggleMesh, Id::BackgroundColor}) {
        EXPECT_EQ(Actions::description(id).menu, Actions::Menu::None) << Actions::description(id).text;
        EXPECT_TRUE(onToolBar.contains(static_cast<int>(id))) << Actions::description(id).text;
    }
}

} // namespace

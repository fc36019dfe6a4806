#include "services/recentfilesmenu.h"

#include "support/widgets.h"

#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

using namespace Vorta::Testing;
using VortaQt::RecentFilesMenu;

namespace {

/// "/1.vdf", "/2.vdf", ...
QStringList paths(int count) {
    QStringList result;
    for (int number = 1; number <= count; ++number)
        result += QStringLiteral("/%1.vdf").arg(number);
    return result;
}

QStringList entries(const RecentFilesMenu& menu) {
    QStringList texts;
    for (const QAction* entry : menu.actions())
        texts += entry->text();
    return texts;
}

/// What is told to be chosen when the entry of `path` is, which is the only one.
QString chosen(const QString& path) {
    const RecentFilesMenu menu(nullptr, {path});
    QSignalSpy selected(&menu, &RecentFilesMenu::fileSelected);
    menu.actions().constFirst()->trigger();
    return selected.size() == 1 ? selected[0][0].toString() : QStringLiteral("told %1 times").arg(selected.size());
}

TEST(RecentFilesMenu, NumbersTheFilesFromTheNewest) {
    const RecentFilesMenu menu(nullptr, {QStringLiteral("/b.vdf"), QStringLiteral("/a.vdf")});
    EXPECT_EQ(menu.title(), QStringLiteral("&Recent Files"));
    EXPECT_EQ(entries(menu), QStringList({QStringLiteral("&1 /b.vdf"), QStringLiteral("&2 /a.vdf")}));
    EXPECT_EQ(menu.files(), QStringList({QStringLiteral("/b.vdf"), QStringLiteral("/a.vdf")}));
    EXPECT_TRUE(menu.isEnabled());
}

TEST(RecentFilesMenu, WithoutFilesCannotBeOpened) {
    RecentFilesMenu menu(nullptr, {});
    EXPECT_TRUE(menu.isEmpty());
    EXPECT_FALSE(menu.isEnabled());
    menu.addFile(QStringLiteral("/a.vdf"));
    EXPECT_EQ(entries(menu), QStringList{QStringLiteral("&1 /a.vdf")});
    EXPECT_TRUE(menu.isEnabled());
}

TEST(RecentFilesMenu, AFileThatIsOpenedAgainStandsOnceAndAtTheTop) {
    RecentFilesMenu menu(nullptr, paths(3));
    menu.addFile(QStringLiteral("/3.vdf"));
    menu.addFile(QStringLiteral("/3.vdf"));
    EXPECT_EQ(menu.files(),
              QStringList({QStringLiteral("/3.vdf"), QStringLiteral("/1.vdf"), QStringLiteral("/2.vdf")}));
    EXPECT_EQ(entries(menu),
              QStringList({QStringLiteral("&1 /3.vdf"), QStringLiteral("&2 /1.vdf"), QStringLiteral("&3 /2.vdf")}));
}

TEST(RecentFilesMenu, PathsDifferByCase) {
    RecentFilesMenu menu(nullptr, {QStringLiteral("/a.vdf")});
    menu.addFile(QStringLiteral("/A.vdf"));
    EXPECT_EQ(menu.files(), QStringList({QStringLiteral("/A.vdf"), QStringLiteral("/a.vdf")}));
}

TEST(RecentFilesMenu, ATenthFilePushesTheOldestOut) {
    RecentFilesMenu menu(nullptr, paths(8));
    menu.addFile(QStringLiteral("/9.vdf"));
    EXPECT_EQ(menu.files(), QStringList{QStringLiteral("/9.vdf")} + paths(8)) << "nine have room";
    menu.addFile(QStringLiteral("/10.vdf"));
    EXPECT_EQ(menu.files(), QStringList({QStringLiteral("/10.vdf"), QStringLiteral("/9.vdf")}) + paths(7));
    EXPECT_EQ(entries(menu).constLast(), QStringLiteral("&9 /7.vdf"));
}

TEST(RecentFilesMenu, OneOfNineThatIsOpenedAgainPushesNoneOut) {
    RecentFilesMenu menu(nullptr, paths(9));
    menu.addFile(QStringLiteral("/9.vdf"));
    EXPECT_EQ(menu.files(), QStringList{QStringLiteral("/9.vdf")} + paths(8));
}

TEST(RecentFilesMenu, TakesTheFirstNineOfAStoreThatHoldsMore) {
    RecentFilesMenu menu(nullptr, paths(11));
    EXPECT_EQ(menu.files(), paths(9));
    EXPECT_EQ(entries(menu).size(), 9);
    menu.addFile(QStringLiteral("/new.vdf"));
    EXPECT_EQ(menu.files(), QStringList{QStringLiteral("/new.vdf")} + paths(8));
}

TEST(RecentFilesMenu, TellsThePathWhole) {
    for (const char* path : {"/a.vdf", "/my data/of  May/a scene.vdf", "/a&b/&&.vdf", "/100 %1 &2 .vdf", " .vdf"})
        EXPECT_EQ(chosen(QString::fromUtf8(path)), QString::fromUtf8(path));
}

TEST(RecentFilesMenu, TheChosenFileMayBeAddedAtOnce) {
    RecentFilesMenu menu(nullptr, paths(3));
    QObject::connect(&menu, &RecentFilesMenu::fileSelected, &menu, &RecentFilesMenu::addFile);
    menu.actions().at(1)->trigger();
    EXPECT_EQ(menu.files(),
              QStringList({QStringLiteral("/2.vdf"), QStringLiteral("/1.vdf"), QStringLiteral("/3.vdf")}));
}

TEST(RecentFilesMenu, DigitsChoose) {
    QWidget window;
    RecentFilesMenu menu(&window, paths(9));
    QSignalSpy selected(&menu, &RecentFilesMenu::fileSelected);
    showAndActivate(window);
    for (const int number : {9, 1}) {
        menu.popup(window.mapToGlobal(QPoint()));
        QTest::keyClick(&menu, static_cast<Qt::Key>(Qt::Key_0 + number));
        ASSERT_FALSE(selected.isEmpty()) << number;
        EXPECT_EQ(selected.takeFirst()[0].toString(), QStringLiteral("/%1.vdf").arg(number));
        EXPECT_FALSE(menu.isVisible());
    }
}

} // namespace

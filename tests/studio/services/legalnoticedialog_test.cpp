#include "services/legalnoticedialog.h"

#include "support/widgets.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QShowEvent>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QtTest/qtestspontaneevent.h>

#include <gtest/gtest.h>
#include <utility>

using namespace Vorta::Testing;
using VortaQt::LegalNoticeDialog;

namespace {

class LegalNoticeDialogTest : public testing::Test {
protected:
    /// Adds libraries "A", "B", ... whose licences are "licence of A", ...
    void add(int count) {
        for (int i = 0; i < count; ++i) {
            const QString name(QChar('A' + list.count()));
            const QString path = folder.filePath(name);
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write("licence of " + name.toUtf8());
            file.close();
            dialog.addLibrary(name, path);
        }
    }

    [[nodiscard]] QString shown() const { return details.toPlainText(); }

    /// Whether "<<" and ">>" can be pressed.
    [[nodiscard]] std::pair<bool, bool> enabled() const { return {previous.isEnabled(), next.isEnabled()}; }

    static constexpr std::pair neither{false, false};
    static constexpr std::pair onlyNext{false, true};
    static constexpr std::pair onlyPrevious{true, false};
    static constexpr std::pair both{true, true};

    QTemporaryDir folder;
    LegalNoticeDialog dialog;
    QListWidget& list = find<QListWidget>(dialog, QStringLiteral("libraryList"));
    QTextBrowser& details = find<QTextBrowser>(dialog, QStringLiteral("detailsBrowser"));
    QPushButton& previous = find<QPushButton>(dialog, QStringLiteral("previousButton"));
    QPushButton& next = find<QPushButton>(dialog, QStringLiteral("nextButton"));
    QPushButton& ok = find<QPushButton>(dialog, QStringLiteral("okButton"));
};

TEST_F(LegalNoticeDialogTest, isADialogWithoutContextHelp) {
    EXPECT_EQ(dialog.objectName(), QStringLiteral("LegalNoticeDialog"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Legal Notice"));
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    const auto& libraries = find<QLabel>(dialog, QStringLiteral("librariesLabel"));
    EXPECT_EQ(libraries.text(), QStringLiteral("&Third Party Libraries:"));
    EXPECT_EQ(libraries.buddy(), &list);
    EXPECT_EQ(find<QLabel>(dialog, QStringLiteral("detailsLabel")).text(), QStringLiteral("Details:"));
    EXPECT_EQ(previous.text(), QStringLiteral("<<"));
    EXPECT_EQ(next.text(), QStringLiteral(">>"));
    EXPECT_EQ(ok.text(), QStringLiteral("&OK"));
    EXPECT_TRUE(ok.isDefault());
    EXPECT_TRUE(details.isReadOnly());
}

TEST_F(LegalNoticeDialogTest, beginsWithTheFirstLibrary) {
    add(3);
    EXPECT_EQ(list.currentRow(), -1);
    EXPECT_EQ(shown(), QString());
    showAndActivate(dialog);
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_EQ(shown(), QStringLiteral("licence of A"));
    EXPECT_EQ(enabled(), onlyNext);
}

TEST_F(LegalNoticeDialogTest, beginsAgainWhenShownAgain) {
    add(3);
    showAndActivate(dialog);
    list.setCurrentRow(2);
    dialog.hide();
    showAndActivate(dialog);
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_EQ(shown(), QStringLiteral("licence of A"));
}

TEST_F(LegalNoticeDialogTest, keepsTheChoiceWhenTheWindowSystemShowsItAgain) {
    add(3);
    showAndActivate(dialog);
    list.setCurrentRow(2);
    QShowEvent event;
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(&dialog, &event);
    EXPECT_EQ(list.currentRow(), 2);
}

TEST_F(LegalNoticeDialogTest, canBeEmpty) {
    showAndActivate(dialog);
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(enabled(), neither);
    EXPECT_EQ(shown(), QString());
}

TEST_F(LegalNoticeDialogTest, oneLibraryHasNoneBeforeAndNoneBehind) {
    add(1);
    showAndActivate(dialog);
    EXPECT_EQ(shown(), QStringLiteral("licence of A"));
    EXPECT_EQ(enabled(), neither);
}

TEST_F(LegalNoticeDialogTest, aLibraryAddedBehindTheCurrentOneCanBeReached) {
    add(1);
    showAndActivate(dialog);
    add(1);
    EXPECT_EQ(enabled(), onlyNext);
    EXPECT_EQ(list.item(1)->text(), QStringLiteral("B"));
}

TEST_F(LegalNoticeDialogTest, stepsFromRowToRow) {
    add(3);
    showAndActivate(dialog);
    next.click();
    EXPECT_EQ(list.currentRow(), 1);
    EXPECT_EQ(shown(), QStringLiteral("licence of B"));
    EXPECT_EQ(enabled(), both);
    next.click();
    EXPECT_EQ(list.currentRow(), 2);
    EXPECT_EQ(shown(), QStringLiteral("licence of C"));
    EXPECT_EQ(enabled(), onlyPrevious);
    next.click();
    EXPECT_EQ(list.currentRow(), 2);
    previous.click();
    previous.click();
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_EQ(shown(), QStringLiteral("licence of A"));
    EXPECT_EQ(enabled(), onlyNext);
}

TEST_F(LegalNoticeDialogTest, enablesButtonsByTheRowAlone) {
    add(3);
    const std::pair<int, std::pair<bool, bool>> expectations[] = {
        {-1, onlyNext}, {0, onlyNext}, {1, both}, {2, onlyPrevious}};
    for (const auto& [row, buttons] : expectations) {
        EXPECT_TRUE(QMetaObject::invokeMethod(&dialog, "handleRowChanged", Q_ARG(int, row)));
        EXPECT_EQ(enabled(), buttons) << row;
    }
}

TEST_F(LegalNoticeDialogTest, repeatedPressesEndAtTheLastRow) {
    add(3);
    showAndActivate(dialog);
    next.setFocus();
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(next.hasFocus());
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(list.currentRow(), 2);
    EXPECT_TRUE(list.hasFocus());

    previous.setFocus();
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_TRUE(list.hasFocus());
}

TEST_F(LegalNoticeDialogTest, isOperatedByKeysAlone) {
    add(3);
    showAndActivate(dialog);
    QTest::keyClick(&dialog, Qt::Key_T, Qt::AltModifier);
    EXPECT_TRUE(list.hasFocus());
    QTest::keyClick(&list, Qt::Key_Down);
    EXPECT_EQ(shown(), QStringLiteral("licence of B"));
    QList<QWidget*> visited;
    for (int step = 0; step < 5; ++step) {
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        visited += dialog.focusWidget();
    }
    EXPECT_EQ(visited, QList<QWidget*>({&details, &previous, &next, &ok, &list}));
    QTest::keyClick(&list, Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(LegalNoticeDialogTest, okAndEscapeClose) {
    add(1);
    showAndActivate(dialog);
    QTest::keyClick(&dialog, Qt::Key_O, Qt::AltModifier);
    EXPECT_TRUE(waitFor([this] { return !dialog.isVisible(); }));
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    showAndActivate(dialog);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

TEST_F(LegalNoticeDialogTest, saysWhichResourceIsMissing) {
    dialog.addLibrary(QStringLiteral("Lost"), QStringLiteral(":/text/resources/100%2_lost.txt"));
    showAndActivate(dialog);
    EXPECT_EQ(shown(), QStringLiteral("Resource not found: :/text/resources/100%2_lost.txt"));
}

TEST_F(LegalNoticeDialogTest, showsTheNamedLibrary) {
    add(2);
    EXPECT_TRUE(QMetaObject::invokeMethod(&dialog, "showDetails", Q_ARG(QString, QStringLiteral("B"))));
    EXPECT_EQ(shown(), QStringLiteral("licence of B"));
    dialog.showDetails(QStringLiteral("Z"));
    EXPECT_EQ(shown(), QStringLiteral("Resource not found: "));
}

TEST_F(LegalNoticeDialogTest, showsPlainTextFromItsBeginning) {
    const QString text = QStringLiteral("<b>Andr\u00e9</b> & Co <a href=\"http://example.org\">\n") +
                         QStringLiteral("a line\n").repeated(500);
    QFile file(folder.filePath(QStringLiteral("long")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
    file.close();
    dialog.addLibrary(QStringLiteral("Long"), file.fileName());
    dialog.addLibrary(QStringLiteral("Again"), file.fileName());
    showAndActivate(dialog);
    EXPECT_EQ(shown(), text);
    QScrollBar& bar = *details.verticalScrollBar();
    ASSERT_TRUE(waitFor([&bar] { return bar.maximum() > 0; }));
    bar.setValue(bar.maximum());
    next.click();
    EXPECT_EQ(bar.value(), 0);
}

} // namespace

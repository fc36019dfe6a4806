#include "services/aboutdialog.h"

#include "support/modaldriver.h"
#include "support/widgets.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTextDocumentFragment>

#include <gtest/gtest.h>

using namespace Vorta::Testing;
using VortaQt::AboutDialog;
using VortaQt::ComponentVersions;

namespace {

ComponentVersions twoComponents() {
    return {{QStringLiteral("VortaStudio.exe"),
             {QStringLiteral("Vorta Studio"), QStringLiteral("a comment"), QStringLiteral("1.0.0"),
              QStringLiteral("1.0.1+3607.8a7510c4")}},
            {QStringLiteral("VortaNET.dll"), {}}};
}

class AboutDialogTest : public testing::Test {
protected:
    AboutDialogTest() { QGuiApplication::clipboard()->setText(QStringLiteral("untouched")); }

    [[nodiscard]] QString labelText(const char* name) const { return find<QLabel>(dialog, QLatin1String(name)).text(); }

    [[nodiscard]] QPushButton& button(const char* name) const { return find<QPushButton>(dialog, QLatin1String(name)); }

    [[nodiscard]] QPushButton& ok() const {
        return *find<QDialogButtonBox>(dialog, QStringLiteral("buttonBox")).button(QDialogButtonBox::Ok);
    }

    AboutDialog dialog{QStringLiteral("Vorta Studio"),
                       QStringLiteral("Graphical user interface for the Vorta 3D Camera"), twoComponents()};
    QTableWidget& table = find<QTableWidget>(dialog, QStringLiteral("componentTable"));
};

TEST_F(AboutDialogTest, isADialogWithoutContextHelp) {
    EXPECT_EQ(dialog.objectName(), QStringLiteral("AboutDialog"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("About"));
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_TRUE(dialog.windowFlags() & Qt::WindowCloseButtonHint);
}

TEST_F(AboutDialogTest, showsTheLogo) {
    const QPixmap logo = find<QLabel>(dialog, QStringLiteral("logoLabel")).pixmap(Qt::ReturnByValue);
    ASSERT_FALSE(logo.isNull());
    EXPECT_EQ(logo.toImage(), QPixmap(QStringLiteral(":/icons/VortaLogo.png")).toImage());
}

TEST_F(AboutDialogTest, namesTheApplication) {
    EXPECT_EQ(find<QLabel>(dialog, QStringLiteral("nameLabel")).textFormat(), Qt::RichText);
    EXPECT_EQ(QTextDocumentFragment::fromHtml(labelText("nameLabel")).toPlainText(), QStringLiteral("Vorta Studio"));
}

TEST_F(AboutDialogTest, describesTheApplication) {
    EXPECT_EQ(find<QLabel>(dialog, QStringLiteral("descriptionLabel")).textFormat(), Qt::RichText);
    EXPECT_EQ(QTextDocumentFragment::fromHtml(labelText("descriptionLabel")).toPlainText(),
              QStringLiteral("Graphical user interface for the Vorta 3D Camera\nCopyright \u00a9 2026 Vorta"));
}

TEST(AboutDialogTexts, replaceTheFirstPlaceholderOnly) {
    const AboutDialog dialog(QStringLiteral("__appname__ 2"), QStringLiteral("<b>not</b> __description__"), {});
    const auto text = [&dialog](const char* name) {
        return QTextDocumentFragment::fromHtml(find<QLabel>(dialog, QLatin1String(name)).text()).toPlainText();
    };
    EXPECT_EQ(text("nameLabel"), QStringLiteral("__appname__ 2"));
    EXPECT_EQ(text("descriptionLabel"), QStringLiteral("not __description__\nCopyright \u00a9 2026 Vorta"));
}

TEST_F(AboutDialogTest, hasARowForEachComponentInTheOrderOfTheirNames) {
    ASSERT_EQ(table.columnCount(), 4);
    QStringList headers;
    for (int column = 0; column < 4; ++column)
        headers += table.horizontalHeaderItem(column)->text();
    EXPECT_EQ(headers, QStringList({QStringLiteral("Component"), QStringLiteral("Description"),
                                    QStringLiteral("File Version"), QStringLiteral("Product Version")}));
    ASSERT_EQ(table.rowCount(), 2);
    const auto row = [this](int number) {
        QStringList texts;
        for (int column = 0; column < 4; ++column)
            texts += table.item(number, column)->text();
        return texts;
    };
    EXPECT_EQ(row(0), QStringList({QStringLiteral("VortaNET.dll"), QString(), QString(), QString()}))
        << "a file without a version record";
    EXPECT_EQ(row(1), QStringList({QStringLiteral("VortaStudio.exe"), QStringLiteral("Vorta Studio"),
                                   QStringLiteral("1.0.0"), QStringLiteral("1.0.1+3607.8a7510c4")}));
}

TEST(AboutDialogWithoutComponents, hasAnEmptyTableAndText) {
    AboutDialog dialog(QStringLiteral("A"), QStringLiteral("B"), {});
    EXPECT_EQ(find<QTableWidget>(dialog, QStringLiteral("componentTable")).rowCount(), 0);
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    dialog.on_copyToClipboardButton_clicked();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString());
}

TEST_F(AboutDialogTest, hasABoldHeaderOverTheWholeTable) {
    showAndActivate(dialog);
    const QHeaderView& header = *table.horizontalHeader();
    EXPECT_EQ(header.font().weight(), 75);
    EXPECT_TRUE(header.defaultAlignment() & Qt::AlignLeft);
    for (int column = 0; column < 4; ++column)
        EXPECT_EQ(header.sectionResizeMode(column), QHeaderView::Stretch);
    EXPECT_EQ(header.length(), table.viewport()->width());
    EXPECT_FALSE(table.verticalHeader()->isVisible());
}

TEST_F(AboutDialogTest, showsTextsWholeAtItsSmallestSize) {
    showAndActivate(dialog);
    dialog.resize(100, 100);
    ASSERT_TRUE(waitFor([this] { return dialog.size() == dialog.minimumSizeHint(); }));
    for (int row = 0; row < table.rowCount(); ++row) {
        EXPECT_GE(table.rowHeight(row), table.verticalHeader()->sectionSizeHint(row));
        for (int column = 0; column < table.columnCount(); ++column)
            EXPECT_LE(table.fontMetrics().horizontalAdvance(table.item(row, column)->text()), table.columnWidth(column))
                << row << ", " << column;
    }
}

TEST_F(AboutDialogTest, rowsGrowWithWrappedTexts) {
    table.item(1, 1)->setText(QStringLiteral("a long description ").repeated(8));
    showAndActivate(dialog);
    dialog.resize(1400, dialog.height());
    ASSERT_TRUE(waitFor([this] { return table.viewport()->width() > 1300; }));
    const int height = table.rowHeight(1);
    dialog.resize(dialog.minimumSizeHint());
    EXPECT_TRUE(waitFor([&] { return table.rowHeight(1) > height; }));
}

TEST_F(AboutDialogTest, cellsCannotBeEdited) {
    showAndActivate(dialog);
    table.setFocus();
    table.setCurrentCell(1, 1);
    QTest::keyClick(&table, Qt::Key_F2);
    QTest::keyClicks(&table, QStringLiteral("x"));
    EXPECT_EQ(table.item(1, 1)->text(), QStringLiteral("Vorta Studio"));
}

TEST_F(AboutDialogTest, copiesTheComponentsAsText) {
    EXPECT_EQ(button("copyToClipboardButton").text(), QStringLiteral("&Copy To Clipboard"));
    button("copyToClipboardButton").click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("VortaNET.dll: Description: \n"
                                                                   "FileVersion:  ProductVersion: \n"
                                                                   "Comments: \n"
                                                                   "VortaStudio.exe: Description: Vorta Studio\n"
                                                                   "FileVersion: 1.0.0 ProductVersion: "
                                                                   "1.0.1+3607.8a7510c4\n"
                                                                   "Comments: a comment\n"));
}

TEST_F(AboutDialogTest, closesWithReturnAndWithEscape) {
    showAndActivate(dialog);
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    showAndActivate(dialog);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

TEST_F(AboutDialogTest, theButtonBoxAcceptsAndRejects) {
    auto& box = find<QDialogButtonBox>(dialog, QStringLiteral("buttonBox"));
    showAndActivate(dialog);
    Q_EMIT box.rejected();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    showAndActivate(dialog);
    ok().click();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(AboutDialogTest, isOperatedByKeysAlone) {
    showAndActivate(dialog);
    EXPECT_TRUE(ok().hasFocus());
    table.setFocus();
    QStringList visited;
    for (int step = 0; step < 4; ++step) {
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        auto* focused = qobject_cast<QPushButton*>(dialog.focusWidget());
        visited += focused ? focused->text() : dialog.focusWidget()->objectName();
    }
    EXPECT_EQ(visited, QStringList({QStringLiteral("&Legal Notice..."), QStringLiteral("&Copy To Clipboard"),
                                    ok().text(), QStringLiteral("componentTable")}));
    QTest::keyClick(&dialog, Qt::Key_C, Qt::AltModifier);
    EXPECT_TRUE(waitFor([] { return QGuiApplication::clipboard()->text() != QStringLiteral("untouched"); }));
}

TEST_F(AboutDialogTest, opensTheLegalNoticeWithTheLibraries) {
    EXPECT_EQ(button("legalNoticeButton").text(), QStringLiteral("&Legal Notice..."));
    showAndActivate(dialog);
    QStringList libraries;
    ModalDriver boxes;
    boxes.then([&libraries](QWidget& box) {
        const auto& list = find<QListWidget>(box, QStringLiteral("libraryList"));
        for (int row = 0; row < list.count(); ++row)
            libraries += list.item(row)->text();
        find<QPushButton>(box, QStringLiteral("okButton")).click();
    });
    QTest::keyClick(&dialog, Qt::Key_L, Qt::AltModifier);
    ASSERT_TRUE(waitFor([&boxes] { return !boxes.seen().empty(); }));
    EXPECT_EQ(boxes.seen().at(0).objectName, QStringLiteral("LegalNoticeDialog"));
    EXPECT_EQ(boxes.seen().at(0).title, QStringLiteral("Legal Notice"));
    EXPECT_EQ(boxes.seen().at(0).parent, &dialog);
    EXPECT_EQ(libraries,
              QStringList({QStringLiteral("Qt"), QStringLiteral("OpenCV"), QStringLiteral("Boost"),
                           QStringLiteral("Qwt"), QStringLiteral("NetCDF"), QStringLiteral("Botan"),
                           QStringLiteral("HIDAPI"), QStringLiteral("yaml-cpp"), QStringLiteral("pugixml")}));
    EXPECT_TRUE(dialog.isVisible());
}

} // namespace

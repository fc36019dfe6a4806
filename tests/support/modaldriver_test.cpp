#include "support/modaldriver.h"

#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QTemporaryDir>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace {

using Vorta::Testing::ModalDriver;

TEST(ModalDriver, ReadsAndAnswersAMessageBox) {
    QWidget parent;
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("No"));
    const auto answer = QMessageBox::question(&parent, QStringLiteral("Really?"), QStringLiteral("Delete it?"),
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    EXPECT_EQ(answer, QMessageBox::No);
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Really?"));
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("Delete it?"));
    EXPECT_EQ(boxes.seen()[0].buttons, (QStringList{QStringLiteral("Yes"), QStringLiteral("No")}));
    EXPECT_EQ(boxes.seen()[0].defaultButton, QStringLiteral("Yes"));
    EXPECT_EQ(boxes.seen()[0].parent, &parent);
    EXPECT_EQ(boxes.seen()[0].icon, QMessageBox::Question);
}

TEST(ModalDriver, ReadsWhatIsDrawnOfAText) {
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK")).thenClick(QStringLiteral("OK"));
    QMessageBox box(QMessageBox::Information, QStringLiteral("File"), QStringLiteral("<b>a</b> &lt; b"));
    box.exec();
    box.setTextFormat(Qt::PlainText);
    box.exec();
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("a < b"));
    EXPECT_EQ(boxes.seen()[1].text, QStringLiteral("<b>a</b> &lt; b"));
}

TEST(ModalDriver, AnswersTheSameDialogEachTimeItIsOpened) {
    QMessageBox box(QMessageBox::Information, QStringLiteral("Again"), QStringLiteral("Once more"),
                    QMessageBox::Ok | QMessageBox::Cancel);
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK")).thenCancel().thenClick(QStringLiteral("&Cancel"));
    EXPECT_EQ(box.exec(), QMessageBox::Ok);
    EXPECT_EQ(box.exec(), QMessageBox::Cancel);
    EXPECT_EQ(box.exec(), QMessageBox::Cancel);
    EXPECT_EQ(boxes.seen().size(), 3U);
}

TEST(ModalDriver, AnswersABoxThatOpensFromABox) {
    ModalDriver boxes;
    int inner = 0;
    boxes.then([&](QWidget& outer) {
        inner = QMessageBox::warning(&outer, QStringLiteral("Inner"), QStringLiteral("Inside"));
        outer.close();
    });
    boxes.thenClick(QStringLiteral("OK"));
    QMessageBox::information(nullptr, QStringLiteral("Outer"), QStringLiteral("Outside"));
    EXPECT_EQ(inner, QMessageBox::Ok);
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Inner"));
}

TEST(ModalDriver, ChoosesAFile) {
    const QTemporaryDir folder;
    ModalDriver boxes;
    boxes.thenChooseFile(folder.filePath(QStringLiteral("cloud.ply")));
    const QString chosen =
        QFileDialog::getSaveFileName(nullptr, QStringLiteral("Save"), folder.path(), QStringLiteral("PLY (*.ply)"));
    EXPECT_EQ(chosen, folder.filePath(QStringLiteral("cloud.ply")));
}

TEST(ModalDriver, FailsAndClosesABoxThatNobodyExpected) {
    EXPECT_NONFATAL_FAILURE(
        {
            ModalDriver boxes;
            QMessageBox::warning(nullptr, QStringLiteral("Surprise"), QStringLiteral("Boo"));
        },
        "unexpected modal box \"Surprise\": Boo");
}

TEST(ModalDriver, FailsForAMissingButtonAndNamesTheOthers) {
    EXPECT_NONFATAL_FAILURE(
        {
            ModalDriver boxes;
            boxes.thenClick(QStringLiteral("Retry"));
            QMessageBox::warning(nullptr, QStringLiteral("Trouble"), QStringLiteral("Again?"),
                                 QMessageBox::Yes | QMessageBox::No);
        },
        "has no button \"Retry\" to click; it has: Yes, No");
}

TEST(ModalDriver, FailsWhenAnExpectedBoxNeverCame) {
    EXPECT_NONFATAL_FAILURE(ModalDriver().thenClick(QStringLiteral("OK")), "1 expected modal boxes did not appear");
}

} // namespace

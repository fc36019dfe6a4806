#include "support/widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

struct Form {
    QWidget root;
    QWidget* left = new QWidget(&root);
    QWidget* right = new QWidget(&root);
    QPushButton* leftButton = new QPushButton(left);
    QPushButton* rightButton = new QPushButton(right);

    Form() {
        left->setObjectName(QStringLiteral("left"));
        right->setObjectName(QStringLiteral("right"));
        leftButton->setObjectName(QStringLiteral("go"));
        rightButton->setObjectName(QStringLiteral("go"));
    }
};

TEST(Find, FollowsThePathOfNames) {
    const Form form;
    EXPECT_EQ(&Vorta::Testing::find<QPushButton>(form.root, QStringLiteral("left/go")), form.leftButton);
    EXPECT_EQ(&Vorta::Testing::find(form.root, QStringLiteral("right/go")), form.rightButton);
}

TEST(Find, RefusesAnAmbiguousName) {
    const Form form;
    EXPECT_THAT([&] { Vorta::Testing::objectAt(form.root, QStringLiteral("go")); },
                ThrowsMessage<std::runtime_error>(HasSubstr("2 objects named \"go\"")));
}

TEST(Find, NamesWhatThereIsWhenNothingMatches) {
    const Form form;
    EXPECT_THAT(
        [&] { Vorta::Testing::objectAt(form.root, QStringLiteral("right/stop")); },
        ThrowsMessage<std::runtime_error>(HasSubstr("0 objects named \"stop\" below \"right\"; there are: go")));
}

TEST(Find, RefusesAnotherType) {
    const Form form;
    EXPECT_THAT([&] { Vorta::Testing::find<QLabel>(form.root, QStringLiteral("left/go")); },
                ThrowsMessage<std::runtime_error>(HasSubstr("left/go is a QPushButton, not a QLabel")));
}

TEST(ActionWithText, FindsTheOneAction) {
    QWidget root;
    QAction grab(QStringLiteral("&Grab"), &root);
    const QAction live(QStringLiteral("&Live"), &root);
    EXPECT_EQ(&Vorta::Testing::actionWithText(root, QStringLiteral("&Grab")), &grab);
    EXPECT_THAT(
        [&] { Vorta::Testing::actionWithText(root, QStringLiteral("Grab")); },
        ThrowsMessage<std::runtime_error>(HasSubstr("0 actions with the text \"Grab\"; there are: &Grab, &Live")));
}

TEST(GrabFromScreen, SeesTheWidgetWhereItStands) {
    QWidget window;
    window.setStyleSheet(QStringLiteral("background-color: rgb(10, 20, 30)"));
    auto* layout = new QHBoxLayout(&window);
    auto* label = new QLabel(&window);
    label->setFixedSize(40, 30);
    label->setStyleSheet(QStringLiteral("background-color: rgb(200, 100, 50)"));
    layout->addWidget(label);
    Vorta::Testing::showAndActivate(window);
    ASSERT_TRUE(Vorta::Testing::waitFor(
        [&] { return Vorta::Testing::grabFromScreen(*label).pixel(20, 15) == qRgb(200, 100, 50); }));
    const QImage image = Vorta::Testing::grabFromScreen(*label);
    EXPECT_EQ(image.size(), QSize(40, 30));
    EXPECT_EQ(image.pixel(0, 0), qRgb(200, 100, 50));
    EXPECT_EQ(image.pixel(39, 29), qRgb(200, 100, 50));
}

TEST(WaitFor, SaysWhenTheConditionNeverHolds) {
    EXPECT_FALSE(Vorta::Testing::waitFor([] { return false; }, 20));
}

} // namespace

#include "settings/expertsettingstablemodel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>

using VortaQt::ExpertSettingsTableModel;

namespace {

const QString gain = QStringLiteral("Camera/Gain");
const QString method = QStringLiteral("Calibration/Method");

class ExpertSettingsTable : public testing::Test {
protected:
    [[nodiscard]] QString text(int row, int column) const { return model.index(row, column).data().toString(); }

    ExpertSettingsTableModel model;
    const QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    QSignalSpy added{&model, &ExpertSettingsTableModel::settingAdded};
    QSignalSpy resets{&model, &QAbstractItemModel::modelReset};
    QSignalSpy insertions{&model, &QAbstractItemModel::rowsInserted};
};

TEST_F(ExpertSettingsTable, startsEmpty) {
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_FALSE(model.index(0, 0).isValid());
    EXPECT_EQ(model.value(gain), QString());
    EXPECT_TRUE(model.settings().isEmpty());
}

TEST_F(ExpertSettingsTable, keepsTheOrderInWhichThePathsCame) {
    model.addSetting(gain, QStringLiteral("2"));
    model.addSetting(method, QStringLiteral("Polynomial"));
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(text(0, 0), gain);
    EXPECT_EQ(text(0, 1), QStringLiteral("2"));
    EXPECT_EQ(text(1, 0), method);
    EXPECT_EQ(text(1, 1), QStringLiteral("Polynomial"));
    EXPECT_EQ(model.paths(), QStringList({gain, method}));
    EXPECT_EQ(model.settings().keys(), QStringList({method, gain})) << "in the order of the paths";
    EXPECT_EQ(model.value(gain), QStringLiteral("2"));
    EXPECT_EQ(model.columnCount(), 2);
}

TEST_F(ExpertSettingsTable, aPathThatComesAgainKeepsItsRowAndTakesTheNewValue) {
    model.addSetting(gain, QStringLiteral("2"));
    model.addSetting(method, QStringLiteral("Polynomial"));
    model.addSetting(gain, QStringLiteral("3"));
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(text(0, 0), gain);
    EXPECT_EQ(text(0, 1), QStringLiteral("3"));
    ASSERT_EQ(added.count(), 3);
    EXPECT_EQ(added[0], QVariantList({gain, QStringLiteral("2")}));
    EXPECT_EQ(added[2], QVariantList({gain, QStringLiteral("3")}));
}

TEST_F(ExpertSettingsTable, tellsAlsoOfAValueThatWasThereAlready) {
    model.addSetting(gain, QStringLiteral("2"));
    model.addSetting(gain, QStringLiteral("2"));
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(added.count(), 2);
    EXPECT_EQ(resets.count(), 2);
}

TEST_F(ExpertSettingsTable, pathsDifferByCase) {
    model.addSetting(gain, QStringLiteral("2"));
    model.addSetting(QStringLiteral("camera/gain"), QStringLiteral("3"));
    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.value(gain), QStringLiteral("2"));
    EXPECT_EQ(model.value(QStringLiteral("CAMERA/GAIN")), QString());
}

TEST_F(ExpertSettingsTable, viewsReloadEveryRow) {
    model.addSetting(gain, QStringLiteral("2"));
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(insertions.count(), 0);
}

TEST_F(ExpertSettingsTable, theRowIsThereWhenItIsTold) {
    QString seen;
    QObject::connect(&model, &ExpertSettingsTableModel::settingAdded, [&] { seen = text(0, 1); });
    model.addSetting(gain, QStringLiteral("2"));
    EXPECT_EQ(seen, QStringLiteral("2"));
}

TEST_F(ExpertSettingsTable, clearsListAndValues) {
    model.addSetting(gain, QStringLiteral("2"));
    model.clear();
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.value(gain), QString());
    EXPECT_TRUE(model.settings().isEmpty());
    EXPECT_EQ(resets.count(), 2);
    EXPECT_EQ(added.count(), 1);
}

TEST_F(ExpertSettingsTable, removesOneRow) {
    model.addSetting(gain, QStringLiteral("2"));
    model.addSetting(method, QStringLiteral("Polynomial"));
    model.removeSetting(model.paths().first());
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(text(0, 0), method);
    EXPECT_EQ(text(0, 1), QStringLiteral("Polynomial"));
    EXPECT_EQ(model.value(gain), QString());
    EXPECT_FALSE(model.settings().contains(gain));
    EXPECT_EQ(resets.count(), 3);

    model.removeSetting(gain);
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(resets.count(), 3) << "nothing to remove";

    model.addSetting(gain, QStringLiteral("4"));
    EXPECT_EQ(text(1, 0), gain) << "at the end, as new";
}

TEST_F(ExpertSettingsTable, hasTextsOnly) {
    model.addSetting(gain, QStringLiteral("2"));
    for (int column = 0; column < 2; ++column)
        for (int role = Qt::DecorationRole; role <= Qt::InitialSortOrderRole; ++role)
            EXPECT_FALSE(model.index(0, column).data(role).isValid()) << column << ' ' << role;
    EXPECT_FALSE(model.data(QModelIndex()).isValid());
    EXPECT_FALSE(model.flags(model.index(0, 1)) & Qt::ItemIsEditable);
}

TEST_F(ExpertSettingsTable, hasACentredHeader) {
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Value"));
    EXPECT_FALSE(model.headerData(2, Qt::Horizontal).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Vertical).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
    for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical})
        for (const int section : {0, 1, 7})
            EXPECT_EQ(model.headerData(section, orientation, Qt::TextAlignmentRole).toInt(),
                      Qt::AlignHCenter | Qt::AlignVCenter);
}

TEST_F(ExpertSettingsTable, isFlat) {
    model.addSetting(gain, QStringLiteral("2"));
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0);
}

} // namespace

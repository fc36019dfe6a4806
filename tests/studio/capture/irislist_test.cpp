#include "capture/irislist.h"

#include "capture/irislistviewmodel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <boost/numeric/conversion/cast.hpp>

namespace {

using IrisList::Values;
constexpr Vorta::Range<std::uint64_t> range{.minimum = 1, .maximum = 63};

TEST(IrisList, aNewValueGoesToItsPlace) {
    EXPECT_EQ(IrisList::inserted({2, 5, 11}, 8), (Values{2, 5, 8, 11}));
    EXPECT_EQ(IrisList::inserted({2, 5, 11}, 1), (Values{1, 2, 5, 11}));
    EXPECT_EQ(IrisList::inserted({2, 5, 11}, 12), (Values{2, 5, 11, 12}));
    EXPECT_EQ(IrisList::inserted({2, 5, 11}, 5), (Values{2, 5, 5, 11}));
    EXPECT_EQ(IrisList::inserted({}, 7), (Values{7}));
}

TEST(IrisList, knowsItsValues) {
    EXPECT_TRUE(IrisList::contains({2, 5, 11}, 11));
    EXPECT_FALSE(IrisList::contains({2, 5, 11}, 8));
    EXPECT_FALSE(IrisList::contains({}, 0));
}

TEST(IrisList, aStoredListIsSortedAndFreedOfWhatNoLensCanDo) {
    EXPECT_EQ(IrisList::fromStored({45, 15, 31}, range, 20), (Values{15, 31, 45}));
    EXPECT_EQ(IrisList::fromStored({31, 15, 31, 15}, range, 20), (Values{15, 31}));
    EXPECT_EQ(IrisList::fromStored({0, 1, 63, 64, ~std::uint64_t{0}}, range, 20), (Values{1, 63}));
}

TEST(IrisList, nothingUsableStoredLeavesTheCurrentIris) {
    EXPECT_EQ(IrisList::fromStored({}, range, 20), (Values{20}));
    EXPECT_EQ(IrisList::fromStored({0, 100}, range, 20), (Values{20}));
}

TEST(IrisList, aNegativeNumberIsNoIris) {
    EXPECT_EQ(IrisList::fromInt(0), 0U);
    EXPECT_EQ(IrisList::fromInt(63), 63U);
    try {
        (void)IrisList::fromInt(-1);
        FAIL() << "-1 was taken for an iris";
    } catch (const boost::numeric::negative_overflow& e) {
        EXPECT_STREQ(e.what(), "bad numeric conversion: negative overflow");
    }
}

TEST(IrisListViewModel, isASoundModel) {
    IrisListViewModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setValues({2, 5, 11});
    model.setValues({});
    model.setValues({6});
}

TEST(IrisListViewModel, showsItsValuesInTheDisplayRoleAlone) {
    IrisListViewModel model;
    EXPECT_EQ(model.rowCount(), 0);
    model.setValues({2, 5, 11});
    EXPECT_EQ(model.rowCount(), 3);
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0) << "a list, not a tree";
    EXPECT_EQ(model.data(model.index(1, 0)), QVariant(5));
    EXPECT_EQ(model.data(model.index(1, 0)).type(), QVariant::Int);
    for (int role = 0; role <= Qt::InitialSortOrderRole; ++role) {
        EXPECT_EQ(model.data(model.index(1, 0), role).isValid(), role == Qt::DisplayRole) << role;
    }
    EXPECT_FALSE(model.data(model.index(3, 0)).isValid());
    EXPECT_FALSE(model.data({}).isValid());
}

TEST(IrisListViewModel, setsValuesInTheEditRoleAlone) {
    IrisListViewModel model;
    model.setValues({2, 5, 11});
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    const QModelIndex second = model.index(1, 0);
    ASSERT_EQ(int{Qt::EditRole}, 2);
    EXPECT_TRUE(model.setData(second, 7));
    EXPECT_TRUE(model.setData(model.index(2, 0), QStringLiteral("12"), Qt::EditRole));
    EXPECT_EQ(model.values(), (Values{2, 7, 12}));
    EXPECT_EQ(changes.count(), 2);
    EXPECT_FALSE(model.setData(second, 8, Qt::DisplayRole));
    EXPECT_FALSE(model.setData(second, 8, Qt::UserRole));
    EXPECT_FALSE(model.setData(model.index(3, 0), 8));
    EXPECT_FALSE(model.setData({}, 8));
    EXPECT_FALSE(model.setData(second, -8)) << "no iris is negative";
    EXPECT_EQ(model.values(), (Values{2, 7, 12}));
    EXPECT_EQ(changes.count(), 2);
    EXPECT_TRUE(model.setData(second, QStringLiteral("wide open"))) << "a text that is no number counts as 0";
    EXPECT_EQ(model.values(), (Values{2, 0, 12}));
}

TEST(IrisListViewModel, isResetByNewValues) {
    IrisListViewModel model;
    const QSignalSpy before(&model, &QAbstractItemModel::modelAboutToBeReset);
    const QSignalSpy after(&model, &QAbstractItemModel::modelReset);
    model.setValues({2, 5});
    EXPECT_EQ(before.count(), 1);
    EXPECT_EQ(after.count(), 1);
}

} // namespace

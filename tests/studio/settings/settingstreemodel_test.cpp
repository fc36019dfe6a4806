#include "settings/settingstreemodel.h"

#include <QAbstractItemModelTester>
#include <QString>
#include <QVector>

#include <gtest/gtest.h>

#include <iterator>
#include <memory>

namespace {

struct Row {
    int depth;
    const char* name;
    const char* value;
};

/// The order of the catalogue; each value differs from the setting's default and from those of its neighbours.
constexpr Row rows[] = {
    {0, "BlueBalance", "1.25"}, {0, "RedBalance", "0.5"},     {0, "ExposureTime", "12345"}, {0, "Iris", "17"},
    {0, "Brightness", "0.75"},  {0, "Bidirectional", "true"}, {0, "Filters", ""},           {1, "Contrast", ""},
    {2, "Threshold", "3.5"},    {1, "Outlier", ""},           {2, "Enabled", "false"},      {2, "Threshold", "2.5"},
    {1, "Saturated", ""},       {2, "Enabled", "false"},      {1, "Reflection", ""},        {2, "Enabled", "true"},
};

Vorta::Settings settingsOfRows() {
    Vorta::Settings settings;
    settings.set("BlueBalance", "1.25");
    settings.set("RedBalance", "0.5");
    settings.set("ExposureTime", "12345");
    settings.set("Iris", "17");
    settings.set("Brightness", "0.75");
    settings.set("Bidirectional", "true");
    settings.set("Filters/Contrast/Threshold", "3.5");
    settings.set("Filters/Outlier/Enabled", "false");
    settings.set("Filters/Outlier/Threshold", "2.5");
    settings.set("Filters/Saturated/Enabled", "false");
    settings.set("Filters/Reflection/Enabled", "true");
    return settings;
}

class SettingsTree : public testing::Test {
protected:
    /// The first column's index of each row, depth first.
    QVector<QModelIndex> all(const QModelIndex& parent = {}) const {
        QVector<QModelIndex> indexes;
        for (int row = 0; row < model.rowCount(parent); ++row) {
            indexes += model.index(row, 0, parent);
            indexes += all(indexes.last());
        }
        return indexes;
    }

    static int depth(const QModelIndex& index) { return index.isValid() ? 1 + depth(index.parent()) : -1; }

    SettingsTreeModel model{settingsOfRows()};
    const QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    const QModelIndex filters = model.index(6, 0);
    const QModelIndex outlier = model.index(1, 0, filters);
};

TEST_F(SettingsTree, showsEveryPublicSettingBelowItsGroups) {
    const QVector<QModelIndex> indexes = all();
    ASSERT_EQ(indexes.size(), static_cast<int>(std::size(rows)));
    for (int i = 0; i < indexes.size(); ++i) {
        EXPECT_EQ(depth(indexes[i]), rows[i].depth) << i;
        EXPECT_EQ(indexes[i].data().toString(), QLatin1String(rows[i].name)) << i;
        const QVariant value = indexes[i].siblingAtColumn(1).data();
        EXPECT_TRUE(value.isValid()) << i;
        EXPECT_EQ(value.toString(), QLatin1String(rows[i].value)) << i;
    }
}

TEST_F(SettingsTree, anEmptyTextIsTheValueOfAGroup) {
    for (const QModelIndex& group : {filters, outlier}) {
        const QVariant value = group.siblingAtColumn(1).data();
        EXPECT_TRUE(value.isValid());
        EXPECT_EQ(value.type(), QVariant::String);
        EXPECT_EQ(value.toString(), QString());
    }
}

TEST_F(SettingsTree, keepsItsTextsWhenTheSettingsChange) {
    Vorta::Settings settings;
    const SettingsTreeModel earlier(settings);
    settings.set("Iris", "5");
    EXPECT_EQ(earlier.index(3, 1).data().toString(), QStringLiteral("31"));
}

TEST_F(SettingsTree, indexesOnlyWhatIsThere) {
    EXPECT_FALSE(model.index(7, 0).isValid());
    EXPECT_FALSE(model.index(-1, 0).isValid());
    EXPECT_FALSE(model.index(0, 2).isValid());
    EXPECT_FALSE(model.index(0, -1).isValid());
    EXPECT_FALSE(model.index(2, 0, outlier).isValid());
    EXPECT_FALSE(model.index(0, 0, model.index(0, 0)).isValid()) << "a setting has nothing below it";
    EXPECT_FALSE(model.index(0, 0, filters.siblingAtColumn(1)).isValid()) << "rows hang on the first column";
    ASSERT_TRUE(model.index(1, 1, outlier).isValid());
    EXPECT_NE(model.index(1, 1, outlier).internalPointer(), nullptr);
    EXPECT_EQ(model.index(1, 1, outlier).internalPointer(), model.index(1, 0, outlier).internalPointer());
}

TEST_F(SettingsTree, knowsTheRowOfAParent) {
    EXPECT_FALSE(model.parent(QModelIndex()).isValid());
    EXPECT_FALSE(model.parent(model.index(5, 1)).isValid());
    EXPECT_FALSE(model.parent(filters).isValid());
    const QModelIndex parent = model.parent(model.index(1, 1, outlier));
    EXPECT_EQ(parent, outlier);
    EXPECT_EQ(parent.row(), 1);
    EXPECT_EQ(parent.column(), 0);
    EXPECT_EQ(model.parent(outlier), filters);
    EXPECT_EQ(model.parent(outlier).row(), 6);
}

TEST_F(SettingsTree, countsRowsAndColumns) {
    EXPECT_EQ(model.rowCount(), 7);
    EXPECT_EQ(model.rowCount(filters), 4);
    EXPECT_EQ(model.rowCount(outlier), 2);
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(model.columnCount(filters), 2);
    EXPECT_EQ(model.columnCount(model.index(0, 0)), 2);
}

TEST_F(SettingsTree, hasTextsOnly) {
    for (const QModelIndex& index : {model.index(0, 0), model.index(0, 1), outlier})
        for (int role = Qt::DecorationRole; role <= Qt::InitialSortOrderRole; ++role)
            EXPECT_FALSE(index.data(role).isValid()) << role;
    EXPECT_FALSE(model.data(QModelIndex()).isValid());
}

TEST_F(SettingsTree, hasAHeaderAboveTheColumns) {
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Value"));
    EXPECT_FALSE(model.headerData(2, Qt::Horizontal).isValid());
    EXPECT_FALSE(model.headerData(-1, Qt::Horizontal).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Vertical).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
}

TEST_F(SettingsTree, canBeSelectedButNotEdited) {
    for (const QModelIndex& index : {model.index(0, 0), model.index(0, 1), outlier.siblingAtColumn(1)})
        EXPECT_EQ(model.flags(index), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    EXPECT_EQ(model.flags(QModelIndex()), Qt::NoItemFlags);
    EXPECT_FALSE(model.setData(model.index(3, 1), 5));
}

/// Counts how many of its kind there are.
class CountedItem : public SettingsTreeItem {
public:
    explicit CountedItem(int& count) : SettingsTreeItem({}), count_(count) { ++count_; }
    CountedItem(const CountedItem&) = delete;
    CountedItem& operator=(const CountedItem&) = delete;
    ~CountedItem() override { --count_; }

private:
    int& count_;
};

std::unique_ptr<SettingsTreeItem> item(const QList<QVariant>& data) {
    return std::make_unique<SettingsTreeItem>(data);
}

TEST(SettingsTreeItem, knowsItsPlace) {
    SettingsTreeItem root({QStringLiteral("Name"), QStringLiteral("Value")});
    root.addChild(item({QStringLiteral("a"), QStringLiteral("1")}));
    SettingsTreeItem& second = root.addChild(item({QStringLiteral("b")}));
    EXPECT_EQ(root.parent(), nullptr);
    EXPECT_EQ(root.row(), 0);
    EXPECT_EQ(root.childCount(), 2);
    EXPECT_EQ(root.child(1), &second);
    EXPECT_EQ(root.child(2), nullptr);
    EXPECT_EQ(root.child(-1), nullptr);
    EXPECT_EQ(second.parent(), &root);
    EXPECT_EQ(second.row(), 1);
    EXPECT_EQ(second.columnCount(), 1);
    EXPECT_EQ(second.data(0).toString(), QStringLiteral("b"));
    EXPECT_FALSE(second.data(1).isValid());
}

TEST(SettingsTreeItem, takesItsChildrenWithIt) {
    int count = 0;
    {
        CountedItem root(count);
        SettingsTreeItem& child = root.addChild(std::make_unique<CountedItem>(count));
        child.addChild(std::make_unique<CountedItem>(count));
        root.addChild(std::make_unique<CountedItem>(count));
        EXPECT_EQ(count, 4);
    }
    EXPECT_EQ(count, 0);
}

} // namespace

#pragma once

#include <QAbstractTableModel>
#include <QMap>
#include <QString>
#include <QStringList>

namespace VortaQt {

/// Expert settings as a table of two columns, "Name" (the path) and "Value", in the order in which the paths came.
/// Values are not checked here. GUI thread.
class ExpertSettingsTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override;

    /// The paths in the order of their rows.
    [[nodiscard]] const QStringList& paths() const noexcept { return paths_; }
    /// The text stored for the path; empty when there is none.
    [[nodiscard]] QString value(const QString& path) const { return values_.value(path); }
    /// All texts by path, as `applyExpertSettings` takes them.
    [[nodiscard]] const QMap<QString, QString>& settings() const noexcept { return values_; }

    /// Adds a row, or replaces the value of the row that has this path.
    void addSetting(const QString& path, const QString& value);
    /// Removes the path's row, if there is one.
    void removeSetting(const QString& path);
    void clear();

Q_SIGNALS:
    /// A row was added or its value replaced, even by the same one.
    void settingAdded(const QString& path, const QString& value);

private:
    QStringList paths_;
    QMap<QString, QString> values_;
};

} // namespace VortaQt

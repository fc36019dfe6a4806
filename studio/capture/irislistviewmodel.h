#pragma once

#include "capture/irislist.h"

#include <QAbstractTableModel>

/// The iris values of a capture dialog as a list for its view: one column, shown and edited as int. GUI thread.
class IrisListViewModel : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    /// Only for the display role.
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Only for the edit role. Whoever uses it keeps the values in order; a negative number is refused.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    [[nodiscard]] const IrisList::Values& values() const noexcept { return values_; }
    /// Resets the model.
    void setValues(IrisList::Values values);

private:
    IrisList::Values values_;
};

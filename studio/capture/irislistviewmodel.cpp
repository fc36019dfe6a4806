#include "capture/irislistviewmodel.h"

#include <utility>

int IrisListViewModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(values_.size());
}

int IrisListViewModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 1;
}

QVariant IrisListViewModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || !checkIndex(index))
        return {};
    return static_cast<int>(values_[static_cast<std::size_t>(index.row())]);
}

bool IrisListViewModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const int iris = value.toInt();
    if (role != Qt::EditRole || !index.isValid() || !checkIndex(index) || iris < 0)
        return false;
    values_[static_cast<std::size_t>(index.row())] = static_cast<std::uint64_t>(iris);
    Q_EMIT dataChanged(index, index);
    return true;
}

void IrisListViewModel::setValues(IrisList::Values values) {
    beginResetModel();
    values_ = std::move(values);
    endResetModel();
}

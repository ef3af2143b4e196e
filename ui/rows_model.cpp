// The pages' table model over rows of text.
#include "ui/rows_model.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>

#include <algorithm>

namespace kv::ui {

RowsModel::RowsModel(int columns, QObject* parent) : QAbstractTableModel(parent) {
    for (int c = 0; c < columns; ++c) heads_ << QString();
}

void RowsModel::show(const QStringList& heads, std::vector<QStringList> rows) {
    if (heads.size() != heads_.size()) {
        beginResetModel();
        heads_ = heads;
        rows_ = std::move(rows);
        endResetModel();
        return;
    }
    if (heads != heads_) {
        heads_ = heads;
        emit headerDataChanged(Qt::Horizontal, 0, static_cast<int>(heads_.size()) - 1);
    }
    const int before = static_cast<int>(rows_.size()), after = static_cast<int>(rows.size());
    int first = -1, last = -1;
    for (int r = 0; r < std::min(before, after); ++r) {
        if (rows_[static_cast<size_t>(r)] == rows[static_cast<size_t>(r)]) continue;
        rows_[static_cast<size_t>(r)] = rows[static_cast<size_t>(r)];
        if (first < 0) first = r;
        last = r;
    }
    if (first >= 0) emit dataChanged(index(first, 0), index(last, columnCount() - 1));
    if (after > before) {
        beginInsertRows({}, before, after - 1);
        rows_.insert(rows_.end(), std::make_move_iterator(rows.begin() + before), std::make_move_iterator(rows.end()));
        endInsertRows();
    } else if (after < before) {
        beginRemoveRows({}, after, before - 1);
        rows_.resize(static_cast<size_t>(after));
        endRemoveRows();
    }
}

void RowsModel::show(const std::vector<std::string>& heads, const std::vector<std::vector<std::string>>& rows) {
    const auto list = [](const std::vector<std::string>& v) {
        QStringList out;
        for (const std::string& s : v) out << QString::fromStdString(s);
        return out;
    };
    std::vector<QStringList> r;
    r.reserve(rows.size());
    for (const auto& row : rows) r.push_back(list(row));
    show(list(heads), std::move(r));
}

void RowsModel::restyle() {
    if (!rows_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

int RowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int RowsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(heads_.size());
}

QVariant RowsModel::data(const QModelIndex& i, int role) const {
    if (!i.isValid() || i.row() >= rowCount()) return {};
    const QStringList& row = rows_[static_cast<size_t>(i.row())];
    const QString text = i.column() < row.size() ? row[i.column()] : QString();
    if (role == Qt::DisplayRole) return text;
    return look ? look(i.row(), i.column(), text, role) : QVariant();
}

QVariant RowsModel::headerData(int section, Qt::Orientation o, int role) const {
    if (o == Qt::Horizontal && role == Qt::DisplayRole && section < heads_.size()) return heads_[section];
    return QAbstractTableModel::headerData(section, o, role);
}

QTableView* ListView(const char* name, RowsModel* model, int rowHeight) {
    auto* v = new QTableView;
    v->setObjectName(name);
    v->setModel(model);
    v->verticalHeader()->hide();
    v->verticalHeader()->setDefaultSectionSize(rowHeight);
    v->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    v->horizontalHeader()->setHighlightSections(false);
    v->setSelectionBehavior(QAbstractItemView::SelectRows);
    v->setSelectionMode(QAbstractItemView::SingleSelection);
    v->setEditTriggers(QAbstractItemView::NoEditTriggers);
    v->setAlternatingRowColors(true);
    v->setWordWrap(false);
    return v;
}

void ShowSelection(QTableView* v, int row) {
    QItemSelectionModel* sel = v->selectionModel();
    if (row >= 0 && row < v->model()->rowCount()) {
        if (!(sel->isRowSelected(row, {}) && sel->selectedRows().size() == 1))
            sel->setCurrentIndex(v->model()->index(row, 0),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    } else if (sel->hasSelection()) {
        sel->clearSelection();
    }
}

}  // namespace kv::ui

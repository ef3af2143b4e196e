// A thin table model over rows of text, the list view the pages show it in, and the selection
// that follows a page model's row.
#pragma once

#include <QAbstractTableModel>
#include <QStringList>

#include <functional>
#include <string>
#include <vector>

class QTableView;

namespace kv::ui {

/// The rows a view shows; a new set signals only the rows that changed, so the view neither
/// resets nor scrolls while nothing moved.
class RowsModel : public QAbstractTableModel {
public:
    /// The columns exist from the start, so that their widths can be set before the first fill.
    RowsModel(int columns, QObject* parent);
    /// A cell's other roles (colours, fonts, alignment), from its place and text.
    std::function<QVariant(int row, int col, const QString& text, int role)> look;

    void show(const QStringList& heads, std::vector<QStringList> rows);
    void show(const std::vector<std::string>& heads, const std::vector<std::vector<std::string>>& rows);
    /// Looks that depend on more than the texts: every row is signalled again.
    void restyle();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& i, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;

private:
    QStringList heads_;
    std::vector<QStringList> rows_;
};

/// A read-only list view with whole-row single selection and fixed row height.
QTableView* ListView(const char* name, RowsModel* model, int rowHeight = 22);
/// Selects row `row` of a view, or nothing; a view already so is left alone.
void ShowSelection(QTableView* v, int row);

}  // namespace kv::ui

// The binders.
#include "ui/binders.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QTableWidget>

#include <memory>

#include "ui/look.h"

namespace kv::ui {

namespace {

// Selects row `s` of a list grid, or nothing; a view whose selection is already so is left alone,
// so that a refresh neither repaints it nor scrolls it back to the selected row.
void showSelection(QTableWidget* w, int s) {
    QItemSelectionModel* sel = w->selectionModel();
    if (s >= 0 && s < w->rowCount()) {
        const bool already = sel->isRowSelected(s, QModelIndex()) && sel->selectedRows().size() == 1 &&
                             w->currentRow() == s;
        if (!already) w->selectRow(s);
    } else if (sel->hasSelection()) {
        w->clearSelection();
    }
}

}  // namespace

void Binder::act(const std::function<void()>& action) {
    if (refreshing_) return;
    try {
        action();
    } catch (...) {
        // A model action ends quietly; what it did stands.
    }
    refresh();
    if (afterAction) afterAction();
}

void Binder::refresh() {
    refreshing_ = true;
    for (const auto& show : shows_) show();
    refreshing_ = false;
}

void Binder::custom(std::function<void()> show) { shows_.push_back(std::move(show)); }

void Binder::text(QLineEdit* w, Get<std::string> value, std::function<void(const std::string&)> edited,
                  Get<bool> enabled) {
    if (edited) {
        QObject::connect(w, &QLineEdit::textEdited, w, [this, edited](const QString& t) {
            act([&] { edited(t.toStdString()); });
        });
    } else {
        w->setReadOnly(true);
    }
    shows_.push_back([w, value, enabled] {
        const QSignalBlocker block(w);
        const QString v = Q(value());
        if (w->text() != v) w->setText(v);
        if (enabled) w->setEnabled(enabled());
    });
}

void Binder::label(QLabel* w, Get<std::string> value) {
    shows_.push_back([w, value] {
        const QString v = Q(value());
        if (w->text() != v) w->setText(v);
    });
}

void Binder::check(QAbstractButton* w, Get<bool> value, std::function<void(bool)> clicked, Get<bool> enabled) {
    w->setCheckable(true);
    QObject::connect(w, &QAbstractButton::clicked, w, [this, clicked](bool on) { act([&] { clicked(on); }); });
    shows_.push_back([w, value, enabled] {
        const QSignalBlocker block(w);
        if (const bool v = value(); w->isChecked() != v) w->setChecked(v);
        if (enabled) w->setEnabled(enabled());
    });
}

void Binder::combo(QComboBox* w, Get<std::vector<std::string>> items, Get<int> index, std::function<void(int)> chosen,
                   Get<bool> enabled, std::function<QIcon(size_t)> icon) {
    QObject::connect(w, qOverload<int>(&QComboBox::activated), w, [this, chosen](int i) { act([&] { chosen(i); }); });
    // The texts the widget was last filled with: an unchanged list is not compared item by item.
    auto shown = std::make_shared<std::vector<std::string>>();
    shows_.push_back([w, items, index, enabled, icon, shown] {
        const QSignalBlocker block(w);
        std::vector<std::string> list = items();
        if (list != *shown || w->count() != static_cast<int>(list.size())) {
            w->clear();
            for (size_t i = 0; i < list.size(); ++i) w->addItem(icon ? icon(i) : QIcon(), Q(list[i]));
            *shown = std::move(list);
        }
        if (const int i = index(); w->currentIndex() != i) w->setCurrentIndex(i);
        if (enabled) w->setEnabled(enabled());
    });
}

void Binder::combo(QComboBox* w, const app::ComboBox& model, std::function<void(int)> chosen, Get<bool> enabled) {
    combo(
        w, [&model] { return model.items; }, [&model] { return model.index; }, std::move(chosen), std::move(enabled));
}

void Binder::grid(QTableWidget* w, Get<std::vector<std::string>> headings, Get<Cells> rows, Get<int> selected,
                  std::function<void(int)> clicked) {
    w->setEditTriggers(QAbstractItemView::NoEditTriggers);
    w->setSelectionBehavior(QAbstractItemView::SelectRows);
    w->setSelectionMode(QAbstractItemView::SingleSelection);
    w->verticalHeader()->setVisible(false);
    if (clicked) {
        QObject::connect(w, &QTableWidget::cellClicked, w, [this, clicked](int row, int) {
            act([&] { clicked(row); });
        });
    }
    // What the widget shows (the grid is read-only, so it changes only here): a refresh compares
    // the model's rows with it and writes the cells that differ, nothing when none does.
    struct Shown {
        std::vector<std::string> heads;
        Cells cells;
    };
    auto shown = std::make_shared<Shown>();
    shows_.push_back([w, headings, rows, selected, shown] {
        const QSignalBlocker block(w);
        std::vector<std::string> heads = headings();
        if (heads != shown->heads) {
            if (w->columnCount() != static_cast<int>(heads.size())) w->setColumnCount(static_cast<int>(heads.size()));
            for (int c = 0; c < static_cast<int>(heads.size()); ++c) {
                QTableWidgetItem* h = w->horizontalHeaderItem(c);
                if (!h) w->setHorizontalHeaderItem(c, h = new QTableWidgetItem);
                h->setText(Q(heads[static_cast<size_t>(c)]));
            }
            shown->heads = std::move(heads);
        }
        Cells cells = rows();
        if (cells != shown->cells || w->rowCount() != static_cast<int>(cells.size())) {
            const int count = static_cast<int>(cells.size());
            if (w->rowCount() != count) w->setRowCount(count);
            const Cells& before = shown->cells;
            for (int r = 0; r < count; ++r) {
                const auto& row = cells[static_cast<size_t>(r)];
                const auto* old = static_cast<size_t>(r) < before.size() ? &before[static_cast<size_t>(r)] : nullptr;
                if (old && *old == row) continue;
                for (int c = 0; c < static_cast<int>(row.size()) && c < w->columnCount(); ++c) {
                    const std::string& v = row[static_cast<size_t>(c)];
                    QTableWidgetItem* item = w->item(r, c);
                    if (!item) {
                        w->setItem(r, c, new QTableWidgetItem(Q(v)));
                    } else if (!old || static_cast<size_t>(c) >= old->size() || (*old)[static_cast<size_t>(c)] != v) {
                        item->setText(Q(v));
                    }
                }
            }
            shown->cells = std::move(cells);
        }
        if (selected) showSelection(w, selected());
    });
}

void Binder::button(QAbstractButton* w, std::function<void()> pressed, Get<bool> enabled, Get<bool> visible) {
    QObject::connect(w, &QAbstractButton::clicked, w, [this, pressed] { act(pressed); });
    if (!enabled && !visible) return;
    shows_.push_back([w, enabled, visible] {
        if (enabled) w->setEnabled(enabled());
        if (visible) w->setVisible(visible());
    });
}

void Binder::action(QAction* w, std::function<void()> pressed, Get<bool> enabled) {
    QObject::connect(w, &QAction::triggered, w, [this, pressed] { act(pressed); });
    if (enabled) shows_.push_back([w, enabled] { w->setEnabled(enabled()); });
}

void Binder::visible(QWidget* w, Get<bool> value) {
    shows_.push_back([w, value] { w->setVisible(value()); });
}

void Binder::enabled(QWidget* w, Get<bool> value) {
    shows_.push_back([w, value] { w->setEnabled(value()); });
}

}  // namespace kv::ui

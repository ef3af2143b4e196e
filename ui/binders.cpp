// The binders.
#include "ui/binders.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QTableWidget>

#include "ui/look.h"

namespace kv::ui {

std::vector<ComboItem> ItemsOf(const app::ComboBox& combo) {
    std::vector<ComboItem> out;
    out.reserve(combo.items.size());
    for (const std::string& s : combo.items) out.push_back({s, {}});
    return out;
}

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
        w->setChecked(value());
        if (enabled) w->setEnabled(enabled());
    });
}

void Binder::combo(QComboBox* w, Get<std::vector<ComboItem>> items, Get<int> index, std::function<void(int)> chosen,
                   Get<bool> enabled) {
    QObject::connect(w, qOverload<int>(&QComboBox::activated), w, [this, chosen](int i) { act([&] { chosen(i); }); });
    shows_.push_back([w, items, index, enabled] {
        const QSignalBlocker block(w);
        const std::vector<ComboItem> list = items();
        bool same = w->count() == static_cast<int>(list.size());
        for (int i = 0; same && i < w->count(); ++i) same = w->itemText(i) == Q(list[static_cast<size_t>(i)].text);
        if (!same) {
            w->clear();
            for (const ComboItem& it : list) w->addItem(it.icon, Q(it.text));
        }
        w->setCurrentIndex(index());
        if (enabled) w->setEnabled(enabled());
    });
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
    shows_.push_back([w, headings, rows, selected] {
        const QSignalBlocker block(w);
        const std::vector<std::string> heads = headings();
        if (w->columnCount() != static_cast<int>(heads.size())) w->setColumnCount(static_cast<int>(heads.size()));
        for (int c = 0; c < static_cast<int>(heads.size()); ++c) {
            QTableWidgetItem* h = w->horizontalHeaderItem(c);
            if (!h) w->setHorizontalHeaderItem(c, h = new QTableWidgetItem);
            if (h->text() != Q(heads[static_cast<size_t>(c)])) h->setText(Q(heads[static_cast<size_t>(c)]));
        }
        const Cells cells = rows();
        if (w->rowCount() != static_cast<int>(cells.size())) w->setRowCount(static_cast<int>(cells.size()));
        for (int r = 0; r < static_cast<int>(cells.size()); ++r) {
            const auto& row = cells[static_cast<size_t>(r)];
            for (int c = 0; c < static_cast<int>(row.size()) && c < w->columnCount(); ++c) {
                QTableWidgetItem* item = w->item(r, c);
                if (!item) w->setItem(r, c, item = new QTableWidgetItem);
                const QString v = Q(row[static_cast<size_t>(c)]);
                if (item->text() != v) item->setText(v);
            }
        }
        if (selected) {
            const int s = selected();
            if (s >= 0 && s < w->rowCount()) w->selectRow(s);
            else w->clearSelection();
        }
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

void Binder::visible(QWidget* w, Get<bool> value) {
    shows_.push_back([w, value] { w->setVisible(value()); });
}

void Binder::enabled(QWidget* w, Get<bool> value) {
    shows_.push_back([w, value] { w->setEnabled(value()); });
}

}  // namespace kv::ui

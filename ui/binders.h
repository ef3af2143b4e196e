// Generic binders: each keeps a widget in step with a value of a page model and forwards the
// widget's user action to the model, so that a form file only wires names together. A refresh
// writes to a widget only what changed since the last one.
#pragma once

#include <QIcon>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "app/controls.h"

class QAbstractButton;
class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableWidget;
class QWidget;

namespace kv::ui {

using Cells = std::vector<std::vector<std::string>>;

/// Rows of fixed-width model grids as cells.
template <size_t N>
Cells CellsOf(const std::vector<std::array<std::string, N>>& rows) {
    Cells out;
    out.reserve(rows.size());
    for (const auto& r : rows) out.emplace_back(r.begin(), r.end());
    return out;
}

class Binder {
public:
    template <typename T>
    using Get = std::function<T()>;

    /// Runs after every action of a bound widget (the owner refreshes the other forms).
    std::function<void()> afterAction;

    void text(QLineEdit* w, Get<std::string> value, std::function<void(const std::string&)> edited = {},
              Get<bool> enabled = {});
    void label(QLabel* w, Get<std::string> value);
    void check(QAbstractButton* w, Get<bool> value, std::function<void(bool)> clicked, Get<bool> enabled = {});
    /// `icon` gives the picture of item i; it is asked only when the list of texts changed.
    void combo(QComboBox* w, Get<std::vector<std::string>> items, Get<int> index, std::function<void(int)> chosen,
               Get<bool> enabled = {}, std::function<QIcon(size_t)> icon = {});
    /// A model's combo box: its items and selection (`enabled` decides the widget's state).
    void combo(QComboBox* w, const app::ComboBox& model, std::function<void(int)> chosen, Get<bool> enabled = {});
    /// A list grid: the headings, the rows' texts and the selected row. Only cells whose text
    /// changed since the last refresh are written; the selection is set only when it differs.
    void grid(QTableWidget* w, Get<std::vector<std::string>> headings, Get<Cells> rows, Get<int> selected = {},
              std::function<void(int)> clicked = {});
    void button(QAbstractButton* w, std::function<void()> pressed, Get<bool> enabled = {}, Get<bool> visible = {});
    /// A menu entry: triggering it runs `pressed`; `enabled` decides its state.
    void action(QAction* w, std::function<void()> pressed, Get<bool> enabled = {});
    void visible(QWidget* w, Get<bool> value);
    void enabled(QWidget* w, Get<bool> value);
    /// Anything else the form shows from the model.
    void custom(std::function<void()> show);

    /// Model to widgets; the widgets' signals are blocked meanwhile.
    void refresh();
    /// Runs a model action, then refreshes (and tells the owner).
    void act(const std::function<void()>& action);

private:
    std::vector<std::function<void()>> shows_;
    bool refreshing_ = false;
};

}  // namespace kv::ui

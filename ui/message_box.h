// formMessageBox: the program's modal box in its modes (notice, yes/no, yes/no/cancel, password),
// and the prompter that the models talk to.
#pragma once

#include <QDialog>
#include <functional>
#include <optional>
#include <string>

#include "app/prompter.h"

class QLineEdit;
class QWidget;
namespace kv::base {
class Language;
}

namespace kv::ui {

enum class BoxMode { Notice, Critical, YesNo, YesNoCancel, Password };

class MessageBox : public QDialog {
public:
    MessageBox(QWidget* parent, BoxMode mode, const std::string& title, const std::string& text,
               const base::Language* lang);
    app::Answer answer() const { return answer_; }
    std::string password() const;

private:
    app::Answer answer_ = app::Answer::Cancel;
    QLineEdit* password_ = nullptr;
};

/// The models' prompter: the status line of the form in front, and formMessageBox.
class UiPrompter : public app::Prompter {
public:
    void setLanguage(const base::Language* lang) { lang_ = lang; }
    std::string appTitle;
    /// Where status lines go (the form in front).
    std::function<void(const std::string&)> statusSink;
    /// The window boxes stand over.
    std::function<QWidget*()> parent;

    void status(const std::string& text) override;
    app::Answer box(app::BoxKind kind, const std::string& text, const std::string& title) override;
    /// The password mode: the text typed, or nothing when cancelled.
    std::optional<std::string> askPassword(const std::string& text, const std::string& title);

    /// The last status line and the boxes shown so far (the screenshot tour and the tests read them).
    std::string lastStatus;
    std::vector<std::string> shownBoxes;

    /// Marks, for as long as it lives, a box or dialog that waits for the user's answer. The
    /// client's tick holds meanwhile; window-modal dialogs that wait for nothing do not mark.
    class Waiting {
    public:
        explicit Waiting(UiPrompter& p) : p_(p) { ++p_.waiting_; }
        ~Waiting() { --p_.waiting_; }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;

    private:
        UiPrompter& p_;
    };
    bool waitingForAnswer() const { return waiting_ > 0; }

private:
    const base::Language* lang_ = nullptr;
    int waiting_ = 0;
};

}  // namespace kv::ui

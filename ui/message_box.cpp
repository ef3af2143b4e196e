// formMessageBox and the prompter.
#include "ui/message_box.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {
namespace {

// A caption of the language, or the English word while no language is loaded.
QString word(const base::Language* lang, int id, const char* fallback) {
    if (lang && lang->loaded()) {
        const std::string t = lang->GetText(id);
        if (t != "-") return Q(t);
    }
    return fallback;
}

}  // namespace

MessageBox::MessageBox(QWidget* parent, BoxMode mode, const std::string& title, const std::string& text,
                       const base::Language* lang)
    : QDialog(parent) {
    setObjectName("formMessageBox");
    setWindowTitle(Q(title));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    auto* image = new QLabel;
    image->setObjectName("Image1");
    const char* iconName = mode == BoxMode::Critical                                   ? "box-critical"
                           : mode == BoxMode::Password                                 ? "box-password"
                           : mode == BoxMode::YesNo || mode == BoxMode::YesNoCancel ? "box-question"
                                                                                       : "box-info";
    image->setPixmap(Icon(iconName).pixmap(40, 40));
    image->setAlignment(Qt::AlignTop);
    row->addWidget(image);
    auto* message = new QLabel(Q(text));
    message->setObjectName("txtMessageBox");
    message->setWordWrap(true);
    message->setMinimumWidth(320);
    message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    row->addWidget(message, 1);
    layout->addLayout(row);
    if (mode == BoxMode::Password) {
        password_ = new QLineEdit;
        password_->setObjectName("TextPassword");
        password_->setEchoMode(QLineEdit::Password);
        layout->addWidget(password_);
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto add = [&](int index, const QString& caption, app::Answer a) {
        auto* b = new QPushButton(caption);
        b->setObjectName(QString("cmdSubmit_%1").arg(index));
        connect(b, &QPushButton::clicked, this, [this, a] {
            answer_ = a;
            done(a == app::Answer::Cancel || a == app::Answer::No ? QDialog::Rejected : QDialog::Accepted);
        });
        buttons->addWidget(b);
        return b;
    };
    QPushButton* first = nullptr;
    switch (mode) {
        case BoxMode::Notice:
        case BoxMode::Critical: first = add(0, word(lang, 850, "OK"), app::Answer::Ok); answer_ = app::Answer::Ok; break;
        case BoxMode::YesNo:
            first = add(0, word(lang, 74, "Yes"), app::Answer::Yes);
            add(1, word(lang, 851, "No"), app::Answer::No);
            answer_ = app::Answer::No;
            break;
        case BoxMode::YesNoCancel:
            first = add(0, word(lang, 74, "Yes"), app::Answer::Yes);
            add(1, word(lang, 851, "No"), app::Answer::No);
            add(2, word(lang, 852, "Cancel"), app::Answer::Cancel);
            break;
        case BoxMode::Password:
            first = add(0, word(lang, 850, "OK"), app::Answer::Ok);
            add(2, word(lang, 852, "Cancel"), app::Answer::Cancel);
            break;
    }
    first->setDefault(true);
    layout->addLayout(buttons);
}

std::string MessageBox::password() const { return password_ ? password_->text().toStdString() : std::string(); }

void UiPrompter::status(const std::string& text) {
    lastStatus = text;
    if (statusSink) statusSink(text);
}

app::Answer UiPrompter::box(app::BoxKind kind, const std::string& text, const std::string& title) {
    const BoxMode mode = kind == app::BoxKind::Critical      ? BoxMode::Critical
                         : kind == app::BoxKind::YesNo       ? BoxMode::YesNo
                         : kind == app::BoxKind::YesNoCancel ? BoxMode::YesNoCancel
                                                             : BoxMode::Notice;
    shownBoxes.push_back(text);
    MessageBox b(parent ? parent() : nullptr, mode, title.empty() ? appTitle : title, text, lang_);
    const Waiting waiting(*this);
    b.exec();
    return b.answer();
}

std::optional<std::string> UiPrompter::askPassword(const std::string& text, const std::string& title) {
    shownBoxes.push_back(text);
    MessageBox b(parent ? parent() : nullptr, BoxMode::Password, title.empty() ? appTitle : title, text, lang_);
    const Waiting waiting(*this);
    b.exec();
    if (b.answer() != app::Answer::Ok) return std::nullopt;
    return b.password();
}

}  // namespace kv::ui

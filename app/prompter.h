// How the core asks the user something or tells them something, and how it chooses files.
#pragma once

#include <optional>
#include <string>

namespace kv::app {

enum class BoxKind { Notice, Critical, YesNo, YesNoCancel };
enum class Answer { Ok, Yes, No, Cancel };

class Prompter {
public:
    virtual ~Prompter() = default;
    /// The status line of the form in front.
    virtual void status(const std::string& text) = 0;
    /// A message box; answers Ok for the notice kinds.
    virtual Answer box(BoxKind kind, const std::string& text, const std::string& title) = 0;
};

}  // namespace kv::app

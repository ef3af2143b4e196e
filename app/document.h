// The documents of kelvarra-ctl as the subjects see them: each subject prints its sections of
// the configuration and stages a document's changes through its page models; the run sends
// them only when no section was refused.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "app/prompter.h"

namespace kv::base {
class Language;
}
namespace kv::link {
class ServiceLink;
}

namespace kv::app {

using Json = nlohmann::ordered_json;

/// A document value that is not in the form `dump` prints.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a dump prints what it holds.
struct DumpForm {
    bool secrets = false;  // passwords in clear; otherwise a set one is printed as kMask
};

/// What a dump prints for a password that is set; apply reads it as "the value the service holds".
inline constexpr std::string_view kMask = "********";

/// A secret as a dump prints it: the mask, unless it is empty or secrets are shown.
std::string ShownSecret(const std::string& value, const DumpForm& form);

/// The value a document's secret stands for: `loaded` when the document holds the mask.
/// `known` says whether the record exists on the service; a mask in a new record throws.
std::string SecretOf(const Json& value, const std::string& loaded, bool known, const std::string& where);

/// A fixed table that a record holds an index into. A dump prints the text; a document may give
/// the text (any case) or the index as a number. Indices count from `first`.
struct TextTable {
    std::string_view what;  // for messages: "frame rate"
    std::span<const std::string_view> texts;
    int64_t first = 0;
};
/// The table's text of `index`, or the number itself when the table has no such entry.
Json TableText(const TextTable& table, int64_t index);
/// The index a document's value stands for; throws DocumentError for text the table does not hold
/// or a value that is neither text nor a whole number.
int64_t TableIndex(const TextTable& table, const Json& value, const std::string& where);

/// The keys of `after` whose values differ from `before`, but `ignored`, joined by ", ".
std::string ChangedFields(const Json& before, const Json& after, const std::set<std::string>& ignored = {});

/// Keeps the messages the page models show, so that a refusal can be reported with its text.
/// Questions are answered yes.
class CapturingPrompter : public Prompter {
public:
    std::vector<std::string> boxes;
    void status(const std::string&) override {}
    Answer box(BoxKind kind, const std::string& text, const std::string&) override {
        boxes.push_back(text);
        return kind == BoxKind::YesNo || kind == BoxKind::YesNoCancel ? Answer::Yes : Answer::Ok;
    }
    /// The last message, or `fallback` when none was shown.
    std::string last(const std::string& fallback) const { return boxes.empty() ? fallback : boxes.back(); }
};

/// One write the staged changes need.
struct PendingSave {
    std::string section;
    std::string command;                           // the text that goes out
    std::function<bool(std::string& reply)> send;  // the subject's save procedure
    std::function<void()> commit;                  // the loaded tables once the service took it
};

/// One apply run: what the sections share while they stage.
class Stage {
public:
    Stage(link::ServiceLink& link, const base::Language& lang) : link(link), lang(lang) {}

    link::ServiceLink& link;
    const base::Language& lang;
    CapturingPrompter prompter;
    std::string title = "kelvarra-ctl";

    /// The change cannot be made; `where` names the section or record.
    void refuse(const std::string& where, const std::string& why) { refusals.push_back(where + ": refused: " + why); }
    /// A line for the report (an id the page gave a new record ...).
    void note(const std::string& where, const std::string& what) { notes.push_back(where + ": " + what); }
    void warn(const std::string& what) { warnings.push_back("warning: " + what); }
    bool refused() const { return !refusals.empty(); }
    /// Runs `step` once every section was staged, for changes that depend on other sections.
    void later(std::function<void()> step) { laterSteps.push_back(std::move(step)); }

    std::vector<std::string> refusals;
    std::vector<std::string> notes;
    std::vector<std::string> warnings;
    std::vector<std::function<void()>> laterSteps;
};

/// Values compare as JSON values: the order of an object's keys does not matter.
bool SameValue(const Json& a, const Json& b);

/// A subject's sections of the document, over the session's loaded tables.
class DocumentPart {
public:
    virtual ~DocumentPart() = default;
    /// The names of its sections, in the order of the document.
    virtual std::vector<std::string> names() const = 0;
    /// Reads what the login does not load but the document shows; before dump and apply.
    virtual void readExtras() {}
    /// Adds its sections, from the loaded tables: secrets masked unless `form` shows them, an
    /// index into a fixed table as the table's text.
    virtual void dump(Json& doc, const DumpForm& form) const = 0;
    /// Stages the sections of `doc` that differ from the loaded tables, through the page models,
    /// never touching the loaded tables. A masked secret is the loaded value; a table's text is
    /// its index. Throws DocumentError for a value not in dump's form.
    virtual void stage(const Json& doc, Stage& stage) = 0;
    /// What was staged, one line a change ("adds account \"x\" as ID 4", "removes channel 3
    /// \"Gate\"", "changes channel 6: Name, FPS"), in the order of its saves; no secret values.
    virtual std::vector<std::string> plan() const { return {}; }
    /// The writes of what was staged, in the order they go out.
    virtual void saves(Stage& stage, std::vector<PendingSave>& out) = 0;
};

}  // namespace kv::app

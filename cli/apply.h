// Applying a document of `kelvarra-ctl dump` back to the service: the sections this version
// knows, the staging of their changes through the page models, and the sends.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "app/config.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "link/service_link.h"

namespace kv::cli {

using Json = nlohmann::ordered_json;

/// Exit codes of `apply` beside 0 (done, or nothing to do).
inline constexpr int kExitBadDocument = 2;
inline constexpr int kExitRefused = 4;

/// A document that is not in the form `dump` prints.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Keeps the messages the page models show, so that a refusal can be reported with its text.
/// Questions are answered yes.
class CapturingPrompter : public app::Prompter {
public:
    std::vector<std::string> boxes;
    void status(const std::string&) override {}
    app::Answer box(app::BoxKind kind, const std::string& text, const std::string&) override {
        boxes.push_back(text);
        return kind == app::BoxKind::YesNo || kind == app::BoxKind::YesNoCancel ? app::Answer::Yes : app::Answer::Ok;
    }
    /// The last message, or `fallback` when none was shown.
    std::string last(const std::string& fallback) const { return boxes.empty() ? fallback : boxes.back(); }
};

/// One whole-list write that the staged changes need.
struct PendingSave {
    std::string section;
    std::string command;                           // the text that goes out
    std::function<bool(std::string& reply)> send;  // the subject's save procedure
    std::function<void(app::Config&)> commit;      // the tables once the service took it
};

/// One apply run. Sections change `scratch` through their page models, never the loaded
/// tables; nothing is sent unless every section was staged without a refusal.
class Stage {
public:
    Stage(const app::Config& loaded, link::ServiceLink& link, const base::Language& lang);

    const app::Config& loaded;
    app::Config scratch;
    link::ServiceLink& link;
    const base::Language& lang;
    CapturingPrompter prompter;
    std::string title = "kelvarra-ctl";

    /// The change cannot be made; `where` names the section or record.
    void refuse(const std::string& where, const std::string& why) { refusals.push_back(where + ": refused: " + why); }
    /// A line for the report (an id the page gave a new record ...).
    void note(const std::string& where, const std::string& what) { notes.push_back(where + ": " + what); }
    bool refused() const { return !refusals.empty(); }
    /// Runs `step` once every section was staged, for changes that depend on other sections.
    void later(std::function<void()> step) { laterSteps.push_back(std::move(step)); }

    /// State a subject keeps across its sections (its page model), made by `make` (returning
    /// a std::shared_ptr<T>) on first use.
    template <typename T, typename Make>
    T& subject(const std::string& key, Make make) {
        auto& slot = subjects_[key];
        if (!slot) slot = make();
        return *static_cast<T*>(slot.get());
    }

    std::vector<std::string> refusals;
    std::vector<std::string> notes;
    std::vector<std::function<void()>> laterSteps;

private:
    std::map<std::string, std::shared_ptr<void>> subjects_;
};

/// A section of the document: how `dump` prints it, how `apply` stages it, what it sends.
struct Section {
    std::string name;
    std::function<Json(const app::Config&)> dump;
    /// Stages the document's value; empty for sections this version prints but cannot apply.
    /// Throws DocumentError for a value not in the dump's form.
    std::function<void(const Json& value, Stage& stage)> stage;
    /// The write the staged tables need, if any.
    std::function<std::optional<PendingSave>(Stage& stage)> save;
    /// The writes of a section that sends one command per record, in their order (channels).
    std::function<std::vector<PendingSave>(Stage& stage)> saves = nullptr;
};

/// Sections by name, in the order they are staged and saved.
class SectionRegistry {
public:
    void add(Section section) { sections_.push_back(std::move(section)); }
    const Section* find(std::string_view name) const;
    const std::vector<Section>& sections() const { return sections_; }

private:
    std::vector<Section> sections_;
};

/// The dump of one section: its value in `DumpConfig`.
std::function<Json(const app::Config&)> DumpSection(std::string name);

/// The sections of the accounts: "strUserGroup", then "strUser".
void AddUserSections(SectionRegistry& registry);
/// The sections of the channels: "strCH", "Presets" and the read-only "ChannelStatus".
void AddChannelSections(SectionRegistry& registry);
/// Every section this version knows.
SectionRegistry KnownSections();

/// Reads a document file; nothing and `error` set when it is missing or not a JSON object.
std::optional<Json> ReadDocument(const std::filesystem::path& file, std::string& error);

/// Applies `doc` to the service behind `link`, whose tables `config` holds. Prints what it sends
/// and what the service answers on `out`, warnings and refusals on `err`. Returns 0 (applied, or
/// nothing differs), kExitBadDocument, or kExitRefused (by the page rules, with nothing sent, or
/// by the service).
int Apply(const Json& doc, app::Config& config, link::ServiceLink& link, const base::Language& lang, std::ostream& out,
          std::ostream& err, const SectionRegistry& sections = KnownSections());

}  // namespace kv::cli

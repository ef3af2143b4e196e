// kelvarra-ctl's documents: the dump of the subjects' sections, and the apply run that stages a
// document through the subjects' page models and sends it only when nothing was refused.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "app/document.h"

namespace kv::base {
class Language;
}
namespace kv::link {
class ObservedLink;
class ServiceLink;
}

namespace kv::cli {

using app::Json;
using Parts = std::vector<std::unique_ptr<app::DocumentPart>>;

/// Exit codes of `apply` beside 0 (done, or nothing to do).
inline constexpr int kExitBadDocument = 2;
inline constexpr int kExitRefused = 4;

/// The configuration as one document: every part's sections, in the parts' order.
Json Dump(const Parts& parts, const app::DumpForm& form = {});

/// `command` as kelvarra-ctl prints it: the value of every `Password` attribute and element
/// masked (an empty one stays empty).
std::string MaskCommand(const std::string& command);

struct ApplyOptions {
    bool dryRun = false;   // print the plan and the commands; send no write
    bool secrets = false;  // print the commands' passwords in clear
    /// The link the session sends through: what the subjects send after a write was taken (the
    /// lists a channel removal pruned) is printed as well.
    link::ObservedLink* echo = nullptr;
};

/// Reads a document file; nothing and `error` set when it is missing or not a JSON object.
std::optional<Json> ReadDocument(const std::filesystem::path& file, std::string& error);

/// Applies `doc` to the service behind `link`. Prints the plan, then what it sends and what the
/// service answers on `out`, warnings and refusals on `err`. Returns 0 (applied, or nothing
/// differs), kExitBadDocument, or kExitRefused (by the page rules, with nothing sent, or by the
/// service). A dry run prints the plan and the commands it would send, and sends no write.
int Apply(const Json& doc, Parts& parts, link::ServiceLink& link, const base::Language& lang, std::ostream& out,
          std::ostream& err, const ApplyOptions& options = {});

}  // namespace kv::cli

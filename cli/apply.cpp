// The dump and the apply run over the subjects' document parts.
#include "cli/apply.h"

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "app/commands.h"
#include "app/protocol.h"
#include "link/observed_link.h"

namespace kv::cli {

Json Dump(const Parts& parts, const app::DumpForm& form) {
    Json doc = Json::object();
    for (const auto& p : parts) p->dump(doc, form);
    return doc;
}

std::string MaskCommand(const std::string& command) {
    // Escaped values hold no '"' and no '<': a match is always a field.
    static const std::regex attribute(R"((\sPassword=")[^"]+")");
    static const std::regex element(R"((<Password>)[^<]+(</Password>))");
    const std::string mask(app::kMask);
    const std::string once = std::regex_replace(command, attribute, "$1" + mask + "\"");
    return std::regex_replace(once, element, "$1" + mask + "$2");
}

std::optional<Json> ReadDocument(const std::filesystem::path& file, std::string& error) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        error = "cannot read " + file.string();
        return std::nullopt;
    }
    std::ostringstream text;
    text << in.rdbuf();
    try {
        Json doc = Json::parse(text.str());
        if (!doc.is_object()) {
            error = file.string() + ": not a document of kelvarra-ctl dump (expected a JSON object)";
            return std::nullopt;
        }
        return doc;
    } catch (const Json::exception& e) {
        error = file.string() + ": " + e.what();
        return std::nullopt;
    }
}

namespace {

// Stages every part; false when the document is malformed.
bool stageAll(const Json& doc, app::Stage& stage, Parts& parts, std::ostream& err) {
    std::set<std::string> known;
    for (const auto& p : parts)
        for (const std::string& n : p->names()) known.insert(n);
    for (const auto& [name, value] : doc.items())
        if (!known.count(name)) err << "warning: section " << name << " is not known to this version; ignored\n";
    try {
        for (const auto& p : parts) {
            p->stage(doc, stage);
            if (stage.refused()) break;
        }
        for (size_t i = 0; i < stage.laterSteps.size() && !stage.refused(); ++i) stage.laterSteps[i]();
    } catch (const app::DocumentError& e) {
        err << e.what() << "\n";
        return false;
    } catch (const Json::exception& e) {
        err << "malformed document: " << e.what() << "\n";
        return false;
    }
    for (const std::string& w : stage.warnings) err << w << "\n";
    return true;
}

}  // namespace

int Apply(const Json& doc, Parts& parts, link::ServiceLink& link, const base::Language& lang, std::ostream& out,
          std::ostream& err, const ApplyOptions& options) {
    if (!doc.is_object()) {
        err << "not a document of kelvarra-ctl dump (expected a JSON object)\n";
        return kExitBadDocument;
    }
    app::Stage stage(link, lang);
    if (!stageAll(doc, stage, parts, err)) {
        err << "nothing was sent\n";
        return kExitBadDocument;
    }
    if (stage.refused()) {
        for (const std::string& r : stage.refusals) err << r << "\n";
        err << "nothing was sent\n";
        return kExitRefused;
    }
    for (const std::string& n : stage.notes) out << n << "\n";

    std::vector<app::PendingSave> saves;
    for (const auto& p : parts) p->saves(stage, saves);
    if (saves.empty()) {
        out << "nothing to apply: the service already holds this document\n";
        return 0;
    }
    out << "plan:\n";
    for (const auto& p : parts)
        for (const std::string& line : p->plan()) out << "  " << line << "\n";
    const auto shown = [&options](const std::string& text) { return options.secrets ? text : MaskCommand(text); };
    // As the shell's save of every area does: tell the service that settings were saved, and
    // take no notice of its answer.
    const std::string notice = app::CommandC(app::cmd::kSettingsSaved);
    if (options.dryRun) {
        for (const app::PendingSave& p : saves) out << "would send: " << shown(p.command) << "\n";
        out << "would send: " << notice << "\n";
        out << "dry run: nothing was sent\n";
        return 0;
    }
    int rc = 0;
    for (const app::PendingSave& p : saves) {
        std::string reply;
        out << "sent: " << shown(p.command) << "\n";
        const bool ok = p.send(reply);
        out << "answer: " << shown(reply) << "\n";
        if (!ok) {
            err << p.section << ": the service refused the change: " << shown(reply) << "\n";
            rc = kExitRefused;
            break;
        }
        if (options.echo)
            options.echo->onSend = [&out, &shown](const std::string& command, const std::string& answer, bool) {
                out << "sent: " << shown(command) << "\n" << "answer: " << shown(answer) << "\n";
            };
        p.commit();
        if (options.echo) options.echo->onSend = nullptr;
    }
    out << "sent: " << notice << "\n";
    out << "answer: " << link.SendCommand(0, true, notice) << "\n";
    return rc;
}

}  // namespace kv::cli

// The apply run: sections compared with the loaded tables, staged through the page models,
// and sent only when every change passed the rules.
#include "cli/apply.h"

#include <fstream>
#include <sstream>

#include "app/commands.h"
#include "app/protocol.h"
#include "cli/dump.h"

namespace kv::cli {

Stage::Stage(const app::Config& loadedConfig, link::ServiceLink& serviceLink, const base::Language& language)
    : loaded(loadedConfig), scratch(loadedConfig), link(serviceLink), lang(language) {}

const Section* SectionRegistry::find(std::string_view name) const {
    for (const Section& s : sections_)
        if (s.name == name) return &s;
    return nullptr;
}

std::function<Json(const app::Config&)> DumpSection(std::string name) {
    return [name = std::move(name)](const app::Config& c) {
        const Json doc = DumpConfig(c);
        return doc.contains(name) ? doc.at(name) : Json();
    };
}

SectionRegistry KnownSections() {
    SectionRegistry r;
    // Printed by dump; applying them needs the pages of their subjects.
    r.add({"ServerInfo", DumpSection("ServerInfo"), nullptr, nullptr});
    r.add({"DDNSSetting", DumpSection("DDNSSetting"), nullptr, nullptr});
    AddUserSections(r);
    AddChannelSections(r);
    return r;
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

// Values compare as JSON values: the order of an object's keys does not matter.
bool sameValue(const Json& a, const Json& b) { return nlohmann::json::parse(a.dump()) == nlohmann::json::parse(b.dump()); }

// Stages every section that differs from the loaded tables; false when the document is malformed.
bool stageAll(const Json& doc, Stage& stage, const SectionRegistry& sections, std::ostream& err) {
    for (const auto& [name, value] : doc.items()) {
        const Section* s = sections.find(name);
        if (!s) {
            err << "warning: section " << name << " is not known to this version; ignored\n";
        } else if (!s->stage && !sameValue(value, s->dump(stage.loaded))) {
            err << "warning: section " << name << " cannot be applied by this version; ignored\n";
        }
    }
    try {
        for (const Section& s : sections.sections()) {
            if (!s.stage || !doc.contains(s.name)) continue;
            const Json& value = doc.at(s.name);
            if (sameValue(value, s.dump(stage.loaded))) continue;
            s.stage(value, stage);
            if (stage.refused()) return true;
        }
        for (size_t i = 0; i < stage.laterSteps.size() && !stage.refused(); ++i) stage.laterSteps[i]();
    } catch (const DocumentError& e) {
        err << e.what() << "\n";
        return false;
    } catch (const Json::exception& e) {
        err << "malformed document: " << e.what() << "\n";
        return false;
    }
    return true;
}

}  // namespace

int Apply(const Json& doc, app::Config& config, link::ServiceLink& link, const base::Language& lang, std::ostream& out,
          std::ostream& err, const SectionRegistry& sections) {
    if (!doc.is_object()) {
        err << "not a document of kelvarra-ctl dump (expected a JSON object)\n";
        return kExitBadDocument;
    }
    Stage stage(config, link, lang);
    if (!stageAll(doc, stage, sections, err)) {
        err << "nothing was sent\n";
        return kExitBadDocument;
    }
    if (stage.refused()) {
        for (const std::string& r : stage.refusals) err << r << "\n";
        err << "nothing was sent\n";
        return kExitRefused;
    }
    for (const std::string& n : stage.notes) out << n << "\n";

    std::vector<PendingSave> saves;
    for (const Section& s : sections.sections()) {
        if (s.save)
            if (auto p = s.save(stage)) saves.push_back(std::move(*p));
        if (s.saves)
            for (PendingSave& p : s.saves(stage)) saves.push_back(std::move(p));
    }
    if (saves.empty()) {
        out << "nothing to apply: the service already holds this document\n";
        return 0;
    }
    int rc = 0;
    for (const PendingSave& p : saves) {
        std::string reply;
        out << "sent: " << p.command << "\n";
        const bool ok = p.send(reply);
        out << "answer: " << reply << "\n";
        if (!ok) {
            err << p.section << ": the service refused the change: " << reply << "\n";
            rc = kExitRefused;
            break;
        }
        p.commit(config);
    }
    // As the shell's save of every area does: tell the service that settings were saved, and
    // take no notice of its answer.
    const std::string notice = app::CommandC(app::cmd::kSettingsSaved);
    out << "sent: " << notice << "\n";
    out << "answer: " << link.SendCommand(0, true, notice) << "\n";
    return rc;
}

}  // namespace kv::cli

// Comparing document values, masked secrets and the texts of fixed tables.
#include "app/document.h"

#include "base/text.h"

namespace kv::app {

bool SameValue(const Json& a, const Json& b) { return nlohmann::json::parse(a.dump()) == nlohmann::json::parse(b.dump()); }

std::string ShownSecret(const std::string& value, const DumpForm& form) {
    return form.secrets || value.empty() ? value : std::string(kMask);
}

std::string SecretOf(const Json& value, const std::string& loaded, bool known, const std::string& where) {
    if (!value.is_string()) throw DocumentError(where + ": expected a text");
    const std::string text = value.get<std::string>();
    if (text != kMask) return text;
    if (!known)
        throw DocumentError(where + ": " + std::string(kMask) +
                            " stands for the password the service holds; a new record needs its own");
    return loaded;
}

Json TableText(const TextTable& table, int64_t index) {
    const int64_t at = index - table.first;
    if (at < 0 || at >= static_cast<int64_t>(table.texts.size())) return index;
    return std::string(table.texts[static_cast<size_t>(at)]);
}

int64_t TableIndex(const TextTable& table, const Json& value, const std::string& where) {
    if (value.is_number_integer()) return value.get<int64_t>();
    std::string offered;
    for (std::string_view t : table.texts) offered += (offered.empty() ? "" : ", ") + std::string(t);
    if (!value.is_string())
        throw DocumentError(where + ": expected a " + std::string(table.what) + " (" + offered + ") or its index");
    const std::string wanted = base::ToUpper(base::Trim(value.get<std::string>()));
    for (size_t i = 0; i < table.texts.size(); ++i)
        if (base::ToUpper(table.texts[i]) == wanted) return table.first + static_cast<int64_t>(i);
    throw DocumentError(where + ": \"" + value.get<std::string>() + "\" is no " + std::string(table.what) + " (" +
                        offered + ")");
}

std::string ChangedFields(const Json& before, const Json& after, const std::set<std::string>& ignored) {
    std::string out;
    for (const auto& [key, value] : after.items()) {
        if (ignored.count(key) || (before.contains(key) && SameValue(before.at(key), value))) continue;
        out += (out.empty() ? "" : ", ") + key;
    }
    return out;
}

}  // namespace kv::app

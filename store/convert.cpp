// Schema comparison at run time from SQLite's own catalogue, and the row-by-row copy.
#include "store/convert.h"

#include <vector>

#include "base/log.h"
#include "store/sqlite.h"

namespace kv::store {
namespace {

namespace fs = std::filesystem;

struct Field {
    std::string name;
    bool autoIncrement = false;
};

std::string quoteName(const std::string& name) {
    std::string q = "\"";
    for (char c : name) {
        if (c == '"') q.push_back('"');
        q.push_back(c);
    }
    return q + "\"";
}

std::vector<std::string> tableNames(Db& db) {
    std::vector<std::string> names;
    Stmt q(db, "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY rowid");
    while (q.step()) names.push_back(q.getText(0));
    return names;
}

std::vector<Field> fieldsOf(Db& db, const std::string& table) {
    std::string sql;
    {
        Stmt s(db, "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?");
        s.bind(1, table);
        if (s.step()) sql = s.getText(0);
    }
    const bool tableAutoIncrement = sql.find("AUTOINCREMENT") != std::string::npos ||
                                    sql.find("autoincrement") != std::string::npos;
    std::vector<Field> fields;
    Stmt q(db, "PRAGMA table_info(" + quoteName(table) + ")");
    while (q.step()) {
        Field f;
        f.name = q.getText(1);
        // An INTEGER PRIMARY KEY declared AUTOINCREMENT is numbered by the database itself.
        f.autoIncrement = tableAutoIncrement && q.getInt(5) > 0;
        fields.push_back(std::move(f));
    }
    return fields;
}

std::vector<int64_t> rowIds(Db& db, const std::string& table) {
    std::vector<int64_t> ids;
    const std::string order = table == "EventTrigger" ? "SN" : "rowid";
    Stmt q(db, "SELECT rowid FROM " + quoteName(table) + " ORDER BY " + order);
    while (q.step()) ids.push_back(q.getInt(0));
    return ids;
}

}  // namespace

bool ConvertDB(const fs::path& source, const fs::path& target, base::Log* log, std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        if (log) log->SetLog("clsDBConvert - ConvertDB : ", why, 0);
        return false;
    };
    std::error_code ec;
    if (!fs::exists(source, ec) || !fs::exists(target, ec)) return true;
    Db src, dst;
    if (!src.open(source)) return fail(src.lastError());
    if (!dst.open(target)) return fail(dst.lastError());

    std::string sourceList;
    for (const auto& t : tableNames(src)) sourceList += t + ";";
    std::vector<std::string> work;
    for (const auto& t : tableNames(dst))
        if (sourceList.find(t) != std::string::npos) work.push_back(t);  // a plain substring test, as always

    Transaction tx(dst);
    if (!tx.ok()) return fail(dst.lastError());
    for (const std::string& table : work) {
        std::string sourceFields;
        for (const auto& f : fieldsOf(src, table)) sourceFields += f.name + ";";
        std::vector<std::string> common;
        for (const auto& f : fieldsOf(dst, table)) {
            if (sourceFields.find(f.name + ";") == std::string::npos) continue;
            if (f.autoIncrement || f.name == "sDBVer") continue;
            common.push_back(f.name);
        }
        const std::vector<int64_t> srcRows = rowIds(src, table);
        const std::vector<int64_t> dstRows = rowIds(dst, table);
        if (common.empty()) continue;
        std::string selectList, updateList, insertCols, insertVals;
        for (size_t i = 0; i < common.size(); ++i) {
            const std::string sep = i ? "," : "";
            selectList += sep + quoteName(common[i]);
            updateList += sep + quoteName(common[i]) + " = ?" + std::to_string(i + 1);
            insertCols += sep + quoteName(common[i]);
            insertVals += sep + "?" + std::to_string(i + 1);
        }
        Stmt read(src, "SELECT " + selectList + " FROM " + quoteName(table) + " WHERE rowid = ?");
        Stmt update(dst, "UPDATE " + quoteName(table) + " SET " + updateList + " WHERE rowid = ?" +
                             std::to_string(common.size() + 1));
        Stmt insert(dst, "INSERT INTO " + quoteName(table) + " (" + insertCols + ") VALUES (" + insertVals + ")");
        if (!read || !update || !insert) return fail(table + ": " + read.error() + update.error() + insert.error());
        for (size_t n = 0; n < srcRows.size(); ++n) {
            read.reset();
            read.bind(1, srcRows[n]);
            if (!read.step()) return fail(table + ": " + read.error());
            Stmt& w = n < dstRows.size() ? update : insert;
            w.reset();
            for (size_t i = 0; i < common.size(); ++i) w.bindFrom(static_cast<int>(i + 1), read, static_cast<int>(i));
            if (n < dstRows.size()) w.bind(static_cast<int>(common.size() + 1), dstRows[n]);
            if (!w.run()) return fail(table + ": " + w.error());
        }
    }
    if (!tx.commit()) return fail(dst.lastError());
    if (log) log->SetLog("clsDBConvert", " DB Convert Done ======= ", 0);
    return true;
}

bool CopyConvertMDBToDesDB(const fs::path& source, const fs::path& target, std::string* error) {
    return AtomicCopy(source, target, error);
}

}  // namespace kv::store

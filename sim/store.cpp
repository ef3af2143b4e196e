// The reference service's document store on SQLite: one table, durable commits, all-or-nothing batches.
#include "sim/store.h"

#include <sqlite3.h>

#include <unordered_map>

namespace kv::sim {

namespace {

// A prepared statement that finalizes itself.
class Statement {
public:
    Statement(sqlite3* db, const char* sql) { sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr); }
    ~Statement() { sqlite3_finalize(stmt_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return stmt_ != nullptr; }
    sqlite3_stmt* get() const { return stmt_; }
    void bind(int index, std::string_view text) {
        sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
};

bool exec(sqlite3* db, const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

// An empty body removes the document: a read finds nothing, as for a key never written. The empty
// key is refused either way, so that a bad batch cannot half-land.
bool insert(sqlite3* db, std::string_view key, std::string_view body) {
    Statement st(db, body.empty() ? "DELETE FROM documents WHERE key = ?1"
                                  : "INSERT OR REPLACE INTO documents(key, body) VALUES(?1, ?2)");
    if (!st) return false;
    st.bind(1, key);
    if (!body.empty()) st.bind(2, body);
    return sqlite3_step(st.get()) == SQLITE_DONE && (!body.empty() || !key.empty());
}

std::optional<std::string> remembered(std::string_view body) {
    return body.empty() ? std::nullopt : std::optional<std::string>(body);
}

}  // namespace

struct SimStore::Impl {
    sqlite3* db = nullptr;
    // The service owns its file while it runs, so what it read or committed stays valid: reads
    // are answered from memory (a miss is remembered as well) and the file is only written.
    std::unordered_map<std::string, std::optional<std::string>> cache;
    ~Impl() { sqlite3_close_v2(db); }
};

SimStore::SimStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SimStore::~SimStore() = default;

base::Result<std::unique_ptr<SimStore>> SimStore::open(const std::filesystem::path& file, bool reset) {
    using R = base::Result<std::unique_ptr<SimStore>>;
    auto impl = std::make_unique<Impl>();
    if (sqlite3_open_v2(file.string().c_str(), &impl->db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        std::string why = impl->db ? sqlite3_errmsg(impl->db) : "out of memory";
        return R::failure("cannot open the store " + file.string() + ": " + why);
    }
    sqlite3* db = impl->db;
    sqlite3_busy_timeout(db, 2000);
    // WAL with FULL sync: a commit is on disk before it is acknowledged, so a kill at any
    // moment loses nothing that a client was told is saved.
    // The empty key is refused by the table so that a bad batch cannot half-land.
    if (!exec(db, "PRAGMA journal_mode=WAL") || !exec(db, "PRAGMA synchronous=FULL") ||
        !exec(db,
              "CREATE TABLE IF NOT EXISTS documents("
              "key TEXT PRIMARY KEY NOT NULL CHECK(length(key) > 0), body TEXT NOT NULL)")) {
        return R::failure("cannot open the store " + file.string() + ": " + sqlite3_errmsg(db));
    }
    if (reset && !exec(db, "DELETE FROM documents")) {
        return R::failure("cannot reset the store " + file.string() + ": " + sqlite3_errmsg(db));
    }
    return std::unique_ptr<SimStore>(new SimStore(std::move(impl)));
}

std::optional<std::string> SimStore::get(std::string_view key) const {
    std::string name(key);
    if (const auto hit = impl_->cache.find(name); hit != impl_->cache.end()) return hit->second;
    Statement st(impl_->db, "SELECT body FROM documents WHERE key = ?1");
    if (!st) return std::nullopt;  // not remembered: the next read tries the file again
    st.bind(1, key);
    std::optional<std::string> body;
    if (sqlite3_step(st.get()) == SQLITE_ROW) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), 0));
        body.emplace(text ? text : "", static_cast<size_t>(sqlite3_column_bytes(st.get(), 0)));
    }
    impl_->cache.emplace(std::move(name), body);
    return body;
}

bool SimStore::put(std::string_view key, std::string_view body) {
    if (!insert(impl_->db, key, body)) return false;
    impl_->cache.insert_or_assign(std::string(key), remembered(body));
    return true;
}

bool SimStore::putAll(const Documents& docs) {
    sqlite3* db = impl_->db;
    if (!exec(db, "BEGIN IMMEDIATE")) return false;
    for (const auto& [key, body] : docs) {
        if (!insert(db, key, body)) {
            exec(db, "ROLLBACK");
            return false;
        }
    }
    if (!exec(db, "COMMIT")) {
        exec(db, "ROLLBACK");
        return false;
    }
    for (const auto& [key, body] : docs) impl_->cache.insert_or_assign(key, remembered(body));
    return true;
}

bool SimStore::empty() const {
    Statement st(impl_->db, "SELECT 1 FROM documents LIMIT 1");
    return !st || sqlite3_step(st.get()) != SQLITE_ROW;
}

}  // namespace kv::sim

// RAII over SQLite and an atomic file replacement.
#include "store/sqlite.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

namespace kv::store {

Stmt::Stmt(Db& db, std::string_view sql) : db_(db.handle()) {
    if (!db_) {
        error_ = "database not open";
        return;
    }
    if (sqlite3_prepare_v2(db_, sql.data(), static_cast<int>(sql.size()), &stmt_, nullptr) != SQLITE_OK) {
        error_ = sqlite3_errmsg(db_);
        stmt_ = nullptr;
    }
}

Stmt::~Stmt() {
    if (stmt_) sqlite3_finalize(stmt_);
}

Stmt::Stmt(Stmt&& o) noexcept : stmt_(o.stmt_), db_(o.db_), error_(std::move(o.error_)) { o.stmt_ = nullptr; }

Stmt& Stmt::operator=(Stmt&& o) noexcept {
    if (this != &o) {
        if (stmt_) sqlite3_finalize(stmt_);
        stmt_ = o.stmt_;
        db_ = o.db_;
        error_ = std::move(o.error_);
        o.stmt_ = nullptr;
    }
    return *this;
}

Stmt& Stmt::bind(int index, int64_t value) {
    if (stmt_) sqlite3_bind_int64(stmt_, index, value);
    return *this;
}

Stmt& Stmt::bind(int index, std::string_view value) {
    if (stmt_) sqlite3_bind_text(stmt_, index, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
    return *this;
}

Stmt& Stmt::bindNull(int index) {
    if (stmt_) sqlite3_bind_null(stmt_, index);
    return *this;
}

Stmt& Stmt::bindFrom(int index, const Stmt& other, int column) {
    if (stmt_ && other.stmt_) sqlite3_bind_value(stmt_, index, sqlite3_column_value(other.stmt_, column));
    return *this;
}

bool Stmt::step() {
    if (!stmt_) return false;
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc != SQLITE_DONE) error_ = sqlite3_errmsg(db_);
    return false;
}

bool Stmt::run() {
    if (!stmt_) return false;
    error_.clear();
    while (step()) {
    }
    return error_.empty();
}

void Stmt::reset() {
    if (stmt_) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
    error_.clear();
}

int Stmt::columnCount() const { return stmt_ ? sqlite3_column_count(stmt_) : 0; }

std::string Stmt::columnName(int i) const {
    const char* n = stmt_ ? sqlite3_column_name(stmt_, i) : nullptr;
    return n ? n : "";
}

bool Stmt::isNull(int i) const { return !stmt_ || sqlite3_column_type(stmt_, i) == SQLITE_NULL; }

int64_t Stmt::getInt(int i) const { return stmt_ ? sqlite3_column_int64(stmt_, i) : 0; }

std::string Stmt::getText(int i) const {
    if (!stmt_) return {};
    const unsigned char* t = sqlite3_column_text(stmt_, i);
    return t ? std::string(reinterpret_cast<const char*>(t), static_cast<size_t>(sqlite3_column_bytes(stmt_, i)))
             : std::string();
}

Db::~Db() { close(); }

Db::Db(Db&& o) noexcept : db_(o.db_), error_(std::move(o.error_)) { o.db_ = nullptr; }

Db& Db::operator=(Db&& o) noexcept {
    if (this != &o) {
        close();
        db_ = o.db_;
        error_ = std::move(o.error_);
        o.db_ = nullptr;
    }
    return *this;
}

bool Db::open(const std::filesystem::path& file, bool create) {
    close();
    const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0);
    if (sqlite3_open_v2(file.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
        error_ = db_ ? sqlite3_errmsg(db_) : "cannot open " + file.string();
        close();
        return false;
    }
    sqlite3_busy_timeout(db_, 2000);
    // A file that is not a database only shows itself at the first read.
    if (!exec("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; SELECT count(*) FROM sqlite_master;")) {
        const std::string why = error_;
        close();
        error_ = why;
        return false;
    }
    return true;
}

void Db::close() {
    if (db_) sqlite3_close_v2(db_);
    db_ = nullptr;
}

bool Db::exec(std::string_view sql) {
    if (!db_) {
        error_ = "database not open";
        return false;
    }
    char* msg = nullptr;
    const std::string text(sql);
    if (sqlite3_exec(db_, text.c_str(), nullptr, nullptr, &msg) != SQLITE_OK) {
        error_ = msg ? msg : sqlite3_errmsg(db_);
        sqlite3_free(msg);
        return false;
    }
    return true;
}

Transaction::Transaction(Db& db) : db_(db) { began_ = db_.exec("BEGIN IMMEDIATE"); }

Transaction::~Transaction() {
    if (began_ && !done_) db_.exec("ROLLBACK");
}

bool Transaction::commit() {
    if (!began_ || done_) return false;
    done_ = db_.exec("COMMIT");
    return done_;
}

bool AtomicCopy(const std::filesystem::path& from, const std::filesystem::path& to, std::string* error) {
    const std::filesystem::path tmp = to.string() + ".new";
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        std::error_code ec;
        std::filesystem::remove(tmp, ec);
        return false;
    };
    std::ifstream in(from, std::ios::binary);
    if (!in) return fail("cannot read " + from.string());
    // Owner only: the copies are the databases that hold saved server passwords, and their journals
    // take the same mode. fchmod because a left-over ".new" keeps its old mode through O_TRUNC.
    const int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return fail("cannot write " + tmp.string());
    if (::fchmod(fd, 0600) != 0) {
        ::close(fd);
        return fail("cannot protect " + tmp.string());
    }
    char buf[65536];
    bool ok = true;
    while (ok && in) {
        in.read(buf, sizeof buf);
        std::streamsize n = in.gcount();
        const char* p = buf;
        while (ok && n > 0) {
            const ssize_t w = ::write(fd, p, static_cast<size_t>(n));
            if (w <= 0) ok = false;
            else p += w, n -= w;
        }
    }
    ok = ok && !in.bad() && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (!ok) return fail("cannot write " + tmp.string());
    std::error_code ec;
    std::filesystem::rename(tmp, to, ec);
    if (ec) return fail(ec.message());
    // Make the rename itself durable.
    const int dir = ::open(to.parent_path().empty() ? "." : to.parent_path().c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return true;
}

}  // namespace kv::store

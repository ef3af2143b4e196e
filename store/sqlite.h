// A thin RAII layer over SQLite: connection, statement, transaction. Failures are results, not exceptions.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kv::store {

class Db;

class Stmt {
public:
    Stmt() = default;
    Stmt(Db& db, std::string_view sql);
    ~Stmt();
    Stmt(Stmt&& o) noexcept;
    Stmt& operator=(Stmt&& o) noexcept;
    Stmt(const Stmt&) = delete;
    Stmt& operator=(const Stmt&) = delete;

    explicit operator bool() const { return stmt_ != nullptr; }
    Stmt& bind(int index, int64_t value);
    Stmt& bind(int index, std::string_view value);
    Stmt& bindNull(int index);
    /// Binds the value of column `column` of the current row of `other`, keeping its type.
    Stmt& bindFrom(int index, const Stmt& other, int column);
    /// Steps once: true while a row is there.
    bool step();
    /// Runs to the end; false on an error.
    bool run();
    void reset();

    int columnCount() const;
    std::string columnName(int i) const;
    bool isNull(int i) const;
    int64_t getInt(int i) const;
    std::string getText(int i) const;
    /// The error of the last step, empty when none.
    const std::string& error() const { return error_; }

private:
    sqlite3_stmt* stmt_ = nullptr;
    sqlite3* db_ = nullptr;
    std::string error_;
};

class Db {
public:
    Db() = default;
    ~Db();
    Db(Db&& o) noexcept;
    Db& operator=(Db&& o) noexcept;
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;

    /// Opens an existing file (or creates it with `create`) and checks that it is a database.
    bool open(const std::filesystem::path& file, bool create = false);
    void close();
    bool isOpen() const { return db_ != nullptr; }
    /// Runs statements without results; false (and `lastError()`) on failure.
    bool exec(std::string_view sql);
    const std::string& lastError() const { return error_; }
    sqlite3* handle() const { return db_; }

private:
    sqlite3* db_ = nullptr;
    std::string error_;
};

/// BEGIN IMMEDIATE on construction; ROLLBACK unless commit() succeeded.
class Transaction {
public:
    explicit Transaction(Db& db);
    ~Transaction();
    bool ok() const { return began_; }
    bool commit();

private:
    Db& db_;
    bool began_ = false;
    bool done_ = false;
};

/// Copies a file beside the target, syncs it and renames it over the target. The copy is 0600.
bool AtomicCopy(const std::filesystem::path& from, const std::filesystem::path& to, std::string* error = nullptr);

}  // namespace kv::store

// The client's local databases: their check at start, the system settings, the known servers,
// the local service's settings and the service's shutdown mark.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kv::store {

/// Base names of the five local databases, in the order they are checked at start.
inline constexpr const char* kDatabaseNames[5] = {"Database", "configuration", "client", "eventlog", "systemlog"};
inline constexpr const char* kDbExtension = ".db";
inline constexpr const char* kPristineExtension = ".db.ins";
inline constexpr const char* kLocalServiceIP = "127.0.0.1";

/// Makes sure the live file exists: -1 when the pristine copy is missing (the live file is then
/// not looked at); otherwise restores a missing live file (and the conversion copy) from it, makes
/// both owner-only (0600) and answers 1. A failing copy answers 0.
int32_t Check_Mdb(const std::filesystem::path& folder, const std::string& name);

/// Removes the "_tmp" files of the five databases (at exit).
void RemoveTempDatabases(const std::filesystem::path& folder);

/// The row of table System.
struct SystemSettings {
    std::string sDBVer;
    bool bAutoLogin = false;
    bool bClientStartUp = false;
    int16_t iLanguage = 99;
    std::string ExitFormList;
    std::string sLastUser;
    std::string sLastPass;
    int32_t iLastService = 0;
    std::string sLastServerIP;
    int32_t iLastServerPort = -1;
    bool operator==(const SystemSettings&) const = default;
};

/// A row of the server table in memory.
struct ServiceRecord {
    int32_t iID = 0;
    bool bLocalService = false;
    int32_t iState = 0;
    std::string ServiceName;
    std::string ServiceIP;
    std::string ServiceUserAccount;
    std::string ServicePassword;
    int32_t ServicePort = 9877;
    int32_t iLinkActive = 0;
    int32_t iLinkStatus = 0;
    int32_t ServiceTimeZone = 0;
    int16_t Lang = 0;
    std::string Desciption;
    int32_t HttpPort = 80;
    bool bSaveAccount = false;
    bool operator==(const ServiceRecord&) const = default;
};

/// "Database.db": the System row and the Service table. The connection stays open between uses.
class LocalDatabase {
public:
    explicit LocalDatabase(std::filesystem::path file);
    ~LocalDatabase();
    LocalDatabase(const LocalDatabase&) = delete;
    LocalDatabase& operator=(const LocalDatabase&) = delete;

    const std::filesystem::path& file() const { return file_; }
    /// Why the last operation failed.
    const std::string& error() const { return error_; }
    void close();

    /// Reads the System row; nullopt when the file cannot be opened or has no row. Columns that an
    /// older file lacks read as their defaults.
    std::optional<SystemSettings> ReadSystemSettings();
    /// Writes back bAutoLogin, bClientStartUp and iLanguage; the other fields stay.
    bool SetSystemlInfo(const SystemSettings& s);
    /// Remembers the last login (user, password, server row and address).
    bool SetLastLogin(const SystemSettings& s);

    /// Appends the stored servers to `rows`, numbered from 1 in stored order; a "127.0.0.1" row is
    /// skipped when a local row is there.
    bool Get_Service(std::vector<ServiceRecord>& rows);
    /// Replaces the stored list by `rows` in one transaction, skipping local and address-less rows;
    /// ids run from 1 (0 is the local row's) and the language of every row is `iLanguage`.
    bool Set_Service(const std::vector<ServiceRecord>& rows, int16_t iLanguage);

private:
    bool ensureOpen();
    struct Impl;
    std::filesystem::path file_;
    std::string error_;
    Impl* impl_;
};

/// The local row read from "configuration.db" (restored from its pristine copy when missing).
/// Without a settings row the record stays empty.
ServiceRecord ReadLocalServiceRow(const std::filesystem::path& folder);

/// True when the schema version of the conversion copy differs from `sDBVer`.
bool OpenDBSet(const std::filesystem::path& convertFile, const std::string& sDBVer);

/// The service's shutdown mark: a0 + 2*a1 + 4*a2 + 8*a3 of the four 32-bit values of the file.
std::optional<int32_t> ReadShutdownMark(const std::filesystem::path& file);

}  // namespace kv::store

namespace kv::store {
/// Writes the settings row of the service on this machine into "configuration.db" (done when
/// the local service is installed), replacing any row there.
bool WriteLocalServiceSettings(const std::filesystem::path& folder, int32_t port, int32_t httpPort, int16_t lang,
                               const std::string& name);
}  // namespace kv::store

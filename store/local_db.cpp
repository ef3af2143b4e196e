// The local databases of the client on SQLite.
#include "store/local_db.h"

#include <array>
#include <cctype>
#include <fstream>
#include <set>

#include "store/sqlite.h"

namespace kv::store {

namespace fs = std::filesystem;

namespace {

// Older versions made the files 0644; they hold saved server passwords.
void makePrivate(const fs::path& file) {
    std::error_code ec;
    const fs::perms p = fs::status(file, ec).permissions();
    if (ec || (p & (fs::perms::group_all | fs::perms::others_all)) == fs::perms::none) return;
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::replace, ec);
}

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

/// A column this build reads, and what stands in its place when an older file lacks it.
struct Wanted {
    const char* name;
    const char* absent;
};

// The select list over the columns `table` has; a missing one reads as its `absent` value, so a
// file of an older schema still reads (and can then be converted).
std::string selectList(Db& db, const std::string& table, std::initializer_list<Wanted> wanted) {
    std::set<std::string> present;
    Stmt q(db, "PRAGMA table_info(" + table + ")");
    while (q.step()) present.insert(lower(q.getText(1)));
    std::string list;
    for (const Wanted& w : wanted) {
        if (!list.empty()) list += ", ";
        list += present.count(lower(w.name)) ? std::string(w.name) : std::string(w.absent);
    }
    return list;
}

}  // namespace

int32_t Check_Mdb(const fs::path& folder, const std::string& name) {
    int32_t result = 0;
    try {
        const fs::path live = folder / (name + kDbExtension);
        const fs::path pristine = folder / (name + kPristineExtension);
        const fs::path convert = folder / (name + "_Convert" + kDbExtension);
        std::error_code ec;
        if (!fs::exists(pristine, ec)) return -1;
        if (!fs::exists(live, ec)) {
            if (!AtomicCopy(pristine, live)) return result;
            if (!AtomicCopy(pristine, convert)) return result;
        }
        makePrivate(live);
        makePrivate(convert);
        result = 1;
    } catch (...) {
    }
    return result;
}

void RemoveTempDatabases(const fs::path& folder) {
    for (const char* name : kDatabaseNames) {
        std::error_code ec;
        fs::remove(folder / (std::string(name) + "_tmp" + kDbExtension), ec);
    }
}

struct LocalDatabase::Impl {
    Db db;
};

LocalDatabase::LocalDatabase(fs::path file) : file_(std::move(file)), impl_(new Impl) {}

LocalDatabase::~LocalDatabase() { delete impl_; }

void LocalDatabase::close() { impl_->db.close(); }

bool LocalDatabase::ensureOpen() {
    if (impl_->db.isOpen()) return true;
    if (!impl_->db.open(file_)) {
        error_ = file_.string() + ": " + impl_->db.lastError();
        return false;
    }
    return true;
}

std::optional<SystemSettings> LocalDatabase::ReadSystemSettings() {
    if (!ensureOpen()) return std::nullopt;
    const std::string columns =
        selectList(impl_->db, "System",
                   {{"sDBVer", "NULL"}, {"bAutoLogin", "0"}, {"bClientStartUp", "0"}, {"iLanguage", "99"},
                    {"ExitFormList", "''"}, {"UserName", "''"}, {"Password", "''"}, {"ServiceID", "0"},
                    {"LoginServerIP", "NULL"}, {"LoginServerPort", "NULL"}});
    Stmt q(impl_->db, "SELECT " + columns + " FROM System LIMIT 1");
    if (!q.step()) {
        error_ = file_.string() + ": " + (q.error().empty() ? "the System table has no row" : q.error());
        return std::nullopt;
    }
    SystemSettings s;
    s.sDBVer = q.getText(0);
    s.bAutoLogin = q.getInt(1) != 0;
    s.bClientStartUp = q.getInt(2) != 0;
    s.iLanguage = static_cast<int16_t>(q.getInt(3));
    s.ExitFormList = q.getText(4);
    s.sLastUser = q.getText(5);
    s.sLastPass = q.getText(6);
    s.iLastService = static_cast<int32_t>(q.getInt(7));
    s.sLastServerIP = q.getText(8);
    s.iLastServerPort = q.isNull(9) ? -1 : static_cast<int32_t>(q.getInt(9));
    return s;
}

bool LocalDatabase::SetSystemlInfo(const SystemSettings& s) {
    if (!ensureOpen()) return false;
    Stmt u(impl_->db, "UPDATE System SET bAutoLogin = ?, bClientStartUp = ?, iLanguage = ?");
    u.bind(1, s.bAutoLogin ? 1 : 0).bind(2, s.bClientStartUp ? 1 : 0).bind(3, s.iLanguage);
    if (!u.run()) {
        error_ = u.error();
        return false;
    }
    return true;
}

bool LocalDatabase::SetLastLogin(const SystemSettings& s) {
    if (!ensureOpen()) return false;
    Stmt u(impl_->db,
           "UPDATE System SET UserName = ?, Password = ?, ServiceID = ?, LoginServerIP = ?, LoginServerPort = ?");
    u.bind(1, s.sLastUser).bind(2, s.sLastPass).bind(3, s.iLastService).bind(4, s.sLastServerIP);
    if (s.iLastServerPort < 0) u.bindNull(5); else u.bind(5, s.iLastServerPort);
    if (!u.run()) {
        error_ = u.error();
        return false;
    }
    return true;
}

bool LocalDatabase::Get_Service(std::vector<ServiceRecord>& rows) {
    if (!ensureOpen()) return false;
    bool haveLocal = false;
    for (const auto& r : rows) haveLocal = haveLocal || r.bLocalService;
    const std::string columns =
        selectList(impl_->db, "Service",
                   {{"bLocalService", "0"}, {"ServiceIP", "''"}, {"ServicePort", "9877"}, {"ServiceName", "''"},
                    {"ServiceUserAccount", "''"}, {"ServicePassword", "''"}, {"ServiceTimeZone", "0"}, {"Lang", "0"},
                    {"Desciption", "''"}, {"HttpPort", "NULL"}, {"bSaveAccount", "0"}});
    Stmt q(impl_->db, "SELECT " + columns + " FROM Service ORDER BY rowid");
    // Stored rows are numbered from 1 in their order, as Set_Service writes them: 0 is the local
    // row's, and a list written by an older version (from 0) still shows each id once.
    int32_t id = 1;
    while (q.step()) {
        if (haveLocal && q.getText(1) == kLocalServiceIP) continue;
        ServiceRecord r;
        r.iID = id++;
        r.bLocalService = q.getInt(0) != 0;
        r.ServiceIP = q.getText(1);
        r.ServicePort = static_cast<int32_t>(q.getInt(2));
        r.ServiceName = q.getText(3);
        r.ServiceUserAccount = q.getText(4);
        r.ServicePassword = q.getText(5);
        r.ServiceTimeZone = static_cast<int32_t>(q.getInt(6));
        r.Lang = static_cast<int16_t>(q.getInt(7));
        r.Desciption = q.getText(8);
        r.HttpPort = q.isNull(9) ? 80 : static_cast<int32_t>(q.getInt(9));
        r.bSaveAccount = q.getInt(10) != 0;
        rows.push_back(std::move(r));
    }
    if (!q.error().empty()) {
        error_ = file_.string() + ": " + q.error();
        return false;
    }
    return true;
}

bool LocalDatabase::Set_Service(const std::vector<ServiceRecord>& rows, int16_t iLanguage) {
    if (!ensureOpen()) return false;
    Transaction t(impl_->db);
    if (!t.ok() || !impl_->db.exec("DELETE from Service")) {
        error_ = impl_->db.lastError();
        return false;
    }
    Stmt ins(impl_->db,
             "INSERT INTO Service (ID, bLocalService, ServiceIP, ServicePort, ServiceName, ServiceUserAccount, "
             "ServicePassword, ServiceTimeZone, Lang, Desciption, bSaveAccount) VALUES (?,?,?,?,?,?,?,?,?,?,?)");
    int64_t id = 1;  // 0 is the local row's, which is never stored
    for (const ServiceRecord& r : rows) {
        if (r.ServiceIP.empty() || r.ServiceIP == kLocalServiceIP) continue;
        ins.reset();
        ins.bind(1, id++).bind(2, r.bLocalService ? 1 : 0).bind(3, r.ServiceIP).bind(4, r.ServicePort);
        ins.bind(5, r.ServiceName).bind(6, r.ServiceUserAccount).bind(7, r.ServicePassword);
        ins.bind(8, r.ServiceTimeZone).bind(9, iLanguage).bind(10, r.Desciption).bind(11, r.bSaveAccount ? 1 : 0);
        if (!ins.run()) {
            error_ = ins.error();
            return false;  // the transaction rolls back: the old list stands
        }
    }
    if (!t.commit()) {
        error_ = impl_->db.lastError();
        return false;
    }
    return true;
}

ServiceRecord ReadLocalServiceRow(const fs::path& folder) {
    ServiceRecord r;
    try {
        const fs::path live = folder / (std::string("configuration") + kDbExtension);
        std::error_code ec;
        if (!fs::exists(live, ec)) AtomicCopy(folder / (std::string("configuration") + kPristineExtension), live);
        Db db;
        if (!db.open(live)) return r;
        Stmt q(db, "SELECT port, HttpPort, Lang, Name FROM ServiceSettings LIMIT 1");
        if (!q.step()) return r;
        r.ServicePort = static_cast<int32_t>(q.getInt(0));
        r.HttpPort = static_cast<int32_t>(q.getInt(1));
        r.Lang = static_cast<int16_t>(q.getInt(2));
        r.ServiceIP = kLocalServiceIP;
        r.iLinkActive = 0;
        r.bLocalService = true;
        r.ServiceName = q.isNull(3) ? "Local Server" : q.getText(3);
    } catch (...) {
    }
    return r;
}

bool OpenDBSet(const fs::path& convertFile, const std::string& sDBVer) {
    Db db;
    if (!db.open(convertFile)) return false;
    Stmt q(db, "SELECT sDBVer FROM System LIMIT 1");
    if (!q.step()) return false;
    return q.getText(0) != sDBVer;
}

std::optional<int32_t> ReadShutdownMark(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::array<unsigned char, 16> b{};
    in.read(reinterpret_cast<char*>(b.data()), static_cast<std::streamsize>(b.size()));
    if (in.gcount() != static_cast<std::streamsize>(b.size())) return std::nullopt;
    int64_t mark = 0;
    for (int i = 0; i < 4; ++i) {
        // The service writes little-endian 32-bit values.
        const int32_t v = static_cast<int32_t>(static_cast<uint32_t>(b[i * 4]) | static_cast<uint32_t>(b[i * 4 + 1]) << 8 |
                                               static_cast<uint32_t>(b[i * 4 + 2]) << 16 |
                                               static_cast<uint32_t>(b[i * 4 + 3]) << 24);
        mark += static_cast<int64_t>(v) * (int64_t{1} << i);
    }
    return static_cast<int32_t>(mark);
}

}  // namespace kv::store

namespace kv::store {

bool WriteLocalServiceSettings(const fs::path& folder, int32_t port, int32_t httpPort, int16_t lang,
                               const std::string& name) {
    const fs::path live = folder / (std::string("configuration") + kDbExtension);
    std::error_code ec;
    if (!fs::exists(live, ec) && !AtomicCopy(folder / (std::string("configuration") + kPristineExtension), live))
        return false;
    Db db;
    if (!db.open(live)) return false;
    Transaction t(db);
    if (!t.ok() || !db.exec("DELETE FROM ServiceSettings")) return false;
    Stmt ins(db, "INSERT INTO ServiceSettings (port, HttpPort, Lang, Name) VALUES (?,?,?,?)");
    ins.bind(1, port).bind(2, httpPort).bind(3, lang);
    if (name.empty()) ins.bindNull(4); else ins.bind(4, name);
    return ins.run() && t.commit();
}

}  // namespace kv::store

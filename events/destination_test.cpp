// Tests of notification destinations: mail, FTP and HTTP through libcurl, TCP on a plain socket.
#include "events/destination_test.h"

#include <curl/curl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include "base/base64.h"

namespace kv::events {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::string_view kTcpTestLine = "Kelvarra 64 test\r\n";
// How long a TCP test waits for an answer after its line: a TCP destination need not answer.
constexpr milliseconds kAnswerWait{500};

// A huge limit would overflow the clock; an hour is more than any test needs.
Clock::time_point Deadline(milliseconds limit) {
    return Clock::now() + std::clamp<milliseconds>(limit, {}, std::chrono::hours(1));
}

ProbeStep Done(std::string what, std::string detail) { return {std::move(what), true, std::move(detail)}; }
ProbeStep Failed(std::string what, std::string detail) { return {std::move(what), false, std::move(detail)}; }

ProbeReport Finish(std::vector<ProbeStep> steps) {
    ProbeReport r;
    r.ok = !steps.empty() && std::all_of(steps.begin(), steps.end(), [](const ProbeStep& s) { return s.ok; });
    r.steps = std::move(steps);
    return r;
}

// The tests never throw: whatever escapes (no memory, no thread) becomes a failed report.
template <class F>
ProbeReport Guarded(F&& run) noexcept {
    try {
        return run();
    } catch (const std::exception& e) {
        return Finish({Failed("start", e.what())});
    } catch (...) {
        return Finish({Failed("start", "the test could not run")});
    }
}

std::string_view Trim(std::string_view s) {
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

// The first line of a server's text, printable, short enough for a report line.
std::string Shown(std::string_view text) {
    text = text.substr(0, text.find_first_of("\r\n"));
    std::string out;
    for (unsigned char c : text.substr(0, 200)) out += c < 0x20 || c == 0x7f ? '.' : static_cast<char>(c);
    return out;
}

bool HasControl(std::string_view s) {
    return std::any_of(s.begin(), s.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; });
}

// ---- template tokens and the test mail ----

std::tm LocalNow() {
    const std::time_t now = std::time(nullptr);
    std::tm t{};
    localtime_r(&now, &t);
    return t;
}

base::CivilTime CivilOf(const std::tm& t) {
    return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec};
}

std::string Printed(const char* format, const base::CivilTime& t) {
    char b[40];
    std::snprintf(b, sizeof b, format, t.year, t.month, t.day, t.hour, t.minute, t.second);
    return b;
}

// The mail header date, with English names whatever the process's locale.
std::string MailDate(const std::tm& t) {
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const long offset = t.tm_gmtoff / 60;
    char b[64];
    std::snprintf(b, sizeof b, "%s, %02d %s %04d %02d:%02d:%02d %c%02ld%02ld", kDays[t.tm_wday % 7], t.tm_mday,
                  kMonths[t.tm_mon % 12], t.tm_year + 1900, t.tm_hour, t.tm_min, t.tm_sec, offset < 0 ? '-' : '+',
                  std::labs(offset) / 60, std::labs(offset) % 60);
    return b;
}

// A header value: printable ASCII as it is, anything else as UTF-8 encoded words short enough
// for a header line, never split inside a character. Line breaks become spaces.
std::string HeaderWords(std::string_view text) {
    std::string flat(text);
    std::replace_if(flat.begin(), flat.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    if (!std::any_of(flat.begin(), flat.end(), [](unsigned char c) { return c < 0x20 || c >= 0x7f; })) return flat;
    constexpr size_t kChunk = 45;  // 60 characters of Base64 in a word of at most 75
    std::string out;
    for (size_t i = 0; i < flat.size();) {
        size_t n = std::min(kChunk, flat.size() - i);
        while (n > 1 && i + n < flat.size() && (static_cast<unsigned char>(flat[i + n]) & 0xC0) == 0x80) --n;
        if (!out.empty()) out += "\r\n ";
        out += "=?UTF-8?B?" + base::MyEncode(std::string_view(flat).substr(i, n)) + "?=";
        i += n;
    }
    return out;
}

std::string Mailbox(std::string_view name, std::string_view address) {
    const std::string angle = "<" + std::string(Trim(address)) + ">";
    if (Trim(name).empty()) return angle;
    const std::string words = HeaderWords(Trim(name));
    if (words.starts_with("=?")) return words + " " + angle;
    std::string quoted = "\"";
    for (char c : words) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\" " + angle;
}

std::string WithCrLf(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            out += "\r\n";
            if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string MailMessage(const MailServerRecord& s, const std::tm& now) {
    const base::CivilTime when = CivilOf(now);
    return "Date: " + MailDate(now) + "\r\nFrom: " + Mailbox(s.SenderName, s.SenderMail) +
           "\r\nTo: " + Mailbox(s.ReceiverName, s.ReceiverMail) +
           "\r\nSubject: " + HeaderWords(FillTestTokens(s.Subject, when)) +
           "\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8"
           "\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" +
           WithCrLf(FillTestTokens(s.Content, when)) + "\r\n";
}

// ---- addresses ----

// The host as typed, without brackets; empty when it is no host name or address (a slash, an '@'
// or a space would make the URL point elsewhere).
std::string HostOf(std::string_view server) {
    std::string_view h = Trim(server);
    if (h.size() > 2 && h.front() == '[' && h.back() == ']') h = h.substr(1, h.size() - 2);
    const bool plain = !h.empty() && std::all_of(h.begin(), h.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '.' || c == '-' || c == '_' || c == ':';
    });
    return plain ? std::string(h) : std::string();
}

std::string UrlHost(const std::string& host) { return host.find(':') != std::string::npos ? "[" + host + "]" : host; }

std::optional<ProbeStep> CheckAddress(std::string_view server, int32_t port, std::string& host) {
    host = HostOf(server);
    if (host.empty()) return Failed("destination", "\"" + std::string(server) + "\" is not a host name or address");
    if (port < 1 || port > 65535)
        return Failed("destination", "port " + std::to_string(port) + " is not between 1 and 65535");
    return std::nullopt;
}

// Every byte but the unreserved ones and `keep` as %XX.
std::string Escaped(std::string_view s, std::string_view keep) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : s) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~' || keep.find(c) != std::string_view::npos) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    return out;
}

// The URL path of the uploaded file. With one CWD to the whole folder, a leading slash (as %2F)
// makes the folder absolute; without one it is taken from the login folder.
std::string FtpPath(std::string_view folder, std::string_view file) {
    std::string_view dir = Trim(folder);
    std::string path;
    if (dir.starts_with('/')) {
        path = "%2F";
        dir.remove_prefix(1);
    }
    if (!dir.empty()) {
        path += Escaped(dir, "/");
        if (!dir.ends_with('/')) path += '/';
    }
    return path + Escaped(file, "");
}

// ---- libcurl runs ----

// What the server and libcurl exchanged, in order, as the debug callback saw it.
struct Event {
    enum Kind { kCommand, kReply, kSent } kind;  // kSent: the whole body went out
    std::string text;
};

struct Transcript {
    bool statusLinesOnly = false;  // HTTP: of the reply lines only the status lines count
    bool sentWithRequest = false;  // HTTP without a body: the request is all there is to send
    std::vector<Event> events;
};

void AddLines(Transcript& t, Event::Kind kind, std::string_view data) {
    while (!data.empty()) {
        const size_t end = data.find('\n');
        std::string_view line = data.substr(0, end);
        data = end == std::string_view::npos ? std::string_view() : data.substr(end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty() || (kind == Event::kReply && t.statusLinesOnly && !line.starts_with("HTTP/"))) continue;
        t.events.push_back({kind, std::string(line)});
    }
}

int OnDebug(CURL*, curl_infotype type, char* data, size_t size, void* user) {
    auto& t = *static_cast<Transcript*>(user);
    try {
        if (type == CURLINFO_HEADER_IN) AddLines(t, Event::kReply, {data, size});
        if (type == CURLINFO_HEADER_OUT) {
            AddLines(t, Event::kCommand, {data, size});
            if (t.sentWithRequest) t.events.push_back({Event::kSent, {}});
        }
    } catch (...) {
        // a lost line only makes the report vaguer
    }
    return 0;
}

// The body of an upload; marks the transcript when libcurl has taken all of it.
struct Upload {
    std::string_view rest;
    Transcript* transcript = nullptr;
    bool finished = false;
};

size_t ReadUpload(char* buffer, size_t size, size_t count, void* user) {
    auto& u = *static_cast<Upload*>(user);
    const size_t n = std::min(size * count, u.rest.size());
    std::memcpy(buffer, u.rest.data(), n);
    u.rest.remove_prefix(n);
    // libcurl stops asking once it has the announced size, so the end is marked with the last bytes.
    if (u.rest.empty() && !u.finished) {
        u.finished = true;
        try {
            u.transcript->events.push_back({Event::kSent, {}});
        } catch (...) {
        }
    }
    return n;
}

// Shuts the sockets of a transfer down at the deadline. libcurl's own time limit does not cover
// the goodbye (QUIT) it waits for when it closes a connection; a shut socket ends that wait at once.
class SocketGuard {
public:
    explicit SocketGuard(Clock::time_point deadline) : watcher_([this, deadline] { watch(deadline); }) {}
    ~SocketGuard() {
        {
            std::lock_guard lock(m_);
            stop_ = true;
        }
        cv_.notify_all();
        watcher_.join();
    }
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;

    void install(CURL* h) {
        curl_easy_setopt(h, CURLOPT_OPENSOCKETFUNCTION, &SocketGuard::open);
        curl_easy_setopt(h, CURLOPT_OPENSOCKETDATA, this);
        curl_easy_setopt(h, CURLOPT_CLOSESOCKETFUNCTION, &SocketGuard::close);
        curl_easy_setopt(h, CURLOPT_CLOSESOCKETDATA, this);
    }

private:
    static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* a) {
        auto& g = *static_cast<SocketGuard*>(self);
        std::lock_guard lock(g.m_);
        if (g.expired_) return CURL_SOCKET_BAD;
        const int fd = ::socket(a->family, a->socktype | SOCK_CLOEXEC, a->protocol);
        if (fd < 0) return CURL_SOCKET_BAD;
        try {
            g.open_.insert(fd);
        } catch (...) {
            ::close(fd);
            return CURL_SOCKET_BAD;
        }
        return fd;
    }
    // Forgotten before it is closed, so a number used again elsewhere is never shut.
    static int close(void* self, curl_socket_t fd) {
        auto& g = *static_cast<SocketGuard*>(self);
        {
            std::lock_guard lock(g.m_);
            g.open_.erase(fd);
        }
        return ::close(fd);
    }
    void watch(Clock::time_point deadline) {
        std::unique_lock lock(m_);
        if (cv_.wait_until(lock, deadline, [this] { return stop_; })) return;
        expired_ = true;
        for (int fd : open_) ::shutdown(fd, SHUT_RDWR);
    }

    std::mutex m_;
    std::condition_variable cv_;
    std::set<int> open_;
    bool stop_ = false;
    bool expired_ = false;
    std::thread watcher_;  // last: starts when the rest is ready
};

struct CurlRun {
    CURLcode code = CURLE_OK;
    std::string error;
    bool connected = false;
    std::string peer;  // the address connected to
    long status = 0;   // HTTP
    Transcript transcript;
};

// A transfer set up by `setup`, bounded by the deadline from start to cleanup.
CurlRun Perform(Clock::time_point deadline, Transcript transcript,
                const std::function<void(CURL*, Transcript*)>& setup) {
    static const CURLcode kInit = curl_global_init(CURL_GLOBAL_DEFAULT);
    CurlRun run;
    run.transcript = std::move(transcript);
    if (kInit != CURLE_OK) {
        run.code = kInit;
        run.error = curl_easy_strerror(kInit);
        return run;
    }
    SocketGuard guard(deadline);
    char error[CURL_ERROR_SIZE] = "";
    {
        std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> h(curl_easy_init(), &curl_easy_cleanup);
        if (!h) {
            run.code = CURLE_FAILED_INIT;
            run.error = curl_easy_strerror(run.code);
            return run;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        const long ms = static_cast<long>(std::max<long long>(1, left));  // 0 would mean no limit
        CURL* c = h.get();
        curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, ms);
        curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT_MS, ms);
        curl_easy_setopt(c, CURLOPT_ACCEPTTIMEOUT_MS, ms);
        curl_easy_setopt(c, CURLOPT_QUICK_EXIT, 1L);  // never wait for a name lookup left running
        curl_easy_setopt(c, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(c, CURLOPT_ERRORBUFFER, error);
        curl_easy_setopt(c, CURLOPT_VERBOSE, 1L);  // the debug callback sees nothing without it
        curl_easy_setopt(c, CURLOPT_DEBUGFUNCTION, &OnDebug);
        curl_easy_setopt(c, CURLOPT_DEBUGDATA, &run.transcript);
        guard.install(c);
        setup(c, &run.transcript);
        run.code = curl_easy_perform(c);
        if (run.code != CURLE_OK) run.error = *error ? error : curl_easy_strerror(run.code);
        curl_off_t connectTime = 0;
        curl_easy_getinfo(c, CURLINFO_CONNECT_TIME_T, &connectTime);
        const char* ip = nullptr;
        if (curl_easy_getinfo(c, CURLINFO_PRIMARY_IP, &ip) == CURLE_OK && ip) run.peer = ip;
        curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &run.status);
        const auto& events = run.transcript.events;
        run.connected = connectTime > 0 || std::any_of(events.begin(), events.end(), [](const Event& e) {
                            return e.kind == Event::kReply;
                        });
    }
    return run;
}

// The steps after the connection, in order; a run moves through them only forward.
enum class Phase { kGreeting, kAuthenticate, kDirectory, kSend, kAnswer, kClose };

const char* NameOf(Phase p) {
    static const char* const kNames[] = {"greeting", "authenticate", "directory", "send", "answer", "close"};
    return kNames[static_cast<int>(p)];
}

struct PhaseLog {
    Phase phase;
    std::string command;  // the first one sent in this phase
    std::string firstReply, lastReply;
};

std::string Verb(std::string_view line) {
    std::string verb(line.substr(0, line.find(' ')));
    for (char& c : verb) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return verb;
}

// Where an event moves a run; the lines of an AUTH exchange and other commands stay where they are.
Phase SmtpPhase(const Event& e, Phase current) {
    if (e.kind == Event::kSent) return Phase::kAnswer;
    if (e.kind == Event::kReply) return current;
    const std::string v = Verb(e.text);
    if (v == "EHLO" || v == "HELO") return Phase::kGreeting;
    if (v == "AUTH") return Phase::kAuthenticate;
    if (v == "MAIL" || v == "RCPT" || v == "DATA") return Phase::kSend;
    if (v == "QUIT") return Phase::kClose;
    return current;
}

Phase FtpPhase(const Event& e, Phase current) {
    if (e.kind == Event::kSent) return Phase::kAnswer;
    if (e.kind == Event::kReply) return current;
    const std::string v = Verb(e.text);
    if (v == "USER" || v == "PASS" || v == "ACCT" || v == "PWD") return Phase::kAuthenticate;
    if (v == "CWD" || v == "MKD") return Phase::kDirectory;
    if (v == "EPSV" || v == "PASV" || v == "EPRT" || v == "PORT" || v == "TYPE" || v == "STOR") return Phase::kSend;
    if (v == "QUIT" || v == "ABOR") return Phase::kClose;
    return current;
}

Phase HttpPhase(const Event& e, Phase) {
    return e.kind == Event::kCommand ? Phase::kSend : Phase::kAnswer;
}

struct Protocol {
    Phase first;
    Phase (*phaseOf)(const Event&, Phase current);
};

std::vector<PhaseLog> PhasesOf(const Transcript& t, const Protocol& p) {
    std::vector<PhaseLog> logs{{p.first, {}, {}, {}}};
    for (const Event& e : t.events) {
        const Phase next = p.phaseOf(e, logs.back().phase);
        if (next > logs.back().phase) logs.push_back({next, {}, {}, {}});
        PhaseLog& log = logs.back();
        if (e.kind == Event::kCommand && log.command.empty()) log.command = e.text;
        if (e.kind == Event::kReply) {
            if (log.firstReply.empty()) log.firstReply = e.text;
            log.lastReply = e.text;
        }
    }
    return logs;
}

// The steps of a run: the connection, then a step for every phase it reached; the last one failed
// if the run did. `done` words a phase that went well.
std::vector<ProbeStep> Summarise(const CurlRun& run, const Protocol& p, const std::string& host, int32_t port,
                                 const std::function<std::string(const PhaseLog&)>& done) {
    const std::string target = UrlHost(host) + ":" + std::to_string(port);
    if (!run.connected) return {Failed("connect", target + ": " + run.error)};
    const std::string peer = run.peer.empty() || run.peer == host ? "" : " (" + run.peer + ")";
    std::vector<ProbeStep> steps{Done("connect", "connected to " + target + peer)};
    std::vector<PhaseLog> logs = PhasesOf(run.transcript, p);
    const bool failed = run.code != CURLE_OK;
    if (logs.back().phase == Phase::kClose) logs.pop_back();  // the goodbye is no step of the test
    // libcurl gives up before sending AUTH when the server offers no way it knows; the offer says why.
    if (failed && run.code == CURLE_LOGIN_DENIED && logs.back().phase < Phase::kAuthenticate)
        logs.push_back({Phase::kAuthenticate, {}, {}, logs.back().lastReply});
    for (size_t i = 0; i < logs.size(); ++i) {
        const PhaseLog& log = logs[i];
        if (i + 1 == logs.size() && failed) {
            const std::string reply = log.lastReply.empty() ? "" : "; last reply: " + Shown(log.lastReply);
            steps.push_back(Failed(NameOf(log.phase), run.error + reply));
        } else {
            steps.push_back(Done(NameOf(log.phase), done(log)));
        }
    }
    return steps;
}

std::string Answered(const PhaseLog& log) { return "server answered: " + Shown(log.lastReply); }

using SlistPtr = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

SlistPtr Slist(std::initializer_list<std::string> items) {
    SlistPtr list(nullptr, &curl_slist_free_all);
    for (const std::string& item : items) {
        curl_slist* next = curl_slist_append(list.get(), item.c_str());
        if (!next) throw std::bad_alloc();
        list.release();
        list.reset(next);
    }
    return list;
}

// The name the test mail says hello with.
std::string HelloName() {
    char name[256] = "";
    if (gethostname(name, sizeof name - 1) != 0) return "localhost";
    const std::string host = HostOf(name);
    return host.empty() ? "localhost" : host;
}

// ---- plain sockets ----

class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& o) noexcept : fd_(std::exchange(o.fd_, -1)) {}
    Fd& operator=(Fd&& o) noexcept {
        std::swap(fd_, o.fd_);
        return *this;
    }
    ~Fd() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

// 1 ready, 0 the time is up, -1 an error.
int WaitFor(int fd, short events, Clock::time_point until) {
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
        if (left <= 0) return 0;
        pollfd p{fd, events, 0};
        const int n = ::poll(&p, 1, static_cast<int>(left));
        if (n > 0) return 1;
        if (n < 0 && errno != EINTR) return -1;
    }
}

// The addresses of a host within the deadline. A name whose lookup outlasts it is left to the
// helper thread, which then frees what it finds.
std::shared_ptr<addrinfo> ResolveWithin(const std::string& host, int port, Clock::time_point deadline,
                                        std::string& why) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    const std::string service = std::to_string(port);
    addrinfo* found = nullptr;
    int rc = getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
    if (rc == 0) return {found, &freeaddrinfo};
    if (rc != EAI_NONAME) {
        why = gai_strerror(rc);
        return nullptr;
    }
    struct Lookup {
        std::mutex m;
        std::condition_variable cv;
        bool done = false, abandoned = false;
        int rc = 0;
        addrinfo* found = nullptr;
    };
    auto lookup = std::make_shared<Lookup>();
    hints.ai_flags = AI_NUMERICSERV | AI_ADDRCONFIG;
    std::thread([lookup, host, service, hints] {
        addrinfo* res = nullptr;
        const int r = getaddrinfo(host.c_str(), service.c_str(), &hints, &res);
        std::lock_guard lock(lookup->m);
        if (lookup->abandoned) {
            if (r == 0) freeaddrinfo(res);
            return;
        }
        lookup->rc = r;
        lookup->found = r == 0 ? res : nullptr;
        lookup->done = true;
        lookup->cv.notify_all();
    }).detach();
    std::unique_lock lock(lookup->m);
    if (!lookup->cv.wait_until(lock, deadline, [&] { return lookup->done; })) {
        lookup->abandoned = true;
        why = "no address for " + host + " within the time limit";
        return nullptr;
    }
    if (lookup->rc != 0) {
        why = "cannot resolve " + host + ": " + gai_strerror(lookup->rc);
        return nullptr;
    }
    return {lookup->found, &freeaddrinfo};
}

Fd ConnectWithin(const std::string& host, int port, Clock::time_point deadline, std::string& why) {
    const auto addresses = ResolveWithin(host, port, deadline, why);
    for (addrinfo* a = addresses.get(); a; a = a->ai_next) {
        Fd fd(::socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol));
        if (!fd) {
            why = std::strerror(errno);
            continue;
        }
        if (::connect(fd.get(), a->ai_addr, a->ai_addrlen) == 0) return fd;
        if (errno != EINPROGRESS) {
            why = std::strerror(errno);
            continue;
        }
        const int ready = WaitFor(fd.get(), POLLOUT, deadline);
        if (ready == 0) {
            why = "no connection within the time limit";
            return {};
        }
        int err = 0;
        socklen_t len = sizeof err;
        if (ready < 0 || ::getsockopt(fd.get(), SOL_SOCKET, SO_ERROR, &err, &len) != 0) err = errno;
        if (err == 0) return fd;
        why = std::strerror(err);
    }
    return {};
}

bool SendWithin(int fd, std::string_view data, Clock::time_point deadline, std::string& why) {
    while (!data.empty()) {
        const ssize_t n = ::send(fd, data.data(), data.size(), MSG_NOSIGNAL);
        if (n > 0) {
            data.remove_prefix(static_cast<size_t>(n));
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
            if (WaitFor(fd, POLLOUT, deadline) <= 0) {
                why = "could not send within the time limit";
                return false;
            }
        } else {
            why = std::strerror(errno);
            return false;
        }
    }
    return true;
}

// Whatever the server says soon after the test line; silence is no fault.
ProbeStep AnswerWithin(int fd, Clock::time_point until) {
    const auto waited = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
    const int ready = WaitFor(fd, POLLIN, until);
    if (ready == 0) return Done("answer", "no answer within " + std::to_string(std::max<long long>(0, waited)) + " ms");
    char buffer[512];
    const ssize_t n = ready > 0 ? ::recv(fd, buffer, sizeof buffer, 0) : -1;
    if (n == 0) return Done("answer", "the server closed the connection without an answer");
    if (n < 0) return Failed("answer", std::strerror(errno));
    return Done("answer", "server answered: " + Shown({buffer, static_cast<size_t>(n)}));
}

template <class List>
const typename List::value_type* Entry(const List& list, int16_t id) {
    const auto it =
        std::find_if(list.begin(), list.end(), [id](const auto& r) { return r.ID > 0 && r.ID == id && !r.Removed; });
    return it == list.end() ? nullptr : &*it;
}

}  // namespace

std::string ProbeReport::text() const {
    std::string out;
    for (const ProbeStep& s : steps) out += (s.ok ? s.detail : s.what + " failed: " + s.detail) + "\n";
    return out;
}

std::string FillTestTokens(std::string_view text, const base::CivilTime& when, bool forFileName) {
    const std::string date = Printed("%04d/%02d/%02d %02d:%02d:%02d", when);
    const std::string date1 = Printed("%04d%02d%02d_%02d%02d%02d", when);
    const std::pair<std::string_view, std::string_view> tokens[] = {
        {"$EVT_DATE$", forFileName ? date1 : date}, {"$EVT_DATE1$", date1}, {"$EVT_NAME$", "Test"},
        {"$EVT_CH$", "0"},                          {"$EVT_TRGID$", "0"},
    };
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const auto token = std::find_if(std::begin(tokens), std::end(tokens),
                                        [&](const auto& t) { return text.substr(i).starts_with(t.first); });
        if (token == std::end(tokens)) {
            out += text[i++];
        } else {
            out += token->second;
            i += token->first.size();
        }
    }
    return out;
}

ProbeReport TestMail(const MailServerRecord& s, milliseconds limit) {
    return Guarded([&] {
        const auto deadline = Deadline(limit);
        std::string host;
        if (auto bad = CheckAddress(s.Server, s.Port, host)) return Finish({*bad});
        const std::string from(Trim(s.SenderMail)), to(Trim(s.ReceiverMail));
        if (from.empty() || to.empty() || HasControl(from) || HasControl(to))
            return Finish({Failed("destination", "the sender's and the recipient's addresses are needed")});
        const std::string message = MailMessage(s, LocalNow());
        const std::string target = UrlHost(host) + ":" + std::to_string(s.Port);
        const SlistPtr recipients = Slist({to});
        Upload upload{message};
        const CurlRun run = Perform(deadline, {}, [&](CURL* c, Transcript* transcript) {
            upload.transcript = transcript;
            curl_easy_setopt(c, CURLOPT_URL, ("smtp://" + target + "/" + HelloName()).c_str());
            curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "smtp");
            curl_easy_setopt(c, CURLOPT_MAIL_FROM, from.c_str());
            curl_easy_setopt(c, CURLOPT_MAIL_RCPT, recipients.get());
            curl_easy_setopt(c, CURLOPT_UPLOAD, 1L);
            curl_easy_setopt(c, CURLOPT_READFUNCTION, &ReadUpload);
            curl_easy_setopt(c, CURLOPT_READDATA, &upload);
            curl_easy_setopt(c, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(message.size()));
            if (!s.UserName.empty()) {
                curl_easy_setopt(c, CURLOPT_USERNAME, s.UserName.c_str());
                curl_easy_setopt(c, CURLOPT_PASSWORD, s.Password.c_str());
            }
        });
        std::vector<ProbeStep> steps =
            Summarise(run, {Phase::kGreeting, &SmtpPhase}, host, s.Port, [&](const PhaseLog& log) {
                switch (log.phase) {
                    case Phase::kGreeting: return "server greeted: " + Shown(log.firstReply);
                    case Phase::kAuthenticate: return "authenticated as " + s.UserName;
                    case Phase::kSend: return "sent to " + to;
                    default: return Answered(log);
                }
            });
        // libcurl sends without logging in when the server offers no AUTH; say so rather than hide it.
        const auto named = [&](const char* what) {
            return std::find_if(steps.begin(), steps.end(), [&](const ProbeStep& p) { return p.what == what; });
        };
        if (!s.UserName.empty() && named("authenticate") == steps.end() && named("send") != steps.end())
            steps.insert(named("send"), Done("authenticate", "the server asks for no login; the account " +
                                                                  s.UserName + " was not used"));
        return Finish(std::move(steps));
    });
}

ProbeReport TestFTP(const FTPServerRecord& s, milliseconds limit) {
    return Guarded([&] {
        const auto deadline = Deadline(limit);
        std::string host;
        if (auto bad = CheckAddress(s.Server, s.Port, host)) return Finish({*bad});
        const base::CivilTime when = CivilOf(LocalNow());
        const std::string file = FillTestTokens(Trim(s.FileName), when, true);
        if (file.empty() || HasControl(file)) return Finish({Failed("destination", "a file name is needed")});
        const std::string content = FillTestTokens(s.Content, when);
        const std::string target = UrlHost(host) + ":" + std::to_string(s.Port);
        const bool passive = s.Passive != 0;
        Upload upload{content};
        const CurlRun run = Perform(deadline, {}, [&](CURL* c, Transcript* transcript) {
            upload.transcript = transcript;
            curl_easy_setopt(c, CURLOPT_URL, ("ftp://" + target + "/" + FtpPath(s.UploadPath, file)).c_str());
            curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "ftp");
            curl_easy_setopt(c, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
            if (!passive) curl_easy_setopt(c, CURLOPT_FTPPORT, "-");  // the address of the control connection
            curl_easy_setopt(c, CURLOPT_UPLOAD, 1L);
            curl_easy_setopt(c, CURLOPT_READFUNCTION, &ReadUpload);
            curl_easy_setopt(c, CURLOPT_READDATA, &upload);
            curl_easy_setopt(c, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(content.size()));
            if (!s.UserName.empty()) {
                curl_easy_setopt(c, CURLOPT_USERNAME, s.UserName.c_str());
                curl_easy_setopt(c, CURLOPT_PASSWORD, s.Password.c_str());
            }
        });
        return Finish(Summarise(run, {Phase::kGreeting, &FtpPhase}, host, s.Port, [&](const PhaseLog& log) {
            switch (log.phase) {
                case Phase::kGreeting: return "server greeted: " + Shown(log.firstReply);
                case Phase::kAuthenticate: return "logged in as " + (s.UserName.empty() ? "anonymous" : s.UserName);
                case Phase::kDirectory:
                    return "changed to folder " + Shown(log.command.substr(log.command.find(' ') + 1));
                case Phase::kSend:
                    return "sent " + file + " (" + std::to_string(content.size()) + " bytes, " +
                           (passive ? "passive" : "active") + ")";
                default: return Answered(log);
            }
        }));
    });
}

ProbeReport TestHTTP(const HTTPServerRecord& s, milliseconds limit) {
    return Guarded([&] {
        const auto deadline = Deadline(limit);
        std::string host;
        if (auto bad = CheckAddress(s.Server, s.Port, host)) return Finish({*bad});
        const std::string target = UrlHost(host) + ":" + std::to_string(s.Port);
        // A body over 1 kB would make libcurl wait for "100 Continue" first.
        const SlistPtr headers = Slist({"Content-Type: text/plain; charset=UTF-8", "Expect:"});
        Upload upload{s.Content};
        Transcript flags;
        flags.statusLinesOnly = true;
        flags.sentWithRequest = s.Content.empty();
        const CurlRun run = Perform(deadline, std::move(flags), [&](CURL* c, Transcript* transcript) {
            upload.transcript = transcript;
            curl_easy_setopt(c, CURLOPT_URL, ("http://" + target + "/").c_str());
            curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "http");
            curl_easy_setopt(c, CURLOPT_POST, 1L);
            curl_easy_setopt(c, CURLOPT_READFUNCTION, &ReadUpload);
            curl_easy_setopt(c, CURLOPT_READDATA, &upload);
            curl_easy_setopt(c, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(s.Content.size()));
            curl_easy_setopt(c, CURLOPT_HTTPHEADER, headers.get());
            if (!s.UserName.empty()) {
                curl_easy_setopt(c, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
                curl_easy_setopt(c, CURLOPT_USERNAME, s.UserName.c_str());
                curl_easy_setopt(c, CURLOPT_PASSWORD, s.Password.c_str());
            }
        });
        const auto done = [&](const PhaseLog& log) {
            if (log.phase == Phase::kSend) return "sent POST with " + std::to_string(s.Content.size()) + " bytes";
            return Answered(log);
        };
        std::vector<ProbeStep> steps = Summarise(run, {Phase::kSend, &HttpPhase}, host, s.Port, done);
        // The request went through, but the server refused it (a wrong account, no such page).
        if (run.code == CURLE_OK && run.status >= 400 && steps.back().what == NameOf(Phase::kAnswer))
            steps.back().ok = false;
        return Finish(std::move(steps));
    });
}

ProbeReport TestTCP(const TCPServerRecord& s, milliseconds limit) {
    return Guarded([&] {
        const auto deadline = Deadline(limit);
        std::string host;
        if (auto bad = CheckAddress(s.Server, s.Port, host)) return Finish({*bad});
        const std::string target = UrlHost(host) + ":" + std::to_string(s.Port);
        std::string why;
        const Fd fd = ConnectWithin(host, s.Port, deadline, why);
        if (!fd) return Finish({Failed("connect", target + ": " + why)});
        std::vector<ProbeStep> steps{Done("connect", "connected to " + target)};
        if (!SendWithin(fd.get(), kTcpTestLine, deadline, why)) {
            steps.push_back(Failed("send", why));
            return Finish(std::move(steps));
        }
        steps.push_back(Done("send", "sent \"" + Shown(kTcpTestLine) + "\""));
        steps.push_back(AnswerWithin(fd.get(), std::min(deadline, Clock::now() + kAnswerWait)));
        return Finish(std::move(steps));
    });
}

ProbeReport TestDestination(const EventTables& t, int kind, int16_t id, milliseconds limit) {
    return Guarded([&] {
        const auto missing = [&](const std::string& what) {
            return Finish({Failed("destination", "there is no " + what + " with ID " + std::to_string(id))});
        };
        switch (kind) {
            case kMail:
                if (const auto* r = Entry(t.strMailServer, id)) return TestMail(*r, limit);
                return missing("mail server");
            case kFTP:
                if (const auto* r = Entry(t.strFTPServer, id)) return TestFTP(*r, limit);
                return missing("FTP server");
            case kHTTP:
                if (const auto* r = Entry(t.strHTTPServer, id)) return TestHTTP(*r, limit);
                return missing("HTTP server");
            case kTCP:
                if (const auto* r = Entry(t.strTCPServer, id)) return TestTCP(*r, limit);
                return missing("TCP server");
            default:
                return Finish({Failed("destination", "destinations of kind " + std::to_string(kind) +
                                                         " cannot be tested; mail, FTP, HTTP and TCP servers can")});
        }
    });
}

}  // namespace kv::events

// ICMP echo through a ping socket or a raw socket, with a TCP connect as the fallback.
#include "session/ping.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "base/text.h"

namespace kv::session {
namespace {

constexpr char kEchoData[] = "Echo this string of data";

bool parseIPv4(const std::string& ip, in_addr& out) { return ::inet_pton(AF_INET, ip.c_str(), &out) == 1; }

uint16_t checksum(const uint8_t* data, size_t len) {
    uint32_t sum = 0;
    for (size_t i = 0; i + 1 < len; i += 2) sum += static_cast<uint32_t>(data[i] << 8 | data[i + 1]);
    if (len & 1) sum += static_cast<uint32_t>(data[len - 1] << 8);
    while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint16_t>(~sum);
}

int remainingMs(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// -1: ICMP not allowed here; 0: no answer; 1: answered.
int icmpEcho(const in_addr& addr, int timeoutMs) {
    bool raw = false;
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (fd < 0) {
        fd = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
        raw = true;
    }
    if (fd < 0) return -1;
    std::vector<uint8_t> packet(sizeof(icmphdr) + sizeof kEchoData - 1);
    auto* h = reinterpret_cast<icmphdr*>(packet.data());
    h->type = ICMP_ECHO;
    h->code = 0;
    const uint16_t ident = static_cast<uint16_t>(::getpid() & 0xFFFF);
    h->un.echo.id = htons(ident);
    h->un.echo.sequence = htons(1);
    std::memcpy(packet.data() + sizeof(icmphdr), kEchoData, sizeof kEchoData - 1);
    h->checksum = htons(checksum(packet.data(), packet.size()));
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr = addr;
    if (::sendto(fd, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to) < 0) {
        ::close(fd);
        return 0;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    int result = 0;
    uint8_t buf[278];  // the reply buffer of the echo
    while (result == 0) {
        pollfd p{fd, POLLIN, 0};
        const int left = remainingMs(deadline);
        if (left <= 0 || ::poll(&p, 1, left) <= 0) break;
        sockaddr_in from{};
        socklen_t fromLen = sizeof from;
        const ssize_t n = ::recvfrom(fd, buf, sizeof buf, 0, reinterpret_cast<sockaddr*>(&from), &fromLen);
        if (n <= 0 || from.sin_addr.s_addr != addr.s_addr) continue;
        size_t off = 0;
        if (raw) off = static_cast<size_t>(buf[0] & 0x0F) * 4;  // a raw socket hands over the IP header
        if (static_cast<size_t>(n) < off + sizeof(icmphdr)) continue;
        const auto* r = reinterpret_cast<const icmphdr*>(buf + off);
        // A ping socket rewrites the identifier itself, so only a raw socket checks it.
        if (r->type == ICMP_ECHOREPLY && (!raw || ntohs(r->un.echo.id) == ident)) result = 1;
    }
    ::close(fd);
    return result;
}

bool tcpConnect(const in_addr& addr, int port, int timeoutMs) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr = addr;
    to.sin_port = htons(static_cast<uint16_t>(port));
    bool ok = false;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0) {
        ok = true;
    } else if (errno == EINPROGRESS) {
        pollfd p{fd, POLLOUT, 0};
        if (::poll(&p, 1, timeoutMs) == 1) {
            int err = 0;
            socklen_t len = sizeof err;
            ok = ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len) == 0 && err == 0;
        }
    }
    ::close(fd);
    return ok;
}

}  // namespace

uint32_t ConvertIPAddressToLong(const std::string& ip) {
    uint32_t value = 0;
    size_t pos = 0;
    for (int part = 0; part < 4; ++part) {
        const size_t dot = ip.find('.', pos);
        if ((part < 3) != (dot != std::string::npos)) return 0;
        const std::string token = ip.substr(pos, dot == std::string::npos ? std::string::npos : dot - pos);
        if (token.empty() || token.size() > 3 || token.find_first_not_of("0123456789") != std::string::npos) return 0;
        const int n = std::stoi(token);
        if (n > 255) return 0;
        value |= static_cast<uint32_t>(n) << (8 * part);
        pos = dot + 1;
    }
    return value;
}

PingResult Ping(const std::string& ip, int tcpPort, int timeoutMs) {
    in_addr addr{};
    if (!parseIPv4(base::Trim(ip), addr)) return {};
    const int echo = icmpEcho(addr, timeoutMs);
    if (echo == 1) return {true, PingWay::IcmpEcho};
    if (echo == 0) return {false, PingWay::IcmpEcho};
    if (tcpConnect(addr, tcpPort, timeoutMs)) return {true, PingWay::TcpConnect};
    return {false, PingWay::TcpConnect};
}

}  // namespace kv::session

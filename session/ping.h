// Reachability of a server: an ICMP echo where the system allows it, else a TCP connect.
#pragma once

#include <cstdint>
#include <string>

namespace kv::session {

/// The address as the number whose bytes, from high to low, are the four parts in reverse
/// order ("192.168.0.1" → 0x0100A8C0: the network order as it lies in memory). 0 when it does
/// not parse.
uint32_t ConvertIPAddressToLong(const std::string& ip);

/// How a ping was answered.
enum class PingWay { None, IcmpEcho, TcpConnect };

struct PingResult {
    bool reached = false;
    PingWay way = PingWay::None;
};

/// Sends "Echo this string of data" as an ICMP echo (unprivileged ping socket, or a raw socket
/// when allowed) and waits up to `timeoutMs`; when ICMP is not allowed here, tries a TCP
/// connect to `tcpPort` with the same limit. An address that does not parse fails.
PingResult Ping(const std::string& ip, int tcpPort = 9877, int timeoutMs = 200);

}  // namespace kv::session

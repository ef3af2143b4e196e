// Processor load, free ports and the machine's address, read from the system.
#include "sim/probe.h"

#include <fstream>
#include <sstream>

#include <asio.hpp>

#ifndef _WIN32
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#endif

namespace kv::sim {

namespace {

// The first line of /proc/stat: "cpu user nice system idle iowait irq softirq steal ...".
bool readCpu(uint64_t& busy, uint64_t& total) {
    std::ifstream in("/proc/stat");
    std::string line;
    if (!std::getline(in, line) || line.rfind("cpu ", 0) != 0) return false;
    std::istringstream fields(line.substr(4));
    uint64_t v = 0, idle = 0;
    total = 0;
    for (int i = 0; i < 8 && fields >> v; ++i) {
        total += v;
        if (i == 3 || i == 4) idle += v;  // idle and iowait
    }
    busy = total - idle;
    return total > 0;
}

}  // namespace

CpuSampler::CpuSampler() { readCpu(busy_, total_); }

int32_t CpuSampler::usage() {
    uint64_t busy = 0, total = 0;
    if (!readCpu(busy, total)) return last_;
    if (total > total_ && busy >= busy_) {
        last_ = static_cast<int32_t>((100 * (busy - busy_) + (total - total_) / 2) / (total - total_));
        busy_ = busy;
        total_ = total;
    }
    return last_;
}

bool portAvailable(uint16_t port) {
    asio::io_context io;
    asio::ip::tcp::acceptor acceptor(io);
    asio::error_code ec;
    acceptor.open(asio::ip::tcp::v4(), ec);
    if (ec) return false;
#ifndef _WIN32
    // As a real listener would: a port held only by closing connections counts as free.
    // (On Windows this option would let the bind steal a port in use.)
    acceptor.set_option(asio::ip::tcp::acceptor::reuse_address(true), ec);
#endif
    acceptor.bind(asio::ip::tcp::endpoint(asio::ip::address_v4::any(), port), ec);
    return !ec;
}

std::string primaryAddress() {
#ifndef _WIN32
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) == 0) {
        std::string found;
        for (ifaddrs* a = list; a && found.empty(); a = a->ifa_next) {
            if (!a->ifa_addr || a->ifa_addr->sa_family != AF_INET) continue;
            if (!(a->ifa_flags & IFF_UP) || (a->ifa_flags & IFF_LOOPBACK)) continue;
            char text[INET_ADDRSTRLEN] = {};
            auto* in = reinterpret_cast<const sockaddr_in*>(a->ifa_addr);
            if (inet_ntop(AF_INET, &in->sin_addr, text, sizeof text)) found = text;
        }
        freeifaddrs(list);
        if (!found.empty()) return found;
    }
#endif
    return "127.0.0.1";
}

}  // namespace kv::sim

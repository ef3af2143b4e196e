// What the service reports about the machine it runs on: processor load, free ports, its address.
#pragma once

#include <cstdint>
#include <string>

namespace kv::sim {

/// Processor load from /proc/stat, as the share of busy time since the previous sample.
class CpuSampler {
public:
    CpuSampler();
    /// Percent 0..100 since the previous call (or since construction); the last value when
    /// too little time passed to tell, 0 where /proc/stat cannot be read.
    int32_t usage();

private:
    uint64_t busy_ = 0;
    uint64_t total_ = 0;
    int32_t last_ = 0;
};

/// True when a TCP listener could bind `port` on all addresses of this machine right now.
bool portAvailable(uint16_t port);

/// The first IPv4 address of an interface that is up and not loopback; "127.0.0.1" when none.
std::string primaryAddress();

}  // namespace kv::sim

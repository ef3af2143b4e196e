// The dynamic DNS provider the service registers its name with: the only provider the client
// offers (index 1), with its accounts and the names they hold.
#pragma once

#include <cstdint>
#include <string_view>

namespace kv::sim {

/// The provider's answer to a registration of `domain` with an account, as the DDNS test (40996)
/// and the DDNS status (40995) report it: 1 registered; -2 no name to register; -3 no such provider
/// (`server` other than 1; 0 counts as 1, "not set"); -4 not a host name, or a name the provider
/// does not hold for that account; -5 an account it does not know or a wrong password; -6 the
/// provider's zone `example.org` does not answer in time.
int32_t ddnsRegister(int server, std::string_view domain, std::string_view user, std::string_view password);

}  // namespace kv::sim

// The loaded configuration as a JSON document: one section per table, records keyed by field name.
#pragma once

#include <nlohmann/json.hpp>

#include "app/config.h"

namespace kv::cli {

nlohmann::ordered_json DumpConfig(const app::Config& config);

}  // namespace kv::cli

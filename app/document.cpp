// Comparing document values.
#include "app/document.h"

namespace kv::app {

bool SameValue(const Json& a, const Json& b) { return nlohmann::json::parse(a.dump()) == nlohmann::json::parse(b.dump()); }

}  // namespace kv::app

// What a bug report needs to say about this build and this machine.
#pragma once

#include <nlohmann/json.hpp>

namespace vantor::tool {

/// Versions, target, compiler, processor, instruction sets, the kernels in use, and the variables that choose
/// them.
nlohmann::ordered_json buildFacts();

}  // namespace vantor::tool

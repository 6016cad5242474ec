// What a bug report needs to say about this build and this machine.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace vantor::tool {

/// Versions, target, compiler, CPU, instruction sets, the kernels in use, and the variables that choose
/// them.
nlohmann::ordered_json buildFacts();

/// The names of a list, separated by spaces.
std::string joinWords(const nlohmann::ordered_json& list);

/// The entry "kernels" of these facts.
void printKernels(const nlohmann::ordered_json& kernels);

}  // namespace vantor::tool

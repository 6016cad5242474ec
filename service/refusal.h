// Why the service does not do a request.
#pragma once

#include <string>

namespace vantor {

/// The text names what was wrong, its value and the limit.
struct Refusal {
    std::string text;
};

}  // namespace vantor

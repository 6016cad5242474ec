// Errors that users see.
#pragma once

#include <new>
#include <stdexcept>
#include <string>

#include "bindings/c/vantor/vantor.h"

namespace vantor::tool {

/// Exit statuses of all sub-commands.
enum Status : int {
    kDone = 0,       ///< success; for `compare` and `crosscheck`: identical
    kDifferent = 1,  ///< `compare`, `crosscheck`: different; `grid --check`: the grid has faults
    kFailed = 2,     ///< an error; standard error has the reason
};

/// An error that the user can fix: the text names the file or option, its value and what was expected.
class UserError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws what the C library says where one of its functions failed.
inline void expectDone(int status) {
    if (status == VANTOR_NO_MEMORY) throw std::bad_alloc();
    if (status < 0) throw UserError(vantor_message(nullptr));
}

}  // namespace vantor::tool

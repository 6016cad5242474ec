// Errors that users see.
#pragma once

#include <stdexcept>
#include <string>

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

}  // namespace vantor::tool

// What the tool says when it cannot do what was asked.
#pragma once

#include <stdexcept>
#include <string>

namespace vantor::tool {

/// Exit statuses of all sub-commands.
enum Status : int {
    kDone = 0,       ///< done; for `compare` and `crosscheck`: identical
    kDifferent = 1,  ///< `compare`, `crosscheck`: different; `grid --check`: the grid has faults
    kFailed = 2,     ///< it could not be done; standard error says why
};

/// Trouble that the user can mend: the text names the file or option, its value and what was expected.
class UserError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace vantor::tool

// Back ends behind a table of C functions, in this program or in a shared object.
#pragma once

#include <memory>
#include <string>

#include "service/backend.h"

namespace vantor {

/// Makes back ends of a table, each with a state of its own. `name` is what errors begin with. Throws
/// std::runtime_error for tables of another ABI or without an operation; the maker, where open() refuses.
BackendMaker tableBackends(const std::string& name, const vantor_backend_table& table,
                           const std::string& options);

/// The same of `vantor_backend` in a shared object, which stays loaded as long as the maker or a back end
/// exists. A name without a slash is of a file in the current directory. Throws std::runtime_error where it
/// cannot be loaded.
BackendMaker loadBackends(const std::string& path, const std::string& options);

}  // namespace vantor

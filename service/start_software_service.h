/// @file
/// A service for runCSC, and for warps on GDC_HW, on a workstation. A program that includes this links
/// libvantor10_service besides libVantor10.
#pragma once

#pragma GCC visibility push(default)

namespace vantor {

/// Registers a software service in this process under the name that vantorClient::init looks for, unless a
/// service has that name already, or VANTOR_SERVICE says where another process has one. Comes before init,
/// and may be called again. Throws std::bad_alloc where there is no memory.
///
/// The service takes shared buffers that are memory files or POSIX shared memory, and refuses others.
void startSoftwareService();

}  // namespace vantor

#pragma GCC visibility pop

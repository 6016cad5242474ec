// What does the hardware backend's work: a service in this process, or in another.
#pragma once

#include <string>

namespace vantor::tool {

/// Leads this process's requests to the service that listens at PATH or unix:PATH. Comes before the first
/// one.
void useService(const std::string& address);

/// Whether that was done. A user may also have set VANTOR_SERVICE.
bool isServiceGiven();

/// Once per process. The software service is started unless another is to be used.
void connectToService();

/// What connectToService() found, in its own words, which are from another program.
std::string serviceName();

}  // namespace vantor::tool

#include "tools/vantor/commands/backend_option.h"

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {

void BackendOption::addTo(CLI::App& command) {
    command.add_option(
        "--backend", name_,
        "software (if not given): the CPU; hardware: the hardware service, on a workstation the "
        "software service");
    command.add_option("--path", oldName_)->group("");
}

Backend BackendOption::chosen() const {
    if (name_ && oldName_) throw UserError("--path: now --backend, which is there too: expected one of them");
    const std::string name = oldName_ ? *oldName_ : name_.value_or("software");
    const bool isHardware = name == "hardware" || (oldName_ && name == "hw");
    const bool isSoftware = name == "software" || name == "model" || (oldName_ && name == "sw");
    if (!isHardware && !isSoftware) {
        throw UserError((oldName_ ? "--path " : "--backend ") + name + ": expected software or hardware");
    }
    if (oldName_) note(std::string("--path: now --backend ") + (isHardware ? "hardware" : "software"));
    return isHardware ? Backend::Hardware : Backend::Software;
}

}  // namespace vantor::tool

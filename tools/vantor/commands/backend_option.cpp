#include "tools/vantor/commands/backend_option.h"

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {

void BackendOption::addTo(CLI::App& command) {
    command
        .add_option(
            "--backend", name_,
            "software (default): on the CPU; hardware: on the hardware service, which on a workstation "
            "is the software service")
        ->type_name("BACKEND");
    command.add_option("--path", oldName_)->group("");
}

Backend BackendOption::chosen() const {
    if (name_ && oldName_) throw UserError("--path is the old name of --backend: expected only one of them");
    const std::string name = oldName_ ? *oldName_ : name_.value_or("software");
    const bool isHardware = name == "hardware" || (oldName_ && name == "hw");
    const bool isSoftware = name == "software" || name == "model" || (oldName_ && name == "sw");
    if (!isHardware && !isSoftware) {
        throw UserError((oldName_ ? "--path " : "--backend ") + name + ": expected software or hardware");
    }
    if (oldName_)
        note(std::string("--path is deprecated: use --backend ") + (isHardware ? "hardware" : "software"));
    return isHardware ? Backend::Hardware : Backend::Software;
}

}  // namespace vantor::tool

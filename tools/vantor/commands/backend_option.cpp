#include "tools/vantor/commands/backend_option.h"

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/completion.h"
#include "tools/vantor/library/hardware_service.h"

namespace vantor::tool {

void addServiceOption(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--service", useService,
            "Socket of a service in another process, to be the hardware backend of scale, warp, crosscheck, "
            "record and replay (default: what VANTOR_SERVICE names)")
        ->type_name("PATH");
}

void BackendOption::addTo(CLI::App& command) {
    CLI::Option* backend =
        command
            .add_option(
                "--backend", name_,
                "software (default): on the CPU; hardware: on the hardware service, which on a workstation "
                "is the software service, unless --service leads to another")
            ->type_name("BACKEND");
    offerWords(backend, "software hardware");
    command.add_option("--path", oldName_)->group("");
    addServiceOption(command);
}

Backend BackendOption::chosen() const {
    if (name_ && oldName_) throw UserError("--path is the old name of --backend: expected only one of them");
    const std::string name =
        oldName_ ? *oldName_ : name_.value_or(isServiceGiven() ? "hardware" : "software");
    const bool isHardware = name == "hardware" || (oldName_ && name == "hw");
    const bool isSoftware = name == "software" || name == "model" || (oldName_ && name == "sw");
    if (!isHardware && !isSoftware) {
        throw UserError((oldName_ ? "--path " : "--backend ") + name + ": expected software or hardware");
    }
    if (isSoftware && isServiceGiven())
        throw UserError("--backend software: expected hardware, for --service");
    if (oldName_)
        note(std::string("--path is deprecated: use --backend ") + (isHardware ? "hardware" : "software"));
    return isHardware ? Backend::Hardware : Backend::Software;
}

}  // namespace vantor::tool

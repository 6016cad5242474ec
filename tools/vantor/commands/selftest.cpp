// vantor selftest: checks that the library gives the published bytes on this machine.
#include "tools/selftest/selftest.h"

#include <cstdio>
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/library/build_facts.h"
#include "tools/vantor/library/engine.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string digits(uint32_t hash) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", hash);
    return text;
}

Json toJson(const selftest::Result& result) {
    return {{"request", result.name},
            {"hash", digits(result.hash)},
            {"published", digits(result.published)},
            {"identical", result.isSame()}};
}

int run(bool json) {
    const Json kernels = buildFacts()["kernels"];
    if (!json) {
        printKernels(kernels);
        const selftest::Result all = selftest::compute(selftest::print);
        selftest::print(all);
        const Engine::Selftest again = Engine(0).selftest();
        printLine("by the C library: %d of %d pictures ok", again.right, again.pictures);
        return all.isSame() && again.isRight() ? kDone : kDifferent;
    }
    Json requests = Json::array();
    const selftest::Result all =
        selftest::compute([&](const selftest::Result& result) { requests.push_back(toJson(result)); });
    const Engine::Selftest again = Engine(0).selftest();
    printDocument({{"kernels", kernels},
                   {"requests", requests},
                   {"all", toJson(all)},
                   {"c_library", {{"pictures", again.pictures}, {"identical", again.right}}}});
    return all.isSame() && again.isRight() ? kDone : kDifferent;
}

}  // namespace

void addSelftest(CLI::App& app, Run& run) {
    auto json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand(
        "selftest",
        "Check that this machine gives the published results: one hash per request, one over all, and the "
        "C library's again");
    command->add_flag("--json", *json, "Print the result as JSON");
    command->footer(
        "Exit status: 0 all hashes are the published ones, 1 different, 2 error.\n"
        "Examples:\n"
        "  vantor selftest\n"
        "  VANTOR_CPU=plain vantor selftest --json");
    command->callback([json, &run] { run = [json] { return tool::run(*json); }; });
}

}  // namespace vantor::tool

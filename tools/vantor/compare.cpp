// vantor compare: where and by how much two pictures differ.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/difference.h"
#include "tools/vantor/heatmap.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/json.h"

namespace vantor::tool {
namespace {

struct CompareOptions {
    std::string a;
    std::string b;
    FormOptions form{"--input", {}, {}};
    int tolerance = 0;
    std::string heatmap;
    bool json = false;
};

void report(const CompareOptions& options, const std::vector<Difference>& differences, bool identical) {
    if (!options.json) {
        std::for_each(differences.begin(), differences.end(), print);
        return;
    }
    nlohmann::ordered_json json{
        {"a", options.a}, {"b", options.b}, {"tolerance", options.tolerance}, {"identical", identical}};
    json["components"] = toJson(differences);
    printDocument(json);
}

int run(const CompareOptions& options) {
    expectOtherFile("--heatmap", options.heatmap, {options.a, options.b, "-"});
    const Picture a = readPicture(fileFormInPair(options.a, options.b, options.form));
    const Picture b = readPicture(fileFormInPair(options.b, options.a, options.form));
    if (!areComparable(a, b)) {
        throw UserError("cannot compare: " + options.a + " is " + toString(a.size) + " " +
                        toString(a.layout) + ", " + options.b + " is " + toString(b.size) + " " +
                        toString(b.layout));
    }
    if (!options.heatmap.empty()) {
        const std::string title = "difference of " + options.a + " and " + options.b;
        writeWhole(options.heatmap, heatmap(a, b, options.tolerance, title));
    }
    const std::vector<Difference> differences = measure(a, b);
    const bool identical = std::all_of(differences.begin(), differences.end(),
                                       [&](const Difference& d) { return d.largest <= options.tolerance; });
    report(options, differences, identical);
    return identical ? kDone : kDifferent;
}

}  // namespace

void addCompare(CLI::App& app, Run& run) {
    auto options = std::make_shared<CompareOptions>();
    CLI::App* command = app.add_subcommand("compare", "Tell where and by how much two pictures differ");
    command->add_option("A", options->a, std::string("Picture: ") + kPictureFiles)->required();
    command->add_option("B", options->b, "Picture of the same size")->required();
    command
        ->add_option("--tolerance", options->tolerance, "Largest difference that still counts as identical")
        ->check(CLI::Range(0, 255));
    command->add_option(
        "--heatmap", options->heatmap,
        "PNG to draw the differences to: a colour a doubling, explained below the picture; black "
        "where identical");
    addFormOptions(*command, options->form);
    command->add_flag("--json", options->json, "Write the result as JSON");
    command->footer(
        "Exit status: 0 identical, 1 different, 2 trouble.\n"
        "Examples:\n"
        "  vantor compare photo.png straight.png --heatmap heat.png\n"
        "  vantor compare frame.nv12 frame.i420 --input-size 1280x720 --json\n"
        "  vantor compare photo.png straight.png --tolerance 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool

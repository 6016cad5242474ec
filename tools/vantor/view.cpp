// vantor view: a page to look at one picture or two, and at a grid.
#include <cstdio>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/request.h"
#include "tools/vantor/view_page.h"
#include "tools/vantor/warp_options.h"

namespace vantor::tool {
namespace {

struct ViewCommand {
    std::string a;
    std::string b;
    std::string output;
    WarpOptions warp;
    FormOptions form{"--input", {}, {}};
};

int run(const ViewCommand& command) {
    expectOtherFile("--output", command.output,
                    {command.a, command.b, command.warp.gridFile, command.warp.calibration});
    const std::string& other = command.b.empty() ? command.a : command.b;
    std::vector<ViewedPicture> pictures{
        {command.a, readPicture(fileFormInPair(command.a, other, command.form))}};
    if (!command.b.empty()) {
        pictures.push_back({command.b, readPicture(fileFormInPair(command.b, command.a, command.form))});
    }
    const Size size = pictures[0].picture.size;
    if (!(pictures.back().picture.size == size)) {
        throw UserError("cannot be laid over each other: " + command.a + " is " + toString(size) + ", " +
                        command.b + " is " + toString(pictures.back().picture.size));
    }
    std::optional<ViewedGrid> grid;
    if (command.warp.isGiven()) {
        const Size frame = warpFrame(command.a, size);
        grid = ViewedGrid{describe(command.warp), gridFrom(command.warp, size, frame), frame};
    }
    const std::vector<uint8_t> page = viewPage(pictures, grid);
    writeWhole(command.output, page);
    std::fprintf(stderr, "vantor: %s: a page of %.1f MB for any browser\n", command.output.c_str(),
                 static_cast<double>(page.size()) / 1e6);
    return kDone;
}

}  // namespace

void addView(CLI::App& app, Run& run) {
    auto options = std::make_shared<ViewCommand>();
    CLI::App* command =
        app.add_subcommand("view", "Make a page to look at one picture or two, and at a grid");
    command->add_option("A", options->a, std::string("Picture: ") + kPictureFiles)->required();
    command->add_option("B", options->b,
                        "Picture of the same size, shown right of a divider; such as A warped");
    command->add_option("-o,--output", options->output, "HTML file, whole in itself")->required();
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addFormOptions(*command, options->form);
    command->footer(
        "Examples:\n"
        "  vantor view photo.png straight.png --grid lens.grid -o page.html\n"
        "  vantor view photo.png --rotate 2 -o page.html");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool

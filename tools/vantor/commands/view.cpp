// vantor view: an HTML viewer of one or two pictures, and of a grid.
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/drawing/view_page.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {
namespace {

struct ViewCommand {
    std::string a;
    std::string b;
    std::string output;
    WarpOptions warp;
    PairOptions fileOptions;
};

std::vector<ViewedPicture> picturesOf(const ViewCommand& command) {
    if (!command.b.empty()) {
        const auto [a, b] = inputSpecs(command.a, command.b, command.fileOptions);
        return {{command.a, readPicture(a)}, {command.b, readPicture(b)}};
    }
    if (command.fileOptions.second.isGiven())
        throw UserError("the --other options describe a second picture: expected B");
    return {{command.a, readPicture(inputSpec(command.a, command.fileOptions.first))}};
}

int run(const ViewCommand& command) {
    std::vector<std::string> read = command.warp.files();
    read.insert(read.end(), {command.a, command.b});
    expectOtherFile("--output", command.output, read);
    const std::vector<ViewedPicture> pictures = picturesOf(command);
    const Size size = pictures[0].picture.size;
    if (!(pictures.back().picture.size == size)) {
        throw UserError("expected pictures of one size: " + command.a + " is " + toString(size) + ", " +
                        command.b + " is " + toString(pictures.back().picture.size));
    }
    std::optional<ViewedGrid> grid;
    if (command.warp.isGiven()) {
        const Size frame = warpFrame(command.a, size);
        grid = ViewedGrid{describe(command.warp), gridFrom(command.warp, size, frame), frame};
    }
    const std::vector<uint8_t> page = viewPage(pictures, grid);
    writeFile(command.output, page);
    char megabytes[32];
    std::snprintf(megabytes, sizeof megabytes, "%.1f MB", static_cast<double>(page.size()) / 1e6);
    summarize(command.output + ": HTML viewer, " + megabytes);
    return kDone;
}

}  // namespace

void addView(CLI::App& app, Run& run) {
    auto options = std::make_shared<ViewCommand>();
    CLI::App* command =
        app.add_subcommand("view", "Make an HTML viewer of one or two pictures, and of a grid");
    command->add_option("A", options->a, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command
        ->add_option("B", options->b,
                     "Picture of the same size, such as A warped, shown to the right of a divider")
        ->type_name("FILE");
    command->add_option("-o,--output", options->output, "HTML file to write; it is self-contained")
        ->type_name("FILE")
        ->required();
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addFileOptions(*command, options->fileOptions);
    command->footer(
        "The --input options apply to B too where it is raw and has no --other option of its own.\n"
        "Examples:\n"
        "  vantor view photo.png straight.png --grid lens.grid -o page.html\n"
        "  vantor view photo.png --rotate 2 -o page.html");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool

// vantor compare: where and by how much two pictures or clips differ.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/clip_options.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/drawing/heatmap.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/picture/difference.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;
using Differences = std::vector<Difference>;

struct CompareOptions {
    std::string a;
    std::string b;
    PairOptions fileOptions;
    FrameRange part;
    int tolerance = 0;
    std::string heatmap;
    bool json = false;
};

/// The result over all frames.
struct Comparison {
    Differences differences;
    uintmax_t framesOfA = 0;
    uintmax_t framesOfB = 0;

    bool isClip() const { return std::max(framesOfA, framesOfB) > 1; }
    bool isWithin(int tolerance) const {
        const auto isNear = [&](const Difference& difference) { return difference.largest <= tolerance; };
        return framesOfA == framesOfB && std::all_of(differences.begin(), differences.end(), isNear);
    }
    void add(const Differences& later, uintmax_t frame) {
        if (differences.empty()) {
            differences = later;
            for (Difference& difference : differences) difference.firstFrame = frame;
            return;
        }
        for (size_t i = 0; i < later.size(); ++i) differences[i].add(later[i], frame);
    }
};

/// Prints the results to standard output, frame by frame.
class Report {
public:
    virtual ~Report() = default;
    virtual void frame(uintmax_t number, const Differences& differences) = 0;
    virtual void end(const Comparison& comparison) = 0;
};

class TextReport : public Report {
public:
    explicit TextReport(const CompareOptions& options) : options_(options) {}

    /// A single frame is a picture, which gets no line of its own.
    void frame(uintmax_t number, const Differences& differences) override {
        const bool isFirst = std::exchange(isFirst_, false);
        std::string line = "frame " + std::to_string(number) + ":";
        for (const Difference& difference : differences) {
            char psnr[32] = "equal";
            if (difference.differing != 0) std::snprintf(psnr, sizeof psnr, "%.2f dB", difference.psnr());
            line += (line.back() == ':' ? " " : ", ") + std::string(difference.component) + " " + psnr;
        }
        if (isFirst) {
            firstLine_ = line;
        } else {
            printFirst();
            printLine("%s", line.c_str());
        }
    }

    void end(const Comparison& comparison) override {
        if (comparison.isClip()) printFirst();
        print(comparison.differences, comparison.isClip());
        if (comparison.framesOfA != comparison.framesOfB) {
            printLine("frames: %ju of %s, %ju of %s", comparison.framesOfA, options_.a.c_str(),
                      comparison.framesOfB, options_.b.c_str());
        }
        printLine("%s", verdict(comparison).c_str());
    }

private:
    void printFirst() {
        if (!firstLine_.empty()) printLine("%s", std::exchange(firstLine_, {}).c_str());
    }

    std::string verdict(const Comparison& comparison) const {
        if (comparison.isWithin(0)) return "identical";
        if (options_.tolerance == 0) return "different";
        return std::string("different, ") + (comparison.isWithin(options_.tolerance) ? "within" : "beyond") +
               " the tolerance of " + std::to_string(options_.tolerance);
    }

    const CompareOptions& options_;
    std::string firstLine_;
    bool isFirst_ = true;
};

/// One object, whose list of frames is written frame by frame, so that none is kept in memory.
class JsonReport : public Report {
public:
    explicit JsonReport(const CompareOptions& options) : options_(options) {}

    void frame(uintmax_t number, const Differences& differences) override {
        if (std::exchange(isFirst_, false)) {
            const std::string head =
                toText({{"a", options_.a}, {"b", options_.b}, {"tolerance", options_.tolerance}}, 2);
            std::printf("%s,\n  \"frames\": [\n    ", head.substr(0, head.size() - 2).c_str());
        } else {
            std::printf(",\n    ");
        }
        const Json json{{"frame", number}, {"components", toJson(differences)}};
        std::printf("%s", toText(json, -1).c_str());
    }

    void end(const Comparison& comparison) override {
        const Json json{{"frame_counts", {{"a", comparison.framesOfA}, {"b", comparison.framesOfB}}},
                        {"components", toJson(comparison.differences, comparison.isClip())},
                        {"identical", comparison.isWithin(0)},
                        {"within_tolerance", comparison.isWithin(options_.tolerance)}};
        std::printf("\n  ],\n%s\n", toText(json, 2).substr(2).c_str());
    }

private:
    const CompareOptions& options_;
    bool isFirst_ = true;
};

std::unique_ptr<Report> makeReport(const CompareOptions& options) {
    if (options.json) return std::make_unique<JsonReport>(options);
    return std::make_unique<TextReport>(options);
}

/// The frame that differs most, of which the heat map is drawn.
struct WorstFrame {
    std::optional<Picture> a;
    std::optional<Picture> b;
    uintmax_t number = 0;
    double squares = 0;

    void offer(Picture fromA, Picture fromB, const Differences& differences, uintmax_t frame) {
        double sum = 0;
        for (const Difference& difference : differences) sum += difference.squares;
        if (a && sum <= squares) return;
        a = std::move(fromA);
        b = std::move(fromB);
        number = frame;
        squares = sum;
    }
};

void drawHeatmap(const CompareOptions& options, const WorstFrame& frame, bool isClip) {
    const std::string title = "difference of " + options.a + " and " + options.b +
                              (isClip ? ", frame " + std::to_string(frame.number) : "");
    writeFile(options.heatmap, heatmap(*frame.a, *frame.b, options.tolerance, title));
}

void countRest(ClipReader& clip, uintmax_t& frames, uintmax_t limit) {
    while (frames < limit && clip.skip()) ++frames;
}

int run(const CompareOptions& options) {
    expectOtherFile("--heatmap", options.heatmap, {options.a, options.b, "-"});
    expectPngName("--heatmap", options.heatmap);
    const auto [specA, specB] = inputSpecs(options.a, options.b, options.fileOptions);
    const std::unique_ptr<ClipReader> a = openClip(specA);
    const std::unique_ptr<ClipReader> b = openClip(specB);
    if (!areComparable(a->shape(), b->shape())) {
        throw UserError("cannot compare: " + options.a + " is " + toString(a->shape().size) + " " +
                        toString(a->shape().format) + ", " + options.b + " is " + toString(b->shape().size) +
                        " " + toString(b->shape().format));
    }
    skipFrames(*a, options.part.skip);
    skipFrames(*b, options.part.skip);

    const std::unique_ptr<Report> report = makeReport(options);
    const uintmax_t limit = options.part.limit.value_or(UINTMAX_MAX);
    Comparison comparison;
    WorstFrame worst;
    while (comparison.framesOfA < limit) {
        std::optional<Picture> fromA = readFrame(*a);
        std::optional<Picture> fromB = readFrame(*b);
        comparison.framesOfA += fromA.has_value();
        comparison.framesOfB += fromB.has_value();
        if (!fromA || !fromB) break;
        const uintmax_t number = options.part.skip + comparison.framesOfA - 1;
        const Differences differences = measure(*fromA, *fromB);
        comparison.add(differences, number);
        report->frame(number, differences);
        if (!options.heatmap.empty()) worst.offer(std::move(*fromA), std::move(*fromB), differences, number);
    }
    if (comparison.differences.empty()) {
        throw UserError((comparison.framesOfA == 0 ? options.a : options.b) + ": no frame to compare");
    }
    countRest(*a, comparison.framesOfA, limit);
    countRest(*b, comparison.framesOfB, limit);
    if (!options.heatmap.empty()) drawHeatmap(options, worst, comparison.isClip());
    report->end(comparison);
    return comparison.isWithin(options.tolerance) ? kDone : kDifferent;
}

}  // namespace

void addCompare(CLI::App& app, Run& run) {
    auto options = std::make_shared<CompareOptions>();
    CLI::App* command =
        app.add_subcommand("compare", "Report where and by how much two pictures or clips differ");
    command->add_option("A", options->a, std::string("Picture or clip: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("B", options->b, "Picture or clip of the same size")->type_name("FILE")->required();
    command
        ->add_option("--tolerance", options->tolerance,
                     "Exit with status 0 if no sample differs by more than N, 0 to 255")
        ->type_name("N")
        ->check(CLI::Range(0, 255).description(""));
    command
        ->add_option(
            "--heatmap", options->heatmap,
            "Draw the differences to a PNG file, with a key: one colour per doubling, black where identical")
        ->type_name("FILE");
    addFrameRangeOptions(*command, options->part);
    addFileOptions(*command, options->fileOptions);
    command->add_flag("--json", options->json, "Print the result as JSON");
    command->footer(
        "The --input options apply to B too where it is raw and has no --other option of its own.\n"
        "Clips are compared frame by frame, numbered from 0, the first in the file. Clips of different "
        "lengths "
        "differ.\nThe heat map shows the frame that differs most.\n"
        "Exit status: 0 identical, or within --tolerance; 1 different; 2 error.\n"
        "Examples:\n"
        "  vantor compare photo.png straight.png --heatmap heat.png\n"
        "  vantor compare frame.nv12 frame.i420 --input-size 1280x720 --json\n"
        "  vantor compare clip.y4m small_320x180.nv12 --skip 10 --limit 50\n"
        "  vantor compare dump.bin clip_1920x1080_nv12.yuv --input-format nv12 --input-size 1920x1080 "
        "--limit 1 \\\n"
        "      --input-stride 2048 --input-slice-height 1088 --other-stride 1920 --other-slice-height 1080\n"
        "  vantor compare photo.png straight.png --tolerance 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool

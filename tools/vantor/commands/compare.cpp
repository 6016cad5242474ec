// vantor compare: where and by how much two pictures or clips differ.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/clip/batch.h"
#include "tools/vantor/clip/workers.h"
#include "tools/vantor/commands/clip_options.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/drawing/heatmap.h"
#include "tools/vantor/io/batch_names.h"
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

/// Files that are compared with a directory or a pattern, one by one.
struct CompareCommand {
    std::vector<std::string> files;
    CompareOptions each;  ///< but for a file's names in a batch
    size_t jobs = 0;
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

/// Says nothing; others print the results to standard output, frame by frame.
class Report {
public:
    virtual ~Report() = default;
    virtual void frame(uintmax_t, const Differences&) {}
    virtual void end(const Comparison&) {}
};

std::string verdict(const Comparison& comparison, int tolerance) {
    if (comparison.isWithin(0)) return "identical";
    if (tolerance == 0) return "different";
    return std::string("different, ") + (comparison.isWithin(tolerance) ? "within" : "beyond") +
           " the tolerance of " + std::to_string(tolerance);
}

/// Such as "Y 41.20 dB, U equal, V equal".
std::string psnrs(const Differences& differences) {
    std::string text;
    for (const Difference& difference : differences) {
        char psnr[32] = "equal";
        if (difference.differing != 0) std::snprintf(psnr, sizeof psnr, "%.2f dB", difference.psnr());
        text += (text.empty() ? "" : ", ") + std::string(difference.component) + " " + psnr;
    }
    return text;
}

Json summary(const Comparison& comparison, int tolerance) {
    return {{"frame_counts", {{"a", comparison.framesOfA}, {"b", comparison.framesOfB}}},
            {"components", toJson(comparison.differences, comparison.isClip())},
            {"identical", comparison.isWithin(0)},
            {"within_tolerance", comparison.isWithin(tolerance)}};
}

class TextReport : public Report {
public:
    explicit TextReport(const CompareOptions& options) : options_(options) {}

    /// A single frame is a picture, which gets no line of its own.
    void frame(uintmax_t number, const Differences& differences) override {
        const bool isFirst = std::exchange(isFirst_, false);
        const std::string line = "frame " + std::to_string(number) + ": " + psnrs(differences);
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
        printLine("%s", verdict(comparison, options_.tolerance).c_str());
    }

private:
    void printFirst() {
        if (!firstLine_.empty()) printLine("%s", std::exchange(firstLine_, {}).c_str());
    }

    const CompareOptions& options_;
    std::string firstLine_;
    bool isFirst_ = true;
};

class JsonReport : public Report {
public:
    explicit JsonReport(const CompareOptions& options)
        : tolerance_(options.tolerance),
          document_({{"a", options.a}, {"b", options.b}, {"tolerance", options.tolerance}}, "frames") {}

    void frame(uintmax_t number, const Differences& differences) override {
        document_.add({{"frame", number}, {"components", toJson(differences)}});
    }

    void end(const Comparison& comparison) override { document_.end(summary(comparison, tolerance_)); }

private:
    int tolerance_;
    StreamedDocument document_;
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

std::vector<uint8_t> drawHeatmap(const CompareOptions& options, const WorstFrame& frame, bool isClip) {
    const std::string title = "difference of " + options.a + " and " + options.b +
                              (isClip ? ", frame " + std::to_string(frame.number) : "");
    static std::mutex mutex;  // cairo locks its fonts in different orders
    const std::lock_guard<std::mutex> lock(mutex);
    return heatmap(*frame.a, *frame.b, options.tolerance, title);
}

void countRest(ClipReader& clip, uintmax_t& frames, uintmax_t limit) {
    while (frames < limit && clip.skip()) ++frames;
}

struct Compared {
    Comparison comparison;
    std::vector<uint8_t> heatmap;  ///< if one is wanted
};

Compared compared(const CompareOptions& options, Report& report) {
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
        report.frame(number, differences);
        if (!options.heatmap.empty()) worst.offer(std::move(*fromA), std::move(*fromB), differences, number);
    }
    if (comparison.differences.empty()) {
        throw UserError((comparison.framesOfA == 0 ? options.a : options.b) + ": no frame to compare");
    }
    countRest(*a, comparison.framesOfA, limit);
    countRest(*b, comparison.framesOfB, limit);
    if (options.heatmap.empty()) return {comparison, {}};
    return {comparison, drawHeatmap(options, worst, comparison.isClip())};
}

int compareOne(const CompareOptions& options) {
    expectOtherFile("--heatmap", options.heatmap, {options.a, options.b, "-"});
    expectPngName("--heatmap", options.heatmap);
    const std::unique_ptr<Report> report = makeReport(options);
    const auto [comparison, heatmap] = compared(options, *report);
    if (!options.heatmap.empty()) writeFile(options.heatmap, heatmap);
    report->end(comparison);
    return comparison.isWithin(options.tolerance) ? kDone : kDifferent;
}

class CompareJob : public BatchJob {
public:
    using Use = std::function<void(const CompareOptions& options, const Comparison& comparison)>;

    CompareJob(CompareOptions options, Use use) : options_(std::move(options)), use_(std::move(use)) {}

    void work() override {
        Report silent;
        result_ = compared(options_, silent);
    }

    void finish() override {
        if (!options_.heatmap.empty()) writeFile(options_.heatmap, result_.heatmap);
        use_(options_, result_.comparison);
    }

private:
    CompareOptions options_;
    Use use_;
    Compared result_;
};

/// The options of each pair.
std::vector<CompareOptions> pairsOf(const CompareCommand& command) {
    const CompareOptions& each = command.each;
    const BatchNames names("B", each.b);
    checkBatchInputs(command.files, each.fileOptions.first);
    std::vector<CompareOptions> pairs(command.files.size(), each);
    std::vector<std::string> read = command.files;
    for (size_t i = 0; i < pairs.size(); ++i) {
        pairs[i].a = command.files[i];
        pairs[i].b = names.of(i, pairs[i].a);
        read.push_back(pairs[i].b);
    }
    if (each.heatmap.empty()) return pairs;
    if (!BatchNames::isGiven(each.heatmap)) {
        throw UserError("--heatmap " + each.heatmap + ": " + std::to_string(pairs.size()) +
                        " pairs: expected a directory, such as DIR/, or a pattern, such as heat_%03d.png");
    }
    const BatchNames heatmaps("--heatmap", each.heatmap);
    std::vector<std::string> outputs;
    for (CompareOptions& pair : pairs) {
        const size_t i = outputs.size();
        pair.heatmap = heatmaps.of(i, std::filesystem::path(pair.a).replace_extension(".png").string());
        expectPngName("--heatmap", pair.heatmap);
        outputs.push_back(pair.heatmap);
    }
    prepareBatchOutputs("--heatmap", outputs, read, {}, false, {});
    return pairs;
}

int compareMany(const CompareCommand& command) {
    const std::vector<CompareOptions> pairs = pairsOf(command);
    const int tolerance = command.each.tolerance;
    size_t identical = 0;
    size_t within = 0;
    Json reports = Json::array();
    const auto add = [&](const CompareOptions& pair, const char* status, const Json& report) {
        reports.push_back({{"status", status}, {"a", pair.a}, {"b", pair.b}});
        reports.back().update(report);
    };

    BatchWork work;
    work.start = [&](size_t i) {
        return std::make_unique<CompareJob>(
            pairs[i], [&](const CompareOptions& pair, const Comparison& comparison) {
                identical += comparison.isWithin(0);
                within += comparison.isWithin(tolerance);
                if (pair.json) return add(pair, "done", summary(comparison, tolerance));
                printLine("%s and %s: %s; %s", pair.a.c_str(), pair.b.c_str(),
                          psnrs(comparison.differences).c_str(), verdict(comparison, tolerance).c_str());
            });
    };
    work.fail = [&](size_t i, const std::string& reason) {
        printFailure(pairs[i].a, reason);
        if (command.each.json) add(pairs[i], "failed", {{"error", reason}});
    };
    const BatchTotals totals =
        runBatch(pairs.size(), batchWorkers(threadsFor(command.jobs), pairs.size()), work);
    const bool isGood = within == pairs.size();
    if (command.each.json) {
        Json document{{"pairs", reports},
                      {"tolerance", tolerance},
                      {"identical", identical},
                      {"within_tolerance", within}};
        document.update(totals.json());
        printDocument(document);
    } else {
        summarize(command.each.b + ": " + std::to_string(identical) + " identical, " +
                  std::to_string(totals.done - identical) + " different; " + totals.text());
    }
    return isGood ? kDone : kDifferent;
}

int run(CompareCommand command) {
    if (command.files.size() < 2) throw UserError("B is required (see vantor compare --help)");
    command.each.b = std::move(command.files.back());
    command.files.pop_back();
    if (BatchNames::isGiven(command.each.b)) return compareMany(command);
    if (command.files.size() > 1) {
        throw UserError(
            "B " + command.each.b + ": " + std::to_string(command.files.size()) +
            " files to compare with it: expected a directory, such as DIR/, or a pattern, such as "
            "out_%03d.png");
    }
    command.each.a = command.files.front();
    return compareOne(command.each);
}

}  // namespace

void addCompare(CLI::App& app, Run& run) {
    auto files = std::make_shared<CompareCommand>();
    CompareOptions* options = &files->each;
    CLI::App* command =
        app.add_subcommand("compare", "Report where and by how much two pictures or clips differ");
    command
        ->add_option("A", files->files,
                     std::string("Picture or clip, and B of the same size to compare it with: ") +
                         kPictureFiles +
                         ". For several, B is DIR/, which has files of the same names, or a pattern such as "
                         "out_%03d.png, which numbers them from 1")
        ->type_name("B")
        ->required();
    command
        ->add_option("--tolerance", options->tolerance,
                     "Exit with status 0 if no sample differs by more than N, 0 to 255")
        ->type_name("N")
        ->check(CLI::Range(0, 255).description(""));
    command
        ->add_option("-o,--heatmap", options->heatmap,
                     "Draw the differences to a PNG file, with a key: one colour per doubling, black where "
                     "identical; for several pairs, to DIR/ or a pattern")
        ->type_name("FILE");
    addFrameRangeOptions(*command, options->part);
    addJobsOption(*command, files->jobs, "on a pair each");
    addFileOptions(*command, options->fileOptions);
    command->add_flag("--json", options->json, "Print the result as JSON");
    command->footer(
        "The --input options apply to B too where it is raw and has no --other option of its own.\n"
        "Clips are compared frame by frame, numbered from 0, the first in the file. Clips of different "
        "lengths "
        "differ.\nThe heat map shows the frame that differs most.\n"
        "Exit status: 0 identical, or within --tolerance; 1 different, or one of several failed; 2 error.\n"
        "Examples:\n"
        "  vantor compare photo.png straight.png --heatmap heat.png\n"
        "  vantor compare frame.nv12 frame.i420 --input-size 1280x720 --json\n"
        "  vantor compare clip.y4m small_320x180.nv12 --skip 10 --limit 50\n"
        "  vantor compare dump.bin clip_1920x1080_nv12.yuv --input-format nv12 --input-size 1920x1080 "
        "--limit 1 \\\n"
        "      --input-stride 2048 --input-slice-height 1088 --other-stride 1920 --other-slice-height 1080\n"
        "  vantor compare photo.png straight.png --tolerance 2\n"
        "  vantor compare frame_*.png made/ --heatmap heat/");
    command->callback([files, &run] { run = [files] { return tool::run(*files); }; });
}

}  // namespace vantor::tool

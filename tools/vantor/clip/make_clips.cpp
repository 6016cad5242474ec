#include "tools/vantor/clip/make_clips.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/clip/batch.h"
#include "tools/vantor/clip/clip_report.h"
#include "tools/vantor/io/batch_names.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

int makeOne(const ClipOptions& options, const MakeClip& make) {
    expectOtherFile("--output", options.output, options.alsoRead);
    expectOtherFile("--times", options.timesFile, options.alsoRead);
    ClipFiles files;
    Clip clip(options, files);
    const ClipResult result = make(clip);
    files.finish();
    if (options.json) {
        printDocument(toJson(options, result));
    } else {
        report(options, result);
    }
    if (options.verify.empty() || options.verify == result.totals.hash) return kDone;
    printMessage("--verify %s: the result has %s", options.verify.c_str(), result.totals.hash.c_str());
    return kDifferent;
}

class ClipJob : public BatchJob {
public:
    using Report = std::function<void(const ClipOptions& options, const ClipResult& result)>;

    ClipJob(ClipOptions options, const MakeClip& make, Report report)
        : options_(std::move(options)), make_(make), report_(std::move(report)) {
        files_.open(options_);
    }

    void work() override {
        Clip clip(options_, files_);
        result_.emplace(make_(clip));
    }

    void finish() override {
        files_.finish();
        report_(options_, *result_);
    }

private:
    ClipOptions options_;
    const MakeClip& make_;
    Report report_;
    ClipFiles files_;
    std::optional<ClipResult> result_;
};

/// The outputs of all inputs, one by one.
std::vector<std::string> outputsOf(const MakeOptions& options) {
    const ClipOptions& clip = options.clip;
    const auto refuse = [](bool isGiven, const char* option) {
        if (isGiven) throw UserError(std::string(option) + ": is for a single result");
    };
    refuse(!clip.timesFile.empty(), "--times");
    refuse(!clip.verify.empty(), "--verify");
    refuse(static_cast<bool>(clip.watch), "record");
    if (!BatchNames::isGiven(options.output)) return {options.output};
    checkBatchInputs(options.inputs, clip.inputOptions);
    const BatchNames names("--output", options.output);
    std::vector<std::string> outputs;
    for (const std::string& input : options.inputs) outputs.push_back(names.of(outputs.size(), input));
    prepareBatchOutputs("--output", outputs, options.inputs, clip.alsoRead, clip.overwriteInput,
                        "; --overwrite-input replaces it");
    return outputs;
}

int makeMany(const MakeOptions& options, Backend backend, const MakeClip& make) {
    const std::vector<std::string> outputs = outputsOf(options);
    const size_t threads = threadsFor(options.clip.jobs);
    const size_t workers = backend == Backend::Hardware ? 1 : batchWorkers(threads, outputs.size());
    ClipOptions common = options.clip;
    common.showsProgress = false;  // the batch does
    if (backend != Backend::Hardware) common.jobs = threads / workers;
    Json reports = Json::array();
    const auto add = [&](const char* status, Json report) {
        if (!common.json) return;
        reports.push_back({{"status", status}});
        reports.back().update(report);
    };
    const auto named = [&](size_t file) {
        return Json{{"input", {{"file", options.inputs[file]}}}, {"output", {{"file", outputs[file]}}}};
    };

    BatchWork work;
    work.start = [&](size_t file) -> std::unique_ptr<BatchJob> {
        std::error_code ignored;
        if (options.skipExisting && std::filesystem::exists(outputs[file], ignored)) return {};
        ClipOptions clip = common;
        clip.input = options.inputs[file];
        clip.output = outputs[file];
        return std::make_unique<ClipJob>(
            std::move(clip), make, [&](const ClipOptions& made, const ClipResult& result) {
                add("done", toJson(made, result));
                if (made.hash && !made.json)
                    printMessage("%s: hash %s", made.output.c_str(), result.totals.hash.c_str());
            });
    };
    work.skip = [&](size_t file) { add("skipped", named(file)); };
    work.fail = [&](size_t file, const std::string& reason) {
        printFailure(options.inputs[file], reason);
        Json report = named(file);
        report["error"] = reason;
        add("failed", report);
    };
    const BatchTotals totals = runBatch(outputs.size(), workers, work);
    if (common.json) {
        Json document{{"files", reports}};
        document.update(totals.json());
        printDocument(document);
    } else {
        summarize(options.output + ": " + totals.text());
    }
    return totals.failed == 0 ? kDone : kDifferent;
}

}  // namespace

int makeClips(const MakeOptions& options, Backend backend, const MakeClip& make) {
    const bool isBatch = BatchNames::isGiven(options.output);
    if (!isBatch && options.inputs.size() > 1) {
        throw UserError("--output " + options.output + ": " + std::to_string(options.inputs.size()) +
                        " inputs: expected a directory, such as DIR/, or a pattern, such as out_%03d.png");
    }
    if (isBatch || options.skipExisting) return makeMany(options, backend, make);
    ClipOptions clip = options.clip;
    clip.input = options.inputs.front();
    clip.output = options.output;
    return makeOne(clip, make);
}

}  // namespace vantor::tool

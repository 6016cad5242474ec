#include "tools/vantor/clip/clip.h"

#include <poll.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <thread>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/clip/progress.h"
#include "tools/vantor/clip/workers.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/io/clip_writer.h"
#include "tools/vantor/picture/picture_hash.h"

namespace vantor::tool {
namespace {

constexpr size_t kMostJobs = 256;

/// Words, each with the one that it stands for.
CLI::Validator oneOf(const std::string& name, const std::map<std::string, std::string>& words) {
    const auto translate = [words](std::string& text) {
        const auto found = words.find(text);
        if (found == words.end()) {
            std::string expected;
            for (const auto& [word, meaning] : words) expected += (expected.empty() ? "" : ", ") + word;
            return text + ": expected one of " + expected;
        }
        text = found->second;
        return std::string();
    };
    return CLI::Validator(translate, name);
}

bool isRgb(const FramePlan& plan) {
    return plan.read.layout == Layout::Rgb || plan.written.layout == Layout::Rgb;
}

/// Memory that this process and those it forks share.
class SharedMemory {
public:
    explicit SharedMemory(size_t length)
        : length_(length),
          address_(mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (address_ == MAP_FAILED) {
            throw UserError("no memory of " + std::to_string(length) +
                            " bytes for frames: " + std::strerror(errno));
        }
    }
    ~SharedMemory() { munmap(address_, length_); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    uint8_t* bytes() const { return static_cast<uint8_t*>(address_); }

private:
    size_t length_;
    void* address_;
};

/// The frames that are on their way, in the order of the clip: each is read, worked on by a worker, and
/// written.
class Pipeline {
public:
    Pipeline(const FramePlan& plan, size_t jobs)
        : readBytes_(plan.read.bytes()),
          bytes_(readBytes_ + plan.written.bytes()),
          slots_(jobs == 1 ? 1 : 2 * jobs),
          memory_(slots_ * bytes_),
          tags_(slots_),
          plan_(plan),
          workers_(jobs, [this](size_t slot) { return work(slot); }) {}

    bool isEmpty() const { return first_ == end_; }

    /// Reads a frame. False where the clip ends.
    bool read(ClipReader& reader) { return reader.read(input(end_ % slots_), tags_[end_ % slots_]); }

    /// Hands the frame that was read to its worker.
    void start() { workers_.start(end_++ % slots_); }

    /// Whether the first frame should be taken out before another is read: there is no room for another, or
    /// it is done, or it will be before there is something to read.
    bool isDue(const ClipReader& reader) const {
        if (isEmpty()) return false;
        if (end_ - first_ == slots_) return true;
        pollfd events[] = {{workers_.descriptor(first_ % slots_), POLLIN, 0},
                           {reader.descriptor(), POLLIN, 0}};
        const bool canAlwaysRead = events[1].fd < 0;
        while (poll(events, 2, canAlwaysRead ? 0 : -1) < 0 && errno == EINTR) continue;
        return events[0].revents != 0;
    }

    /// Waits for the first frame and gives it to `use`.
    template <typename Use>
    void take(Use&& use) {
        const size_t slot = first_ % slots_;
        use(workers_.wait(slot), output(slot), tags_[slot]);
        ++first_;
    }

private:
    uint8_t* input(size_t slot) const { return memory_.bytes() + slot * bytes_; }
    uint8_t* output(size_t slot) const { return input(slot) + readBytes_; }

    /// In a worker. The task is made there: memory for the hardware path would be shared with other workers.
    Outcome work(size_t slot) {
        Outcome outcome{};
        const auto say = [&](const std::string& text) {
            std::snprintf(outcome.text, sizeof outcome.text, "%s", text.c_str());
        };
        try {
            if (!task_) task_.emplace(plan_);
            const RequestResult result = task_->run(input(slot), output(slot));
            outcome.milliseconds = result.milliseconds;
            say(result.fallback);
        } catch (const std::exception& error) {
            outcome.isFailure = true;
            say(error.what());
        }
        return outcome;
    }

    size_t readBytes_;
    size_t bytes_;
    size_t slots_;
    SharedMemory memory_;
    std::vector<std::string> tags_;
    FramePlan plan_;
    std::optional<FrameTask> task_;
    Workers workers_;
    size_t first_ = 0;
    size_t end_ = 0;
};

}  // namespace

struct Clip::Result {
    uintmax_t frames = 0;
    double milliseconds = 0;  ///< in the library
    double seconds = 0;       ///< all in all
    std::string fallback;
    std::string hash;
};

Clip::Clip(const ClipOptions& options)
    : options_(options),
      outputForm_(outputForm(options.output, options.outputForm)),
      reader_(openClip(fileForm(options.input, options.inputForm))) {
    if (!options.verify.empty() && !PictureHash::isText(options.verify)) {
        throw UserError("--verify " + options.verify +
                        ": expected 16 hexadecimal digits, as --hash says them");
    }
    const std::string report = options.json ? "-" : "";
    const std::string input = options.input == "-" ? "/dev/stdin" : options.input;
    expectOtherFile("--output", options.output, {report});
    if (!options.overwriteInput) {
        expectOtherFile("--output", options.output, {input}, "; --overwrite-input replaces it");
    }
    expectOtherFile("--times", options.timesFile, {input, options.output, report});
    if (reader_->header() && reader_->header()->isInterlaced()) {
        note(options.input + ": interlaced; frames are worked on as if they were not");
    }
}

Layout Clip::writtenLayout() const {
    return tool::writtenLayout(outputForm_, reader_->shape().layout);
}

Layout Clip::working() const {
    return workingLayout(reader_->shape().layout, writtenLayout());
}

FrameShape Clip::written(const std::string& what, Size size) const {
    return writtenShape(outputForm_, what, writtenLayout(), size);
}

YuvColor Clip::color() const {
    const bool isRgb = reader_->shape().layout == Layout::Rgb || writtenLayout() == Layout::Rgb;
    if (!isRgb && !(options_.matrix.empty() && options_.range.empty())) {
        throw UserError(
            (options_.matrix.empty() ? "--yuv-range " + options_.range : "--yuv-matrix " + options_.matrix) +
            ": neither " + options_.input + " nor " + options_.output + " is RGB, so nothing is converted");
    }
    YuvColor color;
    color.isBt709 = options_.matrix == "709";
    color.isFullRange = options_.range == "full";
    if (options_.range.empty() && reader_->header()) {
        color.isFullRange = reader_->header()->isFullRange().value_or(false);
    }
    return color;
}

Y4mHeader Clip::headerOf(const FrameShape& written) const {
    if (reader_->header()) return derivedHeader(*reader_->header(), written.layout, written.size);
    const bool isFromRgb = reader_->shape().layout == Layout::Rgb;
    return newHeader(written.layout, written.size,
                     isFromRgb ? std::optional(color().isFullRange) : std::nullopt);
}

std::optional<uintmax_t> Clip::framesLeft() const {
    const std::optional<uintmax_t> left = reader_->framesLeft();
    return left && options_.part.limit ? std::min(*left, *options_.part.limit)
           : left                      ? left
                                       : options_.part.limit;
}

size_t Clip::jobs() const {
    const uintmax_t wanted = options_.jobs != 0 ? options_.jobs : std::thread::hardware_concurrency();
    const uintmax_t useful = framesLeft().value_or(kMostJobs);
    return static_cast<size_t>(std::clamp<uintmax_t>(wanted, 1, std::clamp<uintmax_t>(useful, 1, kMostJobs)));
}

Clip::Result Clip::processFrames(const FramePlan& plan) {
    skipFrames(*reader_, options_.part.skip);
    if (plan.watch && framesLeft() != std::optional<uintmax_t>(1)) {
        throw UserError(options_.input + ": a record is of one frame: expected --limit 1");
    }
    Pipeline pipeline(plan, jobs());
    if (outputForm_.type != FileType::Png) noteDropped(options_.input, reader_->chunks(), options_.output);
    ClipWriter writer(outputForm_, plan.written, headerOf(plan.written), reader_->chunks());
    std::optional<OutputFile> times;
    if (!options_.timesFile.empty()) times.emplace(options_.timesFile);
    std::optional<PictureHash> hash;
    if (options_.hash || !options_.verify.empty()) hash.emplace();
    const std::optional<uintmax_t> all = framesLeft();
    Progress progress;
    Result result;
    const auto use = [&](const Outcome& outcome, uint8_t* frame, const std::string& tags) {
        writer.write(frame, tags);
        if (hash) hash->add(plan.written, frame);
        if (times) {
            char line[64];
            const int length = std::snprintf(line, sizeof line, "%ju %.3f\n",
                                             options_.part.skip + result.frames, outcome.milliseconds);
            times->write(reinterpret_cast<const uint8_t*>(line), static_cast<size_t>(length));
        }
        ++result.frames;
        result.milliseconds += outcome.milliseconds;
        if (result.fallback.empty()) result.fallback = outcome.text;
        progress.show(result.frames, all);
    };

    std::exception_ptr readTrouble;  // thrown when the frames before it are written
    uintmax_t left = options_.part.limit.value_or(UINTMAX_MAX);
    while (left > 0 || !pipeline.isEmpty()) {
        if (left == 0 || pipeline.isDue(*reader_)) {
            pipeline.take(use);
            continue;
        }
        bool isRead = false;
        try {
            isRead = pipeline.read(*reader_);
        } catch (const UserError&) {
            readTrouble = std::current_exception();
        }
        left = isRead ? left - 1 : 0;
        if (isRead) pipeline.start();
    }
    if (readTrouble) std::rethrow_exception(readTrouble);
    if (result.frames == 0)
        throw UserError(
            options_.input + ": no frame" +
            (options_.part.skip == 0 ? "" : " behind the first " + std::to_string(options_.part.skip)));
    writer.finish();
    if (times) times->finish();
    if (hash) result.hash = hash->text();
    result.seconds = progress.seconds();
    return result;
}

void Clip::reportJson(const FramePlan& plan, const Result& result, const std::string& what) const {
    const auto file = [](const std::string& name, const FrameShape& shape) {
        return nlohmann::ordered_json{{"file", name},
                                      {"size", {shape.size.width, shape.size.height}},
                                      {"layout", toString(shape.layout)}};
    };
    const bool isHardware = plan.request.backend() == Backend::Hardware;
    nlohmann::ordered_json json{{"input", file(options_.input, plan.read)},
                                {"output", file(options_.output, plan.written)},
                                {"what", what},
                                {"worked_on_as", toString(plan.working)},
                                {"backend", isHardware ? "hardware" : "software"},
                                {"path", isHardware ? "hardware" : "processor"},  // the older name
                                {"frames", result.frames},
                                {"seconds", result.seconds},
                                {"milliseconds_in_library", result.milliseconds}};
    if (!result.fallback.empty()) json["fallback"] = result.fallback;
    if (isRgb(plan)) json["rgb"] = toString(plan.color);
    if (!result.hash.empty()) json["hash"] = result.hash;
    printDocument(json);
}

void Clip::report(const FramePlan& plan, const Result& result, const std::string& what,
                  const std::string& processor) const {
    char time[128];
    if (result.frames == 1) {
        std::snprintf(time, sizeof time, "in %.2f ms", result.milliseconds);
    } else {
        const auto frames = static_cast<double>(result.frames);
        std::snprintf(time, sizeof time, "in %.2f s, %ju frames, %.1f a second; each %.2f ms in the library",
                      result.seconds, result.frames, frames / result.seconds, result.milliseconds / frames);
    }
    const std::string line =
        options_.input + " " + toString(plan.read.size) + " " + toString(plan.read.layout) + " to " +
        options_.output + " " + toString(plan.written.size) + " " + toString(plan.written.layout) + ": " +
        what + " as " + toString(plan.working) + " " +
        describe(plan.request.backend(), processor, {result.milliseconds, result.fallback}) + " " + time +
        (isRgb(plan) ? std::string("; RGB by ") + toString(plan.color) : "") +
        (result.hash.empty() ? "" : "; hash " + result.hash);
    summarize(line);
    if (isQuiet() && options_.hash) printMessage("hash %s", result.hash.c_str());
}

int Clip::process(const FrameShape& written, Size src, Size dst, const Request& request,
                  const std::string& what, const std::string& processor) {
    const FramePlan plan{reader_->shape(), written, working(), src, dst, request, color(), options_.watch};
    const Result result = processFrames(plan);
    if (options_.json) {
        reportJson(plan, result, what);
    } else {
        report(plan, result, what, processor);
    }
    if (options_.verify.empty() || options_.verify == result.hash) return kDone;
    printMessage("--verify %s: the result has %s", options_.verify.c_str(), result.hash.c_str());
    return kDifferent;
}

void addClipOptions(CLI::App& command, ClipOptions& options) {
    command.add_option("IN", options.input, std::string("Picture or clip: ") + kPictureFiles)->required();
    command.add_option("-o,--output", options.output, "Result; its name says the file type; - is a pipe")
        ->required();
    command.add_flag("--overwrite-input", options.overwriteInput, "The result may replace the input");
    addFormOptions(command, options.inputForm, options.outputForm);
    const auto add = [&](const char* group, const char* name, auto& value, const char* text) {
        return command.add_option(name, value, text)->group(group);
    };
    addFrameRangeOptions(command, options.part);
    add("Clips", "--jobs", options.jobs, "Frames worked on at a time, if not as many as there are processors")
        ->check(CLI::Range(size_t{1}, kMostJobs));
    add("Clips", "--times", options.timesFile,
        "Write each frame's number and milliseconds in the library to this file");
    command.add_flag("--hash", options.hash, "Say the result's hash: what xxh64sum says of a raw file")
        ->group("Evidence");
    add("Evidence", "--verify", options.verify, "Exit with status 1 if the result has another hash");
    command.add_flag("--json", options.json, "Write what was done, and in which time, as JSON")
        ->group("Evidence");
    add("RGB", "--yuv-matrix", options.matrix,
        "Matrix between RGB and YUV: 601 (if not given) or 709; bt601 and bt709 are the same")
        ->transform(oneOf("MATRIX", {{"601", "601"}, {"709", "709"}, {"bt601", "601"}, {"bt709", "709"}}));
    add("RGB", "--yuv-range", options.range,
        "Range of the YUV: limited or full (if not given: what a Y4M file says, or else limited); tv and pc "
        "are the "
        "same")
        ->transform(
            oneOf("RANGE", {{"limited", "limited"}, {"full", "full"}, {"tv", "limited"}, {"pc", "full"}}));
}

}  // namespace vantor::tool

#include "tools/vantor/clip/clip.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <exception>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/clip/pipeline.h"
#include "tools/vantor/clip/progress.h"
#include "tools/vantor/io/clip_writer.h"
#include "tools/vantor/picture/picture_hash.h"

namespace vantor::tool {
namespace {

std::string hashOf(const FrameShape& shape, uint8_t* frame) {
    PictureHash hash;
    hash.add(shape, frame);
    return hash.text();
}

std::string timesLine(uintmax_t frame, double milliseconds, const std::string& hash) {
    char line[64];
    std::snprintf(line, sizeof line, "%ju %.3f", frame, milliseconds);
    return line + (hash.empty() ? std::string() : " " + hash) + "\n";
}

}  // namespace

void ClipFiles::open(const ClipOptions& options) {
    result_.emplace(options.output);
    if (!options.timesFile.empty()) times_.emplace(options.timesFile);
}

void ClipFiles::finish() {
    result_->finish();
    if (times_) times_->finish();
}

Clip::Clip(const ClipOptions& options, ClipFiles& files)
    : options_(options),
      files_(files),
      outputSpec_(outputSpec(options.output, options.outputOptions)),
      inputSpec_(inputSpec(options.input, options.inputOptions)),
      reader_(openClip(inputSpec_)) {
    if (!options.verify.empty() && !PictureHash::isText(options.verify)) {
        throw UserError("--verify " + options.verify +
                        ": expected 16 hexadecimal digits, as --hash prints them");
    }
    const std::string report = options.json ? "-" : "";
    const std::string input = options.input == "-" ? "/dev/stdin" : options.input;
    expectOtherFile("--output", options.output, {report});
    if (!options.overwriteInput) {
        expectOtherFile("--output", options.output, {input}, "; --overwrite-input replaces it");
    }
    expectOtherFile("--times", options.timesFile, {input, options.output, report});
    if (reader_->header() && reader_->header()->isInterlaced()) {
        note(options.input + ": interlaced; frames are processed as if progressive");
    }
}

PixelFormat Clip::writtenFormat() const {
    return tool::writtenFormat(outputSpec_, reader_->shape().format);
}

bool Clip::isColor() const {
    return workingFormat(reader_->shape().format, writtenFormat()) != PixelFormat::Gray;
}

FrameShape Clip::written(const std::string& what, Size size) const {
    return writtenShape(outputSpec_, what, writtenFormat(), size);
}

YuvColor Clip::color() const {
    const bool isFromJpeg = inputSpec_.type == FileType::Jpeg;
    const bool isToJpeg = outputSpec_.type == FileType::Jpeg;
    const PixelFormat read = reader_->shape().format;
    const bool isRgb = read == PixelFormat::Rgb || writtenFormat() == PixelFormat::Rgb;
    const bool isRanged = isRgb || (isSubsampled(read) && isToJpeg && !isFromJpeg);
    if ((!isRgb && !options_.matrix.empty()) || (!isRanged && !options_.range.empty())) {
        throw UserError(
            (options_.matrix.empty() ? "--yuv-range " + options_.range : "--yuv-matrix " + options_.matrix) +
            ": neither " + options_.input + " nor " + options_.output + " is RGB, so nothing is converted");
    }
    if (isRgb && (isFromJpeg || isToJpeg) && (options_.matrix == "709" || options_.range == "limited")) {
        throw UserError((options_.matrix == "709" ? "--yuv-matrix 709: " : "--yuv-range limited: ") +
                        (isToJpeg ? options_.output : options_.input) +
                        " is a JPEG file: its YUV is BT.601 in full range");
    }
    YuvColor color;
    color.isBt709 = options_.matrix == "709";
    color.isFullRange = options_.range.empty() ? reader_->isFullRange().value_or(isRgb && isToJpeg)
                                               : options_.range == "full";
    return color;
}

bool Clip::expandsRange() const {
    if (outputSpec_.type != FileType::Jpeg || !isSubsampled(reader_->shape().format)) return false;
    const bool isKnown = !options_.range.empty() || reader_->isFullRange();
    return isKnown && !color().isFullRange;
}

/// Where YUV goes into a JPEG, or out of one.
void Clip::noteRange() const {
    const bool isFromJpeg = inputSpec_.type == FileType::Jpeg;
    const bool isToJpeg = outputSpec_.type == FileType::Jpeg;
    if (isFromJpeg == isToJpeg || outputSpec_.type == FileType::Png) return;
    if (isFromJpeg)
        return note(options_.input + ": full range, as JPEG files are, kept in " + options_.output);
    if (!isSubsampled(reader_->shape().format)) return;
    if (expandsRange())
        return note(options_.input + ": limited range converted to full range, that of JPEG files");
    if (options_.range.empty() && !reader_->isFullRange())
        note(options_.input + ": range unknown: samples are kept, and " + options_.output +
             " is taken as full range; --yuv-range limited converts them");
}

Y4mHeader Clip::headerOf(const FrameShape& written) const {
    if (reader_->header()) return derivedHeader(*reader_->header(), written.size);
    const bool isFromRgb = reader_->shape().format == PixelFormat::Rgb;
    return newHeader(written.format, written.size,
                     isFromRgb ? std::optional(color().isFullRange) : reader_->isFullRange());
}

std::optional<uintmax_t> Clip::framesLeft() const {
    const std::optional<uintmax_t> left = reader_->framesLeft();
    return left && options_.part.limit ? std::min(*left, *options_.part.limit)
           : left                      ? left
                                       : options_.part.limit;
}

std::optional<uintmax_t> Clip::frames() const {
    if (options_.input == "-" || !reader_->framesLeft()) return {};
    const std::unique_ptr<ClipReader> again = openClip(inputSpec_);
    uintmax_t frames = 0;
    while (again->skip()) ++frames;
    return frames;
}

void Clip::expectGrids(const GridSequence& grids, uintmax_t frames) const {
    if (grids.count() == frames) return;
    throw UserError(grids.name() + ": grids for " + std::to_string(grids.count()) + " frames, " +
                    options_.input + " has " + std::to_string(frames));
}

Pipeline Clip::pipelineFor(const FramePlan& plan) const {
    if (plan.usesClient()) {
        if (options_.jobs > 1)
            note("--jobs " + std::to_string(options_.jobs) +
                 ": the library's client takes one request at a time, so frames are not processed in "
                 "parallel");
        return {plan, 1, 1};
    }
    const size_t threads = threadsFor(options_.jobs);
    const bool hasMany = framesLeft().value_or(kMaxJobs) >= threads;
    return hasMany ? Pipeline(plan, threads, 1) : Pipeline(plan, 1, threads);
}

ClipTotals Clip::processFrames(const FramePlan& plan) {
    skipFrames(*reader_, options_.part.skip);
    if (outputSpec_.type != FileType::Png) {
        noteDropped(options_.input, reader_->chunks(), options_.output, outputSpec_.type == FileType::Jpeg);
    }
    if (plan.grids) {
        if (const auto all = frames()) expectGrids(*plan.grids, *all);
    }
    if (!files_.isOpen()) files_.open(options_);
    ClipWriter writer(files_.result(), outputSpec_, plan.written, headerOf(plan.written),
                      {reader_->chunks(), options_.pngLevel});
    std::optional<PictureHash> hash;
    if (options_.hash || !options_.verify.empty()) hash.emplace();
    const std::optional<uintmax_t> all = framesLeft();
    Pipeline pipeline = pipelineFor(plan);
    Progress progress("frames", options_.showsProgress);
    ClipTotals totals;
    const auto use = [&](const RequestResult& result, uint8_t* frame, const std::string& tags) {
        writer.write(frame, tags);
        if (hash) hash->add(plan.written, frame);
        if (OutputFile* times = files_.times()) {
            const std::string own = options_.hash ? hashOf(plan.written, frame) : std::string();
            times->write(timesLine(options_.part.skip + totals.frames, result.milliseconds, own), nullptr, 0);
        }
        ++totals.frames;
        totals.milliseconds += result.milliseconds;
        if (totals.fallback.empty()) totals.fallback = result.fallback();
        progress.show(totals.frames, all);
    };

    std::exception_ptr readError;  // thrown when the frames before it are written
    uintmax_t left = options_.part.limit.value_or(UINTMAX_MAX);
    uintmax_t number = options_.part.skip;
    while (left > 0 || !pipeline.isEmpty()) {
        if (left == 0 || pipeline.isDue(*reader_)) {
            pipeline.take(use);
            continue;
        }
        bool isRead = false;
        try {
            isRead = pipeline.read(*reader_, number);
            number += isRead;
            if (plan.grids && !isRead) expectGrids(*plan.grids, number);
        } catch (const UserError&) {
            readError = std::current_exception();
        }
        left = isRead ? left - 1 : 0;
        if (plan.watch && left > 0 && reader_->skip()) {
            throw UserError(options_.input + ": a record holds one frame: expected --limit 1");
        }
        if (isRead) pipeline.start();
    }
    if (readError) std::rethrow_exception(readError);
    if (totals.frames == 0)
        throw UserError(
            options_.input + ": no frame" +
            (options_.part.skip == 0 ? "" : " behind the first " + std::to_string(options_.part.skip)));
    if (hash) totals.hash = hash->text();
    totals.seconds = progress.seconds();
    return totals;
}

ClipResult Clip::process(const FrameShape& written, const Request& request, const std::string& what,
                         const std::string& software, std::shared_ptr<GridSequence> grids) {
    const FramePlan plan{reader_->shape(), written,        request,       std::move(grids),
                         color(),          options_.watch, expandsRange()};
    noteRange();
    return {plan, processFrames(plan), what, software};
}

}  // namespace vantor::tool

#include "tools/vantor/io/grid_sequence.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "geometry/error.h"
#include "geometry/grid_between.h"
#include "geometry/grid_text.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/io/grid_file.h"

namespace vantor::tool {
namespace {

constexpr uintmax_t kMaxIndexBytes = 16 << 20;
constexpr uint32_t kMaxFrame = 9'999'999;
constexpr std::string_view kSpace = " \t\r";

/// A line of an index: the frame's number and the file's name. Nothing if it is blank or a comment.
std::optional<std::pair<uint32_t, std::string_view>> parseLine(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(kSpace), line.size()));
    if (line.empty() || line.front() == '#') return {};
    line.remove_suffix(line.size() - 1 - line.find_last_not_of(kSpace));
    uint32_t frame = 0;
    const auto [end, problem] = std::from_chars(line.data(), line.data() + line.size(), frame);
    const std::string_view rest = line.substr(static_cast<size_t>(end - line.data()));
    const size_t name = rest.find_first_not_of(kSpace);
    if (problem != std::errc() || frame > kMaxFrame || name == 0 || name == rest.npos) {
        throw UserError("'" + std::string(line.substr(0, 40)) + "', expected a frame's number, 0 to " +
                        std::to_string(kMaxFrame) +
                        ", and its grid file (or, instead of a text, grids of 8712 bytes behind each other)");
    }
    return {{frame, rest.substr(name)}};
}

/// Whether the frame may follow so many frames with grids.
void checkOrder(uint32_t frame, uintmax_t count, Unnumbered unnumbered) {
    const std::string found = "frame " + std::to_string(frame);
    const std::string expected = ", expected frame " + std::to_string(count);
    if (frame < count) throw UserError(found + expected + " or a later one");
    if (frame == count || (count > 0 && unnumbered == Unnumbered::Interpolated)) return;
    throw UserError(
        found + expected +
        (count == 0 ? ", the first" : ": every frame has a grid, or --interpolate makes the others"));
}

}  // namespace

GridSequence::GridSequence(const std::string& path, Unnumbered unnumbered) : path_(path), count_(0) {
    const uintmax_t length = lengthOf(path);
    InputFile& file = binary_.emplace(path);
    char start[kBinaryGridBytes];
    if (isText({start, file.readAt(0, start, sizeof start)})) {
        binary_.reset();
        readIndex(unnumbered);
    } else if (length % kBinaryGridBytes == 0) {
        count_ = length / kBinaryGridBytes;
    } else {
        throw UserError(path + ": not a sequence of grids: " + std::to_string(length) +
                        " bytes that are not text, expected a multiple of " +
                        std::to_string(kBinaryGridBytes));
    }
}

void GridSequence::readIndex(Unnumbered unnumbered) {
    const std::vector<uint8_t> bytes = readFile(path_, kMaxIndexBytes);
    text_.assign(bytes.begin(), bytes.end());
    const std::string_view text = text_;
    size_t number = 0;
    for (size_t at = 0; at < text.size();) {
        const std::string_view line = text.substr(at, text.find('\n', at) - at);
        at += line.size() + 1;
        ++number;
        try {
            const auto parsed = parseLine(line);
            if (!parsed) continue;
            const auto& [frame, name] = *parsed;
            checkOrder(frame, count_, unnumbered);
            entries_.push_back({frame, static_cast<uint32_t>(name.data() - text.data()),
                                static_cast<uint32_t>(name.size())});
            count_ = uintmax_t{frame} + 1;
            lengthOf(fileOf(entries_.back()));
        } catch (const UserError& error) {
            throw UserError(path_ + ": line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (entries_.empty())
        throw UserError(path_ + ": no grid: expected lines of a frame's number and a grid file");
    recent_[0] = recent_[1] = {entries_.size(), {}};
}

std::string GridSequence::fileOf(const Entry& entry) const {
    const std::filesystem::path name = text_.substr(entry.at, entry.length);
    return (std::filesystem::path(path_).parent_path() / name).string();
}

const Grid& GridSequence::gridOf(size_t entry) {
    auto& [number, grid] = recent_[entry % 2];
    if (number != entry) grid = readGrid(fileOf(entries_[entry]));
    number = entry;
    return grid;
}

Grid GridSequence::read(uintmax_t frame) {
    if (frame >= count_) {
        throw UserError(path_ + ": grids for " + std::to_string(count_) + " frames, and the clip has more");
    }
    if (binary_) {
        char bytes[kBinaryGridBytes];
        const size_t count = binary_->readAt(frame * sizeof bytes, bytes, sizeof bytes);
        try {
            return parseGrid({bytes, count});
        } catch (const GeometryError& error) {
            throw UserError(path_ + ": grid " + std::to_string(frame) + ": " + error.what());
        }
    }
    const auto after =
        std::lower_bound(entries_.begin(), entries_.end(), frame,
                         [](const Entry& entry, uintmax_t wanted) { return entry.frame < wanted; });
    const auto index = static_cast<size_t>(after - entries_.begin());
    if (after->frame == frame) return gridOf(index);
    const uint32_t before = entries_[index - 1].frame;
    return gridBetween(gridOf(index - 1), gridOf(index), static_cast<int64_t>(frame - before),
                       after->frame - before);
}

std::vector<std::string> GridSequence::files() const {
    std::vector<std::string> files{path_};
    for (const Entry& entry : entries_) files.push_back(fileOf(entry));
    return files;
}

}  // namespace vantor::tool

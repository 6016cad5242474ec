// What the tool reads: PNG, JPEG, Y4M, names of raw files and their frames, grids and sequences of them, calibrations,
// maps, records, which are run again. Each is read, or refused by an error for the user, which a terminal can show
// safely; nothing else may happen. The first byte selects the target for the others.
#include <sys/mman.h>
#include <unistd.h>
#include <zlib.h>

#include <clocale>
#include <cwchar>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "fuzz/policy.h"
#include "geometry/dense_map.h"
#include "geometry/error.h"
#include "geometry/undistort_map.h"
#include "geometry/warp_map.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/io/calibration_file.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/grid_sequence.h"
#include "tools/vantor/io/jpeg_file.h"
#include "tools/vantor/io/map_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/record_file.h"
#include "tools/vantor/picture/picture_hash.h"

namespace vantor::fuzz {

/// An escaped message is UTF-8 without control characters, and escaping it again changes nothing.
static void expectShowable(const std::string& message) {
    const std::string shown = tool::escapeForTerminal(message);
    FUZZ_EXPECT(tool::escapeForTerminal(shown) == shown);
    const char* at = shown.c_str();
    std::vector<wchar_t> characters(shown.size() + 1);
    std::mbstate_t state{};
    const size_t count = std::mbsrtowcs(characters.data(), &at, characters.size(), &state);
    FUZZ_EXPECT(count <= shown.size() && at == nullptr && std::strlen(shown.c_str()) == shown.size());
    characters.resize(count);
    for (const wchar_t c : characters) FUZZ_EXPECT(c >= 0x20 && (c < 0x7F || c > 0x9F));
}

namespace {

using namespace vantor::tool;

/// A file in memory with a path.
class MemoryFile {
public:
    explicit MemoryFile(const Bytes& bytes) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        FUZZ_EXPECT(write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

uint32_t bigEndian(const uint8_t* bytes) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | bytes[i];
    return value;
}

/// Repairs the checksums of a PNG's chunks, so that the code behind them is reached.
void repairChecksums(Bytes& png) {
    for (size_t at = 8; at + 12 <= png.size();) {
        const size_t length = bigEndian(&png[at]);
        if (length > png.size() - at - 12) return;
        const uint64_t sum = crc32(0, &png[at + 4], static_cast<uInt>(length + 4));
        for (size_t i = 0; i < 4; ++i) png[at + 8 + length + i] = static_cast<uint8_t>(sum >> (24 - 8 * i));
        at += 12 + length;
    }
}

/// Whether a PNG's header claims no more than is decoded here.
bool isSmallPng(const Bytes& png) {
    constexpr size_t kSides = 16;
    if (png.size() < kSides + 8) return true;
    const uint64_t pixels = uint64_t{bigEndian(&png[kSides])} * bigEndian(&png[kSides + 4]);
    return pixels <= kMaxFrameBytes / 3;
}

void readFrames(const FileSpec& fileSpec) {
    const std::unique_ptr<ClipReader> clip = openClip(fileSpec);
    const bool isSmall = clip->shape().bytes() <= kMaxFrameBytes;
    Output frame(isSmall ? clip->shape().bytes() : 0);
    std::string tags;
    for (size_t i = 0; i < kMaxFrames; ++i) {
        const std::optional<uintmax_t> left = clip->framesLeft();
        if (!clip->read(isSmall && i % 4 != 3 ? frame.data() : nullptr, tags)) break;
        FUZZ_EXPECT(left && *left > 0);
    }
    if (!clip->header()) return;
    const Y4mHeader& header = *clip->header();
    const std::string line = toLine(header);
    const Y4mHeader again = parseY4mHeader("again", line);
    FUZZ_EXPECT(again.size == header.size && again.format == header.format && again.tags == header.tags);
    toLine(derivedHeader(header, {tool::kMaxSide, kMinSide}));
    header.isFullRange();
    header.isInterlaced();
}

void png(const Bytes& bytes) {
    if (!isSmallPng(bytes)) return;
    const MemoryFile file(bytes);
    const DescribedPicture read = readPng(file.path());
    FUZZ_EXPECT(read.picture.bytes.size() == byteCount(read.picture.format, read.picture.size));
    const MemoryFile other(encodePng("again", read.picture, read.chunks));
    const DescribedPicture again = readPng(other.path());
    FUZZ_EXPECT(again.picture.bytes == read.picture.bytes && again.chunks.size() == read.chunks.size());
    for (size_t i = 0; i < read.chunks.size(); ++i) {
        FUZZ_EXPECT(again.chunks[i].name == read.chunks[i].name && again.chunks[i].bytes == read.chunks[i].bytes);
    }
}

void repairedPng(const Bytes& bytes) {
    Bytes repaired = bytes;
    repairChecksums(repaired);
    png(repaired);
}

/// Whether no header of a JPEG, wherever one may begin, claims more than is decoded here.
bool isSmallJpeg(const Bytes& jpeg) {
    for (size_t i = 0; i + 9 <= jpeg.size(); ++i) {
        const uint64_t sides = bigEndian(&jpeg[i + 5]);
        if (jpeg[i] == 0xFF && (jpeg[i + 1] & 0xF0) == 0xC0 && (sides >> 16) * (sides & 0xFFFF) > kMaxFrameBytes / 3)
            return false;
    }
    return true;
}

void jpeg(const Bytes& bytes) {
    if (!isSmallJpeg(bytes)) return;
    const MemoryFile file(bytes);
    const DescribedPicture read = readJpeg(file.path());
    FUZZ_EXPECT(read.picture.bytes.size() == byteCount(read.picture.format, read.picture.size));
    const int quality = 1 + static_cast<int>(bytes.size() % 100);
    const MemoryFile other(encodeJpeg("again", read.picture, read.chunks, quality));
    const DescribedPicture again = readJpeg(other.path());
    FUZZ_EXPECT(again.picture.format == read.picture.format && again.picture.size == read.picture.size);
    FUZZ_EXPECT(again.chunks.size() == read.chunks.size());
    for (size_t i = 0; i < read.chunks.size(); ++i) FUZZ_EXPECT(again.chunks[i].bytes == read.chunks[i].bytes);
}

void y4m(const Bytes& bytes) {
    const MemoryFile file(bytes);
    readFrames({file.path(), FileType::Y4m, {}, {}, {}});
}

void raw(const Bytes& bytes) {
    Input input(bytes.data(), bytes.size());
    FileOptions options{"--input", input.ConsumeRandomLengthString(8), input.ConsumeRandomLengthString(12),
                        input.seldom(300), input.seldom(300)};
    FileSpec fileSpec = outputSpec(input.ConsumeRandomLengthString(40), options);
    FUZZ_EXPECT(fileSpec.type != FileType::Raw || fileSpec.format);
    const MemoryFile file(input.ConsumeRemainingBytes<uint8_t>());
    fileSpec.path = file.path();
    if (fileSpec.type != FileType::Raw) return;
    readFrames(fileSpec);
    if (rawShape(fileSpec, "again", *fileSpec.format, *fileSpec.size).bytes() > kMaxFrameBytes) return;
    const Picture picture = readPicture(fileSpec);
    FUZZ_EXPECT(picture.bytes.size() == byteCount(picture.format, picture.size));
}

void grid(const Bytes& bytes) {
    const MemoryFile file(bytes);
    const Grid read = readGrid(file.path());
    Bytes wire;
    for (const auto* table : {&read.dX, &read.dY}) {
        for (const int32_t value : *table) {
            for (int shift = 0; shift < 32; shift += 8) wire.push_back(static_cast<uint8_t>(value >> shift));
        }
    }
    const MemoryFile other(wire);  // refused where it reads as text
    const Grid again = readGrid(other.path());
    expectSame(&again, &read, sizeof read);
}

/// An index leads nowhere but to files of this machine, which are no grids.
void gridSequence(const Bytes& bytes) {
    const MemoryFile file(bytes);
    GridSequence sequence(file.path(), bytes.size() % 2 == 0 ? Unnumbered::Refused : Unnumbered::Interpolated);
    FUZZ_EXPECT(sequence.count() > 0 && !sequence.files().empty());
    for (const uintmax_t frame : {sequence.count() - 1, uintmax_t{0}, sequence.count()}) sequence.read(frame);
    FUZZ_EXPECT(false);  // the last is refused
}

void calibration(const Bytes& bytes) {
    const MemoryFile file(bytes);
    const bool isFisheye = !bytes.empty() && bytes.size() % 2 == 0;
    const Calibration read = readCalibration(file.path(), {isFisheye, {}, bytes.size() % 3 == 0 ? "1" : "", {}});
    FUZZ_EXPECT(read.size.width > 0 && read.size.height > 0 && read.camera.fx > 0 && read.camera.fy > 0);
    for (const std::optional<double> alpha : {std::optional<double>(), std::optional(0.0), std::optional(1.0)}) {
        const UndistortMap map(read, {fuzz::kMaxSide, fuzz::kMaxSide}, alpha);
        makeGrid(finiteMap(map), {fuzz::kMaxSide, fuzz::kMaxSide});
    }
}

void map(const Bytes& bytes) {
    const MemoryFile file(bytes);
    const bool isPair = !bytes.empty() && bytes.back() % 2 == 0;
    const MapFile read = readMap(file.path(), isPair ? file.path() : std::string());
    FUZZ_EXPECT(read.x.size() == read.size.pixels() && read.y.size() == read.x.size() && !read.x.empty());
    FUZZ_EXPECT(4 * read.x.size() < bytes.size());
    makeGrid(DenseMap(read.x.data(), read.y.data(), read.size), {fuzz::kMaxSide, fuzz::kMaxSide});
}

void record(const Bytes& bytes) {
    const MemoryFile file(bytes);
    const Record read = readRecord(file.path());
    FUZZ_EXPECT(read.source.planes.size() + read.result.planes.size() < bytes.size());
    for (const RecordedPicture* picture : {&read.source, &read.result}) {
        const auto& [left, top, right, bottom] = picture->region;
        FUZZ_EXPECT(0 <= left && left <= right && right < picture->size.width);
        FUZZ_EXPECT(0 <= top && top <= bottom && bottom < picture->size.height);
    }
    if (byteCount(read.format, read.result.size) > kMaxReplayBytes) return;
    CLI::App app;
    tool::Run run;
    addReplay(app, run);
    app.parse(bytes.size() % 2 == 0 ? "replay --json " + file.path() : "replay " + file.path());
    const int status = run();
    FUZZ_EXPECT(status == kDone || status == kDifferent);
}

/// The text with the hash of what follows it.
std::string firstLine(const std::string& header) {
    PictureHash hash;
    hash.add(reinterpret_cast<const uint8_t*>(header.data()), header.size());
    const std::string length = std::to_string(header.size());
    return "vantor-record 1 " + std::string(8 - length.size(), '0') + length + " " + hash.text() + "\n";
}

/// A header and planes, without a first line: all hashes are repaired, as by a user who edits a record, so that
/// the code behind them is reached.
void repairedRecord(const Bytes& bytes) {
    std::string text(bytes.begin(), bytes.end());
    const size_t brace = text.find("\n}\n");
    const size_t end = brace == std::string::npos ? text.size() : brace + 3;
    for (int planes = 2;; --planes) {
        const std::string whole = firstLine(text.substr(0, end)) + text;
        try {
            return record({whole.begin(), whole.end()});
        } catch (const UserError& error) {
            const std::string message = error.what();
            const size_t at = message.find("their hash is ");
            const size_t wrong = text.find(message.substr(message.size() - 16));
            if (planes == 0 || at == std::string::npos || wrong == std::string::npos) throw;
            text.replace(wrong, 16, message, at + std::strlen("their hash is "), 16);
        }
    }
}

void message(const Bytes& bytes) { expectShowable({bytes.begin(), bytes.end()}); }

}  // namespace
}  // namespace vantor::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) return -1;
    vantor::tool::setQuiet();
    return std::freopen("/dev/null", "w", stdout) ? setenv("VANTOR_LOG", "off", 1) : -1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vantor::fuzz;
    constexpr void (*kTargets[])(const Bytes&) = {png,    repairedPng,    y4m,     raw, grid, calibration,
                                                  record, repairedRecord, message, map, jpeg, gridSequence};
    if (size == 0 || data[0] >= std::size(kTargets)) return -1;
    try {
        kTargets[data[0]](Bytes(data + 1, data + size));
    } catch (const vantor::tool::UserError& error) {
        expectShowable(error.what());
    } catch (const vantor::GeometryError& error) { expectShowable(error.what()); }
    return 0;
}

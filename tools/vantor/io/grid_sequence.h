// A grid for each frame of a clip, in one file or in many.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gdc_model/grid.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::tool {

/// What happens to frames that an index does not number.
enum class Unnumbered { Refused, Interpolated };

/// Either binary grids of 8712 bytes behind each other, the first for frame 0; or an index: a text whose
/// lines have the number of a frame and a grid file each, the file's path relative to the index's. Lines that
/// begin with "#" are comments. Grids are read when they are asked for. Not thread-safe.
class GridSequence {
public:
    GridSequence(const std::string& path, Unnumbered unnumbered);

    const std::string& name() const { return path_; }
    /// Of frames, from 0, all of which have a grid.
    uintmax_t count() const { return count_; }
    /// The grid of a frame, which is below count().
    Grid read(uintmax_t frame);
    /// All files that it is read from.
    std::vector<std::string> files() const;

private:
    struct Entry {
        uint32_t frame;
        uint32_t at;  ///< of the file's name in text_
        uint32_t length;
    };

    void readIndex(Unnumbered unnumbered);
    std::string fileOf(const Entry& entry) const;
    const Grid& gridOf(size_t entry);

    std::string path_;
    std::optional<InputFile> binary_;
    std::string text_;  ///< of an index
    std::vector<Entry> entries_;
    uintmax_t count_;
    std::pair<size_t, Grid> recent_[2];  ///< entries that were read last, and their grids
};

}  // namespace vantor::tool

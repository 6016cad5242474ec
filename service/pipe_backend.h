// A back end that is any program, run for each request: one line of text and raw planes on its standard
// input, raw planes on its standard output.
#pragma once

#include "service/backend.h"
#include "service/shell_command.h"

namespace vantor {

/// To scale, the command reads a line
///     scale WIDTHxHEIGHT WIDTHxHEIGHT
/// with the sizes of source and result, the source, and writes the result; both are the regions alone. To
/// warp, it reads
///     warp WIDTHxHEIGHT X,Y,WIDTH,HEIGHT
/// the grid (33 x 33 displacements to the right, then as many down, 32 bits each in the machine's order) and
/// the source, and writes a result of that size, of which the part X,Y,WIDTH,HEIGHT is used. Pictures are
/// NV12 without gaps.
class PipeBackend final : public Backend {
public:
    explicit PipeBackend(ShellCommand command) : command_(std::move(command)) {}

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override;
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override;

private:
    /// Sends the input. What comes is a picture of this size.
    vantor_image run(int width, int height);

    ShellCommand command_;
    std::vector<uint8_t> input_;  ///< kept between requests
    std::vector<uint8_t> output_;
};

}  // namespace vantor

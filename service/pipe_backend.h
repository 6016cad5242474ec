// A back end that is any program, run for each request: one line of text and raw planes on its standard
// input, raw planes on its standard output.
#pragma once

#include "service/backend.h"
#include "service/shell_command.h"

namespace vantor {

/// To scale, the command reads a line
///     scale WIDTHxHEIGHT WIDTHxHEIGHT
/// with the sizes of source and result, and then the source; both are the regions alone. To warp,
///     warp WIDTHxHEIGHT X,Y,WIDTH,HEIGHT
/// with the size of the source and the part of the result that is wanted, then the grid (33 x 33
/// displacements to the right, then down, 32 bits each in the machine's order) and the source. It writes the
/// result. Pictures are NV12 without gaps.
class PipeBackend final : public Backend {
public:
    explicit PipeBackend(ShellCommand command) : command_(std::move(command)) {}

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override;
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override;

private:
    /// Sends the input and puts what comes into the region.
    void runTo(const BackendPicture& dst);

    ShellCommand command_;
    std::vector<uint8_t> input_;  ///< kept between requests
    std::vector<uint8_t> output_;
};

}  // namespace vantor

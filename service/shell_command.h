// Commands of the shell that get bytes and answer with bytes.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vantor {

struct ShellCommand {
    std::string text;
    std::chrono::milliseconds timeout;
    std::function<void(const std::string& line)> log;  ///< takes the first lines of its standard error

    /// Runs it once. It has to read all of the input, to fill all of the output and to exit with status 0
    /// before the time is over: else this throws std::runtime_error. It gets no descriptor but its standard
    /// streams. Programs of its process group that it leaves behind are killed.
    void run(const std::vector<uint8_t>& input, std::vector<uint8_t>& output) const;
};

}  // namespace vantor

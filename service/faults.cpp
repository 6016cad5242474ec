#include "service/faults.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "service/model_backend.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

constexpr int64_t kMaxSeconds = 3600;
constexpr milliseconds kForever = std::chrono::hours(24 * 365);
constexpr int kMaxRow = 8191;

/// A whole number that is all of the text.
template <typename Number>
bool readNumber(std::string_view text, Number low, Number high, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= low && number <= high;
}

/// N, or N-M.
template <typename Number>
bool readRange(std::string_view text, Number low, Number high, Number& first, Number& last) {
    const size_t dash = text.find('-');
    if (dash == std::string_view::npos) return readNumber(text, low, high, first) && (last = first, true);
    return readNumber(text.substr(0, dash), low, high, first) &&
           readNumber(text.substr(dash + 1), first, high, last);
}

bool readSeconds(const std::string& text, milliseconds& time) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size()) return false;
    if (!(seconds >= 0 && seconds <= kMaxSeconds)) return false;
    time = milliseconds(static_cast<int64_t>(seconds * 1000));
    return true;
}

struct NamedReply {
    const char* name;
    ReplyFault fault;
};
constexpr NamedReply kWrongReplies[] = {
    {"magic", ReplyFault::Magic}, {"version", ReplyFault::Version},   {"kind", ReplyFault::Kind},
    {"size", ReplyFault::Size},   {"sequence", ReplyFault::Sequence}, {"text", ReplyFault::Text},
    {"long", ReplyFault::Long},   {"empty", ReplyFault::Empty},
};

bool readWrongReply(const std::string& name, ReplyFault& fault) {
    const auto* found = std::find_if(std::begin(kWrongReplies), std::end(kWrongReplies),
                                     [&](const NamedReply& reply) { return name == reply.name; });
    if (found == std::end(kWrongReplies)) return false;
    fault = found->fault;
    return true;
}

/// Takes an argument, empty where there is none. Returns whether it is one.
using Apply = bool (*)(const std::string& argument, Faults& faults);

template <Faults::Death death>
bool die(const std::string& argument, Faults& faults) {
    faults.death = death;
    return argument.empty();
}

template <ReplyFault fault>
bool reply(const std::string& argument, Faults& faults) {
    faults.reply = fault;
    return argument.empty();
}

struct Action {
    const char* name;
    const char* argument;  ///< as scripts have it
    const char* meaning;
    Apply apply;
};
constexpr Action kActions[] = {
    {"status", " N", "answers N without any work",
     [](const std::string& text, Faults& faults) {
         return readNumber(text, INT32_MIN, INT32_MAX, faults.status.emplace());
     }},
    {"delay", " SECONDS", "waits before the work, up to 3600 seconds",
     [](const std::string& text, Faults& faults) { return readSeconds(text, faults.delay); }},
    {"delay-during", " SECONDS", "waits where half of the rows are written",
     [](const std::string& text, Faults& faults) { return readSeconds(text, faults.delayDuring); }},
    {"hang", "", "never answers",
     [](const std::string& text, Faults& faults) {
         faults.delay = kForever;
         return text.empty();
     }},
    {"close-buffers", "", "closes the request's descriptors before they are used",
     [](const std::string& text, Faults& faults) {
         faults.areBuffersClosed = true;
         return text.empty();
     }},
    {"corrupt-rows", " FIRST-LAST", "inverts rows of the result, counted from 0 in its region",
     [](const std::string& text, Faults& faults) {
         auto& [first, last] = faults.corrupt.emplace();
         return readRange(text, 0, kMaxRow, first, last);
     }},
    {"die-before", "", "ends the service before the work", die<Faults::Death::Before>},
    {"die-during", "", "ends it where half of the rows are written", die<Faults::Death::During>},
    {"die-after", "", "ends it before the reply", die<Faults::Death::After>},
    {"close-connection", "", "closes the connection instead of replying", reply<ReplyFault::Closed>},
    {"truncated-reply", "", "replies with half a packet", reply<ReplyFault::Truncated>},
    {"wrong-reply", " WHAT",
     "replies with a wrong magic, version, kind, size, sequence or text, or long or empty",
     [](const std::string& text, Faults& faults) { return readWrongReply(text, faults.reply); }},
};

std::string written(const Action& action) {
    return std::string(action.name) + action.argument;
}

const Action* actionNamed(const std::string& name) {
    const auto* found = std::find_if(std::begin(kActions), std::end(kActions),
                                     [&](const Action& action) { return name == action.name; });
    return found == std::end(kActions) ? nullptr : found;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// "status N, delay SECONDS, ..."
std::string allActions() {
    std::string text;
    for (const Action& action : kActions) text += (text.empty() ? "" : ", ") + written(action);
    return text;
}

void invert(uint8_t* row, int count) {
    std::transform(row, row + count, row, [](uint8_t sample) { return static_cast<uint8_t>(~sample); });
}

}  // namespace

void Faults::dieAt(Death here) const {
    if (death == here) kill(getpid(), SIGKILL);
}

void FaultScript::add(const std::string& where, const std::string& text) {
    const std::string content = text.substr(0, text.find('#'));
    if (wordsOf(content).empty()) return;
    const auto expect = [&](bool isRight, const std::string& expected) {
        constexpr size_t kMaxShown = 80;
        if (isRight) return;
        throw std::runtime_error(where + ": " + content.substr(0, kMaxShown) + ": expected " + expected);
    };
    const size_t colon = content.find(':');
    const std::vector<std::string> request = wordsOf(content.substr(0, colon));
    const std::vector<std::string> order =
        wordsOf(colon == std::string::npos ? std::string() : content.substr(colon + 1));
    expect(request.size() == 2 && (order.size() == 1 || order.size() == 2), "OPERATION COUNT: ACTION");

    const std::string& operation = request[0];
    expect(operation == "scale" || operation == "warp" || operation == "any", "scale, warp or any");
    Line line{operation != "warp",
              operation != "scale",
              1,
              UINT64_MAX,
              order[0],
              order.size() == 2 ? order[1] : ""};
    expect(request[1] == "*" || readRange<uint64_t>(request[1], 1, UINT64_MAX, line.first, line.last),
           "a count as N, N-M or *");
    const Action* action = actionNamed(line.action);
    expect(action, "one of these actions: " + allActions());
    Faults ignored;
    expect(action->apply(line.argument, ignored), written(*action) + ", which " + action->meaning);
    lines_.push_back(std::move(line));
}

Faults FaultScript::next(bool isWarp) {
    Faults faults;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Line& line : lines_) {
        if (!(isWarp ? line.isForWarps : line.isForScales)) continue;
        ++line.count;
        if (line.count < line.first || line.count > line.last) continue;
        actionNamed(line.action)->apply(line.argument, faults);
    }
    return faults;
}

void corruptRows(const BackendPicture& picture, Faults::Rows rows) {
    const vantor_image region = regionOf(picture);
    const int end = std::min(rows.last + 1, region.height);
    for (int y = rows.first; y < end; ++y) invert(region.plane[0] + y * region.stride[0], region.width);
    for (int y = rows.first / 2; y < (end + 1) / 2; ++y) {
        invert(region.plane[1] + y * region.stride[1], region.width);
    }
}

std::optional<std::vector<uint8_t>> packetOf(const remote::Reply& right, ReplyFault fault) {
    remote::Reply reply = right;
    size_t size = sizeof reply;
    switch (fault) {
        case ReplyFault::None:
            break;
        case ReplyFault::Truncated:
            size /= 2;
            break;
        case ReplyFault::Magic:
            ++reply.header.magic;
            break;
        case ReplyFault::Version:
            ++reply.header.version;
            break;
        case ReplyFault::Kind:
            reply.header.kind = static_cast<uint16_t>(remote::Kind::Welcome);
            break;
        case ReplyFault::Size:
            ++reply.header.size;
            break;
        case ReplyFault::Sequence:
            ++reply.header.sequence;
            break;
        case ReplyFault::Text:  // that has no end, and would control a terminal
            reply.status = -5;
            std::memset(reply.text, '\033', sizeof reply.text);
            break;
        case ReplyFault::Long:
            size = remote::kMaxPacketBytes + 1;
            break;
        case ReplyFault::Empty:
            size = 0;
            break;
        case ReplyFault::Closed:
            return std::nullopt;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(&reply);
    std::vector<uint8_t> packet(bytes, bytes + std::min(size, sizeof reply));
    packet.resize(size);
    return packet;
}

}  // namespace vantor

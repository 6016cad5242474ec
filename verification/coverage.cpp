#include "verification/coverage.h"

#include <algorithm>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "verification/items.h"
#include "verification/path.h"

namespace vantor::verification {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kMinSide = 4;

/// Of reports, as of all documents of the tool.
constexpr int kSchema = 1;

/// An item with its marks.
struct Account {
    Item item;
    int64_t triesLeft;
    bool isReached = false;
    bool isSeen = false;
    std::string example{};

    bool isClosed() const { return isSeen || triesLeft == 0; }
    bool isDone() const { return isSeen || !item.proof.empty(); }
};

/// The accounts of one path.
class PathAccounts {
public:
    PathAccounts(const Path& path, const Limits& limits, int triesOfProven)
        : path_(path), state_(path.fresh()), faulty_(state_) {
        for (Item& item : itemsOf(path, limits)) {
            const int64_t tries = item.proof.empty() ? std::numeric_limits<int64_t>::max() : triesOfProven;
            accounts_.push_back({std::move(item), tries});
        }
    }

    std::vector<Account>& accounts() { return accounts_; }
    const std::vector<Account>& accounts() const { return accounts_; }

    /// All pixels of the path's request. Returns how many items were seen for the first time.
    int walk(const std::string& name) {
        dropClosed();
        seen_ = 0;
        const Size size = path_.output();
        for (state_.y = 0; state_.y < size.height && end_ > 0; ++state_.y) {
            for (state_.x = 0; state_.x < size.width && end_ > 0; ++state_.x) pixel(name);
        }
        return seen_;
    }

private:
    /// Items of one stage that are not closed: those of phases and the like by their value.
    struct OpenItems {
        int count = 0;
        std::vector<size_t> items;
        std::map<int, std::vector<size_t>> byValue;  ///< of a quantity: from its first value on
        uint32_t version = 0;                        ///< of the stage when `reached` was listed
        std::vector<size_t> reached;                 ///< those of which there is more to find out
    };

    void addOpen(size_t i) {
        const Item& item = accounts_[i].item;
        OpenItems& open = byStage_[item.stage];
        const bool isOpen = !accounts_[i].isClosed();
        if (item.fault.kind == Fault::Confused) {
            open.byValue[item.fault.quantity].push_back(i);
        } else if (isOpen) {
            open.items.push_back(i);
        }
        open.count += isOpen;
    }

    void dropClosed() {
        byStage_.assign(path_.stages().size(), {});
        for (size_t i = 0; i < accounts_.size(); ++i) addOpen(i);
        end_ = byStage_.size();
        dropStages();
    }

    void dropStages() {
        while (end_ > 0 && byStage_[end_ - 1].count == 0) --end_;
    }

    void pixel(const std::string& name) {
        isWhole_ = false;
        isCopied_ = false;
        for (size_t stage = 0; stage < end_; ++stage) {
            if (!isWhole_) {
                path_.evaluate(state_, stage, stage + 1);
                isCopied_ = false;
            }
            OpenItems& open = byStage_[stage];
            if (open.count == 0 || !path_.isActive(state_, stage)) continue;
            if (open.version != state_.versions[stage]) {
                open.version = state_.versions[stage];
                findReached(stage, open);
            }
            for (size_t k = open.reached.size(); k-- > 0;) {
                Account& account = accounts_[open.reached[k]];
                if (!account.isClosed() && !check(account, name)) continue;
                open.reached[k] = open.reached.back();
                open.reached.pop_back();
            }
        }
    }

    /// Lists the open items that the operands of a stage reach.
    void findReached(size_t stage, OpenItems& open) {
        const Stage& place = path_.stages()[stage];
        const Unit& unit = *place.unit;
        open.reached.clear();
        for (size_t k = open.items.size(); k-- > 0;) {
            const Account& account = accounts_[open.items[k]];
            const auto quantity = static_cast<size_t>(account.item.fault.quantity);
            if (account.isClosed()) {
                open.items[k] = open.items.back();
                open.items.pop_back();
                continue;
            }
            for (int i = 0; i < place.instances; ++i) {
                const int64_t* values = path_.slots(state_, stage, i);
                if (!account.item.isReached(unit.quantities[quantity], values, unit.slotOf(quantity)))
                    continue;
                open.reached.push_back(open.items[k]);
                break;
            }
        }
        for (const auto& [quantity, items] : open.byValue) {
            const auto index = static_cast<size_t>(quantity);
            for (int i = 0; i < place.instances; ++i) {
                const int64_t value =
                    path_.slots(state_, stage, i)[unit.slotOf(index)] - unit.quantities[index].every->first;
                if (value < 0 || value >= static_cast<int64_t>(items.size())) continue;
                const size_t item = items[static_cast<size_t>(value)];
                if (!accounts_[item].isClosed()) open.reached.push_back(item);
            }
        }
    }

    /// Marks an item that the pixel reaches. Returns whether there is no more to find out about it while the
    /// operands of its stage are the same.
    bool check(Account& account, const std::string& name) {
        --account.triesLeft;
        const bool isNew = !account.isReached;
        account.isReached = true;
        bool isMasked = false;
        account.isSeen = changesOutput(account.item, isMasked);
        seen_ += account.isSeen;
        if (isNew || account.isSeen) {
            const int step = path_.pixelStep();
            account.example =
                name + " " + std::to_string(step * state_.x) + " " + std::to_string(step * state_.y);
        }
        if (account.isClosed()) {
            --byStage_[account.item.stage].count;
            dropStages();
        }
        return isMasked || account.isClosed();
    }

    /// `isMasked` says whether nothing leaves the stage.
    bool changesOutput(const Item& item, bool& isMasked) {
        if (!isCopied_) faulty_ = state_;
        isCopied_ = true;
        path_.damage(faulty_, item.stage, item.fault);
        isMasked = hasSameResults(item.stage);
        bool changes = false;
        if (!isMasked) {
            finish(item.stage + 1);
            path_.evaluate(faulty_, item.stage + 1);
            changes = path_.samples(faulty_) != path_.samples(state_);
        }
        restore(item.stage);
        return changes;
    }

    /// Evaluates the stages that no open item has needed so far.
    void finish(size_t first) {
        if (isWhole_) return;
        isWhole_ = true;
        path_.evaluate(state_, first);
        restore(first);
    }

    /// Makes the faulty hardware good from a stage on.
    void restore(size_t first) {
        if (first == path_.stages().size()) return;
        const auto from = static_cast<std::ptrdiff_t>(path_.stages()[first].offset);
        std::copy(state_.slots.begin() + from, state_.slots.end(), faulty_.slots.begin() + from);
    }

    bool hasSameResults(size_t stage) {
        const auto& result = path_.stages()[stage].unit->result;
        if (!result) return false;
        for (int i = 0; i < path_.stages()[stage].instances; ++i) {
            if (path_.slots(faulty_, stage, i)[*result] != path_.slots(state_, stage, i)[*result])
                return false;
        }
        return true;
    }

    const Path& path_;
    PathState state_;
    PathState faulty_;
    bool isCopied_ = false;
    std::vector<Account> accounts_;
    std::vector<OpenItems> byStage_;
    size_t end_ = 0;        ///< of the stages that have open items
    bool isWhole_ = false;  ///< whether all stages are evaluated for the pixel
    int seen_ = 0;
};

}  // namespace

class Coverage::Accounts {
public:
    Accounts(const Limits& limits, int tries)
        : scaleAccounts{{{scale[0][0], limits, tries}, {scale[0][1], limits, tries}},
                        {{scale[1][0], limits, tries}, {scale[1][1], limits, tries}}},
          warpAccounts(warp, limits, tries) {}

    ScalePath scale[2][2] = {{{false, false}, {false, true}}, {{true, false}, {true, true}}};
    WarpPath warp;
    PathAccounts scaleAccounts[2][2];
    PathAccounts warpAccounts;

    template <typename Use>
    void forEach(Use&& use) {
        for (auto& pair : {&scaleAccounts[1], &scaleAccounts[0]}) {
            for (PathAccounts& path : *pair)
                std::for_each(path.accounts().begin(), path.accounts().end(), use);
        }
        std::for_each(warpAccounts.accounts().begin(), warpAccounts.accounts().end(), use);
    }
};

Coverage::Coverage(const Limits& limits, int triesOfProven)
    : accounts_(std::make_unique<Accounts>(limits, triesOfProven)) {}
Coverage::~Coverage() = default;

int Coverage::scaled(const PictureView& source, Size target, const std::string& name) {
    const auto [width, height] = source.size;
    if (std::min({width, height, target.width, target.height}) < kMinSide || target == source.size) return 0;
    const bool isReduction = target.width <= width && target.height <= height;
    int seen = 0;
    for (const bool isChroma : {false, true}) {
        if (isChroma && !source.chroma) continue;
        accounts_->scale[isReduction][isChroma].setRequest(source, target);
        seen += accounts_->scaleAccounts[isReduction][isChroma].walk(name);
    }
    return seen;
}

int Coverage::warped(const PictureView& source, const Grid& grid, const std::string& name) {
    accounts_->warp.setRequest(source, grid);
    return accounts_->warpAccounts.walk(name);
}

void Coverage::add(const std::string& json) {
    const Json report = Json::parse(json, nullptr, false);
    if (!report.is_object() || !report.contains("items") || !report["items"].is_array()) {
        throw std::runtime_error("not a coverage report");
    }
    std::map<std::string, const Json*> entries;
    for (const Json& entry : report["items"]) {
        if (!entry.is_object() || !entry.contains("name") || !entry["name"].is_string()) {
            throw std::runtime_error("not a coverage report: an item without a name");
        }
        entries[entry["name"]] = &entry;
    }
    const auto isMarked = [](const Json& entry, const char* mark) {
        return entry.contains(mark) && entry[mark].is_boolean() && entry[mark].get<bool>();
    };
    accounts_->forEach([&](Account& account) {
        const auto found = entries.find(account.item.name);
        if (found == entries.end()) return;
        const Json& entry = *found->second;
        const bool isSeen = isMarked(entry, "seen");
        const bool isBetter = isSeen ? !account.isSeen : isMarked(entry, "reached") && !account.isReached;
        if (!isBetter) return;
        account.isReached = true;
        account.isSeen |= isSeen;
        if (entry.contains("example") && entry["example"].is_string()) account.example = entry["example"];
    });
}

std::vector<CoverageItem> Coverage::items() const {
    std::vector<CoverageItem> items;
    accounts_->forEach([&](const Account& a) {
        items.push_back({a.item.name, a.item.reason, a.example, a.isReached, a.isSeen, a.item.proof});
    });
    return items;
}

bool Coverage::isComplete() const {
    bool isComplete = true;
    accounts_->forEach([&](const Account& account) { isComplete &= account.isDone(); });
    return isComplete;
}

std::string Coverage::json() const {
    Json list = Json::array();
    for (const CoverageItem& item : items()) {
        Json entry{
            {"name", item.name}, {"reason", item.reason}, {"reached", item.isReached}, {"seen", item.isSeen}};
        if (!item.example.empty()) entry["example"] = item.example;
        if (!item.proof.empty()) entry["proof"] = item.proof;
        list.push_back(entry);
    }
    return Json{{"schema", kSchema}, {"items", list}}.dump(1, ' ', true, Json::error_handler_t::replace);
}

std::string Coverage::report() const {
    std::string missing;
    size_t reached = 0;
    size_t seen = 0;
    size_t proven = 0;
    const auto all = items();
    for (const CoverageItem& item : all) {
        reached += item.isReached;
        seen += item.isSeen;
        if (item.isSeen) continue;
        if (!item.proof.empty()) {
            ++proven;
            continue;
        }
        missing += std::string(item.isReached ? "not seen     " : "not reached  ") + item.name + ": " +
                   item.reason + "\n";
    }
    return missing + std::to_string(all.size()) + " items: " + std::to_string(reached) + " reached, " +
           std::to_string(seen) + " seen, " + std::to_string(proven) + " cannot be\n";
}

}  // namespace vantor::verification

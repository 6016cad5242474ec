#include "tools/vantor/commands/grid_sequence.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "geometry/grid_report.h"
#include "geometry/grid_text.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

/// What is reported of one grid.
struct Row {
    uintmax_t frame;
    double displacement;           ///< the largest of a node, in pixels
    std::optional<double> change;  ///< the largest of a node since the grid before
    NodeReport nodes;
};

/// The largest value of all frames, and the first that has it.
struct Largest {
    double value = -1;
    uintmax_t frame = 0;

    void offer(double other, uintmax_t at) {
        if (other <= value) return;
        value = other;
        frame = at;
    }
};

struct Totals {
    uintmax_t faulty = 0;
    Largest displacement;
    Largest change;

    void add(const Row& row) {
        faulty += row.nodes.isFaulty();
        displacement.offer(row.displacement, row.frame);
        if (row.change) change.offer(*row.change, row.frame);
    }
};

/// Each grid's part is printed at once, so that none is kept in memory.
class Report {
public:
    virtual ~Report() = default;
    virtual void add(const Row& row) = 0;
    virtual void end(const Totals& totals) = 0;
};

class TextReport : public Report {
public:
    TextReport(const GridSequence& grids, Size frame) {
        printLine("%s: %ju %s, for pictures of %s", grids.name().c_str(), grids.count(),
                  grids.count() == 1 ? "grid" : "grids", toString(frame).c_str());
        printLine("  frame  displacement     change  folded cells  beyond range");
    }

    void add(const Row& row) override {
        char change[32] = "-";
        if (row.change) std::snprintf(change, sizeof change, "%.2f", *row.change);
        printLine("%7ju  %12.2f  %9s  %12d  %12d", row.frame, row.displacement, change, row.nodes.foldedCells,
                  row.nodes.nodesBeyondRange);
    }

    void end(const Totals& totals) override {
        printLine("largest displacement: %.2f pixels, in frame %ju", totals.displacement.value,
                  totals.displacement.frame);
        if (totals.change.frame > 0)
            printLine("largest change: %.2f pixels, to frame %ju", totals.change.value, totals.change.frame);
        printLine("grids with folded cells or values beyond the engine's range: %ju", totals.faulty);
    }
};

class JsonReport : public Report {
public:
    JsonReport(const GridSequence& grids, Size frame)
        : document_(
              {{"sequence", grids.name()}, {"size", {frame.width, frame.height}}, {"count", grids.count()}},
              "grids") {}

    void add(const Row& row) override {
        Json json{{"frame", row.frame}, {"largest_displacement", row.displacement}};
        if (row.change) json["change"] = *row.change;
        json["nodes_beyond_range"] = row.nodes.nodesBeyondRange;
        json["folded_cells"] = row.nodes.foldedCells;
        document_.add(json);
    }

    void end(const Totals& totals) override {
        const auto json = [](const Largest& largest) {
            return Json{{"frame", largest.frame}, {"pixels", largest.value}};
        };
        Json tail{{"largest_displacement", json(totals.displacement)}};
        if (totals.change.frame > 0) tail["largest_change"] = json(totals.change);
        tail["faulty_grids"] = totals.faulty;
        document_.end(tail);
    }

private:
    StreamedDocument document_;
};

}  // namespace

bool showSequence(GridSequence& grids, Size frame, const std::string& output, bool isJson) {
    if (std::filesystem::path(output).extension() == ".txt")
        throw UserError("--output " + output +
                        ": a sequence is written in binary form: expected another name");
    std::optional<OutputFile> file;
    if (!output.empty()) file.emplace(output);
    std::unique_ptr<Report> report;
    if (isJson) {
        report = std::make_unique<JsonReport>(grids, frame);
    } else {
        report = std::make_unique<TextReport>(grids, frame);
    }
    Totals totals;
    std::optional<Grid> before;
    for (uintmax_t number = 0; number < grids.count(); ++number) {
        const Grid grid = grids.read(number);
        Row row{number, largestChange(Grid{}, grid, frame), {}, examineNodes(grid, frame)};
        if (before) row.change = largestChange(*before, grid, frame);
        totals.add(row);
        report->add(row);
        if (file) file->write(toBinary(grid), nullptr, 0);
        before = grid;
    }
    if (file) file->finish();
    report->end(totals);
    return totals.faulty != 0;
}

}  // namespace vantor::tool

#include "tools/vantor/library/trace_files.h"

#include <algorithm>
#include <cstring>
#include <deque>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/output_file.h"
#include "verification/path.h"

namespace vantor::tool {
namespace {

using verification::Format;
using verification::Model;
using verification::Values;
using Domain = Model::Domain;

constexpr double kMaxTextBytes = 1e9;
constexpr size_t kBufferBytes = 1 << 16;

/// Of one register or operand.
struct Description {
    Format format;
    std::string about;
};

Description describe(const Values::Name& name) {
    const verification::Unit& unit = verification::unitOfStage(name.stage);
    const auto slot = static_cast<size_t>(unit.slot(name.quantity));
    if (slot < unit.operands.size()) return {unit.operands[slot].format, unit.operands[slot].about};
    const verification::Quantity& quantity = unit.quantities[slot - unit.operands.size()];
    return {quantity.format, quantity.about};
}

/// The places of a domain that lie in a region.
struct Part {
    int left;
    int top;
    Size size;
};

Part partOf(const Domain& domain, const TraceRegion& region) {
    const bool isOfPairs = domain.kind >= Domain::PairColumns;
    const int step = isOfPairs ? 2 : 1;
    Part part{region.left / step,
              region.top / step,
              {(region.size.width + step - 1) / step, (region.size.height + step - 1) / step}};
    if (domain.size.width == 1) part = {0, part.top, {1, part.size.height}};
    if (domain.size.height == 1) part = {part.left, 0, {part.size.width, 1}};
    if (domain.kind == Domain::Nodes) part = {0, part.top, {domain.size.width, part.size.height}};
    part.size.width = std::min(part.size.width, domain.size.width - part.left);
    part.size.height = std::min(part.size.height, domain.size.height - part.top);
    return part;
}

/// Hexadecimal ones.
int digitsOf(const Format& format) {
    return (format.bits + 3) / 4;
}

/// A file of numbers, written in pieces.
class VectorFile {
public:
    VectorFile(const std::string& path, TraceFormat format) : file_(path), format_(format) {}

    void text(const std::string& text) { buffer_ += text; }

    void add(int64_t value, int bytes, const Format& format) {
        if (format_ == TraceFormat::Npy) {
            for (int i = 0; i < bytes; ++i) buffer_ += static_cast<char>(value >> (8 * i) & 255);
        } else if (format_ == TraceFormat::Hex) {
            const int64_t kept = Format{false, format.bits, 0}.kept(value);
            for (int i = digitsOf(format); i-- > 0;) buffer_ += "0123456789abcdef"[kept >> (4 * i) & 15];
            buffer_ += '\n';
        } else {
            buffer_ += std::to_string(value);
        }
        if (buffer_.size() >= kBufferBytes) flush();
    }

    void finish() {
        flush();
        file_.finish();
    }

private:
    void flush() {
        file_.write(reinterpret_cast<const uint8_t*>(buffer_.data()), buffer_.size());
        buffer_.clear();
    }

    OutputFile file_;
    TraceFormat format_;
    std::string buffer_;
};

/// One register in all places of a domain.
struct Column {
    std::string name;
    std::string about;
    Format format;
    std::vector<size_t> values;  ///< their indexes, instance by instance

    /// Of NumPy's types: 1, 2, 4 or 8 bytes.
    int bytes() const {
        int bytes = 1;
        while (8 * bytes < format.bits) bytes *= 2;
        return bytes;
    }
};

std::vector<Column> columnsOf(const Values& values) {
    std::vector<Column> columns;
    for (size_t i = 0; i < values.names().size(); ++i) {
        const Values::Name& name = values.names()[i];
        const std::string full = name.stage + "." + name.quantity;
        auto column =
            std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return c.name == full; });
        if (column == columns.end()) {
            const Description description = describe(name);
            columns.push_back({full, description.about, description.format, {}});
            column = columns.end() - 1;
        }
        column->values.push_back(i);
    }
    return columns;
}

/// "(1080, 1920)", with the instances as the last dimension where there are several.
std::string shapeOf(const Part& part, const Column& column) {
    std::string shape = "(" + std::to_string(part.size.height) + ", " + std::to_string(part.size.width);
    if (column.values.size() > 1) shape += ", " + std::to_string(column.values.size());
    return shape + ")";
}

std::string npyHeader(const Part& part, const Column& column) {
    const std::string type = std::string(column.bytes() == 1 ? "|" : "<") +
                             (column.format.isSigned ? "i" : "u") + std::to_string(column.bytes());
    std::string header =
        "{'descr': '" + type + "', 'fortran_order': False, 'shape': " + shapeOf(part, column) + ", }";
    constexpr size_t kBefore = 10;
    header.append(63 - (kBefore + header.size()) % 64, ' ');
    header += '\n';
    const auto length = static_cast<unsigned>(header.size());
    const char start[] = {'\x93',
                          'N',
                          'U',
                          'M',
                          'P',
                          'Y',
                          1,
                          0,
                          static_cast<char>(length & 255),
                          static_cast<char>(length >> 8)};
    return std::string(start, sizeof start) + header;
}

/// All registers of one domain.
class DomainTrace {
public:
    DomainTrace(Model& model, const Domain& domain, const TraceRegion& region, TraceFormat format)
        : model_(model), domain_(domain), part_(partOf(domain, region)), format_(format) {
        values_.restart();
        model_.describe(domain_.kind, part_.left, part_.top, values_);
        columns_ = columnsOf(values_);
    }

    /// Of text.
    double bytes() const {
        double perPlace = 0;
        for (const Column& column : columns_) {
            const double decimal = column.format.bits * 0.302 + 2;
            perPlace += static_cast<double>(column.values.size()) *
                        (format_ == TraceFormat::Hex ? digitsOf(column.format) + 1 : decimal);
        }
        return perPlace * part_.size.width * part_.size.height;
    }

    void write(const std::string& directory, std::string& readme) {
        for (const Column& column : columns_) {
            if (files_.empty() || format_ != TraceFormat::Csv) begin(directory, column);
            readme += fileName(column) + (format_ == TraceFormat::Csv ? ", column " + column.name : "") +
                      "  " + domain_.name + " " + shapeOf(part_, column) + "  " + toString(column.format) +
                      "  " + column.about + "\n";
        }
        for (int y = 0; y < part_.size.height; ++y) {
            for (int x = 0; x < part_.size.width; ++x) add(part_.left + x, part_.top + y);
        }
        for (VectorFile& file : files_) file.finish();
    }

private:
    std::string fileName(const Column& column) const {
        if (format_ != TraceFormat::Csv) return column.name + (format_ == TraceFormat::Npy ? ".npy" : ".hex");
        std::string name = domain_.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name + ".csv";
    }

    void begin(const std::string& directory, const Column& column) {
        VectorFile& file = files_.emplace_back(directory + "/" + fileName(column), format_);
        if (format_ == TraceFormat::Npy) file.text(npyHeader(part_, column));
        if (format_ == TraceFormat::Hex) {
            file.text("// " + column.name + ": " + std::to_string(column.format.bits) + " bits, " +
                      (column.format.isSigned ? "two's complement" : "unsigned") + ", " +
                      std::to_string(column.format.fraction) + " of them a fraction; " +
                      shapeOf(part_, column) + "\n");
        }
        if (format_ != TraceFormat::Csv) return;
        file.text("x,y");
        for (const Column& c : columns_) {
            for (size_t i = 0; i < c.values.size(); ++i) {
                file.text("," + c.name + (c.values.size() > 1 ? "[" + std::to_string(i) + "]" : ""));
            }
        }
        file.text("\n");
    }

    void add(int x, int y) {
        values_.restart();
        model_.describe(domain_.kind, x, y, values_);
        if (format_ == TraceFormat::Csv) files_.front().text(std::to_string(x) + "," + std::to_string(y));
        for (size_t i = 0; i < columns_.size(); ++i) {
            const Column& column = columns_[i];
            VectorFile& file = format_ == TraceFormat::Csv ? files_.front() : files_[i];
            for (const size_t value : column.values) {
                if (format_ == TraceFormat::Csv) file.text(",");
                file.add(values_.values()[value], column.bytes(), column.format);
            }
        }
        if (format_ == TraceFormat::Csv) files_.front().text("\n");
    }

    Model& model_;
    Domain domain_;
    Part part_;
    TraceFormat format_;
    Values values_;
    std::vector<Column> columns_;
    std::deque<VectorFile> files_;
};

}  // namespace

TraceFormat traceFormat(const std::string& name) {
    if (name == "npy") return TraceFormat::Npy;
    if (name == "hex") return TraceFormat::Hex;
    if (name == "csv") return TraceFormat::Csv;
    throw UserError("--format " + name + ": expected npy, hex or csv");
}

void writeTrace(const std::string& directory, Model& model, const TraceRegion& region, TraceFormat format,
                const std::string& what) {
    std::deque<DomainTrace> domains;
    double bytes = 0;
    for (const Domain& domain : model.domains()) {
        domains.emplace_back(model, domain, region, format);
        bytes += domains.back().bytes();
    }
    if (format != TraceFormat::Npy && bytes > kMaxTextBytes) {
        throw UserError(
            "about " + std::to_string(static_cast<int64_t>(bytes / 1e6)) +
            " MB of text, expected 1000 at most: take --format npy, or a part of the output by --region");
    }
    makeDirectory(directory, directory);
    std::string readme =
        "Stage vectors of " + what + "\nregion: " + std::to_string(region.left) + "," +
        std::to_string(region.top) + "," + std::to_string(region.size.width) + "," +
        std::to_string(region.size.height) +
        "\n\nPer register: file, places (rows, columns, instances), format, meaning. A format is signed or "
        "unsigned, has so many bits,\nand after a point how many of them are a fraction. Files go row by "
        "row.\n\n";
    for (DomainTrace& domain : domains) domain.write(directory, readme);
    OutputFile file(directory + "/README");
    file.write(readme, nullptr, 0);
    file.finish();
}

}  // namespace vantor::tool

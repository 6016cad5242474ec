// Stage vectors: a file per register.
#pragma once

#include <string>

#include "geometry/size.h"
#include "verification/model_values.h"

namespace vantor::tool {

/// A part of the output, with even left and top.
struct TraceRegion {
    int left;
    int top;
    Size size;
};

enum class TraceFormat { Npy, Hex, Csv };

/// "npy", "hex" or "csv"; refuses other names.
TraceFormat traceFormat(const std::string& name);

/// Writes all registers that the model has, row by row, and a README that names the files. `what` says of
/// what. Refuses more than 1 GB of text.
void writeTrace(const std::string& directory, verification::Model& model, const TraceRegion& region,
                TraceFormat format, const std::string& what);

}  // namespace vantor::tool

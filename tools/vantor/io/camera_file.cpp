#include "tools/vantor/io/camera_file.h"

#include <vector>

#include "tools/vantor/base/json.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {

void writeCamera(const std::string& path, const Camera& camera, Size size) {
    const auto matrix = [](int rows, int columns, const std::vector<double>& values) {
        return nlohmann::ordered_json{
            {"type_id", "opencv-matrix"}, {"rows", rows}, {"cols", columns}, {"dt", "d"}, {"data", values}};
    };
    const std::string text =
        toText({{"image_width", size.width},
                {"image_height", size.height},
                {"camera_matrix",
                 matrix(3, 3,
                        {camera.fx, camera.skew, camera.cx - 0.5, 0, camera.fy, camera.cy - 0.5, 0, 0, 1})},
                {"distortion_coefficients", matrix(1, 5, std::vector<double>(5))}},
               2) +
        "\n";
    writeFile(path, text);
}

}  // namespace vantor::tool

// Which of the arithmetic the pictures of a scoreboard have covered.
#include "verification/coverage.h"

#include <algorithm>
#include <string>

#include "verification/dpi/dpi.h"
#include "verification/dpi/handles.h"
#include "verification/dpi/objects.h"

namespace vantor::dpi {
namespace {

struct Account {
    verification::Coverage coverage{};
    int requests = 0;
    std::string text{};  ///< the last that was handed out
};

Handles<Account>& accounts() {
    static Handles<Account> handles("coverage");
    return handles;
}

verification::PictureView viewOf(const vantor_image& image) {
    if (image.format != VANTOR_GRAY8 && image.format != VANTOR_NV12)
        throw c::invalid("src: format %d, expected gray or NV12", image.format);
    const bool isGray = image.format == VANTOR_GRAY8;
    return {image.plane[0],
            image.stride[0],
            isGray ? nullptr : image.plane[1],
            isGray ? 0 : image.stride[1],
            {image.width, image.height}};
}

template <typename Text>
const char* textOf(void* coverage, Text&& text) {
    const char* result = "";
    c::guarded(nullptr, [&] {
        Account& account = accounts().at("coverage", coverage);
        account.text = text(account.coverage);
        result = account.text.c_str();
    });
    return result;
}

}  // namespace
}  // namespace vantor::dpi

using namespace vantor;
using namespace vantor::dpi;

void* vantor_dpi_cov_new(void) {
    return guardedHandle([] { return accounts().add(std::make_unique<Account>()); });
}

void vantor_dpi_cov_free(void* coverage) {
    accounts().remove(coverage);
}

int vantor_dpi_cov_sample(void* coverage, void* dst, void* src, void* grid) {
    return c::guarded(nullptr, [&] {
        Account& account = accounts().at("coverage", coverage);
        const vantor_image& to = imageAt("dst", dst);
        const verification::PictureView from = viewOf(imageAt("src", src));
        const std::string name = "request " + std::to_string(++account.requests);
        if (grid) {
            const vantor_grid& nodes = gridAt(grid);
            Grid copy{};
            std::copy_n(nodes.dx, VANTOR_GRID_NODES, copy.dX);
            std::copy_n(nodes.dy, VANTOR_GRID_NODES, copy.dY);
            account.coverage.warped(from, copy, name);
        } else {
            account.coverage.scaled(from, {to.width, to.height}, name);
        }
    });
}

const char* vantor_dpi_cov_report(void* coverage) {
    return textOf(coverage, [](const verification::Coverage& of) { return of.report(); });
}

const char* vantor_dpi_cov_json(void* coverage) {
    return textOf(coverage, [](const verification::Coverage& of) { return of.json(); });
}

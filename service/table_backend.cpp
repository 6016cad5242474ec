#include "service/table_backend.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace vantor {
namespace {

/// Of the table's first version, which every later one begins with.
constexpr size_t kFirstSize = offsetof(vantor_backend_table, close) + sizeof(vantor_backend_table::close);

/// A table, checked and copied, and the shared object that it is from.
struct Seating {
    std::string name;
    vantor_backend_table table;
    std::string options;
    std::shared_ptr<void> library;

    [[noreturn]] void fail(const std::string& why) const { throw std::runtime_error(name + ": " + why); }
};

/// A text of the back end, which may hold anything.
std::string printable(std::string text) {
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    std::replace_if(
        text.begin(), text.end(), [&](char c) { return !isPrintable(c); }, '?');
    return text;
}

class TableBackend final : public Backend {
public:
    explicit TableBackend(std::shared_ptr<const Seating> seating) : seating_(std::move(seating)) {
        const vantor_backend_table& table = seating_->table;
        char message[256] = "";
        const int status =
            table.open ? table.open(&state_, seating_->options.c_str(), message, sizeof message) : 0;
        if (status == 0) return;
        const std::string text = printable(std::string(message, strnlen(message, sizeof message)));
        seating_->fail(text.empty() ? "open() returned " + std::to_string(status) : text);
    }
    ~TableBackend() override {
        const vantor_backend_table& table = seating_->table;
        if (table.open && table.close) table.close(state_);
    }
    TableBackend(const TableBackend&) = delete;
    TableBackend& operator=(const TableBackend&) = delete;

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override {
        return seating_->table.scale(state_, &dst, &src);
    }
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override {
        return seating_->table.warp(state_, &dst, &src, &grid);
    }

private:
    std::shared_ptr<const Seating> seating_;
    void* state_ = nullptr;
};

BackendMaker makerOf(Seating seating, const vantor_backend_table& table) {
    if (table.abi != VANTOR_BACKEND_ABI) {
        seating.fail("back end of ABI " + std::to_string(table.abi) + ", expected " +
                     std::to_string(VANTOR_BACKEND_ABI));
    }
    if (table.size < kFirstSize) {
        seating.fail("table of " + std::to_string(table.size) + " bytes, expected at least " +
                     std::to_string(kFirstSize));
    }
    std::memcpy(&seating.table, &table, std::min<size_t>(table.size, sizeof table));
    if (!seating.table.scale || !seating.table.warp) {
        seating.fail(std::string(seating.table.scale ? "warp" : "scale") + " is null, expected a function");
    }
    return [shared = std::make_shared<const Seating>(std::move(seating))] {
        return std::make_unique<TableBackend>(shared);
    };
}

std::shared_ptr<void> loaded(const std::string& path) {
    struct stat file {};
    if (stat(path.c_str(), &file) != 0) throw std::runtime_error(path + ": " + strerror(errno));
    // Opening a pipe would wait for its other end.
    if (!S_ISREG(file.st_mode)) throw std::runtime_error(path + ": not a regular file");
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) throw std::runtime_error(printable(dlerror()));
    return {handle, dlclose};
}

}  // namespace

BackendMaker tableBackends(const std::string& name, const vantor_backend_table& table,
                           const std::string& options) {
    return makerOf({name, {}, options, nullptr}, table);
}

BackendMaker loadBackends(const std::string& path, const std::string& options) {
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    const std::shared_ptr<void> library = loaded(file);
    const void* table = dlsym(library.get(), "vantor_backend");
    if (!table) throw std::runtime_error(file + ": no symbol vantor_backend");
    return makerOf({path, {}, options, library}, *static_cast<const vantor_backend_table*>(table));
}

}  // namespace vantor

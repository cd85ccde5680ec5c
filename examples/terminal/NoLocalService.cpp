#include "LocalService.h"

bool LocalService::isOffered() {
    return false;
}

std::expected<std::unique_ptr<LocalService>, std::string> LocalService::start(std::uint64_t) {
    return std::unexpected("built without a local Drive");
}

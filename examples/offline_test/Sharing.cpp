#include "Sharing.h"

#include <utility>

cirrus::Result<std::string, std::string> Sharing::share(std::vector<std::filesystem::path> files,
                                                        const std::string& album) {
    cirrus::ShareController controller({std::move(files), "Stashly", album}, token_);
    cirrus::Result<std::string, std::string> outcome;
    controller.upload({}, [&outcome](const auto& result) {
        if (result) {
            outcome = result->text();
        } else {
            outcome = std::unexpected(
                result.error().errorDescription().value_or("The files could not be shared."));
        }
        cirrus::MainQueue::stop();
    });
    cirrus::MainQueue::run();
    return outcome;
}

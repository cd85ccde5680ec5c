#include "LocalService.h"

#include <fstream>
#include <utility>

#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::emulator::LocalDrive;

class Emulated final : public LocalService {
public:
    explicit Emulated(std::unique_ptr<LocalDrive> drive) : drive_(std::move(drive)) {}

    [[nodiscard]] std::string accessToken() const override { return (*drive_)->accessToken(); }

    [[nodiscard]] bool listContents(const std::filesystem::path& list) const override {
        std::ofstream lines(list);
        const auto snapshot = (*drive_)->snapshot();
        for (const auto& file : snapshot.files) {
            if (!file.isFolder()) {
                lines << file.content.sha256 << "  " << snapshot.pathOf(file) << '\n';
            }
        }
        return static_cast<bool>(lines.flush());
    }

private:
    const std::unique_ptr<LocalDrive> drive_;
};

} // namespace

bool LocalService::isOffered() {
    return true;
}

std::expected<std::unique_ptr<LocalService>, std::string> LocalService::start(std::uint64_t rate) {
    auto drive = LocalDrive::start(
        {.emulator = {.contents = cirrus::emulator::ContentPolicy::digest, .rate = rate}});
    if (!drive) {
        return std::unexpected(drive.error().diagnosticText());
    }
    return std::make_unique<Emulated>(*std::move(drive));
}

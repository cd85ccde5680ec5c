#include <Cirrus/emulator/LocalDrive.h>

#include <atomic>
#include <utility>

#include "Cirrus/platform/http/TestServer.h"

namespace cirrus::emulator {

namespace {

std::atomic<bool> isThereOne = false;

} // namespace

std::expected<std::unique_ptr<LocalDrive>, EmulatorError>
LocalDrive::start(LocalDriveOptions options) {
    if (isThereOne.exchange(true)) {
        return std::unexpected(EmulatorError{"The process has a local Drive already"});
    }
    auto emulator = Emulator::start(std::move(options.emulator));
    if (!emulator) {
        isThereOne = false;
        return std::unexpected(emulator.error());
    }
    connectToTestServer(TestServer{.port = (*emulator)->port(),
                                   .certificateAuthority = (*emulator)->certificateAuthority(),
                                   .idleLimit = options.idleLimit});
    return std::unique_ptr<LocalDrive>(new LocalDrive(std::move(*emulator)));
}

LocalDrive::~LocalDrive() {
    connectToTestServer(std::nullopt);
    isThereOne = false;
}

} // namespace cirrus::emulator

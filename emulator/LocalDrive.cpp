#include <Cirrus/emulator/LocalDrive.h>

#include <utility>

#include "Cirrus/platform/http/TestServer.h"

namespace cirrus::emulator {

std::expected<std::unique_ptr<LocalDrive>, EmulatorError>
LocalDrive::start(LocalDriveOptions options) {
    auto emulator = Emulator::start(std::move(options.emulator));
    if (!emulator) {
        return std::unexpected(emulator.error());
    }
    connectToTestServer(TestServer{.port = (*emulator)->port(),
                                   .certificateAuthority = (*emulator)->certificateAuthority(),
                                   .idleLimit = options.idleLimit});
    return std::unique_ptr<LocalDrive>(new LocalDrive(std::move(*emulator)));
}

LocalDrive::~LocalDrive() {
    connectToTestServer(std::nullopt);
}

} // namespace cirrus::emulator

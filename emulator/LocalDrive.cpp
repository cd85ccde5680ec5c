#include "emulator/LocalDrive.h"

#include <utility>

#include "Cirrus/platform/LoopbackPeer.h"

namespace cirrus::emulator {

std::expected<std::unique_ptr<LocalDrive>, EmulatorError>
LocalDrive::start(LocalDriveOptions options) {
    auto emulator = Emulator::start(std::move(options.emulator));
    if (!emulator) {
        return std::unexpected(emulator.error());
    }
    setLoopbackPeer(LoopbackPeer{.port = (*emulator)->port(),
                                 .certificateAuthority = (*emulator)->certificateAuthority(),
                                 .idleLimit = options.idleLimit});
    return std::unique_ptr<LocalDrive>(new LocalDrive(std::move(*emulator)));
}

LocalDrive::~LocalDrive() {
    setLoopbackPeer(std::nullopt);
}

} // namespace cirrus::emulator

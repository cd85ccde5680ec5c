#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "Cirrus/Export.h"

namespace cirrus {

/// A server on this machine that stands in for every host of the shared session.
struct LoopbackPeer {
    /// The port on 127.0.0.1 that all connections go to, whatever host and port a URL names.
    std::uint16_t port = 0;
    /// The certificate authority to trust instead of the system's, as PEM text. The peer's
    /// certificate must still name the host of the URL.
    std::string certificateAuthority;
    /// Replaces the idle limit of every request, when given.
    std::optional<std::chrono::milliseconds> idleLimit;
};

/// Points the shared session at a local peer, or back at the world. For the emulator, tests and
/// benchmarks; not part of the installed interface. Counts for requests started afterwards, and
/// no connection made before is used again. Safe from any thread.
CIRRUS_EXPORT void setLoopbackPeer(std::optional<LoopbackPeer> peer);

} // namespace cirrus

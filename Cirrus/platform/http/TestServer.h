#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <Cirrus/Export.h>

namespace cirrus {

/// A server on this machine that the process talks to instead of the network.
struct TestServer {
    /// The port on 127.0.0.1 that all connections go to, whatever host and port a URL names.
    std::uint16_t port = 0;
    /// The certificate authority to trust instead of the system's, as PEM text. The server's
    /// certificate must still name the host of the URL.
    std::string certificateAuthority;
    /// Replaces the idle limit of every request, if given.
    std::optional<std::chrono::milliseconds> idleLimit;
};

/// For tests only: sends all requests that start from now on to `server`, or to the network again.
/// Connections made before are not reused. Exported for the emulator's `LocalDrive`, but declared
/// in no installed header. Safe from any thread.
CIRRUS_EXPORT void connectToTestServer(std::optional<TestServer> server);

} // namespace cirrus

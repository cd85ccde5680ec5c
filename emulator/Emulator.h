#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "emulator/Content.h"
#include "emulator/DriveState.h"
#include "emulator/EmulatorError.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// How an emulator is set up.
struct Options {
    std::uint16_t port = 0;                                ///< 0: a free one
    std::optional<std::string> accessToken = std::nullopt; ///< a random one without it
    ContentPolicy contents = ContentPolicy::keep;          ///< what becomes of uploaded bytes
    /// DNS names of the certificate beside `www.googleapis.com` and `localhost`.
    std::vector<std::string> certificateHosts = {};
};

/// Answers a request in Drive's stead, or leaves it to Drive with nothing. Called on the thread of
/// the connection, at the same time for several. It may block, which holds up this connection
/// alone, but whatever it blocks on has to be let go before the emulator is destroyed. It must not
/// throw.
using RequestHook = std::function<std::optional<Answer>(const Request&)>;

/// A local Google Drive: state, API and an HTTPS server on 127.0.0.1. Safe from any thread.
class Emulator {
public:
    /// Starts an empty Drive. Fails when the port is taken, for example.
    [[nodiscard]] static std::expected<std::unique_ptr<Emulator>, EmulatorError>
    start(Options options = {});

    /// Cuts all connections off and waits until none is served any more.
    ~Emulator();
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    /// The port on 127.0.0.1 that it listens on.
    [[nodiscard]] std::uint16_t port() const;
    /// What requests have to carry as `Authorization: Bearer`.
    [[nodiscard]] const std::string& accessToken() const;
    /// The certificate to trust, as PEM text.
    [[nodiscard]] const std::string& certificateAuthority() const;

    /// All that it holds and has seen by now.
    [[nodiscard]] Snapshot snapshot() const;
    /// Waits until the predicate holds; false when it does not within this time. The predicate
    /// must not call the emulator.
    bool waitUntil(std::chrono::milliseconds limit,
                   const std::function<bool(const Snapshot&)>& predicate) const;

    /// Called with every request whose body was read completely, after it was recorded. Counts for
    /// requests read from now on; an empty hook removes the one before.
    void setHook(RequestHook hook);
    /// Called with every request before its body is read. An answer from it is sent after
    /// `Answer::bodyReadFirst` bytes of the body; the other hook is not called then.
    void setHeadHook(RequestHook hook);

    /// Makes a folder and returns its id. The parent, the root when empty, has to exist: throws
    /// `std::bad_expected_access` otherwise.
    std::string addFolder(std::string name, std::string parentId = {});
    /// Marks a file or folder as trashed; false when there is none with this id.
    bool trash(std::string_view id);

private:
    class Running;
    explicit Emulator(std::unique_ptr<Running> running);

    std::unique_ptr<Running> running_;
};

} // namespace cirrus::emulator

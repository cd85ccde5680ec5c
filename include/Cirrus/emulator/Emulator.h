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

#include <Cirrus/Export.h>
#include <Cirrus/emulator/Content.h>
#include <Cirrus/emulator/HttpMessage.h>
#include <Cirrus/emulator/Snapshot.h>

namespace cirrus::emulator {

/// Why the emulator could not be started.
struct EmulatorError {
    std::string reason; ///< for developers, in English

    /// The reason.
    [[nodiscard]] std::string diagnosticText() const { return reason; }
};

/// Settings of an emulator.
struct Options {
    std::uint16_t port = 0;                                ///< 0 for a free one
    std::optional<std::string> accessToken = std::nullopt; ///< nullopt for a random one
    ContentPolicy contents = ContentPolicy::keep;          ///< of uploaded files
    /// DNS names of the certificate, in addition to `www.googleapis.com` and `localhost`.
    std::vector<std::string> certificateHosts = {};
    /// How many bytes of a request's body each connection reads in a second; 0 for no limit.
    std::uint64_t rate = 0;
    /// How long an access token is valid that somebody got by signing in.
    std::chrono::seconds tokenLifetime = std::chrono::hours(1);
};

/// Answers a request in place of Drive; nullopt leaves the request to Drive.
///
/// Each connection has a thread of its own, which calls the hook: several calls can run at the same
/// time. A call may block and then delays only its own connection, but it has to return before the
/// emulator can be destroyed. It must not throw.
using RequestHook = std::function<std::optional<Answer>(const Request&)>;

/// A local Google Drive: state, API and an HTTPS server on 127.0.0.1. Safe from any thread.
class Emulator {
public:
    /// Starts an empty Drive. Fails if the port is in use, for example.
    [[nodiscard]] static std::expected<std::unique_ptr<Emulator>, EmulatorError>
    start(Options options = {});

    /// Closes all connections and waits for their threads, and so for hooks that still run.
    ~Emulator();
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    /// The port on 127.0.0.1 that it listens on.
    [[nodiscard]] std::uint16_t port() const;
    /// The token that requests have to carry as `Authorization: Bearer`.
    [[nodiscard]] const std::string& accessToken() const;
    /// What a program needs to sign a user in, as the JSON file that Google's console gives: the
    /// client's id, and the addresses of the emulator's endpoints for authorization and tokens.
    [[nodiscard]] std::string clientFile() const;
    /// From now on, the user refuses to sign in, or consents again.
    void refuseSignIn(bool isRefusing);
    /// Ends every consent: no refresh token, and no access token that came of signing in, is valid
    /// any more.
    void revokeSignIn();
    /// The certificate that clients have to trust, as PEM text.
    [[nodiscard]] const std::string& certificateAuthority() const;

    /// A copy of all files and of all that was received so far.
    [[nodiscard]] Snapshot snapshot() const;
    /// Waits until the predicate holds; false if it does not within the limit. The predicate is
    /// called on this thread and must not call the emulator.
    bool waitUntil(std::chrono::milliseconds limit,
                   const std::function<bool(const Snapshot&)>& predicate) const;

    /// Sets the hook that is called with every complete request, after the request was recorded. It
    /// applies to requests that are read from now on. An empty hook removes the previous one, which
    /// may still be running.
    void setHook(RequestHook hook);
    /// Sets the hook that is called with every request before its body is read. If it answers, the
    /// answer is sent after `Answer::bodyReadFirst` bytes of the body, and the other hook is not
    /// called.
    void setHeadHook(RequestHook hook);

    /// Makes a folder and returns its id. The parent is the root if the id is empty; nullopt if
    /// there is no such folder.
    std::optional<std::string> addFolder(std::string name, std::string parentId = {});
    /// Moves a file or folder to the trash; false if there is none with this id.
    bool trash(std::string_view id);

private:
    struct Running;
    explicit Emulator(std::unique_ptr<Running> running);

    std::unique_ptr<Running> running_;
};

} // namespace cirrus::emulator

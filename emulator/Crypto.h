#pragma once

#include <cstddef>
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "emulator/EmulatorError.h"

namespace cirrus::emulator {

/// A running SHA-256 digest. Belongs to one thread at a time.
class Sha256 {
public:
    Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;
    ~Sha256();

    void update(std::string_view bytes);

    /// The digest of everything so far in lower-case hexadecimal; ends the digest.
    [[nodiscard]] std::string finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// What a server shows its clients, and what they need to trust it. All texts are PEM.
struct ServerIdentity {
    std::string authority;
    std::string certificate;
    std::string privateKey;
};

/// Makes a throw-away authority and a certificate by it for 127.0.0.1 and these DNS names, valid
/// from an hour ago for a few days.
[[nodiscard]] std::expected<ServerIdentity, EmulatorError>
makeServerIdentity(const std::vector<std::string>& hosts);

/// An unguessable text of this many URL-safe characters.
[[nodiscard]] std::string randomIdentifier(std::size_t length = 33);

} // namespace cirrus::emulator

#pragma once

#include <cstddef>
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <Cirrus/emulator/EmulatorError.h>

struct evp_md_ctx_st; // of OpenSSL

namespace cirrus::emulator {

/// Computes a SHA-256 digest. For one thread at a time.
class Sha256 {
public:
    Sha256();

    void update(std::string_view bytes);

    /// The digest of all bytes in lower-case hexadecimal. Call it once, last.
    [[nodiscard]] std::string finish();

private:
    std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)> context_;
};

/// The server's certificate and key, and the authority that clients have to trust. All are PEM.
struct ServerIdentity {
    std::string authority;
    std::string certificate;
    std::string privateKey;
};

/// Makes a temporary certificate authority and has it sign a certificate for 127.0.0.1 and these
/// DNS names. Both are valid for a few days, and since an hour ago because clocks differ.
[[nodiscard]] std::expected<ServerIdentity, EmulatorError>
makeServerIdentity(const std::vector<std::string>& hosts);

/// What PKCE calls the S256 challenge of a verifier: base64url of its digest.
[[nodiscard]] std::string codeChallenge(std::string_view verifier);

/// An unguessable identifier of this many URL-safe characters.
[[nodiscard]] std::string randomIdentifier(std::size_t length = 33);

} // namespace cirrus::emulator

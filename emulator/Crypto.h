#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct ssl_ctx_st; // of OpenSSL

namespace cirrus::emulator {

/// Makes a temporary certificate authority and has it sign a certificate for 127.0.0.1 and these
/// DNS names, with which servers of this context show who they are. Both are valid for a few days,
/// and since an hour ago because clocks differ. Returns the authority as PEM text. Throws
/// `std::runtime_error`, for names that OpenSSL refuses, say.
[[nodiscard]] std::string certify(ssl_ctx_st* context, const std::vector<std::string>& hosts);

/// What PKCE calls the S256 challenge of a verifier: base64url of its digest.
[[nodiscard]] std::string codeChallenge(std::string_view verifier);

/// An unguessable identifier of this many URL-safe characters.
[[nodiscard]] std::string randomIdentifier(std::size_t length = 33);

} // namespace cirrus::emulator

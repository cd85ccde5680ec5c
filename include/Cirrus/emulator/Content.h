#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace cirrus::emulator {

/// What the emulator keeps of uploaded contents.
enum class ContentPolicy {
    keep,    ///< the bytes, the size and the digest
    digest,  ///< the size and the digest
    discard, ///< only the size
};

/// The contents of a file or the body of a request. Copies share the bytes.
struct Content {
    std::uint64_t size = 0; ///< in bytes
    std::string sha256;     ///< lower-case hexadecimal; empty under `ContentPolicy::discard`
    std::shared_ptr<const std::string> kept; ///< null unless the bytes are kept

    /// The bytes; empty if they are not kept. They live as long as a copy of this content.
    [[nodiscard]] const std::string& bytes() const;
};

/// A content that keeps these bytes.
[[nodiscard]] Content contentOf(std::string_view bytes);

} // namespace cirrus::emulator

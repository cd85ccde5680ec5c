#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "emulator/Crypto.h"
#include <Cirrus/emulator/Content.h>

namespace cirrus::emulator {

/// Builds a `Content` from chunks. For one thread at a time.
class ContentReader {
public:
    explicit ContentReader(ContentPolicy policy) : policy_(policy) {}

    void append(std::string_view chunk);

    /// Everything that was appended. Call it once, last.
    [[nodiscard]] Content finish();

private:
    ContentPolicy policy_;
    std::uint64_t size_ = 0;
    std::string bytes_;
    Sha256 digest_;
};

} // namespace cirrus::emulator

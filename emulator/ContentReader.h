#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "emulator/Content.h"
#include "emulator/Crypto.h"

namespace cirrus::emulator {

/// Takes contents in piece by piece. Belongs to one thread at a time.
class ContentReader {
public:
    explicit ContentReader(ContentPolicy policy) : policy_(policy) {}

    void append(std::string_view piece);

    /// What was taken in; ends the reading.
    [[nodiscard]] Content finish();

private:
    ContentPolicy policy_;
    std::uint64_t size_ = 0;
    std::string bytes_;
    Sha256 digest_;
};

} // namespace cirrus::emulator

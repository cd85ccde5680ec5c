#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <Cirrus/emulator/Content.h>

struct evp_md_ctx_st; // of OpenSSL

namespace cirrus::emulator {

/// Builds a `Content` from chunks. For one thread at a time.
class ContentReader {
public:
    explicit ContentReader(ContentPolicy policy);

    void append(std::string_view chunk);

    /// Everything that was appended. Call it once, last.
    [[nodiscard]] Content finish();

private:
    ContentPolicy policy_;
    std::uint64_t size_ = 0;
    std::string bytes_;
    std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)> digest_;
};

} // namespace cirrus::emulator

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace cirrus {

/// Immutable bytes that any number of owners share without copying them.
class SharedBytes {
public:
    SharedBytes() = default;

    /// A copy of `text`.
    explicit SharedBytes(std::string_view text) : size_(text.size()) {
        auto copy = std::make_shared_for_overwrite<std::byte[]>(text.size());
        std::ranges::copy(std::as_bytes(std::span(text)), copy.get());
        bytes_ = std::move(copy);
    }

    /// The first `size` bytes of `bytes`. Nobody may change them while this object or a copy lives.
    SharedBytes(std::shared_ptr<const std::byte[]> bytes, std::size_t size)
        : bytes_(std::move(bytes)), size_(size) {}

    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Valid while this object or a copy lives.
    [[nodiscard]] std::string_view asText() const {
        return {reinterpret_cast<const char*>(bytes_.get()), size_};
    }

private:
    std::shared_ptr<const std::byte[]> bytes_;
    std::size_t size_ = 0;
};

} // namespace cirrus

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string_view>

namespace cirrus {

/// Immutable bytes that any number of owners share without a copy.
class Data {
public:
    Data() = default;

    /// A copy of `text`.
    explicit Data(std::string_view text) {
        if (!text.empty()) {
            auto bytes = std::make_shared_for_overwrite<std::byte[]>(text.size());
            std::memcpy(bytes.get(), text.data(), text.size());
            bytes_ = std::move(bytes);
            size_ = text.size();
        }
    }

    /// The first `size` bytes of `bytes`, which nobody may change as long as this or a copy lives.
    Data(std::shared_ptr<const std::byte[]> bytes, std::uint64_t size)
        : bytes_(std::move(bytes)), size_(size) {}

    [[nodiscard]] std::uint64_t size() const { return size_; }

    [[nodiscard]] std::span<const std::byte> bytes() const {
        return {bytes_.get(), static_cast<std::size_t>(size_)};
    }

    /// The bytes as characters; they live as long as this value or a copy of it.
    [[nodiscard]] std::string_view characters() const {
        return {reinterpret_cast<const char*>(bytes_.get()), static_cast<std::size_t>(size_)};
    }

private:
    std::shared_ptr<const std::byte[]> bytes_;
    std::uint64_t size_ = 0;
};

} // namespace cirrus

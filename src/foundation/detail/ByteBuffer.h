#pragma once
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>

namespace qsml::detail {

/// Bytes that grow and are written once. Unlike std::vector it leaves new bytes unset, and clearing
/// it keeps the memory. Confined to one thread at a time.
class ByteBuffer {
public:
    std::size_t size() const noexcept { return size_; }
    const std::uint8_t* data() const noexcept { return bytes_.get(); }
    std::span<const std::uint8_t> bytes() const noexcept { return {bytes_.get(), size_}; }

    void clear() noexcept { size_ = 0; }
    /// Takes bytes off the end.
    void truncate(std::size_t size) noexcept { size_ = size; }
    /// Gives the memory back when it is larger than what ordinary use needs.
    void shrink(std::size_t most) {
        if (capacity_ <= most) return;
        bytes_.reset();
        capacity_ = size_ = 0;
    }

    /// Room for `count` bytes at the end, which the caller writes.
    std::uint8_t* extend(std::size_t count) {
        if (capacity_ - size_ < count) grow(count);
        std::uint8_t* place = bytes_.get() + size_;
        size_ += count;
        return place;
    }

private:
    void grow(std::size_t count) {
        const std::size_t capacity = (size_ + count) * 2 + 1024;
        std::unique_ptr<std::uint8_t[]> larger(new std::uint8_t[capacity]);
        if (size_ > 0) std::memcpy(larger.get(), bytes_.get(), size_);
        bytes_ = std::move(larger);
        capacity_ = capacity;
    }

    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace qsml::detail

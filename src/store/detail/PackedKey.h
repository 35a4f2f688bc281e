#pragma once
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace qsml::detail {

class Query;

/// A key in its stored form: 32 lower-case hexadecimal digits become 16 bytes, an upper-case UUID
/// text 17 (the first is 1), and any other text stays a text. Refers to the key it was made of.
class PackedKey {
public:
    explicit PackedKey(std::string_view key);
    PackedKey(const PackedKey&) = delete;
    PackedKey& operator=(const PackedKey&) = delete;

    bool isText() const noexcept { return size_ == 0; }
    std::span<const std::uint8_t> bytes() const noexcept {
        if (isText()) return {reinterpret_cast<const std::uint8_t*>(text_.data()), text_.size()};
        return {packed_.data(), size_};
    }
    void bindTo(Query& query, int index) const;

private:
    std::string_view text_;
    std::array<std::uint8_t, 17> packed_{};
    std::size_t size_ = 0;
};

/// A key read back from its stored form. Holds its own text unless the row does.
class UnpackedKey {
public:
    UnpackedKey() = default;
    UnpackedKey(const UnpackedKey&) = delete;
    UnpackedKey& operator=(const UnpackedKey&) = delete;

    /// Reads a result column. False when no key is stored in that form: the column is damaged.
    bool read(const Query& query, int column);
    bool read(std::span<const std::uint8_t> bytes, bool isText);
    std::string_view view() const noexcept { return view_; }

private:
    std::array<char, 36> text_{};
    std::string_view view_;
};

}  // namespace qsml::detail

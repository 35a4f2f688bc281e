#pragma once
#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Export.h"

namespace qsml {

/// Immutable UTF-8 text that may be nil; one pointer wide, copied by sharing.
///
/// Records hold a dozen texts each and a library holds a million records: a shared pointer-wide
/// text makes a cached track half as large as std::optional<std::string> does, and a copy of a
/// record cheap. It reads like an optional of std::string_view: `if (title)`, `*title`,
/// `title.value_or("")`. Nil and the empty text are different values. Texts are expected to be
/// valid UTF-8. Thread-safe as std::shared_ptr is: distinct instances may be used from any threads.
class QSML_EXPORT String {
public:
    constexpr String() noexcept = default;
    constexpr String(std::nullopt_t) noexcept {}
    constexpr String(std::nullptr_t) noexcept {}
    String(std::string_view text);
    String(const std::string& text) : String(std::string_view(text)) {}
    String(const char* text) : String(std::string_view(text)) {}
    String(const std::optional<std::string>& text) {
        if (text) *this = String(std::string_view(*text));
    }
    String(const String& other) noexcept : buffer_(other.buffer_) { retain(buffer_); }
    String(String&& other) noexcept : buffer_(other.buffer_) { other.buffer_ = nullptr; }
    String& operator=(String other) noexcept {
        std::swap(buffer_, other.buffer_);
        return *this;
    }
    ~String() { release(buffer_); }

    /// A text of `size` bytes that `fill(char*)` writes; saves a copy where the text is produced.
    template <class Fill>
    static String build(std::size_t size, Fill&& fill) {
        String made;
        made.buffer_ = allocate(size);
        fill(bytesOf(made.buffer_));
        return made;
    }

    /// A copy of an instance that no other thread can reach. Where it is the only one of its bytes
    /// this takes no locked operation, because nobody else can count references meanwhile.
    String copyWhileConfined() const noexcept {
        if (!buffer_ || buffer_->references.load(std::memory_order_acquire) != 1) return *this;
        String made;
        made.buffer_ = buffer_;
        buffer_->references.store(2, std::memory_order_relaxed);
        return made;
    }

    explicit operator bool() const noexcept { return buffer_ != nullptr; }
    bool has_value() const noexcept { return buffer_ != nullptr; }

    /// The text; empty when nil. Valid as long as this instance or a copy of it lives.
    std::string_view view() const noexcept {
        return buffer_ ? std::string_view(bytesOf(buffer_), buffer_->size) : std::string_view();
    }
    std::string_view operator*() const noexcept { return view(); }
    /// Nil converts to a view without data (data() == nullptr), the empty text to an empty view
    /// with data.
    operator std::string_view() const noexcept { return view(); }
    std::string_view value() const noexcept { return view(); }
    std::string_view value_or(std::string_view other) const noexcept {
        return buffer_ ? view() : other;
    }
    std::string str() const { return std::string(view()); }
    /// NUL-terminated; "" when nil.
    const char* c_str() const noexcept { return buffer_ ? bytesOf(buffer_) : ""; }
    std::size_t size() const noexcept { return buffer_ ? buffer_->size : 0; }
    bool empty() const noexcept { return size() == 0; }

    /// Identity of the shared bytes, null when nil: equal identities mean equal texts, not the
    /// reverse.
    const void* identity() const noexcept { return buffer_; }

    /// Nil equals only nil; texts are equal when their bytes are (no normalisation).
    friend bool operator==(const String& a, const String& b) noexcept {
        return a.buffer_ == b.buffer_ || (a.buffer_ && b.buffer_ && a.view() == b.view());
    }
    friend bool operator==(const String& a, std::string_view b) noexcept {
        return a.buffer_ && a.view() == b;
    }
    friend bool operator==(const String& a, const char* b) noexcept {
        return a == std::string_view(b);
    }
    friend bool operator==(const String& a, const std::string& b) noexcept {
        return a == std::string_view(b);
    }
    friend bool operator==(const String& a, std::nullopt_t) noexcept { return !a.buffer_; }
    friend bool operator==(const String& a, std::nullptr_t) noexcept { return !a.buffer_; }
    /// By bytes, nil first: for ordered containers, not for people.
    friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept {
        if (!a.buffer_ || !b.buffer_) return a.has_value() <=> b.has_value();
        return a.view() <=> b.view();
    }
    friend std::strong_ordering operator<=>(const String& a, std::string_view b) noexcept {
        if (!a.buffer_) return std::strong_ordering::less;
        return a.view() <=> b;
    }
    friend std::strong_ordering operator<=>(const String& a, const char* b) noexcept {
        return a <=> std::string_view(b);
    }

private:
    struct Buffer {
        std::atomic<std::uint32_t> references;
        std::uint32_t size;
    };
    static Buffer* allocate(std::size_t size);
    static void destroy(Buffer* buffer) noexcept;
    static char* bytesOf(Buffer* buffer) noexcept { return reinterpret_cast<char*>(buffer + 1); }
    static void retain(Buffer* buffer) noexcept {
        if (buffer) buffer->references.fetch_add(1, std::memory_order_relaxed);
    }
    static void release(Buffer* buffer) noexcept {
        if (!buffer) return;
        // Whoever holds the only reference needs no locked operation: nobody else can add one.
        if (buffer->references.load(std::memory_order_acquire) == 1 ||
            buffer->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy(buffer);
    }

    Buffer* buffer_ = nullptr;
};

/// Writes the text, or "(null)" when nil.
QSML_EXPORT std::ostream& operator<<(std::ostream& stream, const String& text);

}  // namespace qsml

template <>
struct std::hash<qsml::String> {
    std::size_t operator()(const qsml::String& text) const noexcept {
        return std::hash<std::string_view>()(text.view());
    }
};

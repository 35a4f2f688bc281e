#include "foundation/String.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

namespace qsml {

// The bytes stand directly behind the header, in one allocation, with a NUL behind them for
// c_str().
String::Buffer* String::allocate(std::size_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("A text holds at most 4294967295 bytes");
    void* memory = std::malloc(sizeof(Buffer) + size + 1);
    if (!memory) throw std::bad_alloc();
    auto* buffer = new (memory) Buffer{{1}, static_cast<std::uint32_t>(size)};
    bytesOf(buffer)[size] = '\0';
    return buffer;
}

void String::destroy(Buffer* buffer) noexcept {
    buffer->~Buffer();
    std::free(buffer);
}

String::String(std::string_view text) {
    if (text.empty()) {
        // Empty texts are frequent in tags; one buffer, never freed, serves them all.
        static Buffer* const empty = allocate(0);
        retain(empty);
        buffer_ = empty;
        return;
    }
    buffer_ = allocate(text.size());
    std::memcpy(bytesOf(buffer_), text.data(), text.size());
}

std::ostream& operator<<(std::ostream& stream, const String& text) {
    return stream << text.value_or("(null)");
}

}  // namespace qsml

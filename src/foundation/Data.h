#pragma once
#include <memory>
#include <span>
#include <vector>

#include "foundation/Export.h"

namespace qsml {

/// Immutable bytes, shared by copies. Nil is an empty std::optional. Thread-safe as std::shared_ptr
/// is.
class QSML_EXPORT Data {
public:
    Data() = default;
    explicit Data(std::span<const std::uint8_t> bytes);

    std::span<const std::uint8_t> bytes() const noexcept {
        return bytes_ ? std::span<const std::uint8_t>(*bytes_) : std::span<const std::uint8_t>();
    }
    std::size_t size() const noexcept { return bytes().size(); }

    friend bool operator==(const Data& a, const Data& b) noexcept;

private:
    std::shared_ptr<const std::vector<std::uint8_t>> bytes_;
};

}  // namespace qsml

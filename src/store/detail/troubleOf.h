#pragma once
#include <exception>
#include <new>
#include <optional>
#include <string>

namespace qsml::detail {

/// What a block of the application throws, in words; nothing when it does not. Too little memory is
/// not the block's fault.
template <class Block>
std::optional<std::string> troubleOf(const Block& block) {
    try {
        block();
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        return std::string(exception.what());
    } catch (...) {
        return std::string("an exception of an unknown kind");
    }
}

}  // namespace qsml::detail

#include "ListedEntries.h"

#include <fmt/format.h>

#include "CommandFailure.h"

namespace qsml::app {

void failWithoutEntry(std::string_view list, std::string_view filling, std::size_t position,
                      std::size_t count) {
    throw CommandFailure(
        count == 0 ? fmt::format("the {} is empty; \"{}\" fills it", list, filling)
                   : fmt::format("the {} has no entry {}; it has {}", list, position + 1, count));
}

void failBeyondEnd(std::string_view list, std::size_t position, std::size_t count) {
    throw CommandFailure(fmt::format("position {} is beyond the end of the {}; {} is the last",
                                     position + 1, list, count + 1));
}

}  // namespace qsml::app

#pragma once
#include <cstddef>
#include <cstdlib>

namespace qsml {

/// How much of a scalable test to run: the quick amount, or the full one where the environment
/// variable QSML_TEST_FULL is set to a text that is not empty.
inline std::size_t testScale(std::size_t quick, std::size_t full) {
    const char* wish = std::getenv("QSML_TEST_FULL");
    return wish && *wish ? full : quick;
}

}  // namespace qsml

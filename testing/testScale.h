#pragma once
#include <cstddef>
#include <cstdlib>

namespace qsml {

inline bool isWishedFor(const char* variable) {
    const char* wish = std::getenv(variable);
    return wish && *wish;
}

/// How much of a scalable test to run: the quick amount, or the full one where the environment
/// variable QSML_TEST_FULL is set to a text that is not empty, or a tenth of the quick one where
/// QSML_TEST_LIGHT is, as under sanitizers: those look at every line, not at every case.
inline std::size_t testScale(std::size_t quick, std::size_t full) {
    if (isWishedFor("QSML_TEST_FULL")) return full;
    return isWishedFor("QSML_TEST_LIGHT") && quick > 10 ? quick / 10 : quick;
}

}  // namespace qsml

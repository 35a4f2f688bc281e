// Reads any text as the cloud form of points, cues, loops and title IDs, and passes on what it
// held.
#include <cstdlib>

#include "testing/cueJSON.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!qsml::survivesCueJSON({reinterpret_cast<const char*>(data), size})) std::abort();
    return 0;
}

#pragma once
#include <string>
#include <vector>

#include "foundation/String.h"

namespace qsml {

struct GoldenRow {
    std::string collection;
    std::string key;
    String text;
    String metadata;
};

/// What the files of testing/golden hold; never changed either.
std::vector<GoldenRow> goldenRows();
/// The folder testing/golden of the source tree.
std::string goldenFolder();

}  // namespace qsml

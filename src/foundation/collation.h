#pragma once
#include <string>
#include <string_view>

#include "foundation/Export.h"

namespace qsml {

/// Bytes that sort, as unsigned numbers, as localizedCaseInsensitiveCompare orders the texts.
/// Worth it where a text is compared often. Thread-safe.
QSML_EXPORT std::string localizedCaseInsensitiveSortKey(std::string_view text);

/// The locale and the version of its rules: sort keys of different identities do not compare.
QSML_EXPORT std::string collationIdentity();

}  // namespace qsml

#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Export.h"

struct UCollator;

namespace qsml {

/// The order of texts for people by the rules of one locale: the one that was current when it was
/// made, whatever is current later. Copies share it. Thread-safe.
class QSML_EXPORT Collation {
public:
    Collation();

    /// As localizedCaseInsensitiveCompare.
    int compare(std::string_view a, std::string_view b) const;
    /// Bytes that sort, as unsigned numbers, as compare orders the texts. Worth it where a text is
    /// compared often.
    std::string sortKey(std::string_view text) const;
    /// The locale and the version of its rules: sort keys of different identities do not compare.
    const std::string& identity() const noexcept { return identity_; }

private:
    std::shared_ptr<const UCollator> collator_;  // null: there are no rules, texts sort by bytes
    std::string identity_ = "none";
};

/// The same for the current locale.
QSML_EXPORT std::string localizedCaseInsensitiveSortKey(std::string_view text);
QSML_EXPORT std::string collationIdentity();

}  // namespace qsml

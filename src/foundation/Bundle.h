#pragma once
#include <string_view>

#include "foundation/Value.h"

namespace qsml {

/// The information that the host application supplies about itself, under string keys, as
/// "QSMediaLibraryBundlePath" and "CFBundleShortVersionString". Thread-safe.
class QSML_EXPORT Bundle {
public:
    static Bundle& main();
    /// Nil where the host set nothing.
    Value infoValue(std::string_view key) const;
    /// Nil removes.
    void setInfoValue(std::string_view key, Value value);

private:
    Bundle() = default;
};

}  // namespace qsml

#pragma once
#include "foundation/String.h"

namespace qsml {

/// The machine that the program runs on. Thread-safe.
class QSML_EXPORT Host {
public:
    /// The name that people know it by: what setLocalizedName() gave, else the system's pretty host
    /// name, else its network name without domain. Never nil.
    static String localizedName();
    /// For hosts that let the person name the device. Nil restores the system's.
    static void setLocalizedName(String name);
};

}  // namespace qsml

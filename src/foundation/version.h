#pragma once

#include "foundation/Export.h"

extern "C" {

/// Major and minor version of the library that runs, as 0.1. Constant, so any thread may read it.
extern QSML_EXPORT const double QSMediaLibraryDataVersionNumber;
/// The whole version, as "0.1.0", zero-terminated.
extern QSML_EXPORT const char QSMediaLibraryDataVersionString[];
}

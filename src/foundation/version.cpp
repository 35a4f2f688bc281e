#include "foundation/version.h"

extern "C" {

const double QSMediaLibraryDataVersionNumber = QSML_VERSION_NUMBER;
const char QSMediaLibraryDataVersionString[] = QSML_VERSION_STRING;
}

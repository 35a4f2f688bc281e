#pragma once
#include <QSMediaLibraryData/foundation/Value.h>

namespace qsml::app {

/// All that the object holds, for JSON: a record's UUID and the properties of all its classes under
/// their names, objects in it as dictionaries of their own, reals that are not finite as texts.
/// Properties that are nil are left out. Values that are no objects are answered as they are.
Value dumped(const Value& value);

}  // namespace qsml::app

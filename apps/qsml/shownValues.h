#pragma once
#include <QSMediaLibraryData/foundation/Dictionary.h>

namespace qsml {
class YapDatabaseReadTransaction;
}

namespace qsml::app {

/// What a list shows of a record under short names: title, artists and tempo of a track, also for
/// what stands for one, the name and the like of others. Empty for what has none of them.
Dictionary shownValues(const Value& object, const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app

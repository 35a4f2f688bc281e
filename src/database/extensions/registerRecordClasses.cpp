#include "database/registerRecordClasses.h"

#include "core/registerCoreClasses.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {

void registerRecordClasses() {
    registerCoreClasses();
    registerTrackClasses();
}

}  // namespace qsml

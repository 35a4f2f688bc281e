#include "database/registerRecordClasses.h"

#include "contentpacks/registerContentPackClasses.h"
#include "core/registerCoreClasses.h"
#include "filters/registerFilterClasses.h"
#include "organisation/registerOrganisationClasses.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {

void registerRecordClasses() {
    registerCoreClasses();
    registerTrackClasses();
    registerFilterClasses();
    registerOrganisationClasses();
    registerContentPackClasses();
}

}  // namespace qsml

#include "database/registerRecordClasses.h"

#include "contentpacks/registerContentPackClasses.h"
#include "core/registerCoreClasses.h"
#include "organisation/registerOrganisationClasses.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {

void registerRecordClasses() {
    registerCoreClasses();
    registerTrackClasses();
    registerOrganisationClasses();
    registerContentPackClasses();
}

}  // namespace qsml

#include "tracks/registerTrackClasses.h"

#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerTrackClasses() {
    (void)PLXMediaItem::classObject();
    (void)PLXMediaItemTitleID::classObject();
    (void)PLXMediaItemUserData::classObject();
    (void)PLXMediaItemLocation::classObject();
    (void)PLXMediaItemAnalyzedData::classObject();
    (void)PLXCuePoint::classObject();
    (void)PLXLoopRegion::classObject();
}

}  // namespace qsml

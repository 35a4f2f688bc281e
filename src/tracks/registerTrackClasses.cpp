#include "tracks/registerTrackClasses.h"

#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerTrackClasses() {
    (void)PLXMediaItem::classObject();
    (void)PLXMediaItemTitleID::classObject();
    (void)PLXMediaItemUserData::classObject();
    (void)PLXCuePoint::classObject();
    (void)PLXLoopRegion::classObject();
}

}  // namespace qsml

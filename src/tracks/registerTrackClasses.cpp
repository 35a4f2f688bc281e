#include "tracks/registerTrackClasses.h"

#include "tracks/PLXMediaItem.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerTrackClasses() {
    (void)PLXMediaItem::classObject();
    (void)PLXMediaItemTitleID::classObject();
}

}  // namespace qsml

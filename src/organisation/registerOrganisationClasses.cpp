#include "organisation/registerOrganisationClasses.h"

#include "organisation/PLXHistorySession.h"
#include "organisation/PLXHistorySessionItem.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXMediaItemTag.h"
#include "organisation/PLXMediaItemTagGroup.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerOrganisationClasses() {
    (void)PLXQueue::classObject();
    (void)PLXQueueItem::classObject();
    (void)PLXHistorySession::classObject();
    (void)PLXHistorySessionItem::classObject();
    (void)PLXMediaItemTag::classObject();
    (void)PLXMediaItemTagGroup::classObject();
    (void)PLXMediaItemPlaylist::classObject();
    (void)PLXMediaItemPlaylistItem::classObject();
}

}  // namespace qsml

#include "core/registerCoreClasses.h"

#include "core/PLXFileBookmark.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerCoreClasses() {
    (void)PLXMediaArtist::classObject();
    (void)PLXMediaAlbum::classObject();
    (void)PLXMediaGenre::classObject();
    (void)PLXMediaLabel::classObject();
    (void)PLXFileBookmark::classObject();
}

}  // namespace qsml

#include "contentpacks/registerContentPackClasses.h"

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXProduct.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"

namespace qsml {

// A class registers itself, and those above it, when its class object is first asked for.
void registerContentPackClasses() {
    (void)PLXSequencerPad::classObject();
    (void)PLXLooperTrack::classObject();
    (void)PLXSamplerPack::classObject();
    (void)PLXLooperPack::classObject();
    (void)PLXTrackPack::classObject();
    (void)PLXVisualizerPack::classObject();
    (void)PLXProduct::classObject();
    for (const char* formerName : {"PLXLooperSample", "PLXSamplerSample", "PLXVisualizerVideo"})
        KeyedUnarchiver::setGlobalClass(PLXContentPackMediaItem::classObject(), formerName);
}

}  // namespace qsml

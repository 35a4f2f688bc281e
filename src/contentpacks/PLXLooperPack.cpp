#include "contentpacks/PLXLooperPack.h"

#include "contentpacks/detail/takePresentValue.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXLooperPack)

// A pack of another kind has no value under the key.
void PLXLooperPack::takeCatalogueFields(const PLXContentPack& other) {
    PLXSequencerPack::takeCatalogueFields(other);
    detail::takePresentValue(*this, other, "tracks");
}

}  // namespace qsml

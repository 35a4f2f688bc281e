#include "core/PLXMediaArtist.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaArtist)

std::shared_ptr<PLXMediaArtist> PLXMediaArtist::initWithName(const String& name) {
    return named<PLXMediaArtist>(name);
}

}  // namespace qsml

#include "core/PLXMediaGenre.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaGenre)

std::shared_ptr<PLXMediaGenre> PLXMediaGenre::initWithName(const String& name) {
    return named<PLXMediaGenre>(name);
}

}  // namespace qsml

#include "core/PLXMediaAlbum.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaAlbum)

std::shared_ptr<PLXMediaAlbum> PLXMediaAlbum::initWithName(const String& name) {
    return named<PLXMediaAlbum>(name);
}

}  // namespace qsml

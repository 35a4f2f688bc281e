#include "contentpacks/PLXTrackPack.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXTrackPack)

}  // namespace qsml

#include "contentpacks/PLXSequencerPack.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXSequencerPack)

}  // namespace qsml

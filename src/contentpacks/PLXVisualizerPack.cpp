#include "contentpacks/PLXVisualizerPack.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXVisualizerPack)

}  // namespace qsml

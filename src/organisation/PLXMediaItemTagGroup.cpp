#include "organisation/PLXMediaItemTagGroup.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaItemTagGroup)

}  // namespace qsml

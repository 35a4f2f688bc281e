#include "organisation/PLXHistorySession.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXHistorySession)

}  // namespace qsml

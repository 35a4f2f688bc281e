#include "filters/registerFilterClasses.h"

#include "filters/PLXMediaItemFilterSet.h"

namespace qsml {

// A class registers itself when its class object is first asked for.
void registerFilterClasses() {
    (void)PLXMediaItemFilter::classObject();
    (void)PLXMediaItemFilterSet::classObject();
}

}  // namespace qsml

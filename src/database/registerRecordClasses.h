#pragma once

namespace qsml {

/// Makes every record class known to decoding. The manager calls it before it opens a file; defined
/// above the records, in database/extensions/.
void registerRecordClasses();

}  // namespace qsml

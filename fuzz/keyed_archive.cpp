// Reads any bytes as a keyed archive; what can be read is written again and read once more.
#include <cstdlib>

#include "database/registerRecordClasses.h"
#include "foundation/archiveDescription.h"
#include "testing/SampleRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qsml;
    static KeyedUnarchiver unarchiver, again;
    static KeyedArchiver archiver;
    SampleRecord::registerClass();
    registerRecordClasses();
    Error error;
    const Value value = unarchiver.unarchive({data, size}, &error);
    if (error && !value.isNil()) std::abort();
    archiveDescription({data, size});
    if (!error) {
        // Either may fail, near the limits of memory and work: they go with the archive's size.
        const auto bytes = archiver.archive(value, &error);
        if (bytes.empty() != static_cast<bool>(error)) std::abort();
        if (!error) again.unarchive(bytes);
    }
    SampleRecord::letGo();
    return 0;
}

#include "testing/failingCalls.h"

#include <gtest/gtest.h>

namespace qsml {

std::uint64_t forEachFailingCall(FaultyFiles& files, FaultyFiles::Fault fault,
                                 const FailingRun& run) {
    constexpr std::uint64_t tooMany = 100'000;
    for (fault.number = 1; fault.number < tooMany; fault.number += run.step) {
        SCOPED_TRACE("with call " + std::to_string(fault.number) + " failing");
        run.prepare();
        files.fail(fault);
        run.operation();
        files.heal();
        const bool met = files.failures() > 0;
        run.verify();
        if (!met || ::testing::Test::HasFailure()) return fault.number - 1;
    }
    ADD_FAILURE() << "the operation never ends without a failure";
    return tooMany;
}

std::uint64_t forEachFailingWrite(FaultyFiles& files, FaultyFiles::Repeat repeat,
                                  const FailingRun& run) {
    FaultyFiles::Fault fault;
    fault.calls = FileCall::write | FileCall::sync | FileCall::truncate;
    fault.repeat = repeat;
    return forEachFailingCall(files, fault, run);
}

}  // namespace qsml

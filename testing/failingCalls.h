#pragma once
#include <functional>

#include "testing/FaultyFiles.h"

namespace qsml {

/// One operation, tried again and again with another call of the system failing.
struct FailingRun {
    std::function<void()> prepare;    ///< makes the world as it is before, with no call failing
    std::function<void()> operation;  ///< may fail
    std::function<void()> verify;     ///< with no call failing any more
    std::uint64_t step = 1;           ///< tries each step-th call only, the first one among them
};

/// Runs it with call 1 failing, then with call 2, until a run meets no failure; returns how many
/// met one. Ends at the first run whose expectations failed.
std::uint64_t forEachFailingCall(FaultyFiles& files, FaultyFiles::Fault fault,
                                 const FailingRun& run);
/// The same of the calls that change files.
std::uint64_t forEachFailingWrite(FaultyFiles& files, FaultyFiles::Repeat repeat,
                                  const FailingRun& run);

}  // namespace qsml

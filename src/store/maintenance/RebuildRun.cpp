#include "store/maintenance/RebuildRun.h"

#include <cmath>

#include "foundation/Environment.h"
#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/troubleOf.h"

namespace qsml::detail {

namespace {
constexpr std::uint64_t step = 1000;  // rows between two calls
}

RebuildRun::RebuildRun(ConnectionCore& connection, const std::string& name)
    : connection_(connection), name_(name), start_(Clock::shared().monotonicSeconds()) {
    connection_.active().rebuild = this;
}

RebuildRun::~RebuildRun() { connection_.active().rebuild = nullptr; }

void RebuildRun::willRead(const std::set<std::string, std::less<>>* collections) {
    if (!connection_.database().options().rebuildProgress) return;
    if (!collections) {
        total_ += connection_.numberOfKeys();
        return;
    }
    for (const std::string& name : *collections) total_ += connection_.numberOfKeys(name);
}

bool RebuildRun::didRead() {
    if (++done_ % step == 0 && done_ < total_) tell();
    return true;
}

void RebuildRun::restart() { done_ = total_ = 0; }

/// Only the first failure of the host's function is logged: it may be called a thousand times.
void RebuildRun::tell() {
    const auto& progress = connection_.database().options().rebuildProgress;
    if (!progress) return;
    const auto trouble = troubleOf([&] { progress(name_, done_, total_); });
    if (!trouble || hasThrown_) return;
    hasThrown_ = true;
    log("Warning: the report of progress of the extension \"" + name_ + "\" failed: " + *trouble);
}

void RebuildRun::finish(bool wasStored, std::string why) {
    total_ = done_;  // also where a damaged row could not be read
    tell();
    if (done_ == 0 && !mustTell_) return;
    if (why.back() == '.') why.pop_back();
    const double milliseconds = (Clock::shared().monotonicSeconds() - start_) * 1000;
    connection_.active().rebuildLines.push_back(
        "The extension \"" + name_ + "\" was " + (wasStored ? "rebuilt" : "built") + " from " +
        std::to_string(done_) + " rows in " + std::to_string(std::lround(milliseconds)) +
        " ms: " + why + ".");
}

}  // namespace qsml::detail

#pragma once
#include <cstdint>
#include <set>
#include <string>

namespace qsml::detail {

class ConnectionCore;

/// The building of one extension from the rows: counts the rows that it reads, tells the host how
/// far it has come, and the log in the end. Confined to the write transaction in which it runs.
class RebuildRun {
public:
    RebuildRun(ConnectionCore& connection, const std::string& name);
    ~RebuildRun();
    RebuildRun(const RebuildRun&) = delete;
    RebuildRun& operator=(const RebuildRun&) = delete;

    /// The rows of these collections (null: all rows) will be read.
    void willRead(const std::set<std::string, std::less<>>* collections);
    /// Another row has been; true.
    bool didRead();
    /// Begins again, after a failure.
    void restart();
    /// What was stored is replaced by something of another kind: the log tells it also without
    /// rows.
    void mustTell() { mustTell_ = true; }
    /// It is built. A line for the log, after the commit; none when there were no rows. `why` is a
    /// sentence without its capital.
    void finish(bool wasStored, std::string why);

private:
    void tell();

    ConnectionCore& connection_;
    std::string name_;
    double start_;  // seconds of the monotonic clock
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;  // counted only for a host that wants to know
    bool hasThrown_ = false;
    bool mustTell_ = false;
};

}  // namespace qsml::detail

#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "testing/OpenStore.h"
#include "testing/RowListExtension.h"
#include "testing/failingCalls.h"

namespace qsml {

/// A way in which the system fails, by name.
struct FaultCase {
    std::string name;
    FaultyFiles::Fault fault;
    friend std::ostream& operator<<(std::ostream& stream, const FaultCase& fault) {
        return stream << fault.name;
    }
};

inline std::vector<FaultCase> systemFaults() {
    using Repeat = FaultyFiles::Repeat;
    using Kind = FaultyFiles::Kind;
    constexpr FileCall writing = FileCall::write | FileCall::truncate;
    return {{"CallFailsOnce", {anyFileCall, 1, Repeat::once, Kind::ioError}},
            {"CallFailsForGood", {anyFileCall, 1, Repeat::forever, Kind::ioError}},
            {"DiskIsFull", {writing, 1, Repeat::forever, Kind::diskFull}},
            {"WriteIsTorn", {FileCall::write, 1, Repeat::once, Kind::tornWrite}},
            {"SyncFails", {FileCall::sync, 1, Repeat::once, Kind::ioError}}};
}

/// For each operation (by its index in a list) and fault: a store of texts on files that fail, with
/// an extension that lists its rows.
class FailingStore : public ::testing::TestWithParam<std::tuple<std::size_t, FaultCase>> {
public:
    template <class Operations>
    static auto combined(const Operations& operations, const std::vector<FaultCase>& faults) {
        return ::testing::Combine(::testing::Range(std::size_t{0}, operations.size()),
                                  ::testing::ValuesIn(faults));
    }

protected:
    FailingStore() {
        files_.skipSyncs();  // They are counted and fail; no power does.
        store_.options.vfsName = files_.vfsName();
        store_.options.pageCacheBytes = 32 << 10;  // Four pages: the others are read and spilled.
    }
    std::size_t operationIndex() const { return std::get<0>(GetParam()); }
    const FaultCase& faultCase() const { return std::get<1>(GetParam()); }
    bool hasSyncFailed() const { return faultCase().name == "SyncFails" && files_.failures() > 0; }

    void openWithList() {
        Error error;
        ASSERT_TRUE(store_.open(&error)) << error.description;
        ASSERT_TRUE(store_.database().registerExtension(std::make_shared<RowListExtension>(),
                                                        "list", &error))
            << error.description;
    }
    /// Every `step`th call fails once; how many runs met a failure.
    std::uint64_t run(FailingRun run, std::uint64_t step) {
        run.step = step;
        const std::uint64_t failures = forEachFailingCall(files_, faultCase().fault, run);
        store_.close();
        return failures;
    }

    TemporaryDirectory directory_;
    FaultyFiles files_;
    StoreOfTexts store_{directory_.file("store.db")};
    std::string image_;
    bool claimed_ = false;
};

}  // namespace qsml

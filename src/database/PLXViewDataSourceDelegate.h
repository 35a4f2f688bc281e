#pragma once
#include <cstdint>
#include <functional>

#include "foundation/IndexPath.h"

namespace qsml {

class PLXViewDataSource;

/// What a data source tells its list, on the thread that delivers the notifications of the user
/// interface. What is left empty is not told. Sections and paths of deletions, of moves (from) and
/// of updates count as they were before the update, the others as they are after it.
///
/// The data source does not keep its delegate alive.
struct PLXViewDataSourceDelegate {
    using Block = std::function<void()>;
    using SectionBlock = std::function<void(PLXViewDataSource& dataSource, std::uint64_t section)>;
    using RowBlock = std::function<void(PLXViewDataSource& dataSource, IndexPath path)>;

    std::function<void(PLXViewDataSource& dataSource)> willBeginUpdates = {};
    /// Gets a block that tells the changes: to be called once, and at once or never. Where this is
    /// empty the changes are told without it.
    std::function<void(PLXViewDataSource& dataSource, const Block& updates)> performUpdates = {};
    std::function<void(PLXViewDataSource& dataSource)> didEndUpdates = {};

    SectionBlock didInsertSection = {};
    SectionBlock didDeleteSection = {};
    RowBlock didInsertRowAtIndexPath = {};
    RowBlock didDeleteRowAtIndexPath = {};
    std::function<void(PLXViewDataSource& dataSource, IndexPath from, IndexPath to)>
        didMoveRowAtIndexPath = {};
    RowBlock didUpdateRowAtIndexPath = {};
};

}  // namespace qsml

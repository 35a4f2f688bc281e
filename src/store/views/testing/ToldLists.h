#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

/// Lists on one pinned connection that know their views only by what they are told: each row that
/// they show was read when it was announced that it came or that its object changed, and not since.
class ToldLists {
public:
    using TextShown = std::function<std::string(const Value& object)>;

    /// The function gives what the lists show of a row.
    ToldLists(YapDatabase& database, TextShown textShown);

    /// Shows the groups of a view, a section each. Configured by the caller before the first move.
    void add(std::shared_ptr<YapDatabaseViewMappings> mappings);
    /// Changes of rows that were announced so far.
    std::size_t numberOfChanges() const { return numberOfChanges_; }
    /// Moves to the newest commit, does what the lists are told and compares them with the views.
    void move();

private:
    using Row = std::pair<std::string, std::string>;  // collection and key
    using Cell = std::pair<Row, std::string>;         // and its text
    using Sections = std::vector<std::vector<Cell>>;
    struct List {
        std::shared_ptr<YapDatabaseViewMappings> mappings;
        Sections sections;
    };
    using View = YapDatabaseViewTransaction;

    static Row rowOf(const YapDatabaseCollectionKey& row) {
        return {row.collection.str(), row.key.str()};
    }
    Cell cellAt(View& view, IndexPath path, const YapDatabaseViewMappings& mappings) const;
    std::vector<Cell> sectionAt(View& view, std::uint64_t section,
                                const YapDatabaseViewMappings& mappings) const;
    Sections shown(View& view, const YapDatabaseViewMappings& mappings) const;
    using Changes = std::vector<YapDatabaseViewRowChange>;
    using Texts = std::map<Row, std::string>;

    std::size_t move(List& list, View& view, const YapDatabaseNotifications& notifications) const;
    static Texts takeOut(List& list, const Changes& changes);
    void changeSections(List& list, View& view,
                        const std::vector<YapDatabaseViewSectionChange>& changes) const;
    void putIn(List& list, View& view, const Changes& changes, const Texts& texts) const;
    void readAnew(List& list, View& view, const Changes& changes) const;

    std::shared_ptr<YapDatabaseConnection> connection_;
    TextShown textShown_;
    std::vector<List> lists_;
    std::size_t numberOfChanges_ = 0;
};

}  // namespace qsml

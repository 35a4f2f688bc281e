#pragma once
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "store/relationships/testing/GraphNode.h"

namespace qsml {

/// The rules of edges written down as plainly as they can be, over maps in memory: the law that the
/// extension is held to. Rows are named by one text. Everything is slow.
class GraphModel {
public:
    struct Link {
        std::string name, source, destination;
        auto operator<=>(const Link&) const = default;
    };
    using Links = std::map<Link, std::uint32_t>;  // with their rules

    std::map<std::string, Links> rows;  ///< what each row declares now
    Links manual;
    std::vector<std::string> told;  ///< in no particular order

    bool has(const std::string& row) const { return rows.count(row) > 0; }
    /// A row that is no node is not told of anything.
    void write(const std::string& row, const Links& declared, bool isNode = true) {
        isNode ? void(plain_.erase(row)) : void(plain_.insert(row));
        if (!lists_.count(row)) lists_[row] = stored(row);
        rows[row] = declared;
        last_[row] = declared;
        removed_.erase(row);
    }
    void remove(const std::string& row) {
        if (!has(row)) return;
        if (!lists_.count(row)) lists_[row] = stored(row);
        if (!last_.count(row)) last_[row] = rows[row];
        rows.erase(row);
        removed_.insert(row);
    }
    bool addManual(const Link& link, std::uint32_t rules) {
        if (!has(link.source)) return false;
        manual[link] = rules;
        return true;
    }
    bool removeManual(const Link& link, EdgeReason processing) {
        const auto found = manual.find(link);
        if (!has(link.source) || found == manual.end()) return false;
        if (processing != EdgeReason::edgeDeleted)
            gone_.push_back({link, found->second, processing});
        manual.erase(found);
        return true;
    }

    /// What a query sees before the flush and after it.
    std::vector<std::string> visible() const {
        std::vector<std::string> all;
        for (const auto& [row, links] : rows)
            for (const auto& [link, rules] : links) all.push_back(line(link, rules, false));
        for (const auto& [link, rules] : manual)
            if (has(link.source) && !removed_.count(link.destination))
                all.push_back(line(link, rules, true));
        std::sort(all.begin(), all.end());
        return all;
    }
    static std::string line(const Link& link, std::uint32_t rules, bool isManual) {
        return (isManual ? "!" : "") + link.source + "-" + link.name + ">" + link.destination +
               "=" + std::to_string(rules);
    }

    void flush() {
        std::vector<Gone> notices;
        for (;;) {
            while (!last_.empty() || !removed_.empty() || !gone_.empty()) round(notices);
            if (notices.empty()) return;
            std::vector<Gone> now;
            now.swap(notices);
            for (const Gone& gone : now) tell(gone);
        }
    }

private:
    struct Gone {
        Link link;
        std::uint32_t rules;
        EdgeReason reason;
        bool atSource() const { return reason == EdgeReason::destinationNodeDeleted; }
        const std::string& remaining() const { return atSource() ? link.source : link.destination; }
    };

    Links stored(const std::string& row) const {
        const auto found = rows.find(row);
        return found == rows.end() ? Links() : found->second;
    }
    void round(std::vector<Gone>& notices) {
        std::vector<Gone> gone;
        gone.swap(gone_);
        for (const auto& [row, declared] : last_)  // 1: dropped edges
            for (const auto& [link, rules] : lists_[row])
                if (!declared.count(link)) gone.push_back({link, rules, EdgeReason::edgeDeleted});
        const std::set<std::string> removed = removed_;
        for (const std::string& row : removed) collect(row, removed, gone);  // 2
        removed_.clear();
        last_.clear();
        lists_.clear();
        std::erase_if(gone, [&](const Gone& one) { return !has(one.remaining()); });
        for (const Gone& one : gone)
            if (one.rules & (one.atSource() ? 2u : 1u)) notices.push_back(one);
        for (const Gone& one : gone)  // 3
            if (one.rules & (one.atSource() ? 4u : 8u)) remove(one.remaining());
        for (const Gone& one : gone)
            if ((one.rules & (one.atSource() ? 16u : 32u)) && !isHeld(one)) remove(one.remaining());
    }
    void collect(const std::string& row, const std::set<std::string>& removed,
                 std::vector<Gone>& gone) {
        Links outgoing = last_[row];
        for (const auto& [link, rules] : manual)
            if (link.source == row) gone.push_back({link, rules, EdgeReason::sourceNodeDeleted});
        for (const auto& [link, rules] : outgoing)
            gone.push_back({link, rules, EdgeReason::sourceNodeDeleted});
        const auto leadHere = [&](const Links& links) {
            for (const auto& [link, rules] : links)
                if (link.destination == row && !removed.count(link.source))
                    gone.push_back({link, rules, EdgeReason::destinationNodeDeleted});
        };
        for (const auto& [source, links] : rows) leadHere(links);
        leadHere(manual);
        std::erase_if(manual, [&](const auto& entry) {
            return entry.first.source == row || entry.first.destination == row;
        });
    }
    /// Whether an edge is left that would have to go before the row does.
    bool isHeld(const Gone& gone) const {
        const std::string& row = gone.remaining();
        const auto holds = [&](const auto& entry) {
            const auto& [link, rules] = entry;
            if (gone.atSource())
                return link.source == row && (rules & (4 | 16)) && isThere(link.destination);
            return link.destination == row && (rules & (8 | 32)) && isThere(link.source);
        };
        if (std::any_of(manual.begin(), manual.end(), holds)) return true;
        if (std::any_of(rows.begin(), rows.end(), [&](const auto& entry) {
                return std::any_of(entry.second.begin(), entry.second.end(), holds);
            }))
            return true;
        // Rows that this round has just removed let go in the next one.
        return std::any_of(last_.begin(), last_.end(), [&](const auto& entry) {
            return removed_.count(entry.first) &&
                   std::any_of(entry.second.begin(), entry.second.end(), holds);
        });
    }
    bool isThere(const std::string& row) const { return has(row) || removed_.count(row); }
    /// As GraphNode does: it forgets what led to a destination that went.
    void tell(const Gone& gone) {
        const std::string& row = gone.remaining();
        if (!has(row) || plain_.count(row)) return;
        told.push_back(row + "|" + gone.link.name + ">" + gone.link.destination + "|" +
                       nameOf(gone.reason));
        if (!gone.atSource()) return;
        Links links = rows[row];
        const std::size_t before = links.size();
        std::erase_if(links, [&](const auto& entry) {
            return entry.first.destination == gone.link.destination;
        });
        if (links.size() != before) write(row, links);
    }

    std::map<std::string, Links> lists_;  // what was declared at the last flush, of written rows
    std::map<std::string, Links> last_;   // the last list of each of them
    std::set<std::string> removed_, plain_;
    std::vector<Gone> gone_;
};

}  // namespace qsml

#include "store/views/testing/ViewHistory.h"

#include <algorithm>

#include "store/search/YapDatabaseFullTextSearch.h"
#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseFilteredView.h"
#include "store/views/YapDatabaseSearchResultsView.h"

namespace qsml {
namespace {

constexpr const char* words[] = {"amber", "blue", "cold", "dawn", "echo", "fire"};

std::string textOf(const Value& value) { return value.string().str(); }
std::string before(const std::string& text) { return text.substr(0, text.find('|')); }
std::string behind(const std::string& text) { return text.substr(text.find('|') + 1); }

std::vector<std::string> keysIn(const std::string& list) {
    std::vector<std::string> keys;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(',', at), list.size());
        keys.push_back(list.substr(at, end - at));
        at = end + 1;
    }
    return keys;
}

bool isEven(std::string_view key, int divisor) {
    return std::atoi(key.data() + key.find_first_of("0123456789")) % divisor == 0;
}

YapDatabaseViewFiltering evenFilter(int divisor) {
    return [divisor](Reader&, std::string_view, std::string_view, std::string_view key) {
        return isEven(key, divisor);
    };
}

std::shared_ptr<YapDatabaseExtension> songsView() {
    YapDatabaseViewSorting sorting;
    sorting.sortKey = [](Reader&, std::string_view, const YapDatabaseRow& row) {
        return behind(textOf(row.object));
    };
    return std::make_shared<YapDatabaseAutoView>(
        [](Reader&, const YapDatabaseRow& row) {
            const std::string genre = before(textOf(row.object));
            return genre.empty() ? String() : String(genre);
        },
        sorting, "1", YapDatabaseViewOptions{{{"songs"}}});
}

std::shared_ptr<YapDatabaseExtension> entriesView() {
    YapDatabaseViewSorting sorting;
    sorting.list.collections = {"lists"};
    sorting.list.groups = [](const YapDatabaseRow& row) { return std::vector<String>{row.key}; };
    sorting.list.keys = [](Reader& transaction, std::string_view group,
                           const std::function<void(std::string_view)>& block) {
        for (const std::string& key : keysIn(textOf(transaction.objectForKey(group, "lists"))))
            block(key);
    };
    return std::make_shared<YapDatabaseAutoView>(
        [](Reader&, const YapDatabaseRow& row) { return String(before(textOf(row.object))); },
        sorting, "1", YapDatabaseViewOptions{{{"entries"}}});
}

std::shared_ptr<YapDatabaseExtension> wordsSearch() {
    YapDatabaseFullTextSearchOptions options;
    options.allowedCollections = {{"songs"}};
    options.dependents.collections = {"notes"};
    options.dependents.rows = [](Reader&, const YapDatabaseRow& row) {
        return std::vector<YapDatabaseCollectionKey>{{"songs", row.key}};
    };
    return std::make_shared<YapDatabaseFullTextSearch>(
        std::vector<std::string>{"title", "note"},
        [](Reader& transaction, const YapDatabaseRow& row, YapDatabaseColumnValues& values) {
            values.set("title", Value(behind(textOf(row.object))));
            values.set("note", transaction.objectForKey(row.key, "notes"));
        },
        "1", options);
}

}  // namespace

void registerViews(YapDatabase& database) {
    const auto add = [&](std::shared_ptr<YapDatabaseExtension> extension, std::string_view name) {
        Error error;
        EXPECT_TRUE(database.registerExtension(std::move(extension), std::string(name), &error))
            << error.description;
    };
    add(songsView(), "songs");
    add(entriesView(), "entries");
    add(wordsSearch(), "words");
    add(std::make_shared<YapDatabaseSearchResultsView>("words", "songs"), "found");
    add(std::make_shared<YapDatabaseFilteredView>("songs", evenFilter(2), "0"), "evenSongs");
    add(std::make_shared<YapDatabaseFilteredView>("entries", evenFilter(2), "0"), "evenEntries");
    add(std::make_shared<YapDatabaseFilteredView>("found", evenFilter(2), "0"), "evenFound");
}

Groups songsOf(Reader& transaction) {
    Groups groups;
    std::map<std::string, std::vector<std::pair<std::string, std::string>>> titles;
    transaction.enumerateKeysAndObjectsInCollection(  // by age
        "songs", [&](std::string_view key, const Value& object, bool&) {
            const std::string text = textOf(object);
            if (!before(text).empty()) titles[before(text)].emplace_back(behind(text), key);
        });
    for (auto& [genre, rows] : titles) {
        std::stable_sort(rows.begin(), rows.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& row : rows) groups[genre].push_back(row.second);
    }
    return groups;
}

Groups entriesOf(Reader& transaction) {
    Groups groups;
    transaction.enumerateKeysAndObjectsInCollection(
        "entries", [&](std::string_view key, const Value& object, bool&) {
            groups[before(textOf(object))].emplace_back(key);
        });
    for (auto& [list, keys] : groups) {
        const auto order = keysIn(textOf(transaction.objectForKey(list, "lists")));
        const auto place = [&](const std::string& key) {
            return std::find(order.begin(), order.end(), key) - order.begin();
        };
        std::stable_sort(keys.begin(), keys.end(),
                         [&](const auto& a, const auto& b) { return place(a) < place(b); });
    }
    return groups;
}

Groups foundOf(Reader& transaction, const std::string& word) {
    Groups found;
    for (const auto& [genre, keys] : songsOf(transaction)) {
        for (const std::string& key : keys) {
            const std::string text = " " + behind(textOf(transaction.objectForKey(key, "songs"))) +
                                     " " + textOf(transaction.objectForKey(key, "notes")) + " ";
            if (!word.empty() && text.find(" " + word + " ") != std::string::npos)
                found[genre].push_back(key);
        }
    }
    return found;
}

Groups evenOf(const Groups& groups, int divisor) {
    Groups even;
    for (const auto& [group, keys] : groups)
        for (const std::string& key : keys)
            if (isEven(key, divisor)) even[group].push_back(key);
    return even;
}

Groups shownBy(Reader& transaction, std::string_view name) {
    Groups groups;
    auto* view = transaction.ext<YapDatabaseViewTransaction>(name);
    if (!view) return {{"(missing)", {}}};
    for (const String& group : view->allGroups()) {
        auto& keys = groups[group.str()];
        view->enumerateKeysInGroup(group, [&](std::string_view, std::string_view key, std::uint64_t,
                                              bool&) { keys.emplace_back(key); });
    }
    return groups;
}

void expectViewsOfRows(Reader& transaction, const std::string& word, int divisor) {
    const Groups songs = songsOf(transaction), entries = entriesOf(transaction);
    const Groups found = foundOf(transaction, word);
    EXPECT_EQ(shownBy(transaction, "songs"), songs);
    EXPECT_EQ(shownBy(transaction, "entries"), entries);
    EXPECT_EQ(shownBy(transaction, "found"), found) << word;
    EXPECT_EQ(shownBy(transaction, "evenSongs"), evenOf(songs, divisor));
    EXPECT_EQ(shownBy(transaction, "evenEntries"), evenOf(entries, divisor));
    EXPECT_EQ(shownBy(transaction, "evenFound"), evenOf(found, divisor));
    EXPECT_FALSE(transaction.error()) << transaction.error().description;
}

ViewHistory::ViewHistory(YapDatabaseConnection& connection, unsigned seed, int numberOfKeys)
    : connection_(connection), random_(seed), numberOfKeys_(numberOfKeys) {}

int ViewHistory::draw(int below) {
    return static_cast<int>(random_() % static_cast<unsigned>(below));
}

std::string ViewHistory::key(std::string_view kind) {
    return std::string(kind) + std::to_string(draw(numberOfKeys_));
}

void ViewHistory::writeSong(Writer& transaction) {
    std::string text = draw(8) == 0 ? "" : std::string(1, static_cast<char>('a' + draw(3)));
    text += "|" + std::string(words[draw(6)]);
    if (draw(2)) text += " " + std::string(words[draw(6)]);
    transaction.setObject(Value(text), key("s"), "songs");
}

void ViewHistory::writeEntry(Writer& transaction) {
    transaction.setObject(Value("l" + std::to_string(draw(3)) + "|"), key("e"), "entries");
}

void ViewHistory::writeList(Writer& transaction) {
    const std::string list = "l" + std::to_string(draw(3));
    std::vector<std::string> keys = keysIn(textOf(transaction.objectForKey(list, "lists")));
    const int wish = draw(6);
    if (wish == 0 && !keys.empty()) {
        keys.erase(keys.begin() + draw(static_cast<int>(keys.size())));
    } else if (wish == 1) {
        std::shuffle(keys.begin(), keys.end(), random_);
    } else if (wish == 2 && keys.size() > 1) {
        std::swap(keys.front(), keys.back());
    } else {
        const std::string added = key("e");
        std::erase(keys, added);
        keys.insert(keys.begin() + draw(static_cast<int>(keys.size()) + 1), added);
    }
    if (draw(20) == 0) {
        transaction.removeObjectForKey(list, "lists");
        return;
    }
    std::string text;
    for (const std::string& one : keys) text += one + ",";
    transaction.setObject(Value(text), list, "lists");
}

void ViewHistory::changeRule(Writer& transaction) {
    if (draw(2)) {
        word_ = draw(6) == 0 ? "" : words[draw(6)];
        transaction.ext<YapDatabaseSearchResultsViewTransaction>("found")->performSearchFor(word_);
        return;
    }
    divisor_ = 1 + draw(3);
    const std::string tag = std::to_string(++tag_);
    for (const char* name : {"evenSongs", "evenEntries", "evenFound"})
        EXPECT_TRUE(transaction.ext<YapDatabaseFilteredViewTransaction>(name)->setFiltering(
            evenFilter(divisor_), tag));
}

void ViewHistory::operate(Writer& transaction) {
    switch (draw(14)) {
        case 0:
            transaction.removeObjectForKey(key("s"), "songs");
            break;
        case 1:
            transaction.removeObjectForKey(key("e"), "entries");
            break;
        case 2:
            transaction.touchObjectForKey(key("s"), "songs");
            break;
        case 3:
            transaction.setObject(Value(words[draw(6)]), key("s"), "notes");
            break;
        case 4:
            if (draw(12) == 0) transaction.removeAllObjectsInCollection("songs");
            break;
        case 5:
            if (draw(3) == 0) changeRule(transaction);
            break;
        case 6:
        case 7:
            writeEntry(transaction);
            break;
        case 8:
        case 9:
            writeList(transaction);
            break;
        default:
            writeSong(transaction);
    }
}

void ViewHistory::commit() {
    const std::string word = word_;
    const int divisor = divisor_;
    const bool isRolledBack = draw(20) == 0;
    const bool isWatched = draw(10) == 0;
    const int operations = draw(30) == 0 ? 200 : 1 + draw(6);
    EXPECT_TRUE(connection_.readWrite([&](Writer& transaction) {
        for (int i = 0; i < operations; ++i) {
            operate(transaction);
            if (isWatched && draw(3) == 0) expectViewsOfRows(transaction, word_, divisor_);
        }
        if (isRolledBack) transaction.rollback();
    }));
    if (isRolledBack) {
        word_ = word;
        divisor_ = divisor;
    }
}

}  // namespace qsml

#include <algorithm>
#include <map>
#include <random>

#include "database/testing/LibraryWithLists.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Section = std::vector<std::string>;
using Sections = std::vector<Section>;

/// A list on screen: it knows of its data source only what its delegate was told, and at the end of
/// each update looks whether that was all. Rows are texts "GROUP/ORDER#KEY".
class Screen {
public:
    explicit Screen(std::shared_ptr<PLXViewDataSource> source) : source_(std::move(source)) {
        reload();
        delegate_->willBeginUpdates = [this](PLXViewDataSource&) { begin(); };
        delegate_->didEndUpdates = [this](PLXViewDataSource&) { end(); };
        delegate_->didInsertSection = [this](auto&, auto s) { newSections_.push_back(s); };
        delegate_->didDeleteSection = [this](auto&, auto s) { goneSections_.push_back(s); };
        delegate_->didInsertRowAtIndexPath = [this](auto&, auto p) { arriving_.push_back(p); };
        delegate_->didDeleteRowAtIndexPath = [this](auto&, auto p) { leaving_.push_back(p); };
        delegate_->didUpdateRowAtIndexPath = [this](auto&, auto p) { updated_.push_back(p); };
        delegate_->didMoveRowAtIndexPath = [this](auto&, auto from, auto to) {
            leaving_.push_back(from);
            arriving_.push_back(to);
        };
        source_->setDelegate(delegate_);
    }

    PLXViewDataSource& source() { return *source_; }
    const Sections& sections() const { return sections_; }
    void reload() { sections_ = sectionsOfSource(); }

private:
    Sections sectionsOfSource() const {
        Sections sections(source_->numberOfSections());
        for (std::uint64_t s = 0; s < sections.size(); ++s)
            for (std::uint64_t row = 0; row < source_->numberOfRowsInSection(s); ++row)
                sections[s].push_back(source_->itemAtIndexPath({s, row}).string().str());
        return sections;
    }
    static std::string keyOf(const std::string& text) { return text.substr(text.find('#')); }
    static auto place(std::vector<std::string>& rows, std::uint64_t row) {
        return rows.begin() + static_cast<std::ptrdiff_t>(row);
    }

    void begin() {
        leaving_.clear();
        arriving_.clear();
        updated_.clear();
        newSections_.clear();
        goneSections_.clear();
    }
    void end() {
        const Sections now = sectionsOfSource();
        std::map<std::string, std::string> texts;
        for (const auto& section : now)
            for (const auto& text : section) texts[keyOf(text)] = text;
        for (const IndexPath path : updated_) {
            std::string& text = sections_.at(path.section).at(path.row);
            text = texts[keyOf(text)];
        }
        std::sort(leaving_.rbegin(), leaving_.rend());
        for (const IndexPath path : leaving_) {
            (void)sections_.at(path.section).at(path.row);
            sections_[path.section].erase(place(sections_[path.section], path.row));
        }
        for (const auto s : goneSections_)
            sections_.erase(sections_.begin() + static_cast<std::ptrdiff_t>(s));
        for (const auto s : newSections_)
            sections_.insert(sections_.begin() + static_cast<std::ptrdiff_t>(s), now.at(s));
        std::sort(arriving_.begin(), arriving_.end());
        for (const IndexPath path : arriving_) {
            auto& rows = sections_.at(path.section);
            ASSERT_LE(path.row, rows.size());
            rows.insert(place(rows, path.row), now.at(path.section).at(path.row));
        }
        EXPECT_EQ(sections_, now);
        sections_ = now;
    }

    std::shared_ptr<PLXViewDataSource> source_;
    std::shared_ptr<PLXViewDataSourceDelegate> delegate_ =
        std::make_shared<PLXViewDataSourceDelegate>();
    Sections sections_;
    std::vector<IndexPath> leaving_, arriving_, updated_;
    std::vector<std::uint64_t> newSections_, goneSections_;
};

class GivenScreensOfARandomLibrary : public LibraryWithLists {
protected:
    using Filter = PLXViewDataSource::Filter;

    std::size_t pick(std::size_t below) { return random_() % below; }
    bool oneOf(std::size_t n) { return pick(n) == 0; }
    std::string anyKey() { return std::string(1, static_cast<char>('a' + pick(20))); }

    void change(Writer& t) {
        static const char* const groups[] = {"fruit", "fruit", "herbs", "others"};
        const std::string key = anyKey();
        switch (pick(5)) {
            case 0:
                t.removeObjectForKey(key, "things");
                texts_.erase(key);
                return;
            case 1:
                t.touchObjectForKey(key, "things");
                return;
            default:
                texts_[key] = groups[pick(4)] + ("/" + std::to_string(10 + pick(20))) + "#" + key;
                put(t, key, texts_[key]);
        }
    }
    void commit() {
        write([&](Writer& t) {
            for (std::size_t i = oneOf(10) ? 30 : 1 + pick(4); i > 0; --i) change(t);
        });
    }

    Filter anyFilter() {
        modulus_ = 1 + pick(4);
        return [modulus = modulus_](std::string_view, std::string_view key) {
            return static_cast<std::size_t>(key.front()) % modulus == 0;
        };
    }
    void changeAScreen() {
        if (oneOf(3)) filtered_->source().setFilter(anyFilter());
        if (oneOf(6))
            filtered_ = std::make_unique<Screen>(
                PLXViewDataSource::initWithView("things", bothGroups(), anyFilter(), manager_));
        for (Screen* screen : {plain_.get(), filtered_.get()}) {
            if (oneOf(4))
                screen->source().viewMappings()->setIsDynamicSectionForAllGroups(oneOf(2));
            if (!oneOf(4)) continue;
            screen->source().setRange({pick(4), oneOf(3) ? 1000 : pick(8)}, "fruit");
            screen->reload();  // nobody is told
        }
    }

    /// What the rows themselves say that a screen must show.
    Sections expected(PLXViewDataSource& source, std::size_t modulus) const {
        Sections sections;
        for (const String& group : source.viewMappings()->visibleGroups()) {
            Section rows;
            for (const auto& [key, text] : texts_)
                if (text.substr(0, text.find('/')) == group.view() &&
                    static_cast<std::size_t>(key.front()) % modulus == 0)
                    rows.push_back(text);
            std::sort(rows.begin(), rows.end());
            const auto range = source.rangeForGroup(group);
            rows.erase(rows.begin(),
                       rows.begin() + static_cast<std::ptrdiff_t>(
                                          std::min<std::uint64_t>(range.offset, rows.size())));
            rows.resize(std::min<std::uint64_t>(range.length, rows.size()));
            sections.push_back(std::move(rows));
        }
        return sections;
    }

    std::mt19937 random_{20261121};
    std::map<std::string, std::string> texts_;
    std::size_t modulus_ = 1;
    std::unique_ptr<Screen> plain_, filtered_;
};

TEST_F(GivenScreensOfARandomLibrary, WhenTheyAreToldOfCommitsThenTheyShowWhatIsThere) {
    plain_ = std::make_unique<Screen>(list());
    filtered_ = std::make_unique<Screen>(
        PLXViewDataSource::initWithView("things", bothGroups(), anyFilter(), manager_));
    const std::size_t steps = testScale(300, 20'000);
    for (std::size_t step = 0; step < steps && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        for (std::size_t i = 1 + pick(3); i > 0; --i) commit();
        if (oneOf(4)) changeAScreen();
        if (oneOf(2)) commit();
        settle();
        EXPECT_EQ(plain_->sections(), expected(plain_->source(), 1));
        EXPECT_EQ(filtered_->sections(), expected(filtered_->source(), modulus_));
    }
    plain_.reset();
    filtered_.reset();
}

}  // namespace
}  // namespace qsml

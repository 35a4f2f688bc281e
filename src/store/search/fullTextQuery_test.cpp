#include "store/search/fullTextQuery.h"

#include <gtest/gtest.h>

#include <random>

#include "store/indexes/testing/Tracks.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/detail/separatedText.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Search = YapDatabaseFullTextSearch;
using Transaction = YapDatabaseFullTextSearchTransaction;

TEST(TypedText, WhenMadeAQueryThenWordsAreQuotedAndTheLastIsABeginning) {
    EXPECT_EQ(fullTextQueryForTypedText("rock & ro"), "\"rock\" AND \"ro\"*");
    EXPECT_EQ(fullTextQueryForTypedText("say \"hi\""), "\"say\" AND \"\"\"hi\"\"\"*");
    EXPECT_EQ(fullTextQueryForTypedText(" AC/DC\tOR\n"), "\"AC/DC\" AND \"OR\"*");
    EXPECT_EQ(fullTextQueryForTypedText("東京　タワー"), "\"東京\" AND \"タワー\"*");
    EXPECT_EQ(fullTextQueryForTypedText(std::string("a\0b\x01"
                                                    "c\xff"
                                                    "d",
                                                    7)),
              "\"a\" AND \"b\" AND \"c\" AND \"d\"*");
    for (const char* nothing : {"", " ", "&", "\"\"", "- - *", "\xff\xfe", "🎧", "\u3000", "\u0301"})
        EXPECT_EQ(fullTextQueryForTypedText(nothing), "") << nothing;
    EXPECT_EQ(fullTextQueryForTypedText({}), "");
}

TEST(ExactToken, WhenMadeAQueryThenColumnAndTokenAreQuoted) {
    EXPECT_EQ(fullTextQueryForExactToken("isrcs", "{{X}}"), "\"isrcs\" : \"{{X}}\"");
    EXPECT_EQ(fullTextQueryForExactToken("a\"b", "\"\""), "\"a\"\"b\" : \"\"\"\"\"\"");
}

TEST(SeparatedText, WhenAScriptHasNoBlanksThenItsCharactersStandApart) {
    using detail::separatedText;
    EXPECT_EQ(separatedText(std::string_view("Tokyo é")), "Tokyo é");
    EXPECT_EQ(separatedText(std::string_view("a東b")), "a 東 b");
    EXPECT_EQ(separatedText(std::string_view("한국 \xe6\x9d")), "한국 \xe6\x9d");
    const std::vector<std::string> columns = {"題", "title"};
    const auto query = [&](std::string_view text) { return detail::separatedQuery(text, columns); };
    EXPECT_EQ(query("title: plain* OR é"), "title: plain* OR é");
    EXPECT_EQ(query("title: a東*"), "title: \"a 東 \"*");
    EXPECT_EQ(query("\"a東\"\"\" AND b"), "\"a 東 \"\"\" AND b");
    EXPECT_EQ(query("題 : 題"), "題 : \" 題 \"");
    EXPECT_EQ(query("{\"題\" title} : \"題\""), "{\"題\" title} : \" 題 \"");
    EXPECT_EQ(query("\"東"), "\" 東 ");
}

/// One column with the texts as they are; braces are parts of words in "braces".
class GivenTexts : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        add("plain", "");
        add("braces", "{}");
    }
    void add(const std::string& name, const std::string& tokenCharacters) {
        Search::Options options;
        options.tokenCharacters = tokenCharacters;
        const auto handler = [](Reader&, const YapDatabaseRow& row,
                                YapDatabaseColumnValues& values) {
            values.set("isrcs", row.object);
        };
        ASSERT_TRUE(store_.database().registerExtension(
            std::make_shared<Search>(std::vector<std::string>{"isrcs", "title"}, handler, "",
                                     options),
            name));
    }
    std::string find(const std::string& query, const std::string& name = "plain") {
        std::string found;
        store_.connection().read([&](Reader& t) {
            auto* search = t.ext<Transaction>(name);
            ASSERT_TRUE(search);
            Error error;
            const auto collect = [&](std::string_view, std::string_view key, bool&) {
                found += std::string(key) + " ";
            };
            if (!search->enumerateKeysMatching(query, collect, &error)) found = "(failed)";
        });
        return found;
    }
    std::string typed(const std::string& text) { return find(fullTextQueryForTypedText(text)); }
};

TEST_F(GivenTexts, WhenTypedThenWordsAndBeginningsAreFound) {
    store_.set("a", "Rock & Roll");
    store_.set("b", "AC/DC {Live} don't");
    store_.set("c", "rolling rock");
    EXPECT_EQ(typed("rock rol"), "a c ");
    EXPECT_EQ(typed("rock & roll"), "a c ");
    EXPECT_EQ(typed("roc roll"), "");
    EXPECT_EQ(typed("live"), "b ");
    EXPECT_EQ(typed("ac/d"), "b ");
    EXPECT_EQ(typed("dc/ac"), "");
    EXPECT_EQ(typed("don't"), "b ");
    EXPECT_EQ(typed("OR"), "");
    EXPECT_EQ(typed("isrcs:rock"), "");
    EXPECT_EQ(typed("   "), "");
}

TEST_F(GivenTexts, WhenAScriptHasNoBlanksThenAnyPartOfATextIsFound) {
    store_.set("a", "東京タワーLive");
    store_.set("b", "京都の夜");
    store_.set("c", "ความรักครั้งแรก");
    store_.set("d", "사랑의 인사");
    EXPECT_EQ(typed("京"), "a b ");
    EXPECT_EQ(typed("京タ"), "a ");
    EXPECT_EQ(typed("タワー"), "a ");
    EXPECT_EQ(typed("タ京"), "");
    EXPECT_EQ(typed("liv"), "a ");
    EXPECT_EQ(typed("夜 京都"), "b ");
    EXPECT_EQ(typed("รัก"), "c ");
    EXPECT_EQ(typed("แรก"), "c ");
    EXPECT_EQ(typed("사랑"), "d ");
    EXPECT_EQ(find("isrcs: 京タ*"), "a ");
    EXPECT_EQ(find("\"京都\" OR タワー"), "a b ");
    EXPECT_EQ(find("京 NOT 都"), "a ");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTexts, WhenIdentifiersAreWrappedThenTheProbesAnswer) {
    store_.set("a", "{{AA}} {{BB-2}}");
    store_.set("b", "{{AA-1}}");
    EXPECT_EQ(find("isrcs: \"{{BB-2}}\"", "braces"), "a ");
    EXPECT_EQ(find("isrcs:\"{{BB-2}}\"", "braces"), "a ");
    EXPECT_EQ(find("title: \"{{BB-2}}\"", "braces"), "");
    EXPECT_EQ(find("isrcs: \"{{AA}}\"", "braces"), "a ");
    EXPECT_EQ(find("isrcs: \"{{AA}}\""), "a b ");
    EXPECT_EQ(find("isrcs: \"{{AA}}\" OR isrcs: \"{{AA-1}}\"", "braces"), "a b ");
    for (const char* query : {"don't", "AC/DC", "rock & roll", "a-b", "{{AA}}", "\"", "(", ")"})
        EXPECT_EQ(find(query), "(failed)") << query;
    EXPECT_EQ(find(""), "");
}

std::string hostileText(std::mt19937& random) {
    static const std::vector<std::string> parts = {
        "\"",     "*",    "^", ":",  "-",  "(",     ")",    "AND",   "OR",       "NOT",
        "NEAR(",  "{",    "}", "+",  ",",  " ",     "a",    "rock",  "isrcs",    "rank",
        "é",      "東京", "'", "\\", "\n", "\t",    "\x1a", "\xff",  "\xe6\x9d", "🎧",
        "\u0301", "ก",    "0", "--", ";",  "rowid", "%",    "\u200b"};
    std::string text;
    for (auto left = random() % 12; left > 0; --left) {
        const auto part = random() % (parts.size() + 2);
        if (part < parts.size())
            text += parts[part];
        else
            text += static_cast<char>(random() % 256);
    }
    return text;
}

TEST_F(GivenTexts, WhenAnythingIsTypedThenItIsNeverAnErrorNorARawQueryACrash) {
    store_.set("a", "a rock 東京 é");
    std::mt19937 random(20'260'101);
    std::size_t failures = 0, matches = 0;
    const std::size_t texts = testScale(5'000, 100'000);
    for (std::size_t i = 0; i < texts; ++i) {
        const std::string text = hostileText(random);
        const std::string found = typed(text);
        ASSERT_TRUE(found.empty() || found == "a ") << "typed: " << text;
        matches += !found.empty();
        const std::string raw = find(text, "braces");
        ASSERT_TRUE(raw.empty() || raw == "a " || raw == "(failed)") << "raw: " << text;
        failures += raw == "(failed)";
    }
    EXPECT_GT(failures, texts / 4);
    EXPECT_LT(failures, texts);
    EXPECT_GT(matches, texts / 100);
    EXPECT_EQ(typed(std::string(1 << 20, 'x')), "");
    std::string many;
    for (int i = 0; i < 10'000; ++i) many += "a ";
    EXPECT_EQ(typed(many), "a ");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTexts, WhenIdentifiersAreComparedAfterTheMatchThenFoundIfAndOnlyIfEqual) {
    static const std::vector<std::string> parts = {"A", "a",    "B",      "1", "-",  " ",
                                                   "{", "}",    "é",      "e", "東", "\"",
                                                   "*", "\xff", "\u0301", "🎧", "'"};
    std::mt19937 random(20'260'101);
    const auto identifier = [&] {
        std::string text;
        for (auto left = 1 + random() % 3; left > 0; --left) text += parts[random() % parts.size()];
        return text;
    };
    const std::size_t pairs = testScale(5'000, 100'000), pairsInCommit = 500;
    std::size_t equals = 0, extras = 0;
    for (std::size_t done = 0; done < pairs; done += pairsInCommit) {
        std::vector<std::string> stored;
        for (std::size_t i = 0; i < 20; ++i) stored.push_back("{{" + identifier() + "}}");
        store_.connection().readWrite([&](Writer& t) {
            for (std::size_t i = 0; i < stored.size(); ++i)
                t.setObject("{{first}} " + stored[i] + " {{last}}", std::to_string(i), "texts");
        });
        for (std::size_t i = 0; i < pairsInCommit / stored.size(); ++i) {
            const std::string wanted = "{{" + identifier() + "}}";
            const std::string found =
                " " + find(fullTextQueryForExactToken("isrcs", wanted), "braces");
            for (std::size_t row = 0; row < stored.size(); ++row) {
                const bool isFound =
                    found.find(" " + std::to_string(row) + " ") != std::string::npos;
                const bool isEqual = stored[row] == wanted;
                ASSERT_TRUE(isFound || !isEqual) << stored[row];  // the caller compares
                equals += isEqual;
                extras += isFound && !isEqual;
            }
        }
    }
    EXPECT_GT(equals, pairs / 1000);
    EXPECT_GT(extras, pairs / 1000);
}

}  // namespace
}  // namespace qsml

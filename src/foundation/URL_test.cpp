#include "foundation/URL.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <filesystem>

using qsml::URL;

namespace {

std::string resolved(std::string_view reference, std::string_view base = "http://a/b/c/d;p?q") {
    const auto from = URL::withString(base);
    const auto url = URL::withString(reference, &*from);
    return url ? url->absoluteString().str() : "(none)";
}

}  // namespace

// RFC 3986, sections 5.4.1 and 5.4.2.
TEST(GivenTheBaseOfTheRFC, WhenReferencesAreResolvedThenAsItsTablesSay) {
    const std::pair<const char*, const char*> table[] = {{"g:h", "g:h"},
                                                         {"g", "http://a/b/c/g"},
                                                         {"./g", "http://a/b/c/g"},
                                                         {"g/", "http://a/b/c/g/"},
                                                         {"/g", "http://a/g"},
                                                         {"//g", "http://g"},
                                                         {"?y", "http://a/b/c/d;p?y"},
                                                         {"g?y", "http://a/b/c/g?y"},
                                                         {"#s", "http://a/b/c/d;p?q#s"},
                                                         {"g#s", "http://a/b/c/g#s"},
                                                         {"g?y#s", "http://a/b/c/g?y#s"},
                                                         {";x", "http://a/b/c/;x"},
                                                         {"g;x", "http://a/b/c/g;x"},
                                                         {"g;x?y#s", "http://a/b/c/g;x?y#s"},
                                                         {"", "http://a/b/c/d;p?q"},
                                                         {".", "http://a/b/c/"},
                                                         {"./", "http://a/b/c/"},
                                                         {"..", "http://a/b/"},
                                                         {"../", "http://a/b/"},
                                                         {"../g", "http://a/b/g"},
                                                         {"../..", "http://a/"},
                                                         {"../../", "http://a/"},
                                                         {"../../g", "http://a/g"},
                                                         {"../../../g", "http://a/g"},
                                                         {"../../../../g", "http://a/g"},
                                                         {"/./g", "http://a/g"},
                                                         {"/../g", "http://a/g"},
                                                         {"g.", "http://a/b/c/g."},
                                                         {".g", "http://a/b/c/.g"},
                                                         {"g..", "http://a/b/c/g.."},
                                                         {"..g", "http://a/b/c/..g"},
                                                         {"./../g", "http://a/b/g"},
                                                         {"./g/.", "http://a/b/c/g/"},
                                                         {"g/./h", "http://a/b/c/g/h"},
                                                         {"g/../h", "http://a/b/c/h"},
                                                         {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
                                                         {"g;x=1/../y", "http://a/b/c/y"},
                                                         {"g?y/./x", "http://a/b/c/g?y/./x"},
                                                         {"g?y/../x", "http://a/b/c/g?y/../x"},
                                                         {"g#s/./x", "http://a/b/c/g#s/./x"},
                                                         {"g#s/../x", "http://a/b/c/g#s/../x"},
                                                         {"http:g", "http:g"}};
    for (const auto& [reference, expected] : table)
        EXPECT_EQ(resolved(reference), expected) << reference;
    EXPECT_EQ(resolved("g", "http://a"), "http://a/g");
}

TEST(GivenABaseThatIsRelativeItself, WhenResolvedThenTheWholeChainCounts) {
    const auto root = URL::withString("http://a/b/c");
    const auto folder = URL::withString("d/e", &*root);
    const auto url = URL::withString("f", &*folder);
    EXPECT_EQ(url->absoluteString(), "http://a/b/d/f");
    EXPECT_EQ(url->relativeString(), "f");
    EXPECT_EQ(*url->baseURL(), *folder);
}

TEST(GivenText, WhenItIsNoValidURLThenNothing) {
    for (auto text : {"",
                      "a b",
                      "http://a/%",
                      "http://a/%4",
                      "http://a/%G1",
                      "http://a/\"",
                      "a<b>",
                      "a\\b",
                      "\u00E9",
                      "a\nb",
                      "http://[::1",
                      "http://[]/",
                      "http://a:x/",
                      "http://a]b/",
                      "1a:b",
                      ":a",
                      "a#b#c",
                      "a{b}",
                      "a^b",
                      "a|b",
                      "a`b",
                      "http://[::1]x/",
                      "/a[b]"})
        EXPECT_FALSE(URL::withString(text)) << text;
    for (auto text :
         {"a", "http://a", "http://u:p@a.b:80/c?d=e&f#g", "http://[::1]:80/", "mailto:a@b.c",
          "/a/%C3%A9", "../a", "?q", "#f", "a%00b", "x-track://id/1", "http://a:/"})
        EXPECT_TRUE(URL::withString(text)) << text;
}

TEST(GivenURLs, WhenComparedThenTextAndBaseDecideAndNothingIsNormalised) {
    const auto base = URL::withString("http://a/"), other = URL::withString("http://b/");
    EXPECT_EQ(URL::withString("c", &*base), URL::withString("c", &*base));
    EXPECT_NE(URL::withString("c", &*base), URL::withString("c", &*other));
    EXPECT_NE(URL::withString("c", &*base), URL::withString("http://a/c"));
    EXPECT_NE(URL::withString("http://a/b/../c"), URL::withString("http://a/c"));
    EXPECT_NE(URL::withString("http://A/"), URL::withString("http://a/"));
}

TEST(GivenURLs, WhenHashedThenEqualOnesAgreeAndTheBaseCounts) {
    const std::hash<URL> hash;
    const URL base = URL::withString("http://host/").value();
    const URL other = URL::withString("http://other/").value();
    const auto file = [](const URL* relativeTo) { return *URL::withString("file", relativeTo); };
    EXPECT_EQ(hash(file(&base)), hash(file(&base)));
    EXPECT_NE(hash(file(&base)), hash(file(&other)));
    EXPECT_NE(hash(file(&base)), hash(file(nullptr)));
    EXPECT_NE(hash(base), hash(other));
}

TEST(GivenAPath, WhenMadeAFileURLThenOnlyWhatMustBeIsEscaped) {
    const URL url = URL::fileURLWithPath("/Music/Night & Day/100% #1?.mp3");
    EXPECT_EQ(url.absoluteString(), "file:///Music/Night%20&%20Day/100%25%20%231%3F.mp3");
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.path(), "/Music/Night & Day/100% #1?.mp3");
}

TEST(GivenARelativePath, WhenMadeAFileURLThenItStandsInTheWorkingDirectory) {
    EXPECT_EQ(URL::fileURLWithPath("a b").path(),
              (std::filesystem::current_path() / "a b").string());
}

TEST(GivenOtherSchemes, WhenAskedThenOnlyFileIsAFile) {
    EXPECT_FALSE(URL::withString("http://a/b")->isFileURL());
    EXPECT_FALSE(URL::withString("files:///a")->isFileURL());
    EXPECT_FALSE(URL::withString("/a")->isFileURL());
    EXPECT_TRUE(URL::withString("FILE:///a")->isFileURL());
    const auto base = URL::fileURLWithPath("/Music/");
    const auto relative = URL::withString("a%20b", &base);
    EXPECT_TRUE(relative->isFileURL());
    EXPECT_EQ(relative->path(), "/Music/a b");
}

RC_GTEST_PROP(URL, BringsBackAnyPath, ()) {
    const auto bytes =
        *rc::gen::container<std::vector<std::uint8_t>>(rc::gen::arbitrary<std::uint8_t>());
    const std::string path = "/" + std::string(bytes.begin(), bytes.end());
    const URL url = URL::fileURLWithPath(path);
    RC_ASSERT(url.path() == path);
    RC_ASSERT(url.isFileURL());
    RC_ASSERT(URL::withString(url.absoluteString().view()) == url);
}

RC_GTEST_PROP(URL, TakesAnyTextWithoutHarm, ()) {
    const auto text = *rc::gen::container<std::string>(
        rc::gen::element('a', ':', '/', '.', '?', '#', '[', ']', '@', '%', '4', '1', ' '));
    const auto base = URL::withString("http://a/b/c/d;p?q");
    const auto url = URL::withString(text, &*base);
    if (url) RC_ASSERT(URL::withString(url->absoluteString().view()).has_value());
}

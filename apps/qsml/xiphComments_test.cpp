#include "xiphComments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestAudio.h"
#include "testing/TemporaryDirectory.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string counted(const std::string& text) {
    return std::string{static_cast<char>(text.size()), '\0', '\0', '\0'} + text;
}

const std::string threeComments = counted("vendor") + std::string("\x03\0\0\0", 4) +
                                  counted("title=\xFF") + counted("ARTIST=ok") +
                                  counted("Genre=a\xC3");

TEST(XiphComments, WhenValuesAreNoUTF8ThenTheirNamesAreTold) {
    EXPECT_THAT(xiphFieldsWithInvalidText(threeComments), ElementsAre("TITLE", "GENRE"));
}

TEST(XiphComments, WhenTheBlockIsCutAnywhereThenWhatIsThereIsRead) {
    for (std::size_t size = 0; size < threeComments.size(); ++size)
        EXPECT_LE(xiphFieldsWithInvalidText(threeComments.substr(0, size)).size(), 1u) << size;
}

TEST(XiphComments, WhenACountIsAbsurdThenNothingIsRead) {
    EXPECT_THAT(xiphFieldsWithInvalidText(counted("v") + "\xFF\xFF\xFF\xFF"), IsEmpty());
    EXPECT_THAT(xiphFieldsWithInvalidText("\xFF\xFF\xFF\xFFv"), IsEmpty());
}

TEST(FlacCommentBlock, WhenTheFileHasCommentsThenTheirBlockIsFound) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("a.flac");
    writeFLAC(path, 1, {{"TITLE", {"find me"}}});
    EXPECT_NE(flacCommentBlock(path).find("TITLE=find me"), std::string::npos);
    writeFile(path, std::string("ID3\x04\0\0\0\0\0\x03", 10) + "abc" + contentOf(path));
    EXPECT_NE(flacCommentBlock(path).find("TITLE=find me"), std::string::npos);
}

TEST(FlacCommentBlock, WhenThereIsNoneThenItIsEmpty) {
    const TemporaryDirectory directory;
    writeFLAC(directory.file("plain.flac"), 1);
    writeFile(directory.file("text"), "no music");
    EXPECT_EQ(flacCommentBlock(directory.file("plain.flac")), "");
    EXPECT_EQ(flacCommentBlock(directory.file("text")), "");
    EXPECT_EQ(flacCommentBlock(directory.file("missing")), "");
}

}  // namespace
}  // namespace qsml::app

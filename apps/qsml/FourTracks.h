#pragma once
#include "QsmlProgram.h"

namespace qsml::app {

/// A library of four tracks, named by the first words of their titles.
class FourTracks : public QsmlProgram {
protected:
    void SetUp() override {
        for (const std::string title : {"First Light", "Second Sun", "Third Rail", "Fourth Wall"})
            writeFLAC(music(title + ".flac"), 60, {{"TITLE", {title}}, {"ARTIST", {"Ann"}}});
        ASSERT_EQ(number(import(), "tracksAdded"), 4);
    }
    /// The first object that a command writes.
    rapidjson::Document told(std::vector<std::string> arguments) const {
        auto lines = succeed(std::move(arguments));
        EXPECT_FALSE(lines.empty());
        if (lines.empty()) return rapidjson::Document(rapidjson::kObjectType);
        return std::move(lines.front());
    }
};

}  // namespace qsml::app

#pragma once
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <map>
#include <string>
#include <vector>

#include "TestAudio.h"
#include "testing/RunProgram.h"
#include "testing/TemporaryDirectory.h"

namespace qsml::app {

/// The built program, an empty folder for music, and the path of a library that does not exist yet.
class QsmlProgram : public ::testing::Test {
protected:
    QsmlProgram();

    /// Runs `qsml --library library() ARGUMENTS`.
    ProgramRun qsml(std::vector<std::string> arguments, const RunOptions& options = {}) const;
    /// Runs qsml with exactly these arguments.
    static ProgramRun qsmlAlone(std::vector<std::string> arguments, const RunOptions& options = {});
    /// The same with --json; expects success and answers the lines.
    std::vector<rapidjson::Document> succeed(std::vector<std::string> arguments) const;
    /// Runs `qsml --library library() ARGUMENTS`; expects failure without output, and answers what
    /// is said on standard error.
    std::string refusal(const std::vector<std::string>& arguments) const;
    /// Imports the music folder; expects success and answers the last line, the summary.
    rapidjson::Document import(std::vector<std::string> options = {}) const;

    std::string library() const { return directory_.file("library.qsml"); }
    std::string music(const std::string& name = "") const {
        return directory_.file("music") + (name.empty() ? "" : "/" + name);
    }
    /// Tracks by title.
    std::map<std::string, rapidjson::Document> tracks() const;
    /// The tracks as one text, without the time at which they were added: equal texts, equal
    /// libraries.
    std::string everythingButAddedDates() const;

    TemporaryDirectory directory_;
};

/// The lines of an output, each parsed; a line that is no JSON object fails the test.
std::vector<rapidjson::Document> objects(const std::string& output);
/// The objects of one "event".
std::vector<rapidjson::Document> events(const std::string& output, const std::string& event);
/// "" where the member is missing or no text.
std::string text(const rapidjson::Value& object, const char* member);
/// -1 where the member is missing or no number.
double number(const rapidjson::Value& object, const char* member);
std::vector<std::string> texts(const rapidjson::Value& object, const char* member);
/// Compact, members in the order in which they were read.
std::string compact(const rapidjson::Value& value);

/// For RunOptions::beforeExec: root reads and writes what the modes of files allow, and no more.
void obeyFileModesOrEnd();

}  // namespace qsml::app

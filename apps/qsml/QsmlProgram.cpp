#include "QsmlProgram.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <sys/stat.h>

#include <algorithm>

#include "testing/obeyFileModes.h"

namespace qsml::app {

QsmlProgram::QsmlProgram() { ::mkdir(music().c_str(), S_IRWXU | S_IRWXG | S_IRWXO); }

ProgramRun QsmlProgram::qsmlAlone(std::vector<std::string> arguments, const RunOptions& options) {
    arguments.insert(arguments.begin(), QSML_PROGRAM);
    return runProgram(arguments, options);
}

ProgramRun QsmlProgram::qsml(std::vector<std::string> arguments, const RunOptions& options) const {
    arguments.insert(arguments.begin(), {"--library", library()});
    return qsmlAlone(std::move(arguments), options);
}

std::vector<rapidjson::Document> QsmlProgram::succeed(std::vector<std::string> arguments) const {
    arguments.insert(std::find(arguments.begin(), arguments.end(), "--"), "--json");
    const ProgramRun run = qsml(std::move(arguments));
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    return objects(run.output);
}

std::string QsmlProgram::refusal(const std::vector<std::string>& arguments) const {
    const ProgramRun run = qsml(arguments);
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.output, "");
    return run.errors;
}

rapidjson::Document QsmlProgram::import(std::vector<std::string> options) const {
    options.insert(options.begin(), {"import", music(), "--json"});
    const ProgramRun run = qsml(options);
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    auto summaries = events(run.output, "summary");
    EXPECT_EQ(summaries.size(), 1u);
    if (summaries.empty()) return rapidjson::Document(rapidjson::kObjectType);
    return std::move(summaries.front());
}

std::map<std::string, rapidjson::Document> QsmlProgram::tracks() const {
    std::map<std::string, rapidjson::Document> byTitle;
    for (auto& track : objects(qsml({"tracks", "--json"}).output)) {
        const std::string title = text(track, "title");
        byTitle.emplace(title, std::move(track));
    }
    return byTitle;
}

std::string QsmlProgram::everythingButAddedDates() const {
    std::string all;
    for (auto& track : objects(qsml({"tracks", "--json"}).output)) {
        EXPECT_TRUE(track.HasMember("addedDate"));
        track.EraseMember("addedDate");
        all += compact(track) + "\n";
    }
    return all;
}

std::vector<rapidjson::Document> objects(const std::string& output) {
    std::vector<rapidjson::Document> parsed;
    for (std::size_t start = 0; start < output.size();) {
        const std::size_t end = std::min(output.find('\n', start), output.size());
        const std::string line = output.substr(start, end - start);
        rapidjson::Document object;
        object.Parse<rapidjson::kParseValidateEncodingFlag>(line.data(), line.size());
        EXPECT_TRUE(!object.HasParseError() && object.IsObject()) << line;
        parsed.push_back(std::move(object));
        start = end + 1;
    }
    return parsed;
}

std::vector<rapidjson::Document> events(const std::string& output, const std::string& event) {
    std::vector<rapidjson::Document> chosen;
    for (auto& object : objects(output))
        if (text(object, "event") == event) chosen.push_back(std::move(object));
    return chosen;
}

std::string text(const rapidjson::Value& object, const char* member) {
    if (!object.IsObject() || !object.HasMember(member) || !object[member].IsString()) return "";
    return {object[member].GetString(), object[member].GetStringLength()};
}

double number(const rapidjson::Value& object, const char* member) {
    const bool isThere = object.IsObject() && object.HasMember(member) && object[member].IsNumber();
    return isThere ? object[member].GetDouble() : -1;
}

std::vector<std::string> texts(const rapidjson::Value& object, const char* member) {
    std::vector<std::string> all;
    if (!object.IsObject() || !object.HasMember(member) || !object[member].IsArray()) return all;
    for (const auto& element : object[member].GetArray())
        all.push_back(element.IsString() ? element.GetString() : "");
    return all;
}

std::string compact(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

void obeyFileModesOrEnd() {
    if (!obeyFileModes()) ::_exit(126);
}

}  // namespace qsml::app

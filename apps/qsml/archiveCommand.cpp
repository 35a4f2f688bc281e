#include <QSMediaLibraryData/foundation/archiveDescription.h>
#include <fcntl.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "CommandFailure.h"
#include "commands.h"
#include "output.h"

namespace qsml::app {

namespace {

/// Everything up to the end; throws when it is too much or cannot be read.
std::vector<std::uint8_t> readAll(int file, const std::string& name) {
    constexpr std::size_t mostBytes = 64u << 20, step = 64u << 10;
    std::vector<std::uint8_t> bytes;
    while (true) {
        const std::size_t size = bytes.size();
        bytes.resize(size + step);
        const ssize_t got = ::read(file, bytes.data() + size, step);
        if (got < 0 && errno != EINTR)
            throw CommandFailure("cannot read " + name + ": " +
                                 std::generic_category().message(errno));
        bytes.resize(size + static_cast<std::size_t>(got > 0 ? got : 0));
        if (got == 0) return bytes;
        if (bytes.size() > mostBytes)
            throw CommandFailure(name + " is larger than 64 MB; that is no archive of one record");
    }
}

std::vector<std::uint8_t> readFile(const std::string& name) {
    if (name == "-") return readAll(STDIN_FILENO, "standard input");
    const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        throw CommandFailure("cannot open " + name + ": " + std::generic_category().message(errno));
    try {
        auto bytes = readAll(file, name);
        ::close(file);
        return bytes;
    } catch (...) {
        ::close(file);
        throw;
    }
}

/// Writes numbers with the digits that they were read with.
class IndentedWriter : public rapidjson::PrettyWriter<rapidjson::StringBuffer> {
public:
    using PrettyWriter::PrettyWriter;
    bool RawNumber(const char* digits, rapidjson::SizeType size, bool) {
        return RawValue(digits, size, rapidjson::kNumberType);
    }
};

/// The same JSON on many lines. Streamed, so that deep nesting costs no stack.
std::string indented(const std::string& json) {
    rapidjson::StringBuffer buffer;
    IndentedWriter writer(buffer);
    writer.SetIndent(' ', 2);
    rapidjson::Reader reader;
    rapidjson::StringStream stream(json.c_str());
    constexpr unsigned flags =
        rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
    reader.Parse<flags>(stream, writer);
    return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

int runArchive(const CommonOptions& common, const std::string& file) {
    const auto bytes = readFile(file);
    Error error;
    const std::string description = archiveDescription(bytes, &error);
    if (error)
        throw CommandFailure((file == "-" ? "standard input" : file) + " is no whole keyed archive",
                             error);
    putLine(common.asJSON ? description : indented(description));
    return 0;
}

}  // namespace qsml::app

#include "foundation/Log.h"

#include <cstdio>
#include <memory>
#include <mutex>

#include "foundation/detail/utf8.h"

namespace qsml {

namespace {

constexpr std::size_t longestMessage = 4096;

struct Sinks {
    // Recursive, so that a sink may replace itself.
    std::recursive_mutex mutex;
    std::shared_ptr<const LogSink> current;  // null: standard error
};

// Never destroyed: threads that outlive main() may still log.
Sinks& sinks() {
    static auto& shared = *new Sinks();
    return shared;
}

thread_local bool insideSink = false;

void writeToStandardError(std::string_view line) {
    std::string whole(line);
    whole += '\n';
    std::fwrite(whole.data(), 1, whole.size(), stderr);
}

void appendByteEscape(std::string& out, unsigned char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    out += "\\x";
    out += digits[byte >> 4];
    out += digits[byte & 0x0F];
}

/// Appends without control characters (C0, DEL, C1, and the line and paragraph separators, which
/// viewers break lines at) and ill-formed bytes, in at most `limit` bytes.
void appendEscaped(std::string& out, std::string_view text, std::size_t limit) {
    const std::size_t end = out.size() + limit;
    while (!text.empty()) {
        const std::size_t before = out.size();
        const std::size_t length = detail::utf8SequenceLength(text);
        const auto piece = text.substr(0, length == 0 ? 1 : length);
        const auto first = static_cast<unsigned char>(piece[0]);
        const bool control = piece.size() == 1
                                 ? first < 0x20 || first == 0x7F
                                 : (first == 0xC2 && static_cast<unsigned char>(piece[1]) < 0xA0) ||
                                       piece == "\u2028" || piece == "\u2029";
        if (first == '\n') {
            out += "\\n";
        } else if (length == 0 || control) {
            for (const char c : piece) appendByteEscape(out, static_cast<unsigned char>(c));
        } else {
            out += piece;
        }
        if (out.size() > end) {
            out.resize(before);
            return;
        }
        text.remove_prefix(piece.size());
    }
}

void deliver(std::string_view line) {
    if (insideSink) return writeToStandardError(line);
    const std::lock_guard lock(sinks().mutex);
    const auto sink = sinks().current;  // keeps it alive should it replace itself
    if (!sink) return writeToStandardError(line);
    insideSink = true;
    try {
        (*sink)(line);
    } catch (...) {
        writeToStandardError(line);
    }
    insideSink = false;
}

}  // namespace

LogSink setLogSink(LogSink sink) {
    auto next = sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr;
    const std::lock_guard lock(sinks().mutex);
    sinks().current.swap(next);
    return next ? *next : LogSink();
}

void log(std::string_view method, int line, std::string_view message) {
    std::string whole;
    appendEscaped(whole, method, longestMessage);
    whole += " [Line " + std::to_string(line) + "] ";
    appendEscaped(whole, message, longestMessage);
    deliver(whole);
}

void log(std::string_view message) {
    std::string whole;
    appendEscaped(whole, message, longestMessage);
    deliver(whole);
}

}  // namespace qsml

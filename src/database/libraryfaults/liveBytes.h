#pragma once
#include <malloc.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace qsml {

/// Bytes of the heap that are in use, in all its parts.
inline std::int64_t liveBytes() {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = ::open_memstream(&text, &size);
    ::malloc_info(0, stream);
    std::fclose(stream);
    const std::string report(text, size);
    std::free(text);
    // The totals over all parts come last: what is free in small and in large pieces, and what the
    // system has given.
    const auto total = [&](const std::string& name) {
        const auto at = report.find("size=\"", report.rfind(name));
        return std::stoll(report.substr(at + 6));
    };
    return total("<system type=\"current\"") + total("<total type=\"mmap\"") -
           total("<total type=\"fast\"") - total("<total type=\"rest\"");
}

}  // namespace qsml

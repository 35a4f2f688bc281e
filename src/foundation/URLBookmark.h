#pragma once
#include "foundation/Error.h"
#include "foundation/URL.h"

namespace qsml {

/// Persistent references to files: our own bytes behind a magic prefix, holding the absolute path,
/// the path relative to the base, and the file's device and inode. Foreign bookmark bytes resolve
/// to nothing. Thread-safe.
enum class BookmarkCreation : unsigned { withSecurityScope = 2048, securityScopeReadOnly = 4096 };
enum class BookmarkResolution : unsigned { withoutUI = 256, withSecurityScope = 1024 };

/// Bytes for a file that exists and can be looked at; nothing with the error filled otherwise. The
/// options are the platform's bits; without security scopes they change nothing. `relativeTo` may
/// be null.
QSML_EXPORT std::optional<Data> bookmarkDataForURL(const URL& fileURL, unsigned options,
                                                   const URL* relativeTo, Error* error = nullptr);
/// Where the file is now: beside the base if it is there, at its old path otherwise, where a file
/// exists. Nothing with the error filled when it cannot be found.
QSML_EXPORT std::optional<URL> URLByResolvingBookmarkData(const Data& bookmark, unsigned options,
                                                          const URL* relativeTo,
                                                          Error* error = nullptr);
/// The path that the bookmark stored; nothing for foreign bytes.
QSML_EXPORT std::optional<std::string> pathStoredInBookmarkData(const Data& bookmark);

/// Security-scoped use of a URL: always granted where the platform has no such scopes.
QSML_EXPORT bool startAccessingSecurityScopedResource(const URL& url);
QSML_EXPORT void stopAccessingSecurityScopedResource(const URL& url);

}  // namespace qsml

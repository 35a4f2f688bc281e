#pragma once
#include "foundation/URL.h"

namespace qsml {

/// The path with a leading "~" or "~/" replaced by the home folder of the user; every other path as
/// it is.
QSML_EXPORT std::string expandingTildeInPath(std::string_view path);

/// The file URL of an entry of a folder. Nothing when the component would lead anywhere else: it is
/// empty, ".", "..", or holds a slash, a backslash or a zero byte. The one way in which texts of
/// records and files become parts of paths.
QSML_EXPORT std::optional<URL> appendingPathComponent(const URL& folder,
                                                      std::string_view component);

/// Where the program keeps files of its own: $XDG_DATA_HOME or ~/.local/share, on macOS
/// ~/Library/Application Support, on Windows %APPDATA%. In it the folder that the main bundle's
/// information names under "CFBundleIdentifier", where the host has set that. Nothing is created.
QSML_EXPORT URL applicationSupportDirectory();

}  // namespace qsml

#pragma once
#include <string>

namespace qsml::detail {

/// The folder of the running program; empty when the system does not tell.
std::string folderOfProgram();
/// The folder of the shared library that holds this code; the program's where it is linked in.
std::string folderOfLibrary();

}  // namespace qsml::detail

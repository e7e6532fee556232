/// @file
/// Shared libraries, as the operating system loads them.
#pragma once

#include <string>

namespace velmora::capture {

/// Loads a library with what it needs. It stays loaded until the process ends; asking for it again
/// gives the same handle.
///
/// @param file    UTF-8, absolute
/// @param reason  receives the system's words, if there is an error
/// @return null if it could not be loaded
void* OpenLibrary(const std::string& file, std::string& reason);

/// @return the address of an exported function or object; null if there is none of this name
void* FindExport(void* library, const char* name);

/// The absolute folder of the library or program that this function is part of; UTF-8.
std::string FolderOfOwnLibrary();

/// The absolute folder of the program that runs; UTF-8.
std::string FolderOfProgram();

}  // namespace velmora::capture

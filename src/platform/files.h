// File-system helpers. Paths are VXString and reach the system as UTF-8.
#pragma once

#include <string>

#include "platform/vxstring.h"

namespace qorl {

namespace SystemUtility {
// True for an existing path that is not a directory.
bool IsFileExist(const VXString& path);
bool IsDirectory(const VXString& path);
// Creates the directory with all missing parents; true when it exists afterwards.
bool MakeDirectories(const VXString& path);
// Removes the directory and everything below it; true when nothing is left,
// also when there was nothing to begin with.
bool RemoveDirectoryTree(const VXString& path);
// The file's bytes as they are (they are UTF-8 for every file the layer writes).
bool ReadWholeFile(const VXString& path, std::string& utf8Bytes);
// Names (not paths) of the entries of a directory, sorted.
bool ListDirectory(const VXString& dir, VXStringVector& names);
}  // namespace SystemUtility

namespace SUFilePath {
// a "/" b, with exactly one separator between them; an empty part gives the other.
VXString VXPathAppend(const VXString& a, const VXString& b);
}  // namespace SUFilePath

}  // namespace qorl

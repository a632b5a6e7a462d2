// Whole-file reads and atomic whole-file writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

// The whole file, or nothing with `error` set to the system's reason.
[[nodiscard]] std::optional<std::string> readWholeFile(const std::string& path, std::string* error = nullptr);
// The same into `data`, whose capacity is kept from one call to the next: a loop over
// many files then allocates only for the largest. False (and `data` unspecified) on error.
bool readWholeFileInto(const std::string& path, std::string& data, std::string* error = nullptr);

// Writes through a temporary file in the same folder that then replaces the target in
// one step, so a reader sees the old bytes or the new ones, never a part.
bool writeFileAtomically(const std::string& path, std::string_view bytes);

// True when something (file or folder, links followed) is at the path.
bool pathExists(const std::string& path);
bool isDirectory(const std::string& path);

// Creates the folder and its parents; true when it exists afterwards as a folder.
bool createDirectories(const std::string& path);

// Removes a file tree; errors are ignored.
void removeTree(const std::string& path);

// Renames the tree aside in one step, then removes it, so that whoever looks at `path`
// finds all of the tree or none of it, also after a process killed half-way through the
// removal. What such kills left beside `path` (named `path` + ".trash-...") goes too.
// Errors are ignored.
void removeTreeAtomically(const std::string& path);

}  // namespace vantrel

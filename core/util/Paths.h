// Path arithmetic on plain absolute paths (UTF-8 bytes on this platform). A "URL" of
// the model is an absolute path here.
#pragma once

#include <string>
#include <string_view>

namespace vantrel {

// Absolute (relative input is taken against the working directory), without "." and
// ".." components, repeated slashes or a trailing slash (except for "/" itself).
// Purely lexical: symbolic links are not resolved.
std::string standardizePath(std::string_view path);

// `relative` taken against the folder `base` (an absolute `relative` stands by itself),
// then standardised.
std::string resolvePath(std::string_view base, std::string_view relative);

// The path of `file` below `root`; the last component when the two are equal; the
// standardised absolute path of `file` when it lies outside `root`. It names the file in
// ids, imports and cache records, which are text: bytes of a file name that are not UTF-8
// are escaped (escapeInvalidUtf8), the same way wherever the file is met.
std::string relativePath(std::string_view file, std::string_view root);

std::string lastPathComponent(std::string_view path);
std::string deletingLastPathComponent(std::string_view path);
std::string appendPathComponent(std::string_view path, std::string_view component);

// Text behind the last "." of the last component, when that dot is not its first
// character and text follows it; otherwise empty. "types.d.ts" gives "ts".
std::string pathExtension(std::string_view path);

// Lower-case folding of an extension (ASCII and the Latin-1 range are enough for the
// extensions that plugins declare; other bytes pass unchanged).
std::string lowercased(std::string_view text);

}  // namespace vantrel

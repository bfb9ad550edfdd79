#pragma once
// Whole-file writes that never leave a half-written file behind: the bytes go
// to a temporary file in the same folder, which then replaces the target.

#include <string>
#include <string_view>

namespace vandrel {

// Returns an empty string on success, otherwise what went wrong (for a message).
std::string writeFileAtomically(const std::string& path, std::string_view bytes);

// Reads a whole file; false when it cannot be opened or read.
bool readWholeFile(const std::string& path, std::string& bytes);

}  // namespace vandrel

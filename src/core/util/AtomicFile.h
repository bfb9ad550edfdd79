#pragma once
// Whole-file writes that never leave a half-written file behind: the bytes go
// to a temporary file in the same folder, which then replaces the target.

#include <cstddef>
#include <string>
#include <string_view>

namespace vandrel {

// Returns an empty string on success, otherwise a sentence for the user that
// names the file and the system's reason ("Cannot save /a/b.vdr: no space
// left on device."), adding that the previous file is unchanged when there
// was one.
std::string writeFileAtomically(const std::string& path, std::string_view bytes);

// Reads a whole file, or its first `maxBytes`; false when it cannot be opened
// or read.
bool readWholeFile(const std::string& path, std::string& bytes,
                   std::size_t maxBytes = static_cast<std::size_t>(-1));

}  // namespace vandrel

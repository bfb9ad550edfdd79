#pragma once
// libsndfile (1.2.x) never returns from sf_open on a WAV file whose LIST
// chunk claims more bytes than the file holds: its sub-chunk parser keeps
// waiting for them. Such files are refused before they reach it, so a
// damaged recording cannot freeze the editor.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace vandrel {

// Reads up to `n` bytes at `offset` into `out`; returns how many it read.
using ByteSource = std::function<std::size_t(std::uint64_t offset, char* out, std::size_t n)>;

// False when the bytes are a RIFF or RIFX WAVE file with a LIST chunk, or a
// sub-chunk of one, that runs past its container. True for everything else.
bool riffListChunksAreSound(const ByteSource& read, std::uint64_t size);
bool riffListChunksAreSound(std::string_view bytes);

}  // namespace vandrel

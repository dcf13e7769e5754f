#pragma once
// The two ways text enters a C record: a bounded copy into a fixed array, or
// a heap copy that the library frees after the callback.

#include <cstddef>
#include <string_view>

namespace sondrel::CommonUtils {

// Zeroes all of to[0..length) and copies at most length - 1 bytes of from, so
// the array always ends in NUL (a multi-byte character may be cut).
void copyCString(std::string_view from, char* to, size_t length);

template <size_t N>
void copyCString(std::string_view from, char (&to)[N]) {
  copyCString(from, to, N);
}

// A malloc'd NUL-terminated copy, freed with free(); null only when memory is exhausted.
[[nodiscard]] char* makeCString(std::string_view from);

}  // namespace sondrel::CommonUtils

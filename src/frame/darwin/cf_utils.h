#pragma once
// CoreFoundation handles owned through RAII, and text conversion.

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>

#include "frame/owned.h"

namespace sondrel {

// A CoreFoundation object this code created or copied (the Create and Copy
// rules), released once with CFRelease.
template <typename Ref>
using CFOwned = Owned<Ref, nullptr, CFRelease>;

// The UTF-8 text of a CoreFoundation string, or nothing for null.
std::optional<std::string> toUtf8(CFStringRef text);

}  // namespace sondrel

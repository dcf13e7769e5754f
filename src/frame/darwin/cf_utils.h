#pragma once
// CoreFoundation handles owned through RAII, and text conversion.

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>

namespace sondrel {

template <typename Ref>
class CFOwned {
 public:
  CFOwned() = default;
  explicit CFOwned(Ref ref) : ref_(ref) {}
  CFOwned(CFOwned&& other) noexcept : ref_(other.ref_) { other.ref_ = nullptr; }
  CFOwned& operator=(CFOwned&& other) noexcept {
    if (this != &other) {
      reset();
      ref_ = other.ref_;
      other.ref_ = nullptr;
    }
    return *this;
  }
  CFOwned(const CFOwned&) = delete;
  CFOwned& operator=(const CFOwned&) = delete;
  ~CFOwned() { reset(); }

  [[nodiscard]] Ref get() const { return ref_; }
  explicit operator bool() const { return ref_ != nullptr; }
  void reset() {
    if (ref_ != nullptr) CFRelease(ref_);
    ref_ = nullptr;
  }

 private:
  Ref ref_ = nullptr;
};

// The UTF-8 text of a CoreFoundation string, or nothing for null.
std::optional<std::string> toUtf8(CFStringRef text);

}  // namespace sondrel

// The signing time of a code file through the Security framework's static
// code API. The secure time stamp of a notarised signature is preferred; an
// ad-hoc or locally signed file only has the signer's clock.

#include "reports/signing_time.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

#include "frame/darwin/cf_utils.h"

namespace sondrel {

SigningTimeReading readSigningTime(const std::string& path) {
  CFOwned<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
  if (!url) return {SigningTimeStep::staticCodeFailed, 0};

  SecStaticCodeRef rawCode = nullptr;
  if (SecStaticCodeCreateWithPath(url.get(), kSecCSDefaultFlags, &rawCode) != errSecSuccess || rawCode == nullptr) {
    return {SigningTimeStep::staticCodeFailed, 0};
  }
  CFOwned<SecStaticCodeRef> code(rawCode);

  CFDictionaryRef rawInformation = nullptr;
  if (SecCodeCopySigningInformation(code.get(), kSecCSSigningInformation, &rawInformation) != errSecSuccess ||
      rawInformation == nullptr) {
    return {SigningTimeStep::signingInformationFailed, 0};
  }
  CFOwned<CFDictionaryRef> information(rawInformation);

  CFTypeRef stamp = CFDictionaryGetValue(information.get(), kSecCodeInfoTimestamp);
  if (stamp == nullptr) stamp = CFDictionaryGetValue(information.get(), kSecCodeInfoTime);
  if (stamp == nullptr) return {SigningTimeStep::timestampMissing, 0};
  if (CFGetTypeID(stamp) != CFDateGetTypeID()) return {SigningTimeStep::timestampInvalid, 0};

  const double seconds = CFDateGetAbsoluteTime(static_cast<CFDateRef>(stamp)) + kCFAbsoluteTimeIntervalSince1970;
  return {SigningTimeStep::found, seconds};
}

}  // namespace sondrel

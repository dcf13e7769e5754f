#pragma once
// BSM audit tokens: the token ids, the decoded values of the tokens the
// session and process sources read, and the walk over the tokens of one
// record. Every other token is stepped over by its layout; an id with no known
// layout covers everything up to the trailer, as the audit library does.
// Decoded text and byte fields are views into the record: valid while it is.

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace sondrel::bsm {

enum TokenId : uint8_t {
  kOtherFile32 = 0x11,
  kTrailer = 0x13,
  kHeader32 = 0x14,
  kHeader32Ex = 0x15,
  kData = 0x21,
  kIpc = 0x22,
  kPath = 0x23,
  kSubject32 = 0x24,
  kProcess32 = 0x26,
  kReturn32 = 0x27,
  kText = 0x28,
  kOpaque = 0x29,
  kInAddr = 0x2a,
  kIp = 0x2b,
  kIport = 0x2c,
  kArg32 = 0x2d,
  kSocket = 0x2e,
  kSeq = 0x2f,
  kIpcPerm = 0x32,
  kPriv = 0x38,
  kUpriv = 0x39,
  kNewGroups = 0x3b,
  kExecArgs = 0x3c,
  kExecEnv = 0x3d,
  kAttr32 = 0x3e,
  kExit = 0x52,
  kZonename = 0x60,
  kArg64 = 0x71,
  kReturn64 = 0x72,
  kAttr64 = 0x73,
  kHeader64 = 0x74,
  kSubject64 = 0x75,
  kProcess64 = 0x77,
  kHeader64Ex = 0x79,
  kSubject32Ex = 0x7a,
  kProcess32Ex = 0x7b,
  kSubject64Ex = 0x7c,
  kProcess64Ex = 0x7d,
  kInAddrEx = 0x7e,
  kSocketEx = 0x7f,
  kSockInet32 = 0x80,
  kSockInet128 = 0x81,
  kSockUnix = 0x82,
  kRights = 0x83,
  kArgUuid = 0x84,
  kReturnUuid = 0x85,
  kIdentity = 0xed,
  kKrb5Principal = 0xee,
  kCertHash = 0xef,
};

inline constexpr uint16_t kTrailerMagic = 0xb105;
inline constexpr size_t kTrailerLength = 7;

[[nodiscard]] constexpr bool isHeaderId(uint8_t id) {
  return id == kHeader32 || id == kHeader32Ex || id == kHeader64 || id == kHeader64Ex;
}

// An IPv4 or IPv6 address as stored (network byte order); length 0 when absent.
struct Address {
  uint8_t length = 0;
  std::array<uint8_t, 16> bytes{};
};

struct HeaderToken {
  uint32_t size = 0;
  uint8_t version = 0;
  uint16_t event = 0;
  uint16_t modifier = 0;
  Address host;  // _ex headers only
  uint64_t seconds = 0;
  uint64_t milliseconds = 0;
};

// Subject and process tokens share one layout (the process token names the target).
struct SubjectToken {
  uint32_t auid = 0;
  uint32_t euid = 0;
  uint32_t egid = 0;
  uint32_t ruid = 0;
  uint32_t rgid = 0;
  uint32_t pid = 0;
  uint32_t sid = 0;
  uint64_t port = 0;
  Address address;
  bool extended = false;  // carried an address type
};

struct ArgToken {
  uint8_t number = 0;
  uint64_t value = 0;
  std::string_view text;
};

// Path, text and zone name tokens.
struct StringToken {
  std::string_view text;
};

// Exec arguments and environment: count NUL-terminated strings laid end to end.
struct ExecStringsToken {
  uint32_t count = 0;
  std::string_view strings;  // all of them, each with its NUL

  template <typename Visit>
  void forEach(Visit&& visit) const {
    size_t start = 0;
    for (uint32_t i = 0; i < count && start < strings.size(); ++i) {
      const size_t end = strings.find('\0', start);
      visit(strings.substr(start, end - start));
      start = end + 1;
    }
  }
};

struct ExitToken {
  uint32_t status = 0;  // the exit code on macOS
  uint32_t ret = 0;
};

struct ReturnToken {
  uint8_t status = 0;  // BSM errno
  uint64_t value = 0;
};

struct TrailerToken {
  uint16_t magic = 0;
  uint32_t count = 0;
};

// Apple's code-signing identity of the subject.
struct IdentityToken {
  uint32_t signerType = 0;
  std::string_view signingId;
  uint8_t signingIdTruncated = 0;
  std::string_view teamId;
  uint8_t teamIdTruncated = 0;
  std::span<const uint8_t> cdhash;
};

// Stand-alone file token at the start and end of trail files.
struct FileToken {
  uint32_t seconds = 0;
  uint32_t milliseconds = 0;
  std::string_view name;
};

using TokenValue = std::variant<std::monostate, HeaderToken, SubjectToken, ArgToken, StringToken, ExecStringsToken,
                                ExitToken, ReturnToken, TrailerToken, IdentityToken, FileToken>;

// What every token has besides its value.
struct TokenInfo {
  uint8_t id = 0;
  uint32_t length = 0;  // bytes, id included
  bool known = true;    // false: an id without a layout, covering the bytes up to the trailer
};

// A token with its value kept, for tools and tests; hot paths take the values
// straight from walkTokens.
struct Token : TokenInfo {
  TokenValue value;
};

// The name a token is printed under, as praudit-derived tools name them.
[[nodiscard]] std::string_view tokenName(uint8_t id);

enum class WalkStatus {
  complete,  // every token up to a trailer that matches the record (or the lone file token)
  stopped,   // the visitor asked to stop
  malformed  // the record can't be decoded further
};

struct WalkResult {
  WalkStatus status;
  size_t offset;  // where the walk ended: the offending token when malformed
};

// Walks the tokens of one framed record (header to trailer, or one file
// token), calling visitor(const TokenInfo&, const Value&) with Value one of
// TokenValue's alternatives (std::monostate for a token stepped over). The
// visitor returns false to stop. The trailer is handed over only once it has
// been checked against the record, so a visitor may act on it.
template <typename Visitor>
WalkResult walkTokens(std::span<const uint8_t> record, Visitor&& visitor);

// Every token of one record, in order; result (when given) tells how the walk ended.
[[nodiscard]] std::vector<Token> collectTokens(std::span<const uint8_t> record, WalkResult* result = nullptr);

}  // namespace sondrel::bsm

#include "session/bsm_token_decode.h"

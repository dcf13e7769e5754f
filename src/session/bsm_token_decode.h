#pragma once
// The token decoder behind walkTokens, kept inline so that a visitor's use of
// each value is compiled into the walk: a record is walked token by token in
// the hot loop of every audit reader, and the fields no visitor reads are
// never decoded. Included by bsm_token.h only.

#include <algorithm>
#include <cstring>

namespace sondrel::bsm {

namespace detail {

// Every multi-byte integer in a BSM record is big-endian.
inline uint16_t be16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t be32(const uint8_t* p) {
  return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
         (static_cast<uint32_t>(p[2]) << 8) | static_cast<uint32_t>(p[3]);
}
inline uint64_t be64(const uint8_t* p) { return (static_cast<uint64_t>(be32(p)) << 32) | be32(p + 4); }

// A counted string (its count includes the NUL) ends at its first NUL.
inline std::string_view countedText(const uint8_t* p, size_t length) {
  const auto* text = reinterpret_cast<const char*>(p);
  // Most counted strings are short: a plain scan beats a library call there.
  if (length <= 32) {
    size_t end = 0;
    while (end < length && text[end] != '\0') ++end;
    return {text, end};
  }
  const void* nul = std::memchr(text, '\0', length);
  return {text, nul ? static_cast<size_t>(static_cast<const char*>(nul) - text) : length};
}

inline bool validAddressType(uint32_t type) { return type == 4 || type == 16; }

inline Address readAddress(const uint8_t* p, size_t length) {
  Address address;
  address.length = static_cast<uint8_t>(length);
  if (length == 4) {
    std::memcpy(address.bytes.data(), p, 4);
  } else {
    std::memcpy(address.bytes.data(), p, 16);
  }
  return address;
}

// Decodes the token at p; avail counts the bytes from p to the end of the
// region the token may use. Hands the token to emit(TokenInfo, value) and
// returns its length, or returns 0 without emitting when it does not fit or
// breaks its own rules.
template <typename Emit>
class Decoder {
 public:
  Decoder(const uint8_t* p, size_t avail, Emit& emit) : p_(p), avail_(avail), emit_(emit) {}

  size_t decode() {
    const uint8_t id = p_[0];
    switch (id) {
      case kHeader32:
      case kHeader32Ex:
      case kHeader64:
      case kHeader64Ex:
        return header();
      case kSubject32:
      case kSubject64:
      case kSubject32Ex:
      case kSubject64Ex:
      case kProcess32:
      case kProcess64:
      case kProcess32Ex:
      case kProcess64Ex:
        return subject();
      case kArg32:
      case kArg64:
        return argument();
      case kPath:
      case kText:
      case kZonename: {
        if (!need(3)) return 0;
        const size_t length = 3 + be16(p_ + 1);
        if (!need(length)) return 0;
        return emit(length, StringToken{countedText(p_ + 3, length - 3)});
      }
      case kExecArgs:
      case kExecEnv:
      case kKrb5Principal:
      case kCertHash:
        return execStrings();
      case kExit:
        if (!need(9)) return 0;
        return emit(9, ExitToken{be32(p_ + 1), be32(p_ + 5)});
      case kReturn32:
        if (!need(6)) return 0;
        return emit(6, ReturnToken{p_[1], be32(p_ + 2)});
      case kReturn64:
        if (!need(10)) return 0;
        return emit(10, ReturnToken{p_[1], be64(p_ + 2)});
      case kIdentity:
        return identity();
      case kOtherFile32: {
        if (!need(11)) return 0;
        const size_t length = 11 + be16(p_ + 9);
        if (!need(length)) return 0;
        return emit(length, FileToken{be32(p_ + 1), be32(p_ + 5), countedText(p_ + 11, length - 11)});
      }
      default:
        return skipped(id);
    }
  }

 private:
  [[nodiscard]] bool need(size_t length) const { return length <= avail_; }
  size_t fixed(size_t length) const { return need(length) ? length : 0; }

  template <typename Value>
  size_t emit(size_t length, const Value& value, bool known = true) {
    emit_(TokenInfo{p_[0], static_cast<uint32_t>(length), known}, value);
    return length;
  }

  size_t header() {
    const uint8_t id = p_[0];
    if (!need(10)) return 0;
    HeaderToken header;
    header.size = be32(p_ + 1);
    header.version = p_[5];
    header.event = be16(p_ + 6);
    header.modifier = be16(p_ + 8);
    size_t at = 10;
    if (id == kHeader32Ex || id == kHeader64Ex) {
      if (!need(at + 4)) return 0;
      const uint32_t type = be32(p_ + at);
      if (!validAddressType(type) || !need(at + 4 + type)) return 0;
      header.host = readAddress(p_ + at + 4, type);
      at += 4 + type;
    }
    if (id == kHeader32 || id == kHeader32Ex) {
      if (!need(at + 8)) return 0;
      header.seconds = be32(p_ + at);
      header.milliseconds = be32(p_ + at + 4);
      at += 8;
    } else {
      if (!need(at + 16)) return 0;
      header.seconds = be64(p_ + at);
      header.milliseconds = be64(p_ + at + 8);
      at += 16;
    }
    return emit(at, header);
  }

  size_t subject() {
    const uint8_t id = p_[0];
    const bool widePort = id == kSubject64 || id == kSubject64Ex || id == kProcess64 || id == kProcess64Ex;
    const bool extended = id == kSubject32Ex || id == kSubject64Ex || id == kProcess32Ex || id == kProcess64Ex;
    size_t at = 1 + 28 + (widePort ? 8 : 4);
    if (!need(at)) return 0;
    SubjectToken subject;
    subject.auid = be32(p_ + 1);
    subject.euid = be32(p_ + 5);
    subject.egid = be32(p_ + 9);
    subject.ruid = be32(p_ + 13);
    subject.rgid = be32(p_ + 17);
    subject.pid = be32(p_ + 21);
    subject.sid = be32(p_ + 25);
    subject.port = widePort ? be64(p_ + 29) : be32(p_ + 29);
    subject.extended = extended;
    uint32_t addressLength = 4;
    if (extended) {
      if (!need(at + 4)) return 0;
      addressLength = be32(p_ + at);
      if (!validAddressType(addressLength)) return 0;
      at += 4;
    }
    if (!need(at + addressLength)) return 0;
    subject.address = readAddress(p_ + at, addressLength);
    return emit(at + addressLength, subject);
  }

  size_t argument() {
    const bool wide = p_[0] == kArg64;
    const size_t fixedPart = wide ? 12 : 8;
    if (!need(fixedPart)) return 0;
    const size_t length = fixedPart + be16(p_ + fixedPart - 2);
    if (!need(length)) return 0;
    return emit(length, ArgToken{p_[1], wide ? be64(p_ + 2) : be32(p_ + 2), countedText(p_ + fixedPart, length - fixedPart)});
  }

  size_t execStrings() {
    if (!need(5)) return 0;
    const uint32_t count = be32(p_ + 1);
    const auto* begin = reinterpret_cast<const char*>(p_ + 5);
    const char* end = reinterpret_cast<const char*>(p_ + avail_);
    const char* at = begin;
    for (uint32_t i = 0; i < count; ++i) {
      const void* nul = std::memchr(at, '\0', static_cast<size_t>(end - at));
      if (nul == nullptr) return 0;
      at = static_cast<const char*>(nul) + 1;
    }
    return emit(5 + static_cast<size_t>(at - begin),
                ExecStringsToken{count, std::string_view(begin, static_cast<size_t>(at - begin))});
  }

  size_t identity() {
    if (!need(7)) return 0;
    IdentityToken identity;
    identity.signerType = be32(p_ + 1);
    size_t at = 5;
    const size_t signingLength = be16(p_ + at);
    at += 2;
    if (!need(at + signingLength + 1 + 2)) return 0;
    identity.signingId = countedText(p_ + at, signingLength);
    at += signingLength;
    identity.signingIdTruncated = p_[at++];
    const size_t teamLength = be16(p_ + at);
    at += 2;
    if (!need(at + teamLength + 1 + 2)) return 0;
    identity.teamId = countedText(p_ + at, teamLength);
    at += teamLength;
    identity.teamIdTruncated = p_[at++];
    const size_t hashLength = be16(p_ + at);
    at += 2;
    if (!need(at + hashLength)) return 0;
    identity.cdhash = std::span<const uint8_t>(p_ + at, hashLength);
    return emit(at + hashLength, identity);
  }

  // Tokens read only to be stepped over.
  size_t skipped(uint8_t id) {
    const size_t length = skippedLength(id);
    if (length == 0) return 0;
    // Without a layout the only safe step is to the trailer.
    if (length == kUnknownLength) return emit(avail_, std::monostate{}, false);
    return emit(length, std::monostate{});
  }

  static constexpr size_t kUnknownLength = static_cast<size_t>(-1);

  size_t skippedLength(uint8_t id) const {
    switch (id) {
      case kAttr32: return fixed(29);
      case kAttr64: return fixed(33);
      case kIpc: return fixed(6);
      case kIpcPerm: return fixed(29);
      case kInAddr: return fixed(5);
      case kIp: return fixed(21);
      case kIport: return fixed(3);
      case kSocket: return fixed(15);
      case kSockInet32: return fixed(9);
      case kSockInet128: return fixed(21);
      case kSeq: return fixed(5);
      case kRights: return fixed(17);
      case kInAddrEx: {
        if (!need(5)) return 0;
        const uint32_t type = be32(p_ + 1);
        return validAddressType(type) ? fixed(5 + type) : 0;
      }
      case kSocketEx: {
        if (!need(7)) return 0;
        const uint32_t type = be16(p_ + 5);
        return validAddressType(type) ? fixed(11 + 2 * type) : 0;
      }
      case kSockUnix: {
        if (!need(4)) return 0;
        const size_t scan = std::min<size_t>(avail_ - 3, 108);
        const void* nul = std::memchr(p_ + 3, '\0', scan);
        if (nul == nullptr) return 0;
        return static_cast<size_t>(static_cast<const uint8_t*>(nul) - p_) + 1;
      }
      case kOpaque:
        return need(3) ? fixed(3 + be16(p_ + 1)) : 0;
      case kData: {
        if (!need(4)) return 0;
        const uint8_t unit = p_[2];
        if (unit > 3) return 0;
        return fixed(4 + (static_cast<size_t>(p_[3]) << unit));
      }
      case kNewGroups:
        return need(3) ? fixed(3 + 4 * static_cast<size_t>(be16(p_ + 1))) : 0;
      case kUpriv:
        return need(4) ? fixed(4 + be16(p_ + 2)) : 0;
      case kPriv: {
        if (!need(3)) return 0;
        const size_t first = 3 + be16(p_ + 1);
        if (!need(first + 2)) return 0;
        return fixed(first + 2 + be16(p_ + first));
      }
      case kArgUuid:
      case kReturnUuid:
        return need(20) ? fixed(20 + be16(p_ + 18)) : 0;
      default:
        return kUnknownLength;
    }
  }

  const uint8_t* p_;
  size_t avail_;
  Emit& emit_;
};

}  // namespace detail

template <typename Visitor>
WalkResult walkTokens(std::span<const uint8_t> record, Visitor&& visitor) {
  const uint8_t* base = record.data();
  const size_t size = record.size();
  bool keepGoing = true;
  auto emit = [&](const TokenInfo& info, const auto& value) { keepGoing = visitor(info, value); };

  // A file token is a record of its own, its length set by its name.
  if (size >= 11 && base[0] == kOtherFile32) {
    if (11 + size_t{detail::be16(base + 9)} != size) return {WalkStatus::malformed, 0};
    detail::Decoder(base, size, emit).decode();
    return {keepGoing ? WalkStatus::complete : WalkStatus::stopped, size};
  }

  // Everything else ends in the trailer; no token may reach into it.
  if (size < kTrailerLength) return {WalkStatus::malformed, 0};
  const size_t body = size - kTrailerLength;
  size_t offset = 0;
  while (offset < body) {
    if (base[offset] == kTrailer) return {WalkStatus::malformed, offset};
    const size_t length = detail::Decoder(base + offset, body - offset, emit).decode();
    if (length == 0) return {WalkStatus::malformed, offset};
    offset += length;
    if (!keepGoing) return {WalkStatus::stopped, offset};
  }
  const uint8_t* trailer = base + body;
  const TrailerToken value{detail::be16(trailer + 1), detail::be32(trailer + 3)};
  if (trailer[0] != kTrailer || value.magic != kTrailerMagic || value.count != size) {
    return {WalkStatus::malformed, body};
  }
  visitor(TokenInfo{kTrailer, static_cast<uint32_t>(kTrailerLength), true}, value);
  return {WalkStatus::complete, size};
}

}  // namespace sondrel::bsm

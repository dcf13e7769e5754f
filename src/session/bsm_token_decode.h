#pragma once
// The token decoder behind TokenCursor, kept inline: a record is walked token
// by token in the hot loop of every audit reader. Included by bsm_token.h only.

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
// region the token may use. Returns the token's length, or 0 when it does not
// fit or breaks its own rules.
class Decoder {
 public:
  Decoder(const uint8_t* p, size_t avail) : p_(p), avail_(avail) {}

  size_t decode(Token& out) {
    const uint8_t id = p_[0];
    out.id = id;
    out.known = true;
    switch (id) {
      case kHeader32:
      case kHeader32Ex:
      case kHeader64:
      case kHeader64Ex:
        return header(out);
      case kSubject32:
      case kSubject64:
      case kSubject32Ex:
      case kSubject64Ex:
      case kProcess32:
      case kProcess64:
      case kProcess32Ex:
      case kProcess64Ex:
        return subject(out);
      case kArg32:
      case kArg64:
        return argument(out);
      case kPath:
      case kText:
      case kZonename: {
        if (!need(3)) return 0;
        const size_t length = 3 + be16(p_ + 1);
        if (!need(length)) return 0;
        out.value.emplace<StringToken>(StringToken{countedText(p_ + 3, length - 3)});
        return length;
      }
      case kExecArgs:
      case kExecEnv:
      case kKrb5Principal:
      case kCertHash:
        return execStrings(out);
      case kExit:
        if (!need(9)) return 0;
        out.value.emplace<ExitToken>(ExitToken{be32(p_ + 1), be32(p_ + 5)});
        return 9;
      case kReturn32:
        if (!need(6)) return 0;
        out.value.emplace<ReturnToken>(ReturnToken{p_[1], be32(p_ + 2)});
        return 6;
      case kReturn64:
        if (!need(10)) return 0;
        out.value.emplace<ReturnToken>(ReturnToken{p_[1], be64(p_ + 2)});
        return 10;
      case kTrailer:
        if (!need(7)) return 0;
        out.value.emplace<TrailerToken>(TrailerToken{be16(p_ + 1), be32(p_ + 3)});
        return 7;
      case kIdentity:
        return identity(out);
      case kOtherFile32: {
        if (!need(11)) return 0;
        const size_t length = 11 + be16(p_ + 9);
        if (!need(length)) return 0;
        out.value.emplace<FileToken>(FileToken{be32(p_ + 1), be32(p_ + 5), countedText(p_ + 11, length - 11)});
        return length;
      }
      default:
        out.value.emplace<std::monostate>();
        return skipped(id);
    }
  }

 private:
  [[nodiscard]] bool need(size_t length) const { return length <= avail_; }
  size_t fixed(size_t length) const { return need(length) ? length : 0; }

  size_t header(Token& out) {
    const uint8_t id = p_[0];
    if (!need(10)) return 0;
    auto& header = out.value.emplace<HeaderToken>();
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
    return at;
  }

  size_t subject(Token& out) {
    const uint8_t id = p_[0];
    const bool widePort = id == kSubject64 || id == kSubject64Ex || id == kProcess64 || id == kProcess64Ex;
    const bool extended = id == kSubject32Ex || id == kSubject64Ex || id == kProcess32Ex || id == kProcess64Ex;
    size_t at = 1 + 28 + (widePort ? 8 : 4);
    if (!need(at)) return 0;
    auto& subject = out.value.emplace<SubjectToken>();
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
    return at + addressLength;
  }

  size_t argument(Token& out) {
    const bool wide = p_[0] == kArg64;
    const size_t fixedPart = wide ? 12 : 8;
    if (!need(fixedPart)) return 0;
    const size_t length = fixedPart + be16(p_ + fixedPart - 2);
    if (!need(length)) return 0;
    out.value.emplace<ArgToken>(ArgToken{p_[1], wide ? be64(p_ + 2) : be32(p_ + 2), countedText(p_ + fixedPart, length - fixedPart)});
    return length;
  }

  size_t execStrings(Token& out) {
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
    out.value.emplace<ExecStringsToken>(ExecStringsToken{count, std::string_view(begin, static_cast<size_t>(at - begin))});
    return 5 + static_cast<size_t>(at - begin);
  }

  size_t identity(Token& out) {
    if (!need(7)) return 0;
    auto& identity = out.value.emplace<IdentityToken>();
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
    return at + hashLength;
  }

  // Tokens read only to be stepped over.
  size_t skipped(uint8_t id) {
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
        return unknownLength();
    }
  }

  // Without a layout the only safe step is to the trailer.
  size_t unknownLength() const { return avail_ >= 1 ? static_cast<size_t>(-1) : 0; }

  const uint8_t* p_;
  size_t avail_;
};

}  // namespace detail

inline TokenStatus TokenCursor::next(Token& out) {
  if (done_) return TokenStatus::end;
  const size_t size = record_.size();
  if (offset_ >= size) {
    done_ = true;
    return TokenStatus::malformed;
  }
  const uint8_t* p = record_.data() + offset_;
  // A file token is a record of its own; everything else ends in the trailer.
  const bool fileRecord = record_[0] == kOtherFile32;
  size_t avail = size - offset_;
  if (!fileRecord && p[0] != kTrailer) {
    if (size < kTrailerLength || offset_ > size - kTrailerLength) {
      done_ = true;
      return TokenStatus::malformed;
    }
    avail = size - kTrailerLength - offset_;
    if (avail == 0) {
      done_ = true;
      return TokenStatus::malformed;
    }
  }
  size_t length = detail::Decoder(p, avail).decode(out);
  if (length == static_cast<size_t>(-1)) {
    out.known = false;
    length = avail;
  }
  if (length == 0) {
    done_ = true;
    return TokenStatus::malformed;
  }
  out.length = static_cast<uint32_t>(length);
  offset_ += length;
  if (fileRecord) {
    done_ = true;
    return offset_ == size ? TokenStatus::token : TokenStatus::malformed;
  }
  if (out.id == kTrailer) {
    done_ = true;
    const auto& trailer = std::get<TrailerToken>(out.value);
    if (offset_ != size || trailer.magic != kTrailerMagic || trailer.count != size) return TokenStatus::malformed;
  }
  return TokenStatus::token;
}


}  // namespace sondrel::bsm

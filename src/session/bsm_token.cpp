#include "session/bsm_token.h"

namespace sondrel::bsm {

std::string_view tokenName(uint8_t id) {
  switch (id) {
    case kOtherFile32: return "file";
    case kTrailer: return "trailer";
    case kHeader32: return "header32";
    case kHeader32Ex: return "header32_ex";
    case kHeader64: return "header64";
    case kHeader64Ex: return "header64_ex";
    case kData: return "data";
    case kIpc: return "ipc";
    case kPath: return "path";
    case kSubject32: return "subject32";
    case kProcess32: return "process32";
    case kReturn32: return "return32";
    case kText: return "text";
    case kOpaque: return "opaque";
    case kInAddr: return "in_addr";
    case kIp: return "ip";
    case kIport: return "iport";
    case kArg32: return "arg32";
    case kSocket: return "socket";
    case kSeq: return "seq";
    case kIpcPerm: return "ipc_perm";
    case kPriv: return "privset";
    case kUpriv: return "upriv";
    case kNewGroups: return "newgroups";
    case kExecArgs: return "exec_args";
    case kExecEnv: return "exec_env";
    case kAttr32: return "attr32";
    case kExit: return "exit";
    case kZonename: return "zonename";
    case kArg64: return "arg64";
    case kReturn64: return "return64";
    case kAttr64: return "attr64";
    case kSubject64: return "subject64";
    case kProcess64: return "process64";
    case kSubject32Ex: return "subject32_ex";
    case kProcess32Ex: return "process32_ex";
    case kSubject64Ex: return "subject64_ex";
    case kProcess64Ex: return "process64_ex";
    case kInAddrEx: return "in_addr_ex";
    case kSocketEx: return "socket_ex";
    case kSockInet32: return "sockinet32";
    case kSockInet128: return "sockinet128";
    case kSockUnix: return "sockunix";
    case kRights: return "rights";
    case kArgUuid: return "arg_uuid";
    case kReturnUuid: return "return_uuid";
    case kIdentity: return "identity";
    case kKrb5Principal: return "krb5_principal";
    case kCertHash: return "cert_hash";
    default: return "unknown";
  }
}

std::vector<Token> collectTokens(std::span<const uint8_t> record, WalkResult* result) {
  std::vector<Token> tokens;
  const WalkResult walked = walkTokens(record, [&](const TokenInfo& info, const auto& value) {
    tokens.push_back(Token{info, TokenValue(value)});
    return true;
  });
  if (result != nullptr) *result = walked;
  return tokens;
}

}  // namespace sondrel::bsm

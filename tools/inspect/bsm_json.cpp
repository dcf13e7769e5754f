#include "inspect/bsm_json.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdio>
#include <variant>

#include "inspect/saved_output.h"
#include "session/bsm_reader.h"
#include "session/bsm_token.h"

namespace sondrel::tools {

namespace {

// Audit trails rotate long before this.
constexpr size_t kMaxTrailBytes = 512 * 1024 * 1024;

std::string addressText(const bsm::Address& address) {
  char text[INET6_ADDRSTRLEN] = {};
  const int family = address.length == 16 ? AF_INET6 : AF_INET;
  if (::inet_ntop(family, address.bytes.data(), text, sizeof text) == nullptr) return {};
  return text;
}

std::string hexText(std::span<const uint8_t> bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xf];
  }
  return text;
}

void writeStrings(JsonWriter& json, const bsm::ExecStringsToken& strings) {
  json.field("count", strings.count).key("strings").beginArray();
  strings.forEach([&](std::string_view text) { json.value(text); });
  json.endArray();
}

struct FieldWriter {
  JsonWriter& json;
  uint8_t id;

  void operator()(const std::monostate&) const {}
  void operator()(const bsm::HeaderToken& header) const {
    json.field("size", header.size)
        .field("version", static_cast<uint32_t>(header.version))
        .field("event", static_cast<uint32_t>(header.event))
        .field("emod", static_cast<uint32_t>(header.modifier));
    if (header.host.length != 0) {
      json.field("ad_type", static_cast<uint32_t>(header.host.length)).field("host", addressText(header.host));
    }
    json.field("sec", header.seconds).field("msec", header.milliseconds);
  }
  void operator()(const bsm::SubjectToken& subject) const {
    json.field("auid", subject.auid)
        .field("euid", subject.euid)
        .field("egid", subject.egid)
        .field("ruid", subject.ruid)
        .field("rgid", subject.rgid)
        .field("pid", subject.pid)
        .field("sid", subject.sid)
        .field("port", subject.port)
        .field("addr", addressText(subject.address));
    if (subject.extended) json.field("ad_type", static_cast<uint32_t>(subject.address.length));
  }
  void operator()(const bsm::ArgToken& argument) const {
    json.field("no", static_cast<uint32_t>(argument.number)).field("val", argument.value).field("text", argument.text);
  }
  void operator()(const bsm::StringToken& text) const {
    json.field(id == bsm::kPath ? "path" : id == bsm::kZonename ? "zone" : "text", text.text);
  }
  void operator()(const bsm::ExecStringsToken& strings) const { writeStrings(json, strings); }
  void operator()(const bsm::ExitToken& exit) const { json.field("status", exit.status).field("ret", exit.ret); }
  void operator()(const bsm::ReturnToken& result) const {
    json.field("status", static_cast<uint32_t>(result.status)).field("ret", result.value);
  }
  void operator()(const bsm::TrailerToken& trailer) const {
    json.field("magic", static_cast<uint32_t>(trailer.magic)).field("count", trailer.count);
  }
  void operator()(const bsm::IdentityToken& identity) const {
    json.field("signer_type", identity.signerType)
        .field("signing_id", identity.signingId)
        .field("signing_id_truncated", static_cast<uint32_t>(identity.signingIdTruncated))
        .field("team_id", identity.teamId)
        .field("team_id_truncated", static_cast<uint32_t>(identity.teamIdTruncated))
        .field("cdhash", hexText(identity.cdhash));
  }
  void operator()(const bsm::FileToken& file) const {
    json.field("sec", file.seconds).field("msec", file.milliseconds).field("name_str", file.name);
  }
};

}  // namespace

bool writeBsmRecordJson(JsonWriter& json, size_t recordNumber, size_t offset, std::span<const uint8_t> record) {
  bsm::WalkResult walked;
  const auto tokens = bsm::collectTokens(record, &walked);
  if (walked.status != bsm::WalkStatus::complete) return false;
  json.beginObject()
      .field("rec", static_cast<uint64_t>(recordNumber))
      .field("off", static_cast<uint64_t>(offset))
      .field("len", static_cast<uint64_t>(record.size()));
  json.key("tokens").beginArray();
  for (const auto& token : tokens) {
    json.beginObject()
        .field("id", static_cast<uint32_t>(token.id))
        .field("len", token.length)
        .field("name", token.known ? bsm::tokenName(token.id) : std::string_view("unknown"));
    std::visit(FieldWriter{json, token.id}, token.value);
    json.endObject();
  }
  json.endArray().endObject();
  return true;
}

int printBsmTrail(const std::vector<std::string>& arguments) {
  const auto bytes = readSavedOutput(arguments, "bsm", kMaxTrailBytes);
  if (!bytes) return savedOutputFailureStatus(arguments);
  const std::span<const uint8_t> trail(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size());
  size_t recordNumber = 0;
  const uint64_t skipped = bsm::forEachRecord(trail, [&](size_t offset, std::span<const uint8_t> record) {
    ++recordNumber;
    JsonWriter json;
    if (writeBsmRecordJson(json, recordNumber, offset, record)) {
      std::puts(json.str().c_str());
    } else {
      std::fprintf(stderr, "sondrel-inspect: record %zu at offset %zu is malformed, skipped\n", recordNumber, offset);
    }
  });
  if (skipped != 0) std::fprintf(stderr, "sondrel-inspect: %llu bytes start no record\n", static_cast<unsigned long long>(skipped));
  return 0;
}

}  // namespace sondrel::tools

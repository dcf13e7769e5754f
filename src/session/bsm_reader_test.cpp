#include "session/bsm_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "session/bsm_token.h"
#include "test_support/bsm_builder.h"
#include "test_support/log_capture.h"

namespace sondrel::bsm {
namespace {

using testing::BsmRecordBuilder;
using testing::concatenate;

std::vector<Token> decodeAll(std::span<const uint8_t> record, WalkStatus* last = nullptr) {
  WalkResult walked;
  auto tokens = collectTokens(record, &walked);
  if (last) *last = walked.status;
  return tokens;
}

std::vector<uint8_t> execRecord() {
  return BsmRecordBuilder(23)
      .execArgs({"/bin/ls", "-la", "", "/tmp"})
      .path("/bin/ls")
      .attr32()
      .subject32(4243)
      .return32(0, 0)
      .identity("com.apple.ls", "")
      .build();
}

TEST(BsmTokens, DecodesAnExecRecordFieldByField) {
  const auto record = execRecord();
  WalkStatus last;
  const auto tokens = decodeAll(record, &last);
  EXPECT_EQ(last, WalkStatus::complete);
  ASSERT_EQ(tokens.size(), 8u);

  const auto& header = std::get<HeaderToken>(tokens[0].value);
  EXPECT_EQ(header.size, record.size());
  EXPECT_EQ(header.event, 23);
  EXPECT_EQ(header.version, 11);
  EXPECT_EQ(header.seconds, 1700000000u);
  EXPECT_EQ(header.milliseconds, 250u);
  EXPECT_EQ(tokens[0].length, 18u);

  std::vector<std::string> arguments;
  std::get<ExecStringsToken>(tokens[1].value).forEach([&](std::string_view s) { arguments.emplace_back(s); });
  EXPECT_EQ(arguments, (std::vector<std::string>{"/bin/ls", "-la", "", "/tmp"}));
  EXPECT_EQ(tokens[1].length, 5u + 8 + 4 + 1 + 5);

  EXPECT_EQ(std::get<StringToken>(tokens[2].value).text, "/bin/ls");
  EXPECT_EQ(tokens[3].id, kAttr32);
  EXPECT_EQ(tokens[3].length, 29u);

  const auto& subject = std::get<SubjectToken>(tokens[4].value);
  EXPECT_EQ(subject.pid, 4243u);
  EXPECT_EQ(subject.euid, 501u);
  EXPECT_EQ(subject.sid, 100007u);
  EXPECT_EQ(subject.port, 50331650u);
  EXPECT_EQ(tokens[4].length, 37u);

  // Apple's identity token sits between the return and the trailer; the
  // trailer must still be reached behind it.
  const auto& identity = std::get<IdentityToken>(tokens[6].value);
  EXPECT_EQ(identity.signingId, "com.apple.ls");
  EXPECT_EQ(identity.teamId, "");
  EXPECT_EQ(identity.cdhash.size(), 20u);
  EXPECT_EQ(tokens[7].id, kTrailer);
  EXPECT_EQ(std::get<TrailerToken>(tokens[7].value).count, record.size());
}

TEST(BsmTokens, WideAndExtendedLayouts) {
  const auto record = BsmRecordBuilder(2, kHeader64Ex)
                          .arg64(1, 0xFFFFFFFFFFFFFFFFull, "flags")
                          .subject64Ex(7000, 0x1122334455667788ull, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5})
                          .return32(0, 7001)
                          .build();
  WalkStatus last;
  const auto tokens = decodeAll(record, &last);
  ASSERT_EQ(last, WalkStatus::complete);
  ASSERT_EQ(tokens.size(), 5u);
  const auto& header = std::get<HeaderToken>(tokens[0].value);
  EXPECT_EQ(tokens[0].length, 34u);
  EXPECT_EQ(header.host.length, 4);
  EXPECT_EQ(header.host.bytes[0], 192);
  EXPECT_EQ(std::get<ArgToken>(tokens[1].value).value, 0xFFFFFFFFFFFFFFFFull);
  const auto& subject = std::get<SubjectToken>(tokens[2].value);
  EXPECT_EQ(tokens[2].length, 57u);
  EXPECT_EQ(subject.port, 0x1122334455667788ull);
  EXPECT_EQ(subject.address.length, 16);
  EXPECT_TRUE(subject.extended);
}

TEST(BsmTokens, UnknownTokenCoversEverythingUpToTheTrailer) {
  const auto record = BsmRecordBuilder(1)
                          .exit(3)
                          .bytes({0x51, 1, 2, 3})  // an id without a layout
                          .subject32(99)
                          .return32(0, 0)
                          .build();
  WalkStatus last;
  const auto tokens = decodeAll(record, &last);
  ASSERT_EQ(last, WalkStatus::complete);
  ASSERT_EQ(tokens.size(), 4u);
  EXPECT_EQ(tokens[2].id, 0x51);
  EXPECT_FALSE(tokens[2].known);
  EXPECT_EQ(tokens[2].length, 4u + 37 + 6);
  EXPECT_EQ(tokens[3].id, kTrailer);
}

TEST(BsmTokens, SkippedTokensAreSteppedOverByTheirLayout) {
  std::vector<uint8_t> groups = {0x3b, 0, 20};  // more than the 16 groups libbsm stops at
  groups.resize(3 + 20 * 4, 0x01);
  const auto record = BsmRecordBuilder(138)
                          .bytes(groups)
                          .bytes({0x21, 3, 1, 2, 0xde, 0xad, 0xbe, 0xef})                    // data: 2 × u16
                          .bytes({0x7f, 0, 2, 0, 1, 0, 4, 0, 80, 10, 0, 0, 1, 0, 81, 10, 0, 0, 2})  // socket_ex IPv4
                          .bytes({0x82, 0, 0, '/', 'x', 0})                                    // sockunix
                          .bytes({0x38, 0, 2, 'a', 0, 0, 3, 'b', 'c', 0})                      // priv
                          .subject32(1)
                          .return32(0, 0)
                          .build();
  WalkStatus last;
  const auto tokens = decodeAll(record, &last);
  ASSERT_EQ(last, WalkStatus::complete);
  ASSERT_EQ(tokens.size(), 9u);
  EXPECT_EQ(tokens[1].length, groups.size());
  EXPECT_EQ(tokens[2].length, 8u);
  EXPECT_EQ(tokens[3].length, 19u);
  EXPECT_EQ(tokens[4].length, 6u);
  EXPECT_EQ(tokens[5].length, 10u);
  EXPECT_EQ(tokens[6].id, kSubject32);
}

TEST(BsmTokens, BrokenTokensMakeTheRecordMalformed) {
  const std::vector<std::vector<uint8_t>> broken = {
      BsmRecordBuilder(1).bytes({0x21, 3, 4, 1, 0}).build(),                     // data unit > 3
      BsmRecordBuilder(1).bytes({0x7e, 0, 0, 0, 6, 1, 2, 3, 4, 5, 6}).build(),   // in_addr_ex type 6
      BsmRecordBuilder(23).bytes({0x3c, 0, 0, 0, 3, 'a', 0, 'b', 0}).build(),   // fewer strings than count
      BsmRecordBuilder(23).bytes({0x23, 0x10, 0, '/', 0}).build(),               // path longer than the record
      BsmRecordBuilder(1).bytes({0x82, 0, 0, 'a', 'b'}).build(),                 // sockunix without its NUL
  };
  for (size_t i = 0; i < broken.size(); ++i) {
    WalkStatus last;
    decodeAll(broken[i], &last);
    EXPECT_EQ(last, WalkStatus::malformed) << "fixture " << i;
  }
}

TEST(BsmTokens, TheVisitorStopsTheWalkAndSeesOnlyACheckedTrailer) {
  const auto record = execRecord();
  std::vector<uint8_t> seen;
  auto stopAtPath = [&](const TokenInfo& info, const auto&) {
    seen.push_back(info.id);
    return info.id != kPath;
  };
  const WalkResult stopped = walkTokens(record, stopAtPath);
  EXPECT_EQ(stopped.status, WalkStatus::stopped);
  EXPECT_EQ(seen, (std::vector<uint8_t>{kHeader32, kExecArgs, kPath}));
  EXPECT_EQ(stopped.offset, 18u + 23 + 11);

  // A trailer whose count disagrees with the record is never handed over,
  // so a visitor may finish its work on the trailer.
  auto wrongCount = record;
  wrongCount.back() ^= 1;
  seen.clear();
  const WalkResult broken = walkTokens(wrongCount, [&](const TokenInfo& info, const auto&) {
    seen.push_back(info.id);
    return true;
  });
  EXPECT_EQ(broken.status, WalkStatus::malformed);
  EXPECT_EQ(broken.offset, record.size() - kTrailerLength);
  EXPECT_EQ(seen.size(), 7u);
  EXPECT_NE(seen.back(), kTrailer);

  WalkStatus last;
  EXPECT_TRUE(decodeAll(std::span(record).first(5), &last).empty());
  EXPECT_EQ(last, WalkStatus::malformed);
}

TEST(BsmFraming, RecordsAreFramedByTheHeaderLength) {
  const auto record = execRecord();
  EXPECT_EQ(frameRecord(record).kind, Framing::complete);
  EXPECT_EQ(frameRecord(record).length, record.size());
  EXPECT_EQ(frameRecord(std::span(record).first(4)).kind, Framing::needMore);
  EXPECT_EQ(frameRecord(std::span(record).first(record.size() - 1)).kind, Framing::needMore);

  auto wrongCount = record;
  wrongCount[wrongCount.size() - 1] ^= 1;
  EXPECT_EQ(frameRecord(wrongCount).kind, Framing::invalid);
  const std::vector<uint8_t> tooShort = {0x14, 0, 0, 0, 10, 0, 0, 0, 0, 0};
  EXPECT_EQ(frameRecord(tooShort).kind, Framing::invalid);
  EXPECT_EQ(frameRecord(record, 100).kind, Framing::invalid);
  const std::vector<uint8_t> fileToken = {0x11, 0, 0, 0, 1, 0, 0, 0, 2, 0, 1, 0};
  EXPECT_EQ(frameRecord(fileToken).length, fileToken.size());
  EXPECT_EQ(frameRecord(fileToken, kMaxRecordBytes, false).kind, Framing::invalid);
  const std::vector<uint8_t> notAHeader = {0x24, 0, 0, 0};
  EXPECT_EQ(frameRecord(notAHeader).kind, Framing::invalid);
}

class BsmStream : public ::testing::Test {
 protected:
  std::vector<std::vector<uint8_t>> drain(RecordReader& reader) {
    std::vector<std::vector<uint8_t>> records;
    while (auto record = reader.nextRecord()) records.emplace_back(record->begin(), record->end());
    return records;
  }

  const std::vector<uint8_t> first = execRecord();
  const std::vector<uint8_t> second = BsmRecordBuilder(1).exit(0).subject32(4243).return32(0, 0).build();
  const std::vector<uint8_t> trail = concatenate({first, second, first});
};

TEST_F(BsmStream, RecordsSplitAcrossReadsAreReassembled) {
  RecordReader oneByte;
  std::vector<std::vector<uint8_t>> records;
  for (uint8_t byte : trail) {
    oneByte.feed(std::span(&byte, 1));
    for (auto& record : drain(oneByte)) records.push_back(std::move(record));
  }
  EXPECT_EQ(records, (std::vector<std::vector<uint8_t>>{first, second, first}));
  EXPECT_EQ(oneByte.pendingBytes(), 0u);

  std::mt19937 random(42);
  for (int round = 0; round < 50; ++round) {
    RecordReader chunked;
    std::vector<std::vector<uint8_t>> got;
    for (size_t at = 0; at < trail.size();) {
      const size_t length = std::min<size_t>(trail.size() - at, 1 + random() % 97);
      chunked.feed(std::span(trail).subspan(at, length));
      at += length;
      for (auto& record : drain(chunked)) got.push_back(std::move(record));
    }
    EXPECT_EQ(got.size(), 3u);
    EXPECT_EQ(got.back(), first);
  }
}

TEST_F(BsmStream, DamagedBytesAreSkippedAndReadingGoesOn) {
  testing::LogCapture logs;
  RecordReader reader;
  const std::vector<uint8_t> garbage = {0x00, 0x14, 0x00, 0x00, 0x00, 0x30, 0xff};  // includes a false header id
  const std::vector<uint8_t> cut(first.begin(), first.begin() + 40);
  const auto damaged = concatenate({garbage, first, cut, second, first});
  // The cut record's length reaches past what has come so far: the stream
  // waits for more bytes rather than guessing.
  reader.feed(damaged);
  auto records = drain(reader);
  reader.feed(first);
  for (auto& record : drain(reader)) records.push_back(std::move(record));
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[0], first);
  EXPECT_EQ(records[1], second);
  EXPECT_EQ(records[3], first);
  EXPECT_EQ(reader.skippedBytes(), garbage.size() + cut.size());
  EXPECT_TRUE(logs.containsPrefix("BSM reader: bytes that start no audit record"));

  // A finished trail has no more bytes to wait for.
  std::vector<size_t> sizes;
  const auto skipped = forEachRecord(concatenate({first, cut, second}),
                                     [&](size_t, std::span<const uint8_t> record) { sizes.push_back(record.size()); });
  EXPECT_EQ(sizes, (std::vector<size_t>{first.size(), second.size()}));
  EXPECT_EQ(skipped, cut.size());
}

TEST_F(BsmStream, InMemoryWalkSeesTheSameRecords) {
  std::vector<size_t> offsets;
  const auto skipped = forEachRecord(trail, [&](size_t offset, std::span<const uint8_t> record) {
    offsets.push_back(offset);
    EXPECT_EQ(record.size(), offsets.size() == 2 ? second.size() : first.size());
  });
  EXPECT_EQ(skipped, 0u);
  EXPECT_EQ(offsets, (std::vector<size_t>{0, first.size(), first.size() + second.size()}));
}

}  // namespace
}  // namespace sondrel::bsm

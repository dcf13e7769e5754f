// The BSM reader on real audit trails, checked against the records that
// OpenBSM's own library decoded from the same bytes.

#include <gtest/gtest.h>
#include <simdjson.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "common/json_writer.h"
#include "inspect/bsm_json.h"
#include "session/bsm_reader.h"
#include "session/bsm_token.h"

namespace sondrel::bsm {
namespace {

const std::string kBsmFolder = std::string(SONDREL_CORPUS_DIR) + "/bsm";

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) out.push_back(line);
  }
  return out;
}

// Same JSON value: numbers compared as numbers, arrays and objects element by element.
bool sameValue(simdjson::dom::element expected, simdjson::dom::element actual) {
  using simdjson::dom::element_type;
  const auto type = expected.type();
  if (type == element_type::INT64 || type == element_type::UINT64) {
    auto want = expected.get_uint64();
    auto got = actual.get_uint64();
    if (want.error() || got.error()) return expected.get_int64().value() == actual.get_int64().value();
    return want.value() == got.value();
  }
  if (type != actual.type()) return false;
  if (type == element_type::STRING) return std::string_view(expected) == std::string_view(actual);
  if (type == element_type::ARRAY) {
    simdjson::dom::array a = expected, b = actual;
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
      if (!sameValue(a.at(i).value(), b.at(i).value())) return false;
    }
    return true;
  }
  return simdjson::to_string(expected) == simdjson::to_string(actual);
}

class BsmCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::is_directory(kBsmFolder)) GTEST_SKIP() << "no corpus at " << kBsmFolder;
  }

  std::vector<uint8_t> trail(const std::string& name) {
    const auto text = readAll(kBsmFolder + "/" + name + ".bsm");
    return {text.begin(), text.end()};
  }

  // Every field the oracle decoded must be there with the same value.
  void expectAgreesWithOracle(const std::string& name) {
    const auto bytes = trail(name);
    const auto oracle = lines(readAll(kBsmFolder + "/" + name + ".expected.jsonl"));
    std::vector<std::string> ours;
    const auto skipped = forEachRecord(bytes, [&](size_t offset, std::span<const uint8_t> record) {
      tools::JsonWriter json;
      EXPECT_TRUE(tools::writeBsmRecordJson(json, ours.size() + 1, offset, record)) << "record at " << offset;
      ours.push_back(json.str());
    });
    EXPECT_EQ(skipped, 0u);
    ASSERT_EQ(ours.size(), oracle.size());

    simdjson::dom::parser expectedParser, actualParser;
    for (size_t i = 0; i < oracle.size(); ++i) {
      simdjson::dom::element expected = expectedParser.parse(oracle[i]).value();
      simdjson::dom::element actual = actualParser.parse(ours[i]).value();
      for (const char* key : {"rec", "off", "len"}) {
        EXPECT_EQ(uint64_t(expected[key]), uint64_t(actual[key])) << name << " record " << i + 1 << " " << key;
      }
      simdjson::dom::array expectedTokens = expected["tokens"], actualTokens = actual["tokens"];
      ASSERT_EQ(expectedTokens.size(), actualTokens.size()) << name << " record " << i + 1;
      for (size_t t = 0; t < expectedTokens.size(); ++t) {
        simdjson::dom::object want = expectedTokens.at(t).value();
        simdjson::dom::object got = actualTokens.at(t).value();
        for (auto field : want) {
          if (field.key == "libbsm" || field.key == "layout_len") continue;
          auto value = got[field.key];
          ASSERT_FALSE(value.error()) << name << " record " << i + 1 << " token " << t << " lacks " << field.key;
          EXPECT_TRUE(sameValue(field.value, value.value()))
              << name << " record " << i + 1 << " token " << t << " field " << field.key << ": want "
              << simdjson::to_string(field.value) << " got " << simdjson::to_string(value.value());
        }
      }
    }
  }
};

TEST_F(BsmCorpus, SmallTrailAgreesWithOracleFieldByField) { expectAgreesWithOracle("trail-small"); }

TEST_F(BsmCorpus, AuditdTrailWithFileTokensAgreesWithOracle) { expectAgreesWithOracle("trail-filetok"); }

TEST_F(BsmCorpus, FiftyArgumentSampleAgreesWithOracle) {
  expectAgreesWithOracle("sample-openbsm-execve-long-args");
  // Beyond the oracle: every argument, in order, is there.
  const auto bytes = trail("sample-openbsm-execve-long-args");
  std::vector<std::string> arguments;
  for (const auto& token : collectTokens(bytes)) {
    if (token.id == kExecArgs) {
      std::get<ExecStringsToken>(token.value).forEach([&](std::string_view s) { arguments.emplace_back(s); });
    }
  }
  ASSERT_EQ(arguments.size(), 50u);
  EXPECT_EQ(arguments.front(), "grep");
  EXPECT_EQ(arguments.back(), "libbsm.la");
}

// The audit pipe hands out bytes, not records: any cut must give the same records.
TEST_F(BsmCorpus, StreamFedInAnyChunksGivesTheSameRecords) {
  const auto bytes = trail("trail-small");
  std::vector<std::vector<uint8_t>> whole;
  forEachRecord(bytes, [&](size_t, std::span<const uint8_t> record) { whole.emplace_back(record.begin(), record.end()); });
  ASSERT_EQ(whole.size(), 41u);

  auto readInChunks = [&](auto nextChunkLength) {
    RecordReader reader(false);
    std::vector<std::vector<uint8_t>> records;
    for (size_t at = 0; at < bytes.size();) {
      const size_t length = std::min(bytes.size() - at, nextChunkLength());
      reader.feed(std::span(bytes).subspan(at, length));
      at += length;
      while (auto record = reader.nextRecord()) records.emplace_back(record->begin(), record->end());
    }
    EXPECT_EQ(reader.skippedBytes(), 0u);
    return records;
  };
  EXPECT_EQ(readInChunks([] { return size_t{1}; }), whole);
  std::mt19937 random(7);
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(readInChunks([&] { return size_t{1} + random() % 512; }), whole) << "round " << round;
  }
}

}  // namespace
}  // namespace sondrel::bsm

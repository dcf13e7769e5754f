// Real property lists written by macOS tools, binary and XML.
#include <gtest/gtest.h>

#include <algorithm>

#include "corpus/corpus_paths.h"
#include "frame/file_utils.h"
#include "frame/plist_cache.h"
#include "frame/plist_value.h"

namespace sondrel {
namespace {

TEST(PlistCorpus, EverySampleParsesAndSurvivesOurBinaryEncoding) {
  SONDREL_SKIP_WITHOUT_CORPUS("plists");
  const auto files = testing::corpusFiles("plists");
  ASSERT_FALSE(files.empty());
  for (const auto& path : files) {
    auto bytes = readFileCapped(path);
    ASSERT_TRUE(bytes) << path;
    auto value = parsePlist(*bytes);
    ASSERT_TRUE(value) << path;
    auto encoded = encodeBinaryPlist(*value);
    ASSERT_TRUE(encoded) << path;
    EXPECT_EQ(parsePlist(*encoded), value) << path;
  }
}

TEST(PlistCorpus, LaunchdJobsYieldTheirLabelAndProgram) {
  SONDREL_SKIP_WITHOUT_CORPUS("plists");
  const auto path = testing::corpusDir() / "plists/osquery_test_launchd_com.apple.mDNSResponder.plist";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "sample absent";
  const auto found = CommonUtils::getPlistAttributes({"Label", "ProgramArguments"}, path.string());
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(*found[0].second.asString(), "com.apple.mDNSResponder");
  ASSERT_NE(found[1].second.asArray(), nullptr);
  EXPECT_EQ(*found[1].second.asArray()->front().asString(), "/usr/sbin/mDNSResponder");
}

TEST(PlistCorpus, BinarySampleFromAppleToolsIsADictionary) {
  SONDREL_SKIP_WITHOUT_CORPUS("plists");
  const auto path = testing::corpusDir() / "plists/osquery_test_binary_SessionItems.bplist";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "sample absent";
  auto bytes = readFileCapped(path.string());
  ASSERT_TRUE(bytes);
  ASSERT_TRUE(bytes->starts_with("bplist00"));
  auto value = parsePlist(*bytes);
  ASSERT_TRUE(value);
  EXPECT_NE(value->asDictionary(), nullptr);
}

}  // namespace
}  // namespace sondrel

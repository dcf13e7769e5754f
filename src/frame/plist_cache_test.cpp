#include "frame/plist_cache.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using CommonUtils::cacheStringArray;
using CommonUtils::getPlistAttributes;
using CommonUtils::loadCachedStringArray;

TEST(StringArrayCache, RoundTripsAsAPrivateBinaryPropertyList) {
  testing::TempFolder folder;
  const std::string path = folder / "nested/cache/crash.plist";
  const std::vector<std::string> paths = {"/Library/Logs/DiagnosticReports/a.ips", "", "naïve ✓", "x\ny"};
  cacheStringArray(paths, path);

  EXPECT_EQ(loadCachedStringArray(path), paths);
  EXPECT_TRUE(testing::readWholeFile(path).starts_with("bplist00"));
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  ASSERT_EQ(::stat((folder / "nested/cache").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
}

TEST(StringArrayCache, UnusableFilesAreReportedAsNoList) {
  testing::TempFolder folder;
  testing::LogCapture logs;
  EXPECT_FALSE(loadCachedStringArray(folder / "missing.plist"));
  EXPECT_FALSE(loadCachedStringArray(folder.write("garbage.plist", "bplist00 not really")));
  EXPECT_FALSE(loadCachedStringArray(folder.write(
      "numbers.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><integer>1</integer></array></plist>")));
  EXPECT_FALSE(loadCachedStringArray(folder.write(
      "dict.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>b</string></dict></plist>")));
  EXPECT_GE(logs.lines().size(), 4u);
  EXPECT_EQ(loadCachedStringArray(folder.write(
                "empty.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>")),
            std::vector<std::string>{});
}

TEST(StringArrayCache, WriteFailuresAreLoggedAndLeaveNothingBehind) {
  testing::TempFolder folder;
  testing::LogCapture logs;
  folder.write("blocker", "a file where a folder should be");
  cacheStringArray({"a"}, folder / "blocker/cache.plist");
  EXPECT_TRUE(logs.contains("Failed to create directory for cache file."));

  ASSERT_EQ(::mkdir((folder / "readonly").c_str(), 0500), 0);
  if (::geteuid() != 0) {  // root writes anywhere
    cacheStringArray({"a"}, folder / "readonly/cache.plist");
    EXPECT_TRUE(logs.contains("Failed to cache data to file: " + folder / "readonly/cache.plist"));
  }
}

TEST(StringArrayCache, AReaderNeverSeesATornFile) {
  testing::TempFolder folder;
  const std::string path = folder / "cache.plist";
  std::vector<std::string> small = {"only"};
  std::vector<std::string> large;
  for (int i = 0; i < 5000; ++i) large.push_back("/Library/Logs/DiagnosticReports/report-" + std::to_string(i));
  cacheStringArray(small, path);

  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 0; i < 60; ++i) cacheStringArray(i % 2 ? small : large, path);
    done = true;
  });
  int reads = 0;
  while (!done.load()) {
    auto loaded = loadCachedStringArray(path);
    ASSERT_TRUE(loaded.has_value()) << "a read failed mid-write";
    ASSERT_TRUE(*loaded == small || *loaded == large) << "a read saw a mix of two writes";
    ++reads;
  }
  writer.join();
  EXPECT_GT(reads, 0);
}

TEST(PlistAttributes, ReadsOnlyTheNamedTopLevelKeys) {
  testing::TempFolder folder;
  const std::string path = folder.write("job.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>Label</key><string>com.example.agent</string>
  <key>ProgramArguments</key><array><string>/usr/local/bin/agent</string><string>--daemon</string></array>
  <key>RunAtLoad</key><true/>
  <key>Nested</key><dict><key>Label</key><string>not top level</string></dict>
</dict>
</plist>)");
  const auto found = getPlistAttributes({"Label", "ProgramArguments", "Program"}, path);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].first, "Label");
  EXPECT_EQ(*found[0].second.asString(), "com.example.agent");
  ASSERT_NE(found[1].second.asArray(), nullptr);
  EXPECT_EQ(*found[1].second.asArray()->at(0).asString(), "/usr/local/bin/agent");
  EXPECT_TRUE(getPlistAttributes({"Label"}, folder / "missing.plist").empty());
}

TEST(PlistValue, EveryKindSurvivesABinaryRoundTrip) {
  PlistDictionary entries = {
      {"flag", PlistValue{true}},
      {"count", PlistValue{int64_t{-42}}},
      {"big", PlistValue{int64_t{1} << 40}},
      {"ratio", PlistValue{0.25}},
      {"name", PlistValue{std::string("tëxt")}},
      {"data", PlistValue{PlistData{0, 1, 2, 255}}},
      {"when", PlistValue{PlistDate{1700000000.5}}},
      {"list", PlistValue{PlistArray{PlistValue{std::string("a")}, PlistValue{false}}}},
  };
  const PlistValue original{entries};
  auto encoded = encodeBinaryPlist(original);
  ASSERT_TRUE(encoded);
  auto decoded = parsePlist(*encoded);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(*decoded, original);
}

TEST(PlistValue, TextWithANulByteIsReadNotAborted) {
  const std::string xml = std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Label</key><string>a") +
                          '\0' + "b</string></dict></plist>";
  auto value = parsePlist(xml);
  ASSERT_TRUE(value);
  ASSERT_NE(value->find("Label"), nullptr);
  EXPECT_TRUE(value->find("Label")->asString()->starts_with("a"));
}

TEST(PlistValue, TextThatCannotBeWrittenFaithfullyIsRefusedNotCorrupted) {
  EXPECT_FALSE(encodeBinaryPlist(PlistValue{PlistArray{PlistValue{std::string("\xf8not utf-8")}}}));
  EXPECT_FALSE(encodeBinaryPlist(PlistValue{PlistArray{PlistValue{std::string("cut\0here", 8)}}}));
  EXPECT_FALSE(encodeBinaryPlist(PlistValue{PlistDictionary{{"k\xff", PlistValue{true}}}}));
  testing::TempFolder folder;
  testing::LogCapture logs;
  cacheStringArray({"fine", "\xc3("}, folder / "cache.plist");
  EXPECT_TRUE(logs.contains("Failed to cache data to file: " + folder / "cache.plist"));
}

TEST(PlistValue, RejectsWhatIsNotAPropertyList) {
  EXPECT_FALSE(parsePlist(""));
  EXPECT_FALSE(parsePlist("bplist00"));
  EXPECT_FALSE(parsePlist("{\"json\": true}"));
  EXPECT_FALSE(parsePlist(std::string(100, '\xff')));
}

}  // namespace
}  // namespace sondrel

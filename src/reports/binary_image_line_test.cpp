#include "reports/binary_image_line.h"

#include <gtest/gtest.h>
#include <re2/re2.h>

#include <string>

namespace sondrel {
namespace {

// The hand-written reader must agree with the pattern it replaces, groups included.
void expectSameAsPattern(const std::string& line) {
  static const RE2 pattern(kBinaryImagePattern);
  std::string name, version, path;
  const bool matched = RE2::PartialMatch(line, pattern, &name, &version, &path);
  const auto fields = matchBinaryImageLine(line);
  ASSERT_EQ(fields.has_value(), matched) << line;
  if (!matched) return;
  EXPECT_EQ(fields->name, name) << line;
  EXPECT_EQ(fields->version, version) << line;
  EXPECT_EQ(fields->path, path) << line;
}

TEST(BinaryImageLine, ReadsTheLayoutsOfEverySystemVersion) {
  const auto fields = matchBinaryImageLine(
      "0x10f0b8000 -        0x10f0bbfff +com.example.demo (1.2 - 34) <01D2A9D5-1F8A-35C8-9228-7C7CCA13C5FC> "
      "/Applications/Demo.app/Contents/MacOS/Demo");
  ASSERT_TRUE(fields);
  EXPECT_EQ(fields->name, "com.example.demo");
  EXPECT_EQ(fields->version, "1.2 - 34");
  EXPECT_EQ(fields->path, "/Applications/Demo.app/Contents/MacOS/Demo");
  for (const char* line : {
           "0x10f0b8000 - 0x10f0bbfff +com.example.demo (1.2 - 34) <01D2A9D5> /Applications/Demo.app/Contents/MacOS/Demo",
           "0x7ff80a1a9000 -     0x7ff80a1e0fff libsystem_kernel.dylib (8020.121.3) <AB8B2B4A> /usr/lib/system/libsystem_kernel.dylib",
           "0x1 - 0x2 \x3f\x3f\x3f (\x3f\x3f\x3f) <> /x",
           "0x1 - 0x2 a (b) <c> d (e) <f> g",
           "0x1 - 0x2 a (b) <c> d (e) <f>  ",
           "0x1 - 0x2 a (b) <c>  ",
           "0x1 - 0x2 a (b) <c> ",
           "0x1 - 0x2 + (b) <c> /p",
           "0x1 - 0x2 ++ (b) <c> /p",
           "0x1 - 0x2 a () <c> /p",
           "0x1 - 0x2 a ()) <c> /p",
           "0x1 - 0x2 a (b)\t<c>\f/p\r",
           "0x1 - 0x2 a (b) <c>> /p > q",
           "0x1 - 0x2 a (b) <> > /p",
           "0x1 - 0x2 a (b) <<>> /p",
           "0x1 - 0x2 a (b)<c> /p",
           "0x1 - 0x2 a (b) <c>/p",
           "0x1 - 0x2 a\v(b) <c> /p",
           "0xA - 0x2 a (b) <c> /p",
           "0x1 -0x2 a (b) <c> /p",
           "  0x1 - 0x2 a (b) <c> /p",
           "0x1 - 0x2 a (b) <c> /p (1) <2> /q",
           "0x1 - 0x2 a (b (c) <d> e) <f> /g",
       }) {
    expectSameAsPattern(line);
  }
}

}  // namespace
}  // namespace sondrel

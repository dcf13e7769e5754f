#include "frame/c_strings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "frame/export_guard.h"

namespace sondrel {
namespace {

TEST(CopyCString, CutsAtWidthMinusOneEvenInsideACharacterAndZeroesTheRest) {
  char field[8];
  std::memset(field, 'X', sizeof field);
  CommonUtils::copyCString("abc", field);
  EXPECT_STREQ(field, "abc");
  for (size_t i = 3; i < sizeof field; ++i) EXPECT_EQ(field[i], '\0') << i;

  const std::string long300(300, 'n');
  char name[256];
  CommonUtils::copyCString(long300, name);
  EXPECT_EQ(std::strlen(name), 255u);

  CommonUtils::copyCString("abcdef\xc3\xa9", field);  // 'é' straddles the cut
  EXPECT_EQ(std::string(field), "abcdef\xc3");
  EXPECT_EQ(field[7], '\0');
}

TEST(MakeCString, CopiesIncludingEmptyText) {
  char* copy = CommonUtils::makeCString("report");
  ASSERT_NE(copy, nullptr);
  EXPECT_STREQ(copy, "report");
  std::free(copy);
  char* empty = CommonUtils::makeCString("");
  ASSERT_NE(empty, nullptr);
  EXPECT_STREQ(empty, "");
  std::free(empty);
}

TEST(Utf8OrEmpty, AcceptsWellFormedTextOnly) {
  EXPECT_EQ(utf8OrEmpty(nullptr), "");
  EXPECT_EQ(utf8OrEmpty("/var/cache/agent"), "/var/cache/agent");
  EXPECT_EQ(utf8OrEmpty("caf\xc3\xa9 \xf0\x9f\x93\x81"), "caf\xc3\xa9 \xf0\x9f\x93\x81");
  EXPECT_EQ(utf8OrEmpty("\xff"), "");
  EXPECT_EQ(utf8OrEmpty("trunc\xc3"), "");
  EXPECT_EQ(utf8OrEmpty("\xc0\xaf"), "") << "overlong slash";
  EXPECT_EQ(utf8OrEmpty("\xed\xa0\x80"), "") << "surrogate";
  EXPECT_EQ(utf8OrEmpty("\xf4\x90\x80\x80"), "") << "past U+10FFFF";
}

}  // namespace
}  // namespace sondrel

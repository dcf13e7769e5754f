#include "frame/json_blocks.h"

#include <gtest/gtest.h>

namespace sondrel {
namespace {

using CommonUtils::getJsonBlock;

TEST(GetJsonBlock, SplitsHeaderLineFromBody) {
  const std::string text = "{\"bug_type\":\"309\"}\n{\n \"a\": {\"b\": [1, {\"c\": 2}]}\n}\n";
  const auto blocks = getJsonBlock(text);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0], "{\"bug_type\":\"309\"}");
  EXPECT_EQ(blocks[1], "{\n \"a\": {\"b\": [1, {\"c\": 2}]}\n}");
}

TEST(GetJsonBlock, BracesInsideStringsAndEscapesDoNotCount) {
  const std::string text = R"({"s":"}{ \" } \\"}{"t":"\\\"{"})";
  const auto blocks = getJsonBlock(text);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0], R"({"s":"}{ \" } \\"})");
  EXPECT_EQ(blocks[1], R"({"t":"\\\"{"})");
}

TEST(GetJsonBlock, MalformedTextNeverYieldsAHalfObject) {
  EXPECT_TRUE(getJsonBlock("").empty());
  EXPECT_TRUE(getJsonBlock("}}}").empty());
  EXPECT_TRUE(getJsonBlock("{\"open\": {\"never\": \"closed\"}").empty());
  EXPECT_TRUE(getJsonBlock("{\"s\": \"unterminated }").empty());
  const auto blocks = getJsonBlock("} stray {\"ok\":1} trailing {");
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0], "{\"ok\":1}");
}

TEST(GetJsonBlock, DeepNestingIsLinearNotRecursive) {
  const std::string text = std::string(100000, '{') + std::string(100000, '}');
  const auto blocks = getJsonBlock(text);
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].size(), text.size());
}

}  // namespace
}  // namespace sondrel

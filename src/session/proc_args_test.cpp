#include "session/proc_args.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace sondrel {
namespace {

std::vector<uint8_t> area(int32_t argc, const std::string& rest) {
  std::vector<uint8_t> bytes(sizeof argc + rest.size());
  std::memcpy(bytes.data(), &argc, sizeof argc);
  if (!rest.empty()) std::memcpy(bytes.data() + sizeof argc, rest.data(), rest.size());
  return bytes;
}

using namespace std::string_literals;

TEST(ProcArgs2, PathPaddingArgumentsAndEnvironment) {
  const auto bytes = area(3, "/usr/bin/git\0\0\0\0git\0status\0--short\0PATH=/usr/bin\0HOME=/Users/a\0"s);
  const auto parsed = parseProcArgs2(bytes);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->path, "/usr/bin/git");
  // argc bounds the list: the environment that follows is not an argument.
  EXPECT_EQ(parsed->arguments, (std::vector<std::string>{"git", "status", "--short"}));
}

TEST(ProcArgs2, FewerStringsThanArgcGivesTheStringsFound) {
  const auto parsed = parseProcArgs2(area(5, "/bin/sh\0sh\0-c\0"s));
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->arguments, (std::vector<std::string>{"sh", "-c"}));
}

TEST(ProcArgs2, NeverReadsPastTheReturnedSize) {
  // The kernel's buffer is larger than what it filled: the caller passes only
  // the filled part, and a string cut at its end is not taken whole.
  auto bytes = area(2, "/bin/cat\0cat\0/etc/pass"s);
  const auto parsed = parseProcArgs2(bytes);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->arguments, (std::vector<std::string>{"cat"}));

  const auto pathOnly = parseProcArgs2(area(1, "/bin/unterminated"s));
  ASSERT_TRUE(pathOnly);
  EXPECT_EQ(pathOnly->path, "/bin/unterminated");
  EXPECT_TRUE(pathOnly->arguments.empty());
}

TEST(ProcArgs2, TooShortOrNegativeCount) {
  EXPECT_FALSE(parseProcArgs2(area(1, ""s)));
  EXPECT_FALSE(parseProcArgs2(std::vector<uint8_t>{1, 0}));
  const auto negative = parseProcArgs2(area(-4, "/bin/x\0a\0"s));
  ASSERT_TRUE(negative);
  EXPECT_TRUE(negative->arguments.empty());
}

}  // namespace
}  // namespace sondrel

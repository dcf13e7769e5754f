#include "services/service_content_parser.h"

#include <gtest/gtest.h>

#include "test_support/log_capture.h"

namespace sondrel {
namespace {

using testing::LogCapture;

TEST(ServiceListParser, SkipsHeaderReadsPidsAndKeepsTheDomainUid) {
  LogCapture logs;
  const auto records = ServiceContentParser().parseServiceList(
      "PID\tStatus\tLabel\n"
      "412\t0\tcom.apple.trustd.agent\n"
      "-\t0\tcom.apple.MailServiceAgent\n"
      "-\t-9\tcom.example.crashy\n"
      "  77\t0\tcom.example.padded  \r\n"
      "12abc\t0\tcom.example.oddpid\n",
      501u);
  ASSERT_TRUE(records);
  ASSERT_EQ(records->size(), 5u);
  EXPECT_EQ((*records)[0], (ServiceRawData{"com.apple.trustd.agent", 412, 501u}));
  EXPECT_EQ((*records)[1], (ServiceRawData{"com.apple.MailServiceAgent", std::nullopt, 501u}));
  EXPECT_FALSE((*records)[2].pid);
  EXPECT_EQ((*records)[3], (ServiceRawData{"com.example.padded", 77, 501u}));
  EXPECT_FALSE((*records)[4].pid) << "a pid column that is not wholly a number gives no pid";
}

TEST(ServiceListParser, ShortOrUntabbedLinesAreLoggedAndSkipped) {
  LogCapture logs;
  const auto records =
      ServiceContentParser().parseServiceList("PID\tStatus\tLabel\n-\t0\tx\n   \nno tabs in this line\n1\t0\tcom.ok\n",
                                              std::nullopt);
  ASSERT_TRUE(records);
  ASSERT_EQ(records->size(), 1u);
  EXPECT_EQ((*records)[0], (ServiceRawData{"com.ok", 1, std::nullopt}));
  EXPECT_TRUE(logs.contains("Invalid line: -\t0\tx"));
  EXPECT_TRUE(logs.contains("Invalid line: "));
  EXPECT_TRUE(logs.contains("Invalid line: no tabs in this line"));
}

TEST(ServiceListParser, EmptyContentIsNoListButAHeaderAloneIsAnEmptyOne) {
  LogCapture logs;
  EXPECT_FALSE(ServiceContentParser().parseServiceList("", std::nullopt));
  EXPECT_FALSE(ServiceContentParser().parseServiceList("\n\n", std::nullopt));
  EXPECT_TRUE(logs.contains("The content does not contain any lines."));
  const auto headerOnly = ServiceContentParser().parseServiceList("PID\tStatus\tLabel\n", std::nullopt);
  ASSERT_TRUE(headerOnly);
  EXPECT_TRUE(headerOnly->empty());
}

TEST(UidListParser, ReadsRunsOfSpacesAndSkipsWhatIsNotAnUnsignedId) {
  LogCapture logs;
  const auto uids = ServiceContentParser().parseUids(
      "_amavisd                 83\n"
      "daemon                   1\n"
      "nobody                   -2\n"
      "root                     0\n"
      "ab\n"
      "alice     501   \n"
      "bob 4294967296\n");
  ASSERT_TRUE(uids);
  EXPECT_EQ(*uids, (std::vector<uint32_t>{83, 1, 0, 501}));
  EXPECT_TRUE(logs.contains("Failed to parse the line ab"));
  EXPECT_TRUE(logs.contains("Failed to parse the line nobody                   -2"));
  EXPECT_TRUE(logs.contains("Failed to parse the line bob 4294967296")) << "past 32 bits";
}

TEST(ServiceProgramParser, TakesTheQuotedProgramKeyNotProgramArguments) {
  const std::string text =
      "{\n"
      "\t\"LimitLoadToSessionType\" = \"Aqua\";\n"
      "\t\"ProgramArguments\" = (\n"
      "\t\t\"/usr/libexec/other\";\n"
      "\t);\n"
      "\t\"Label\" = \"com.apple.cloudphotod\";\n"
      "\t\"Program\" = \"/System/Library/PrivateFrameworks/CloudPhotoLibrary.framework/cloudphotod\";\n"
      "};\n";
  EXPECT_EQ(ServiceContentParser().parseServiceProgram(text),
            "/System/Library/PrivateFrameworks/CloudPhotoLibrary.framework/cloudphotod");
}

TEST(ServiceProgramParser, KeepsEverythingAfterTheFirstEquals) {
  EXPECT_EQ(ServiceContentParser().parseServiceProgram("\t\"Program\" = \"/opt/tool --mode=fast\";\n"),
            "/opt/tool --mode=fast");
}

TEST(ServiceProgramParser, OnlyProgramArgumentsGivesNothingAndLogsTheContent) {
  LogCapture logs;
  const std::string text = "{\n\t\"ProgramArguments\" = (\n\t\t\"/usr/bin/true\";\n\t);\n};\n";
  EXPECT_FALSE(ServiceContentParser().parseServiceProgram(text));
  EXPECT_TRUE(logs.contains("Failed to parse the content " + text));
}

TEST(ServiceProgramParser, ShortLinesAreNotConsidered) {
  // "\"Program\"=x" is 11 characters: too short to be a real entry.
  EXPECT_FALSE(ServiceContentParser().parseServiceProgram("\"Program\"=x\n"));
  EXPECT_EQ(ServiceContentParser().parseServiceProgram("\"Program\"=/x;\n"), "/x");
}

}  // namespace
}  // namespace sondrel

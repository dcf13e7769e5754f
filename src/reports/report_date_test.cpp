#include "reports/report_date.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

namespace sondrel {
namespace {

TEST(ParseReportDate, AcceptsEveryFractionLengthAndBothOffsetForms) {
  // 2022-08-05 11:24:19 UTC
  constexpr double kUtc = 1659698659;
  EXPECT_DOUBLE_EQ(*parseReportDate("2022-08-05 13:24:19.5312 +0200"), kUtc + 0.5312);
  EXPECT_DOUBLE_EQ(*parseReportDate("2022-08-05 13:24:19.531 +02:00"), kUtc + 0.531);
  EXPECT_DOUBLE_EQ(*parseReportDate("2022-08-05 13:24:19.53 +0200"), kUtc + 0.53);
  EXPECT_DOUBLE_EQ(*parseReportDate("2022-08-05 13:24:19 +0200"), kUtc);
  EXPECT_DOUBLE_EQ(*parseReportDate("2022-08-05 06:54:19.000000001 -0430"), kUtc + 1e-9);
  EXPECT_DOUBLE_EQ(*parseReportDate("  2022-08-05 11:24:19.00 +0000\n"), kUtc);
}

TEST(ParseReportDate, CrossesDayAndLeapBoundariesThroughTheOffset) {
  EXPECT_DOUBLE_EQ(*parseReportDate("2024-03-01 00:30:00.0 +0100"), 1709249400);  // 2024-02-29 23:30 UTC
  EXPECT_DOUBLE_EQ(*parseReportDate("1970-01-01 00:00:00.00 +0000"), 0);
  EXPECT_DOUBLE_EQ(*parseReportDate("1969-12-31 23:00:00.00 -0100"), 0);
}

TEST(ParseReportDate, RejectsWhatIsNotADate) {
  for (const char* text : {"", "2022-08-05", "2022-08-05 13:24:19.5312", "2022-08-05 13:24:19.5312 0200",
                           "2022-08-05 13:24:19. +0200", "2022-13-05 13:24:19.1 +0200", "2023-02-29 13:24:19.1 +0200",
                           "2022-08-05 24:00:00.1 +0200", "2022-08-05 13:24:19.1 +02", "2022-08-05 13:24:19.1 +0200x",
                           "22-08-05 13:24:19.1 +0200", "2022-08-05T13:24:19.1 +0200"}) {
    EXPECT_FALSE(parseReportDate(text)) << text;
  }
}

TEST(WholeSecondsOrZero, CutsTheFractionAndRefusesWhatAUnsignedCountCannotHold) {
  EXPECT_EQ(wholeSecondsOrZero(1659698659.9999), 1659698659u);
  EXPECT_EQ(wholeSecondsOrZero(std::nullopt), 0u);
  EXPECT_EQ(wholeSecondsOrZero(-0.5), 0u);
  EXPECT_EQ(wholeSecondsOrZero(1e30), 0u);
  EXPECT_EQ(wholeSeconds(0.0), 0u);
  EXPECT_EQ(wholeSeconds(18446744073709549568.0), 18446744073709549568u);  // the largest double below 2^64
  for (double unfit : {-0.5, 18446744073709551616.0, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(wholeSeconds(unfit)) << unfit;
  }
}

TEST(ParsePanicDateLine, ReadsTheOlderPanicDateInLocalTime) {
  std::tm parts{};
  parts.tm_year = 2018 - 1900;
  parts.tm_mon = 5;
  parts.tm_mday = 16;
  parts.tm_hour = 14;
  parts.tm_min = 12;
  parts.tm_sec = 49;
  parts.tm_isdst = -1;
  const auto expected = static_cast<double>(std::mktime(&parts));
  EXPECT_DOUBLE_EQ(*parsePanicDateLine("Sat Jun 16 14:12:49 2018"), expected);
  parts = {};
  parts.tm_year = 2018 - 1900;
  parts.tm_mon = 5;
  parts.tm_mday = 6;
  parts.tm_hour = 4;
  parts.tm_isdst = -1;
  EXPECT_DOUBLE_EQ(*parsePanicDateLine("Wed Jun  6 04:00:00 2018"), static_cast<double>(std::mktime(&parts)));
  EXPECT_FALSE(parsePanicDateLine("*** Panic Report ***"));
  EXPECT_FALSE(parsePanicDateLine("Sat Jun 31 14:12:49 2018"));
  EXPECT_FALSE(parsePanicDateLine("Sat Jun 16 14:12:49"));
}

}  // namespace
}  // namespace sondrel

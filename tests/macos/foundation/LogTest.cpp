// SPDX-License-Identifier: MIT
#include "macos/foundation/Log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include "macos/foundation/URL.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

// The process's time zone for one test.
class TimeZone {
 public:
  explicit TimeZone(const char* name) {
    if (const char* value = std::getenv("TZ")) previous_ = value;
    setenv("TZ", name, 1);
    tzset();
  }
  ~TimeZone() {
    previous_ ? setenv("TZ", previous_->c_str(), 1) : unsetenv("TZ");
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  std::optional<std::string> previous_;
};

TestHostOptions migrator() {
  TestHostOptions options;
  options.executable = "/opt/Vennick 5.app/Contents/MacOS/VennickMigrator";
  return options;
}

class Log : public testing::Test {
 protected:
  TestHost host_{migrator()};
  static std::string processAndThread() {
    return "[" + std::to_string(getpid()) + ":" + std::to_string(gettid()) + "] ";
  }
};

TEST_F(Log, WritesThePlatformsBannerInLocalTime) {
  const TimeZone zone("XYZ-1");
  NSLog("Converting 3 folder set(s)");
  const auto lines = host_.log().lines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0],
            "2026-11-21 03:30:31.123 VennickMigrator" + processAndThread() + "Converting 3 folder set(s)");
}

TEST_F(Log, CutsTheTimeToWholeMilliseconds) {
  const TimeZone zone("UTC");
  host_.clock().setNow(1'795'228'231'000'999'999);
  NSLog("x");
  EXPECT_EQ(host_.log().lines().at(0), "2026-11-21 02:30:31.000 VennickMigrator" + processAndThread() + "x");
}

TEST_F(Log, ShowsATimeBefore1970) {
  const TimeZone zone("UTC");
  host_.clock().setNow(-1);
  NSLog("x");
  EXPECT_EQ(host_.log().lines().at(0), "1969-12-31 23:59:59.999 VennickMigrator" + processAndThread() + "x");
}

TEST_F(Log, AddsNoSecondLineFeed) {
  NSLog("text\n");
  NSLog("text\n\n");
  EXPECT_TRUE(host_.log().lines().at(0).ends_with("] text"));
  EXPECT_TRUE(host_.log().lines().at(1).ends_with("] text\n"));
}

TEST_F(Log, DropsEmptyAndHugeMessages) {
  NSLog("");
  NSLog(std::string((16U << 20) + 1, 'x'));
  EXPECT_TRUE(host_.log().lines().empty());
  NSLog(std::string(16U << 20, 'x'));
  EXPECT_EQ(host_.log().lines().size(), 1U);
}

TEST_F(Log, TakesNoMessageForAFormat) {
  NSLog("100 %s %n %@");
  syslogMessage(LOG_PRIORITY_ALERT, "%n%s");
  EXPECT_TRUE(host_.log().lines().at(0).ends_with("] 100 %s %n %@"));
  ASSERT_EQ(host_.log().systemMessages().size(), 1U);
  EXPECT_EQ(host_.log().systemMessages()[0], std::pair(1, std::string("%n%s")));
}

TEST_F(Log, LogsAStatusOnlyWhenItIsAFailure) {
  NSLogStatus(Status());
  EXPECT_TRUE(host_.log().lines().empty());
  NSLogStatus(Status(ErrorCode::Io, "/a", "broken"));
  EXPECT_TRUE(host_.log().contains("/a: broken"));
}

TEST(Description, ShowsScalarsAsTheyStand) {
  EXPECT_EQ(description(Value()), "(null)");
  EXPECT_EQ(description(Value(true)), "1");
  EXPECT_EQ(description(Value(false)), "0");
  EXPECT_EQ(description(Value(-5)), "-5");
  EXPECT_EQ(description(Value(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615");
  EXPECT_EQ(description(Value("two words")), "two words");
  EXPECT_EQ(description(Value("Größe")), "Größe");
  EXPECT_EQ(description(Value(NSDate{0})), "2001-01-01 00:00:00 +0000");
  EXPECT_EQ(description(Value(NSDate{-0.5})), "2000-12-31 23:59:59 +0000");
}

TEST(Description, ShowsRealsWithAsFewDigitsAsReadBackTheSame) {
  EXPECT_EQ(description(Value(1.0)), "1");
  EXPECT_EQ(description(Value(0.1)), "0.1");
  EXPECT_EQ(description(Value(100000.0)), "100000");
  EXPECT_EQ(description(Value(-2.5)), "-2.5");
  EXPECT_EQ(description(Value(1e300)), "1e+300");
  EXPECT_EQ(description(Value(0.1 + 0.2)), "0.30000000000000004");
  EXPECT_EQ(description(Value(std::numeric_limits<double>::infinity())), "inf");
}

TEST(Description, ShowsDataByItsByteCountSoThatALogLineStaysShort) {
  const Value data = Value::fromData(std::string(1000, 'x'));
  EXPECT_EQ(description(data), "{length = 1000}");
  EXPECT_EQ(description(Value(Array{data})), "(\n    {length = 1000}\n)");
  EXPECT_EQ(description(Value::fromData("\x01\xFF"), DataDescription::Bytes), "{length = 2, bytes = 0x01ff}");
}

TEST(Description, ShowsContainersInTheOldStyle) {
  const Value value(Dictionary{
      {"name", Value("Projects")},
      {"list", Value(Array{Value(1), Value("two words"), Value(Array{Value("x")}), Value(Dictionary{})})},
      {"com.example.key", Value(true)},
      {"nothing", Value()},
      {"inner", Value(Dictionary{{"a", Value("b")}})},
  });
  EXPECT_EQ(description(value),
            "{\n"
            "    \"com.example.key\" = 1;\n"
            "    inner =     {\n"
            "        a = b;\n"
            "    };\n"
            "    list =     (\n"
            "        1,\n"
            "        \"two words\",\n"
            "                (\n"
            "            x\n"
            "        ),\n"
            "                {\n"
            "        }\n"
            "    );\n"
            "    name = Projects;\n"
            "    nothing = \"<null>\";\n"
            "}");
  EXPECT_EQ(description(Value(Array{})), "(\n)");
}

TEST(Description, QuotesInContainersWhatIsNoPlainWord) {
  const auto inArray = [](const Value& value) {
    const std::string text = description(Value(Array{value}));
    return text.substr(6, text.size() - 8);
  };
  EXPECT_EQ(inArray(Value("abc123")), "abc123");
  EXPECT_EQ(inArray(Value("")), "\"\"");
  EXPECT_EQ(inArray(Value("a_b")), "\"a_b\"");
  EXPECT_EQ(inArray(Value("a.b")), "\"a.b\"");
  EXPECT_EQ(inArray(Value("-1")), "\"-1\"");
  EXPECT_EQ(inArray(Value(-1)), "\"-1\"");
  EXPECT_EQ(inArray(Value(1.5)), "\"1.5\"");
  EXPECT_EQ(inArray(Value("say \"hi\"\\\n\t")), "\"say \\\"hi\\\"\\\\\\n\\t\"");
  EXPECT_EQ(inArray(Value(std::string("\x01\x7F", 2))), "\"\\001\\177\"");
  EXPECT_EQ(inArray(Value("é中😀")), "\"\\U00e9\\U4e2d\\Ud83d\\Ude00\"");
  EXPECT_EQ(inArray(Value(NSDate{0})), "\"2001-01-01 00:00:00 +0000\"");
}

TEST(Description, StaysBoundedForDeepNesting) {
  Value value("x");
  for (int i = 0; i < 400; ++i) value = Value(Array{value});
  const std::string text = description(value);
  EXPECT_NE(text.find("..."), std::string::npos);
  EXPECT_LT(text.size(), 100'000U);
}

}  // namespace
}  // namespace macos

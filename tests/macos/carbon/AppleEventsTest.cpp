// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleEvents.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/TestHost.h"

using macos::AEBuildArgument;
using macos::AEBuildError;
using macos::AEDesc;
using macos::AliasHandle;
using macos::AppleEvent;
using macos::fourCharCode;
using macos::OSErr;

namespace {

constexpr macos::AEEventClass kClass = fourCharCode("core");
constexpr macos::AEEventID kID = fourCharCode("move");
constexpr macos::OSType kText = fourCharCode("pUT8");

class AppleEvents : public testing::Test {
 protected:
  static OSErr build(std::string_view format, std::vector<AEBuildArgument> arguments = {},
                     AppleEvent* event = nullptr, std::size_t* errorPosition = nullptr) {
    AppleEvent ignored;
    AEBuildError error;
    const OSErr code = macos::vAEBuildAppleEvent(
        kClass, kID, AEDesc::withCode(macos::typeApplSignature, 'a'), macos::kAutoGenerateReturnID,
        macos::kAnyTransactionID, event != nullptr ? event : &ignored, &error, format, arguments);
    if (errorPosition != nullptr) *errorPosition = error.position;
    return code;
  }

  static AEDesc param(const AppleEvent& event, macos::AEKeyword keyword) {
    AEDesc desc;
    EXPECT_EQ(macos::AEGetParamDesc(event, keyword, macos::typeWildCard, &desc), macos::noErr);
    return desc;
  }

  static AppleEvent eventWith(macos::AEKeyword keyword, AEDesc desc) {
    AppleEvent event = macos::AECreateAppleEvent(kClass, kID, {}, 7, 9);
    macos::AEPutParamDesc(&event, keyword, std::move(desc));
    return event;
  }

  vennick::tests::TestHost host_;
};

using AEBuild = AppleEvents;
using AEFlatten = AppleEvents;

}  // namespace

TEST_F(AEBuild, BuildsTheFindersMoveEvent) {
  AppleEvent event;
  ASSERT_EQ(
      build("insh:obj {\tform:prop,\twant:type(prop),\tseld:type(trsh),\tfrom:'null'()},'----':alis(@@)",
            {AliasHandle{"alias bytes"}}, &event),
      macos::noErr);
  EXPECT_EQ(event.eventClass, kClass);
  EXPECT_EQ(event.eventID, kID);
  ASSERT_EQ(event.parameters.fields.size(), 2U);

  const AEDesc place = param(event, fourCharCode("insh"));
  EXPECT_EQ(place.descriptorType, fourCharCode("obj "));
  ASSERT_TRUE(place.isRecord);
  ASSERT_EQ(place.fields.size(), 4U);
  EXPECT_EQ(*place.field(fourCharCode("form")),
            AEDesc::withCode(macos::typeEnumerated, fourCharCode("prop")));
  EXPECT_EQ(*place.field(fourCharCode("want")), AEDesc::withCode(macos::typeType, fourCharCode("prop")));
  EXPECT_EQ(*place.field(fourCharCode("seld")), AEDesc::withCode(macos::typeType, fourCharCode("trsh")));
  EXPECT_EQ(*place.field(fourCharCode("from")), AEDesc::withData(macos::typeNull, ""));
  EXPECT_EQ(param(event, macos::keyDirectObject), AEDesc::withData(macos::typeAlias, "alias bytes"));
}

TEST_F(AEBuild, BuildsTheFindersRefreshEvent) {
  AppleEvent event;
  ASSERT_EQ(build("'----':alis(@@)", {AliasHandle{"x"}}, &event), macos::noErr);
  EXPECT_EQ(event.parameters.fields.size(), 1U);
  EXPECT_EQ(param(event, macos::keyDirectObject), AEDesc::withData(macos::typeAlias, "x"));
}

TEST_F(AEBuild, PadsWordsToFourCharactersWithBlanks) {
  AppleEvent event;
  ASSERT_EQ(build("a:b,'cd':efg('h')", {}, &event), macos::noErr);
  EXPECT_EQ(param(event, fourCharCode("a   ")),
            AEDesc::withCode(macos::typeEnumerated, fourCharCode("b   ")));
  EXPECT_EQ(param(event, fourCharCode("cd  ")), AEDesc::withCode(fourCharCode("efg "), fourCharCode("h   ")));
}

TEST_F(AEBuild, LetsTabsBlanksAndNewLinesSeparate) {
  AppleEvent event;
  ASSERT_EQ(build("\t\n a \n:\t type ( b ) ,\n'cd' : rec1 {\n x : y }\n", {}, &event), macos::noErr);
  EXPECT_EQ(event.parameters.fields.size(), 2U);
  EXPECT_EQ(param(event, fourCharCode("cd  ")).fields.size(), 1U);
}

TEST_F(AEBuild, BuildsAnEventWithoutParameters) {
  AppleEvent event;
  ASSERT_EQ(build("", {}, &event), macos::noErr);
  EXPECT_TRUE(event.parameters.fields.empty());
  EXPECT_EQ(build(" \n", {}), macos::noErr);
}

TEST_F(AEBuild, BuildsRecordsInsideRecords) {
  AppleEvent event;
  ASSERT_EQ(build("a:b{c:d{e:f(@@)}}", {AliasHandle{"deep"}}, &event), macos::noErr);
  const AEDesc outer = param(event, fourCharCode("a   "));
  EXPECT_EQ(*outer.field(fourCharCode("c   "))->field(fourCharCode("e   ")),
            AEDesc::withData(fourCharCode("f   "), "deep"));
  EXPECT_EQ(build("a:b{}"), macos::noErr);
}

TEST_F(AEBuild, KeepsTheLastValueOfAKeyword) {
  AppleEvent event;
  ASSERT_EQ(build("a:b,a:c", {}, &event), macos::noErr);
  ASSERT_EQ(event.parameters.fields.size(), 1U);
  EXPECT_EQ(param(event, fourCharCode("a   ")),
            AEDesc::withCode(macos::typeEnumerated, fourCharCode("c   ")));
}

TEST_F(AEBuild, TakesArgumentsInOrder) {
  AppleEvent event;
  ASSERT_EQ(build("a:x(@@),b:y(@@)", {AliasHandle{"1"}, AliasHandle{"2"}, AliasHandle{"3"}}, &event),
            macos::noErr);
  EXPECT_EQ(param(event, fourCharCode("a   ")).data, "1");
  EXPECT_EQ(param(event, fourCharCode("b   ")).data, "2");
}

TEST_F(AEBuild, RefusesTooFewOrMistypedArguments) {
  EXPECT_EQ(build("a:x(@@)"), -1762);
  EXPECT_EQ(build("a:x(@@),b:y(@@)", {AliasHandle{"1"}}), -1762);
  EXPECT_EQ(build("a:x(@@)", {std::int32_t{1}}), -1762);
  EXPECT_EQ(build("a:x(@@)", {std::string("1")}), -1762);
  EXPECT_EQ(build("a:x(@@)", {AliasHandle{}}), -1762) << "a null handle";
}

TEST_F(AEBuild, RefusesWhatIsMalformed) {
  for (const char* format :
       {"a",        "a:",       ":b",        "a:b,",  ",a:b",    "a:b,,c:d", "a:b c:d", "a::b",      "a:b:c",
        "abcde:b",  "a:bcdef",  "'abcde':b", "'':b",  "'a:b",    "a:'b",     "a:b(",    "a:b)",      "a:b(c",
        "a:b(c d)", "a:b(c,d)", "a:b{",      "a:b}",  "a:b{c",   "a:b{c:",   "a:b{c:d", "a:b{c:d,}", "a:b{c}",
        "a:b(@@",   "a:b{c:d)", "(a:b)",     "{a:b}", "a:b\x01", "a:'\x01'"}) {
    EXPECT_EQ(build(format, {AliasHandle{"x"}}), -1762) << format;
  }
}

TEST_F(AEBuild, RefusesTheRestOfTheLanguage) {
  for (const char* format : {"a:1",
                             "a:-5",
                             "1:b",
                             "a:\"text\"",
                             "a:\xE2\x80\x9Ctext\xE2\x80\x9D",
                             "a:[b]",
                             "a:{b:c}",
                             "a:b([c])",
                             "a:b(1)",
                             "a:b(\"text\")",
                             "a:b(@)",
                             "a:@",
                             "a:@@",
                             "a:\xC2\xAB"
                             "00\xC2\xBB",
                             "~a:b",
                             "a:b($00$)",
                             "a:TEXT(@)",
                             "a:b(@@,@@)",
                             "a:b(@@)(@@)",
                             "a:b()()"}) {
    EXPECT_EQ(build(format, {AliasHandle{"x"}, AliasHandle{"y"}}), -1762) << format;
  }
}

TEST_F(AEBuild, TellsWhereItWentWrong) {
  std::size_t position = 0;
  EXPECT_EQ(build("a:b,c:5", {}, nullptr, &position), -1762);
  EXPECT_EQ(position, 6U);
}

TEST_F(AEBuild, LeavesTheResultAloneWhenItFails) {
  AppleEvent event = eventWith(fourCharCode("keep"), AEDesc::withData(kText, "it"));
  EXPECT_EQ(build("a:", {}, &event), -1762);
  EXPECT_EQ(event.returnID, 7);
  EXPECT_EQ(param(event, fourCharCode("keep")).data, "it");
}

TEST_F(AEBuild, RefusesRecordsThatAreTooDeep) {
  const auto nested = [](int depth) {
    std::string format;
    for (int level = 0; level < depth; ++level) format += "a:b{";
    return format + "c:d" + std::string(static_cast<std::size_t>(depth), '}');
  };
  EXPECT_EQ(build(nested(64)), macos::noErr);
  EXPECT_EQ(build(nested(65)), -1762);
  EXPECT_EQ(build(nested(1'000'000)), -1762);
}

TEST_F(AEBuild, GivesEveryEventANumberOfItsOwn) {
  std::set<macos::AEReturnID> numbers;
  for (int count = 0; count < 40'000; ++count) {
    AppleEvent event;
    ASSERT_EQ(build("", {}, &event), macos::noErr);
    EXPECT_GT(event.returnID, 0);
    numbers.insert(event.returnID);
  }
  EXPECT_EQ(numbers.size(), 0x7FFFU);
}

TEST_F(AppleEvents, ReadParametersBack) {
  const AppleEvent event = eventWith(kText, AEDesc::withData(kText, "hello"));
  macos::DescType type = 0;
  std::size_t size = 0;
  char buffer[8] = {};
  EXPECT_EQ(macos::AESizeOfParam(event, kText, &type, &size), macos::noErr);
  EXPECT_EQ(type, kText);
  EXPECT_EQ(size, 5U);
  EXPECT_EQ(macos::AEGetParamPtr(event, kText, kText, &type, buffer, sizeof buffer, &size), macos::noErr);
  EXPECT_STREQ(buffer, "hello");
  EXPECT_EQ(size, 5U);
}

TEST_F(AppleEvents, CopyNoMoreThanThereIsRoomForAndTellTheWholeSize) {
  const AppleEvent event = eventWith(kText, AEDesc::withData(kText, "hello"));
  char buffer[4] = {'-', '-', '-', '-'};
  std::size_t size = 0;
  EXPECT_EQ(macos::AEGetParamPtr(event, kText, macos::typeWildCard, nullptr, buffer, 3, &size), macos::noErr);
  EXPECT_EQ(std::string(buffer, 4), "hel-");
  EXPECT_EQ(size, 5U);
  EXPECT_EQ(macos::AEGetParamPtr(event, kText, macos::typeWildCard, nullptr, nullptr, 0, &size),
            macos::noErr);
}

TEST_F(AppleEvents, HaveNoParameterThatWasNotPutIn) {
  const AppleEvent event = eventWith(kText, AEDesc::withData(kText, "hello"));
  AEDesc desc;
  std::size_t size = 0;
  EXPECT_EQ(macos::AEGetParamDesc(event, fourCharCode("none"), macos::typeWildCard, &desc), -1701);
  EXPECT_EQ(macos::AESizeOfParam(event, fourCharCode("none"), nullptr, &size), -1701);
  EXPECT_EQ(
      macos::AEGetParamPtr(event, fourCharCode("none"), macos::typeWildCard, nullptr, &size, 8, nullptr),
      -1701);
}

TEST_F(AppleEvents, ConvertIntegersThatFit) {
  const AppleEvent event = eventWith(macos::keyErrorNumber, AEDesc::withInteger(macos::typeSInt32, -1728));
  std::int16_t number = 0;
  macos::DescType type = 0;
  std::size_t size = 0;
  EXPECT_EQ(macos::AEGetParamPtr(event, macos::keyErrorNumber, macos::typeSInt16, &type, &number,
                                 sizeof number, &size),
            macos::noErr);
  EXPECT_EQ(number, -1728);
  EXPECT_EQ(type, macos::typeSInt32) << "the type that is stored";
  EXPECT_EQ(size, 2U);

  const AppleEvent large = eventWith(macos::keyErrorNumber, AEDesc::withInteger(macos::typeSInt32, 40'000));
  EXPECT_EQ(macos::AEGetParamPtr(large, macos::keyErrorNumber, macos::typeSInt16, nullptr, &number,
                                 sizeof number, nullptr),
            -1700);
  std::int64_t wide = 0;
  EXPECT_EQ(macos::AEGetParamPtr(large, macos::keyErrorNumber, macos::typeSInt64, nullptr, &wide, sizeof wide,
                                 nullptr),
            macos::noErr);
  EXPECT_EQ(wide, 40'000);
  const AppleEvent negative = eventWith(macos::keyErrorNumber, AEDesc::withInteger(macos::typeSInt16, -1));
  EXPECT_EQ(
      macos::AEGetParamPtr(negative, macos::keyErrorNumber, macos::typeUInt32, nullptr, &wide, 4, nullptr),
      -1700);
}

TEST_F(AppleEvents, ConvertNothingElse) {
  AEDesc desc;
  const AppleEvent text = eventWith(kText, AEDesc::withData(macos::typeUTF8Text, "hello"));
  EXPECT_EQ(macos::AEGetParamDesc(text, kText, kText, &desc), -1700) << "'pUT8' is not 'utf8'";
  EXPECT_EQ(macos::AEGetParamDesc(text, kText, macos::typeSInt32, &desc), -1700);
  const AppleEvent code = eventWith(kText, AEDesc::withCode(macos::typeEnumerated, fourCharCode("prop")));
  EXPECT_EQ(macos::AEGetParamDesc(code, kText, macos::typeType, &desc), macos::noErr);
  EXPECT_EQ(macos::codeOfDesc(desc), fourCharCode("prop"));
  const AppleEvent odd = eventWith(kText, AEDesc::withData(macos::typeSInt32, "abc"));
  EXPECT_EQ(macos::AEGetParamDesc(odd, kText, macos::typeSInt16, &desc), -1700) << "a long of three bytes";
  AppleEvent record;
  ASSERT_EQ(build("a:obj{b:c}", {}, &record), macos::noErr);
  EXPECT_EQ(
      macos::AEGetParamPtr(record, fourCharCode("a   "), macos::typeWildCard, nullptr, &desc, 4, nullptr),
      -1700);
}

TEST_F(AppleEvents, TellTheFirstParameterThatWasNotRead) {
  AppleEvent event;
  ASSERT_EQ(build("a:b,c:d", {}, &event), macos::noErr);
  macos::OSType missed = 0;
  macos::DescType type = 0;
  const auto missedOne = [&] {
    return macos::AEGetAttributePtr(event, macos::keyMissedKeywordAttr, macos::typeWildCard, &type, &missed,
                                    sizeof missed, nullptr);
  };
  ASSERT_EQ(missedOne(), macos::noErr);
  EXPECT_EQ(missed, fourCharCode("a   "));
  EXPECT_EQ(type, macos::typeKeyword);
  std::size_t size = 0;
  EXPECT_EQ(macos::AESizeOfParam(event, fourCharCode("a   "), nullptr, &size), macos::noErr);
  ASSERT_EQ(missedOne(), macos::noErr);
  EXPECT_EQ(missed, fourCharCode("a   ")) << "asking for the size is not reading";
  AEDesc desc;
  EXPECT_EQ(macos::AEGetParamDesc(event, fourCharCode("a   "), macos::typeSInt16, &desc), -1700);
  ASSERT_EQ(missedOne(), macos::noErr);
  EXPECT_EQ(missed, fourCharCode("a   ")) << "a failed conversion is not reading";
  param(event, fourCharCode("a   "));
  ASSERT_EQ(missedOne(), macos::noErr);
  EXPECT_EQ(missed, fourCharCode("c   "));
  param(event, fourCharCode("c   "));
  EXPECT_EQ(missedOne(), -1701);
}

TEST_F(AppleEvents, HaveAttributes) {
  const AEDesc address = AEDesc::withCode(macos::typeApplSignature, fourCharCode("MACS"));
  const AppleEvent event = macos::AECreateAppleEvent(kClass, kID, address, 42, 77);
  AEDesc desc;
  EXPECT_EQ(macos::AEGetAttributeDesc(event, macos::keyEventClassAttr, macos::typeType, &desc), macos::noErr);
  EXPECT_EQ(macos::codeOfDesc(desc), kClass);
  EXPECT_EQ(macos::AEGetAttributeDesc(event, macos::keyEventIDAttr, macos::typeType, &desc), macos::noErr);
  EXPECT_EQ(macos::codeOfDesc(desc), kID);
  EXPECT_EQ(macos::AEGetAttributeDesc(event, macos::keyReturnIDAttr, macos::typeSInt32, &desc), macos::noErr);
  EXPECT_EQ(macos::integerOfDesc(desc), 42);
  EXPECT_EQ(macos::AEGetAttributeDesc(event, macos::keyTransactionIDAttr, macos::typeSInt32, &desc),
            macos::noErr);
  EXPECT_EQ(macos::integerOfDesc(desc), 77);
  EXPECT_EQ(macos::AEGetAttributeDesc(event, macos::keyAddressAttr, macos::typeWildCard, &desc),
            macos::noErr);
  EXPECT_EQ(desc, address);
  EXPECT_EQ(macos::AEGetAttributeDesc(event, fourCharCode("none"), macos::typeWildCard, &desc), -1701);
}

TEST_F(AEFlatten, GivesTheSameEventBack) {
  AppleEvent event;
  ASSERT_EQ(build("a:b{c:d{e:f(@@)},g:'null'()},'----':alis(@@)",
                  {AliasHandle{std::string("\0x", 2)}, AliasHandle{"y"}}, &event),
            macos::noErr);
  AppleEvent back;
  ASSERT_EQ(macos::AEUnflattenEvent(macos::AEFlattenEvent(event), &back), macos::noErr);
  EXPECT_EQ(back.eventClass, event.eventClass);
  EXPECT_EQ(back.eventID, event.eventID);
  EXPECT_EQ(back.address, event.address);
  EXPECT_EQ(back.returnID, event.returnID);
  EXPECT_EQ(back.transactionID, event.transactionID);
  EXPECT_EQ(back.parameters, event.parameters);
}

TEST_F(AEFlatten, RefusesEveryCutMessage) {
  AppleEvent event;
  ASSERT_EQ(build("a:b{c:d},e:f(@@)", {AliasHandle{"handle"}}, &event), macos::noErr);
  const std::string message = macos::AEFlattenEvent(event);
  for (std::size_t length = 0; length < message.size(); ++length) {
    AppleEvent back;
    EXPECT_EQ(macos::AEUnflattenEvent(std::string(message.data(), length), &back), -1702) << length;
  }
  AppleEvent back;
  EXPECT_EQ(macos::AEUnflattenEvent(message + "x", &back), -1702);
}

TEST_F(AEFlatten, SurvivesEveryByteReplacedByExtremes) {
  AppleEvent event;
  ASSERT_EQ(build("a:b{c:d},e:f(@@)", {AliasHandle{"handle"}}, &event), macos::noErr);
  const std::string message = macos::AEFlattenEvent(event);
  for (std::size_t place = 0; place < message.size(); ++place) {
    for (const char value : {'\0', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string broken = message;
      broken[place] = value;
      AppleEvent back;
      const OSErr code = macos::AEUnflattenEvent(broken, &back);
      EXPECT_TRUE(code == macos::noErr || code == -1702) << place;
    }
  }
}

TEST_F(AEFlatten, RefusesARecordWithAKeywordTwice) {
  AppleEvent event = eventWith(kText, AEDesc::withData(kText, "one"));
  event.parameters.fields.push_back({kText, AEDesc::withData(kText, "another")});
  AppleEvent back;
  EXPECT_EQ(macos::AEUnflattenEvent(macos::AEFlattenEvent(event), &back), -1702);
}

TEST_F(AEFlatten, RefusesRecordsThatAreTooDeep) {
  AEDesc desc = AEDesc::withData(kText, "");
  for (int level = 0; level < 1000; ++level) {
    AEDesc outer{.descriptorType = macos::typeAERecord, .data = {}, .fields = {}, .isRecord = true};
    outer.setField(kText, std::move(desc));
    desc = std::move(outer);
  }
  AppleEvent back;
  EXPECT_EQ(macos::AEUnflattenEvent(macos::AEFlattenEvent(eventWith(kText, std::move(desc))), &back), -1702);
}

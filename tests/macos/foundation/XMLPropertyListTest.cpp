// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "macos/foundation/PropertyList.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/PropertyListTesting.h"

namespace macos {
namespace {

using namespace std::string_literals;
using vennick::tests::dump;

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kFoot = "</plist>\n";

// The value as a text, or the reason why there is none.
std::string read(std::string_view bytes) {
  const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading.ok()) {
    EXPECT_EQ(reading.status().code(), ErrorCode::Corrupt);
    return "refused: " + reading.status().message();
  }
  EXPECT_EQ(reading->format, NSPropertyListFormat::XML);
  return dump(reading->value);
}

std::string readInPList(std::string_view element) {
  return read("<plist>" + std::string(element) + "</plist>");
}

std::string element(std::string_view name, std::string_view text) {
  return "<" + std::string(name) + ">" + std::string(text) + "</" + std::string(name) + ">";
}

void expectRefused(std::string_view bytes, std::string_view cause = "") {
  const std::string answer = read(bytes);
  EXPECT_TRUE(answer.starts_with("refused: ")) << bytes << "\n" << answer;
  EXPECT_NE(answer.find(cause), std::string::npos) << bytes << "\n" << answer;
}

TEST(XMLPropertyList, ReadsEveryKindOfElement) {
  EXPECT_EQ(readInPList("<true/>"), "T");
  EXPECT_EQ(readInPList("<false/>"), "F");
  EXPECT_EQ(readInPList("<true></true>"), "T");
  EXPECT_EQ(readInPList("<integer>12</integer>"), "i12");
  EXPECT_EQ(readInPList("<real>0.5</real>"), dump(Value(0.5)));
  EXPECT_EQ(readInPList("<date>2001-01-01T00:00:01Z</date>"), dump(Value(NSDate{1})));
  EXPECT_EQ(readInPList("<data>AQID</data>"), "x010203");
  EXPECT_EQ(readInPList("<string>text</string>"), "s\"text\"");
  EXPECT_EQ(readInPList("<array><true/><array/></array>"), "[T,[]]");
  EXPECT_EQ(readInPList("<dict><key>b</key><true/><key>a</key><dict/></dict>"), "{\"a\":{},\"b\":T}");
}

TEST(XMLPropertyList, NeedsNoPListElement) {
  EXPECT_EQ(read("<true/>"), "T");
  EXPECT_EQ(read(" \r\n\t<?xml version=\"1.0\"?><!-- x --><!DOCTYPE plist SYSTEM \"x\"><?pi?><true/>"), "T");
}

TEST(XMLPropertyList, IgnoresWhatFollowsTheFirstElement) {
  EXPECT_EQ(read("<true/> and <more"), "T");
  EXPECT_EQ(read("<plist><true/></plist> trailing <garbage"), "T");
}

TEST(XMLPropertyList, IgnoresAttributes) {
  EXPECT_EQ(read("<plist version='1.0' q=\"x\"><string xml:space=\"preserve\">a</string ></plist>"),
            "s\"a\"");
  // A tag ends at the first ">", quoted or not. Deliberate: the platform's reader does it.
  EXPECT_EQ(read("<string q=\">\">a</string>"), "s\"\\22>a\"");
}

TEST(XMLPropertyList, SkipsCommentsAndInstructionsBetweenElements) {
  EXPECT_EQ(readInPList("<!-- <array> --><array><!----><?a b?><true/><!-- --></array><!-- x -->"), "[T]");
  EXPECT_EQ(readInPList("<dict><!-- --><key>a</key><!-- --><true/><!-- --></dict>"), "{\"a\":T}");
}

TEST(XMLPropertyList, ReadsTextVerbatim) {
  EXPECT_EQ(readInPList("<string>  a\r\n\tb  </string>"), "s\"  a\\0d\\0a\\09b  \"");
  EXPECT_EQ(readInPList("<string>&lt;&gt;&amp;&apos;&quot;</string>"), "s\"<>&'\\22\"");
  EXPECT_EQ(readInPList("<string>&#65;&#x42;&#x1F600;&#00000067;</string>"), "s\"AB\xF0\x9F\x98\x80\x43\"");
  EXPECT_EQ(readInPList("<string>a<![CDATA[<&]]]]><![CDATA[>]]>b</string>"), "s\"a<&]]>b\"");
  EXPECT_EQ(readInPList("<dict><key>&lt;k<![CDATA[&]]></key><true/></dict>"), "{\"<k&\":T}");
}

TEST(XMLPropertyList, ReadsKeysWithMarkupInEveryDictionary) {
  // Also where the same key was expected from the dictionary before.
  const std::string escaped = "<dict><key>a&lt;b&amp;c</key><true/></dict>";
  EXPECT_EQ(readInPList("<array>" + escaped + escaped + escaped + "</array>"),
            "[{\"a<b&c\":T},{\"a<b&c\":T},{\"a<b&c\":T}]");
  expectRefused("<array>" + escaped + "<dict><key>a<b&c</key><true/></dict></array>");
}

TEST(XMLPropertyList, ReadsEmptyStringsAndKeys) {
  EXPECT_EQ(readInPList("<string/>"), "s\"\"");
  EXPECT_EQ(readInPList("<string></string>"), "s\"\"");
  EXPECT_EQ(readInPList("<dict><key/><string/></dict>"), "{\"\":s\"\"}");
}

TEST(XMLPropertyList, RejectsEmptyElementsThatHaveNoMeaning) {
  for (const char* text : {"<data/>", "<date/>", "<real/>", "<integer/>", "<plist/>"}) {
    expectRefused(text, "empty");
  }
  for (const char* text : {"<plist></plist>", "<integer></integer>", "<real></real>", "<date></date>"}) {
    expectRefused(text);
  }
  EXPECT_EQ(readInPList("<data></data>"), "x");
}

TEST(XMLPropertyList, RejectsUnknownEntities) {
  for (const char* text : {"&nbsp;", "&;", "&lt", "&", "&#;", "&#x;", "&#12a;", "&#xG;", "&#x110000;",
                           "&#123456789;", "&#-1;", "&verylongentityname;", "&#x000000041;"}) {
    expectRefused(element("string", text));
  }
}

TEST(XMLPropertyList, AReferenceToASurrogateBecomesTheReplacementCharacter) {
  EXPECT_EQ(readInPList("<string>&#xD800;</string>"), "s\"\xEF\xBF\xBD\"");
}

TEST(XMLPropertyList, ExpandsNoEntityAndReadsNoFile) {
  std::string laughs = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int i = 1; i < 40; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + "\">";
  }
  constexpr std::string_view kCause = "a DOCTYPE with declarations of its own";
  expectRefused(laughs + "]><plist><string>&a39;</string></plist>", kCause);
  expectRefused(
      "<!DOCTYPE plist [<!ENTITY f SYSTEM \"file:///etc/passwd\">]><plist><string>&f;</string></plist>",
      kCause);
  expectRefused("<plist><string>&f;</string></plist>", "an entity of unknown name");
}

TEST(XMLPropertyList, KeepsTheLastOfTwoEqualKeys) {
  EXPECT_EQ(readInPList("<dict><key>a</key><integer>1</integer><key>b</key><true/>"
                        "<key>a</key><integer>2</integer></dict>"),
            "{\"a\":i2,\"b\":T}");
}

TEST(XMLPropertyList, RejectsDictionariesThatAreNotPairs) {
  expectRefused("<dict><key>a</key></dict>");
  expectRefused("<dict><true/></dict>", "a value without a key");
  expectRefused("<dict><key>a</key><key>b</key><true/></dict>");
  expectRefused("<dict><key>a</key><true/><true/></dict>", "a value without a key");
  expectRefused("<array><key>a</key></array>");
  expectRefused("<dict>text<key>a</key><true/></dict>", "text outside an element");
}

TEST(XMLPropertyList, RejectsMarkupThatDoesNotMatch) {
  for (const char* text : {"<array>",
                           "<array></dict>",
                           "<array><true></array>",
                           "<string>a",
                           "<string>a</key>",
                           "<string><b/></string>",
                           "<true>yes</true>",
                           "<true> </true>",
                           "<integer>1</real>",
                           "<unknown/>",
                           "<plist><true/><true/></plist>",
                           "<plist><true/>",
                           "<array><!-- </array>",
                           "<array><?pi </array>",
                           "<!ELEMENT x><true/>",
                           "<",
                           "<a",
                           "</array>",
                           "<string>a<!-- b --></string>",
                           "<array><plist><true/></plist></array>",
                           "<![CDATA[x]]>",
                           "<string><![CDATA[a</string>",
                           "<string>a</string",
                           "x<true/>"}) {
    expectRefused(text);
  }
}

TEST(XMLPropertyList, ReadsIntegers) {
  EXPECT_EQ(readInPList("<integer> \n-  12</integer>"), "i-12");
  EXPECT_EQ(readInPList("<integer>+0x1F</integer>"), "i31");
  EXPECT_EQ(readInPList("<integer>-0XfF</integer>"), "i-255");
  EXPECT_EQ(readInPList("<integer>0010</integer>"), "i10");
  EXPECT_EQ(readInPList("<integer>-0</integer>"), "i0");
  EXPECT_EQ(readInPList("<integer>-9223372036854775808</integer>"), "i-9223372036854775808");
  EXPECT_EQ(readInPList("<integer>9223372036854775808</integer>"), "i9223372036854775808");
  EXPECT_EQ(readInPList("<integer>18446744073709551615</integer>"), "i18446744073709551615");
  for (const char* text : {"18446744073709551616", "-9223372036854775809", "1 ", "1x", "1.0", "x", "-", "+-1",
                           "0x", "--1", "&#49;", "99999999999999999999999999"}) {
    expectRefused(element("integer", text));
  }
}

TEST(XMLPropertyList, ReadsReals) {
  const auto reads = [](std::string_view text, double expected) {
    EXPECT_EQ(readInPList(element("real", text)), dump(Value(expected))) << text;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  reads("1", 1.0);
  reads("-1.5e3", -1500.0);
  reads("+.5", 0.5);
  reads("5.", 5.0);
  reads(" 0.10000000000000001", 0.1);
  reads("-0.0", -0.0);
  reads("1E+21", 1e21);
  reads("INF", kInfinity);
  reads("-Infinity", -kInfinity);
  reads("+infinity", kInfinity);
  reads("nan", std::numeric_limits<double>::quiet_NaN());
  reads("1e999", kInfinity);
  reads("-1e999", -kInfinity);
  reads("1e-999", 0.0);
  reads("0." + std::string(400, '0') + "1", 0.0);
  reads(std::string(400, '9'), kInfinity);
  reads("1" + std::string(400, '0') + "e-10", kInfinity);
  reads("1e99999999999999999999", kInfinity);
  reads("4.9406564584124654e-324", std::numeric_limits<double>::denorm_min());
  for (const char* text :
       {"", "1 ", "1x", "0x10", "1e", "e5", "--1", "+-1", ".", "infin", "nano", "1,5", "++inf"}) {
    expectRefused(element("real", text));
  }
}

TEST(XMLPropertyList, ReadsDates) {
  const auto reads = [](std::string_view text, double expected) {
    EXPECT_EQ(readInPList(element("date", text)), dump(Value(NSDate{expected}))) << text;
  };
  // The seconds are those of another program's calendar.
  reads("2001-01-01T00:00:00Z", 0);
  reads("1970-01-01T00:00:00Z", -978307200);
  reads("2026-07-21T12:34:56Z", 806330096);
  reads("2000-02-29T23:59:59Z", -26438401);
  reads("4001-01-01T00:00:00Z", 63113904000);
  reads("0001-01-01T00:00:00Z", -63113904000);
  reads("9999-12-31T23:59:59Z", 252423993599);
  reads("0000-03-01T00:00:00Z", -63140342400);
  reads("-0001-12-31T00:00:00Z", -63145612800);
  for (const char* text :
       {"2001-01-01", "2001-01-01T00:00:00", "2001-01-01T00:00:00.5Z", "2001-01-01T00:00:00+01:00",
        "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z", "2001-01-32T00:00:00Z", "01-01-01T00:00:00Z",
        "2001-01-01 00:00:00Z", " 2001-01-01T00:00:00Z", "2001-01-01T00:61:00Z", "10000-01-01T00:00:00Z"}) {
    expectRefused(element("date", text));
  }
}

TEST(XMLPropertyList, ReadsData) {
  EXPECT_EQ(readInPList("<data>\n\tAQ I\n D\t</data>"), "x010203");
  EXPECT_EQ(readInPList("<data>AQ==</data>"), "x01");
  EXPECT_EQ(readInPList("<data>AQI=</data>"), "x0102");
  EXPECT_EQ(readInPList("<data>AQ=\n=</data>"), "x01");
  EXPECT_EQ(readInPList("<data>A-Q.I!D</data>"), "x010203");
  EXPECT_EQ(readInPList("<data>AQIDBA</data>"), "x010203");
  EXPECT_EQ(readInPList("<data>AQIDBAU</data>"), "x010203");
  EXPECT_EQ(readInPList("<data>+/+/</data>"), "xfbffbf");
  expectRefused("<data>AQ\xC3\xA9ID</data>", "data that is not base64");
  expectRefused("<data>AQID", "the end within data");
}

TEST(XMLPropertyList, ReadsDataOfEveryLength) {
  std::string bytes;
  for (int length = 0; length < 300; ++length) {
    const Value data = Value::fromData(bytes);
    const auto xml = NSPropertyListSerialization::dataWithPropertyList(data, NSPropertyListFormat::XML);
    ASSERT_TRUE(xml.ok());
    EXPECT_EQ(read(*xml), dump(data)) << length;
    bytes += static_cast<char>(length * 37 + 11);
  }
}

TEST(XMLPropertyList, KeepsTheDictionaryOfAnIdentifier) {
  EXPECT_EQ(readInPList("<dict><key>CF$UID</key><integer>3</integer></dict>"), "{\"CF$UID\":i3}");
}

TEST(XMLPropertyList, ReadsDictionariesOfMoreShapesThanItShares) {
  std::string text = "<array>";
  std::string expected = "[";
  for (int i = 0; i < 6000; ++i) {
    const std::string n = std::to_string(i);
    text += "<dict><key>k" + n + "</key><integer>" + n + "</integer><key>common</key><true/>";
    expected += (i == 0 ? "" : ",") + "{\"common\":T,\"k"s + n + "\":i" + n;
    if (i % 1000 == 0) {
      for (int k = 100; k < 200; ++k) {
        const std::string wide = "wide" + std::to_string(k);
        text += "<key>" + wide + "</key><false/>";
        expected += ",\"" + wide + "\":F";
      }
    }
    text += "</dict>";
    expected += "}";
  }
  EXPECT_TRUE(read(text + "</array>") == expected + "]");
}

std::string nested(std::string_view open, std::string_view close, std::size_t levels) {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i) text += open;
  for (std::size_t i = 0; i < levels; ++i) text += close;
  return text;
}

TEST(XMLPropertyList, LimitsTheDepthTo512) {
  EXPECT_EQ(read(nested("<array>", "</array>", 512)), std::string(512, '[') + std::string(512, ']'));
  expectRefused(nested("<array>", "</array>", 513), "nested too deep");
  EXPECT_NE(read(nested("<dict><key>a</key>", "</dict>", 511) + "x").find("refused: "), std::string::npos);
  const std::string open = nested("<dict><key>a</key>", "", 512);
  const std::string close = nested("", "</dict>", 512);
  EXPECT_EQ(read(open + "<true/>" + close).substr(0, 10), "{\"a\":{\"a\":");
  expectRefused(open + "<dict><key>a</key><true/></dict>" + close, "nested too deep");
}

TEST(XMLPropertyList, RefusesAMillionLevelsAtOnce) {
  const std::string arrays = nested("<array>", "</array>", 1000000);
  const std::string dictionaries = nested("<dict><key>a</key>", "</dict>", 1000000);
  const auto started = vennick::tests::processorTime();
  const std::string answers = read(arrays) + read(dictionaries);
  EXPECT_LT(vennick::tests::processorTime() - started, std::chrono::seconds(2));
  EXPECT_NE(answers.find("nested too deep"), std::string::npos);
  EXPECT_NE(answers.rfind("nested too deep"), answers.find("nested too deep"));
}

TEST(XMLPropertyList, RejectsATruncatedFileAtEveryLength) {
  const std::string text = std::string(kHead) +
                           "<dict><key>a&amp;</key><array><integer>1</integer><real>2</real>"
                           "<data>AQID</data></array><key>b</key><date>2001-01-01T00:00:00Z</date>"
                           "<key>c</key><string>x<![CDATA[y]]></string></dict></plist>";
  ASSERT_FALSE(read(text).starts_with("refused: "));
  for (std::size_t length = 1; length < text.size(); ++length) expectRefused(text.substr(0, length));
}

// ---- Encodings

std::string wide(std::string_view text, std::size_t width, bool bigEndian) {
  std::string bytes;
  const auto put = [&](std::uint64_t unit) {
    for (std::size_t i = 0; i < width; ++i) {
      bytes += static_cast<char>(unit >> 8 * (bigEndian ? width - 1 - i : i));
    }
  };
  if (width == 2) {
    for (const char16_t unit : utf16FromUTF8(text)) put(unit);
  } else {
    for (std::size_t i = 0; i < text.size(); i += codePointAt(text, i).length) {
      put(codePointAt(text, i).value);
    }
  }
  return bytes;
}

TEST(XMLPropertyList, ReadsUnicodeInEveryFormWithAndWithoutAMark) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>\xC3\xA9\xF0\x9F\x98\x80</string></plist>";
  const std::string expected = "s\"\xC3\xA9\xF0\x9F\x98\x80\"";
  const std::string mark = "\xEF\xBB\xBF";
  for (const std::size_t width : {std::size_t{2}, std::size_t{4}}) {
    for (const bool bigEndian : {true, false}) {
      EXPECT_EQ(read(wide(text, width, bigEndian)), expected) << width << bigEndian;
      EXPECT_EQ(read(wide(mark + text, width, bigEndian)), expected) << width << bigEndian;
      expectRefused(wide(text, width, bigEndian) + "x");
    }
  }
  const std::string utf8 = "<plist><string>\xC3\xA9\xF0\x9F\x98\x80</string></plist>";
  EXPECT_EQ(read(utf8), expected);
  EXPECT_EQ(read(mark + utf8), expected);
}

TEST(XMLPropertyList, ReadsTheEncodingThatTheDeclarationNames) {
  const auto declared = [](std::string_view name, std::string_view text) {
    return "<?xml version=\"1.0\" encoding=" + std::string(name) + "?>" + element("string", text);
  };
  EXPECT_EQ(read(declared("\"ISO-8859-1\"", "\xE9\xFF")), "s\"\xC3\xA9\xC3\xBF\"");
  EXPECT_EQ(read(declared("'iso-8859-1'", "\xE9")), "s\"\xC3\xA9\"");
  EXPECT_EQ(read(declared("\"macintosh\"", "\x8E\xDB")), "s\"\xC3\xA9\xE2\x82\xAC\"");
  EXPECT_EQ(read(declared("\"US-ASCII\"", "abc")), "s\"abc\"");
  EXPECT_EQ(read(declared("\"utf-8\"", "\xC3\xA9")), "s\"\xC3\xA9\"");
  expectRefused(declared("\"US-ASCII\"", "\xE9"), "not ASCII");
  expectRefused(declared("\"foobar\"", "abc"), "an encoding that is not known");
}

TEST(XMLPropertyList, RejectsBytesThatAreNotUTF8) {
  for (const char* text : {"\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    expectRefused(element("string", text), "not UTF-8");
  }
}

// ---- Writing

std::string write(const Value& value) {
  auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, NSPropertyListFormat::XML);
  EXPECT_TRUE(bytes.ok()) << (bytes.ok() ? "" : bytes.status().message());
  return bytes.ok() ? *bytes : "";
}

// What stands between the head and the foot.
std::string writtenBody(const Value& value) {
  const std::string text = write(value);
  EXPECT_TRUE(text.starts_with(kHead)) << text;
  EXPECT_TRUE(text.ends_with(kFoot)) << text;
  return text.substr(kHead.size(), text.size() - kHead.size() - kFoot.size());
}

TEST(XMLPropertyListWriter, WritesTheWholeFileByteForByte) {
  const Value value(Dictionary{{"Z", Value(Array{Value(1), Value(Array()), Value(Dictionary()),
                                                 Value(Array{Value(true), Value(false)})})},
                               {"a", Value("line\nbreak & <tag> \"quoted\" 'it'")},
                               {"data", Value(NSData{"hello"})},
                               {"date", Value(NSDate{806330096.75})},
                               {"empty", Value("")},
                               {"real", Value(0.1)}});
  EXPECT_EQ(write(value),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n"
            "<dict>\n"
            "\t<key>Z</key>\n"
            "\t<array>\n"
            "\t\t<integer>1</integer>\n"
            "\t\t<array/>\n"
            "\t\t<dict/>\n"
            "\t\t<array>\n"
            "\t\t\t<true/>\n"
            "\t\t\t<false/>\n"
            "\t\t</array>\n"
            "\t</array>\n"
            "\t<key>a</key>\n"
            "\t<string>line\nbreak &amp; &lt;tag&gt; \"quoted\" 'it'</string>\n"
            "\t<key>data</key>\n"
            "\t<data>\n"
            "\taGVsbG8=\n"
            "\t</data>\n"
            "\t<key>date</key>\n"
            "\t<date>2026-07-21T12:34:56Z</date>\n"
            "\t<key>empty</key>\n"
            "\t<string></string>\n"
            "\t<key>real</key>\n"
            "\t<real>0.10000000000000001</real>\n"
            "</dict>\n"
            "</plist>\n");
}

TEST(XMLPropertyListWriter, WritesKeysInTheOrderOfUTF16Units) {
  const Value value(Dictionary{{"\xEF\xAC\x81", Value(1)},
                               {"\xF0\x9F\x98\x80", Value(2)},
                               {"a", Value(3)},
                               {"Z", Value(4)},
                               {"10", Value(5)},
                               {"9", Value(6)}});
  EXPECT_EQ(writtenBody(value),
            "<dict>\n"
            "\t<key>10</key>\n\t<integer>5</integer>\n"
            "\t<key>9</key>\n\t<integer>6</integer>\n"
            "\t<key>Z</key>\n\t<integer>4</integer>\n"
            "\t<key>a</key>\n\t<integer>3</integer>\n"
            "\t<key>\xF0\x9F\x98\x80</key>\n\t<integer>2</integer>\n"
            "\t<key>\xEF\xAC\x81</key>\n\t<integer>1</integer>\n"
            "</dict>\n");
}

TEST(XMLPropertyListWriter, WritesNumbersAsThePlatformDoes) {
  EXPECT_EQ(writtenBody(Value(-12)), "<integer>-12</integer>\n");
  EXPECT_EQ(writtenBody(Value(UINT64_MAX)), "<integer>18446744073709551615</integer>\n");
  EXPECT_EQ(writtenBody(Value(INT64_MIN)), "<integer>-9223372036854775808</integer>\n");
  const auto real = [](double number) { return writtenBody(Value(number)); };
  EXPECT_EQ(real(0.0), "<real>0.0</real>\n");
  EXPECT_EQ(real(-0.0), "<real>0.0</real>\n");
  EXPECT_EQ(real(1.0), "<real>1</real>\n");
  EXPECT_EQ(real(0.5), "<real>0.5</real>\n");
  EXPECT_EQ(real(0.3), "<real>0.29999999999999999</real>\n");
  EXPECT_EQ(real(1e21), "<real>1e+21</real>\n");
  EXPECT_EQ(real(1e-7), "<real>9.9999999999999995e-08</real>\n");
  EXPECT_EQ(real(static_cast<double>(0.1F)), "<real>0.10000000149011612</real>\n");
  EXPECT_EQ(real(std::nan("")), "<real>nan</real>\n");
  EXPECT_EQ(real(std::numeric_limits<double>::infinity()), "<real>+infinity</real>\n");
  EXPECT_EQ(real(-std::numeric_limits<double>::infinity()), "<real>-infinity</real>\n");
}

TEST(XMLPropertyListWriter, DropsWhatIsBelowASecond) {
  EXPECT_EQ(writtenBody(Value(NSDate{0.999})), "<date>2001-01-01T00:00:00Z</date>\n");
  EXPECT_EQ(writtenBody(Value(NSDate{-0.5})), "<date>2000-12-31T23:59:59Z</date>\n");
  EXPECT_EQ(writtenBody(Value(NSDate{-26438401})), "<date>2000-02-29T23:59:59Z</date>\n");
  EXPECT_EQ(writtenBody(Value(NSDate{-63113904000})), "<date>0001-01-01T00:00:00Z</date>\n");
}

TEST(XMLPropertyListWriter, WritesDatesOfTheWholeCalendarSoThatTheyReadBack) {
  for (double seconds = -378683424000.0; seconds < 252423993600.0; seconds += 86400.0 * 137 + 4567) {
    const std::string text = write(Value(NSDate{seconds}));
    ASSERT_EQ(read(text), dump(Value(NSDate{seconds}))) << text;
  }
}

TEST(XMLPropertyListWriter, BreaksDataIntoLinesThatAreShorterTheDeeperTheyStand) {
  const Value data = Value::fromData(std::string(60, '\0'));
  // 76 characters at the top, eight fewer for each level, 12 from the eighth level on.
  const std::vector<std::size_t> lengths = {76, 68, 60, 52, 44, 36, 28, 20, 12, 12, 12};
  for (std::size_t level = 0; level < lengths.size(); ++level) {
    Value value = data;
    std::string open;
    std::string close;
    for (std::size_t i = 0; i < level; ++i) {
      value = Value(Array{value});
      open += std::string(i, '\t') + "<array>\n";
      close = std::string(i, '\t') + "</array>\n" + close;
    }
    const std::string tabs(std::min<std::size_t>(level, 8), '\t');
    std::string lines;
    for (std::string rest(80, 'A'); !rest.empty();) {
      const std::string line = rest.substr(0, lengths[level]);
      lines += tabs + line + "\n";
      rest.erase(0, line.size());
    }
    const std::string tag(level, '\t');
    EXPECT_EQ(writtenBody(value), open + tag + "<data>\n" + lines + tag + "</data>\n" + close) << level;
  }
}

TEST(XMLPropertyListWriter, WritesEmptyDataAsItsTwoTags) {
  EXPECT_EQ(writtenBody(Value(NSData{})), "<data>\n</data>\n");
}

TEST(XMLPropertyListWriter, WritesControlCharactersAsTheyAre) {
  EXPECT_EQ(writtenBody(Value("a\x01\r\tb\x7F")), "<string>a\x01\r\tb\x7F</string>\n");
  const Value nul("a\0b"s);
  EXPECT_EQ(read(write(nul)), dump(nul));
}

TEST(XMLPropertyListWriter, WritesAnIdentifierAsADictionary) {
  EXPECT_EQ(writtenBody(Value(Dictionary{{"CF$UID", Value(3)}})),
            "<dict>\n\t<key>CF$UID</key>\n\t<integer>3</integer>\n</dict>\n");
}

TEST(XMLPropertyListWriter, RefusesWhatTheFormatCannotHold) {
  const auto refuses = [](const Value& value) {
    const auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, NSPropertyListFormat::XML);
    return !bytes.ok() && bytes.status().code() == ErrorCode::InvalidArgument;
  };
  EXPECT_TRUE(refuses(Value()));
  EXPECT_TRUE(refuses(Value(Dictionary{{"key", Value()}})));
  EXPECT_TRUE(refuses(Value(Array{Value(NSURL::fileURLWithPathIsDirectory("/", true))})));
  EXPECT_TRUE(refuses(Value(NSDate{std::nan("")})));
  EXPECT_TRUE(refuses(Value(NSDate{252423993600.0})));
  Value tree(Dictionary{{"a", Value(1)}});
  for (int i = 1; i < 512; ++i) tree = Value(Array{tree});
  EXPECT_EQ(read(write(tree)), dump(tree));
  EXPECT_TRUE(refuses(Value(Array{tree})));
}

TEST(XMLPropertyListWriter, RefusesTheOldStyleFormat) {
  const auto bytes =
      NSPropertyListSerialization::dataWithPropertyList(Value(1), NSPropertyListFormat::OpenStep);
  ASSERT_FALSE(bytes.ok());
  EXPECT_EQ(bytes.status().code(), ErrorCode::InvalidArgument);
}

TEST(XMLPropertyListWriter, ReadsBackWhatItWroteForRandomTrees) {
  std::mt19937_64 random(20260102);
  vennick::tests::TreeOptions options;
  options.hasControlCharacters = true;
  options.hasNegativeZero = false;
  for (int i = 0; i < 500; ++i) {
    const Value tree = vennick::tests::randomTree(random, options);
    const std::string text = write(tree);
    ASSERT_EQ(read(text), dump(tree)) << i;
    ASSERT_EQ(write(NSPropertyListSerialization::propertyListWithData(text)->value), text) << i;
  }
}

}  // namespace
}  // namespace macos

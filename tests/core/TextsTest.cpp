// The string type's number formats and constructors, the text helpers, the
// text pairs with language switching, and the code page 949 edge.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

const double kInf = std::numeric_limits<double>::infinity();

// Integers are 32 bits wide: an unsigned value above 2147483647 reads
// negative. Doubles are written with "%g" (six significant digits).
TEST(SString, NumberFormatsFollowTheirFixedRules) {
  SString d, f, i, u;
  d = 1234567.0;
  f = 0.25f;
  i = -5;
  u = 4294967295ul;
  std::string got;
  for (const SString& s :
       {SString(-5), SString(7u), ultos(4294967295ul), SString(0.0000001), dtos(3.14159, 2), d, f, i, u})
    got += s.str() + " ";
  EXPECT_EQ(got, "-5 7 -1 1e-07 3.14 1.23457e+06 0.25 -5 -1 ");
}

TEST(SString, ConstructorsNeverReadPastTheTextAndTrimTakesBothEnds) {
  const unsigned char bytes[] = {0xC7, 0xD1, 0};
  SString s(" \t a b \r\n"), blank("   ");
  EXPECT_EQ(SString('x', -2).str() + "|" + SString("abcdef", 2).str() + "|" + SString("ab", 10).str() + "|" +
                SString(static_cast<const char*>(nullptr)).str() + "|" + s.Trim().str() + "|" + blank.Trim().str(),
            "|ab|ab||a b|");
  EXPECT_EQ(SString(bytes).Length(), 2);
  // Wide text is code page 949 whatever the locale; what it lacks is "?".
  EXPECT_EQ(SString(L"\uAC00\uB098").str(), "\xB0\xA1\xB3\xAA");
  EXPECT_EQ(SString(L"a\U0001F600b").str(), "a?b");
}

TEST(TextHelpers, ScannersKeepDelimitersStopAtTheKeyAndCutNamesAtTheLimit) {
  char text[] = "f|a\x1b+\001b|\tx\r\n|y\x7f", spaced[] = " a b\tc ", fields[] = "name|last", field[16];
  EXPECT_STREQ(DeleteEscapeCharacter(text), "f|a+b|\tx\r\n|y");
  EXPECT_STREQ(DeleteAllSpace(spaced), "abc");
  EXPECT_EQ(CutStringUntilKey(fields, field, "|"), field);
  EXPECT_EQ(std::string(field) + "," + DeleteString(fields, "|"), "name,last");
  EXPECT_EQ(CutStringUntilKey(fields, field, "|"), nullptr);  // no key: the whole rest
  EXPECT_EQ(std::string(field) + "," + FindString(fields, "as"), "last,ast");
  EXPECT_EQ(std::tuple(DeleteString(fields, "|"), FindString(fields, "zz")), std::tuple(nullptr, nullptr));
  char out[kMaxNameBytes + 1];
  for (auto [source, name] :
       {std::pair{"close_1+2", "close_1"}, {"1abc", ""}, {"\xC1\xBE\xB0\xA1(1)", "\xC1\xBE\xB0\xA1"}})
    EXPECT_STREQ(GetName(source, out), name);
  EXPECT_EQ(std::strlen(GetName(std::string(400, 'a').c_str(), out)), static_cast<size_t>(kMaxNameBytes));
}

TEST(TextHelpers, NumberParsingFallsBackToTheDefault) {
  const std::pair<const char*, long> ints[] = {{" -7 ", -7},  {"-3.9", -3},       {"1e3", 1000}, {"", 99},
                                               {"12abc", 99}, {"2147483648", 99}, {"--1", 99}};
  for (const auto& [text, expected] : ints) EXPECT_EQ(AnsiStringToInt(text, 99), expected) << text;
  EXPECT_EQ(AnsiStringToInt("-2147483648", 99), -2147483648l);
  const std::pair<const char*, double> floats[] = {{" -0.5", -0.5}, {"1e-3", 0.001}, {"inf", 7.0},
                                                   {"nan", 7.0},    {"1,5", 7.0},    {"0x10", 7.0}};
  for (const auto& [text, expected] : floats) EXPECT_DOUBLE_EQ(AnsiStringToFloat(text, 7.0), expected) << text;
}

TEST(TextHelpers, DisplayFormatsShowTheDecimalsAskedFor) {
  // A value that shows as zero loses its minus sign; one beyond the precision
  // is shown with an exponent.
  const std::tuple<double, int, int, const char*> fixed[] = {
      {1234.5678, 15, 2, "1234.57"}, {-0.001, 15, 2, "0.00"}, {3, 15, 0, "3"}, {1.5e12, 10, 2, "1.500000000E+12"}};
  for (auto [v, precision, digits, text] : fixed) EXPECT_STREQ(FloatToStrF(v, precision, digits).c_str(), text);
  // The tick's decimals; a tick that is no positive number gives two.
  const std::tuple<double, double, const char*> ticks[] = {
      {1021.5, 0.5, "1021.5"}, {1028, 0.5, "1028.0"},       {1021.37, 1, "1021"},
      {1.23456, 0.05, "1.23"}, {1.23456, 0.0001, "1.2346"}, {100, 0, "100.00"},
  };
  for (const auto& [value, tick, text] : ticks) EXPECT_STREQ(GetTickFullFormat(value, tick).c_str(), text) << tick;
  EXPECT_EQ(TickDecimals(std::nan("")), 2);
}

TEST(TextHelpers, ProposedStepsRoundToTwoSignificantDigitsAndStayPositive) {
  const std::pair<double, double> cases[] = {{24.69, 25},     {61.725, 62},  {1234, 1200},
                                             {0.0149, 0.015}, {-24.69, -25}, {kInf, 0}};
  for (const auto& [step, expected] : cases) EXPECT_EQ(GetNewTickValue(step), expected) << step;
  EXPECT_EQ(conditionProove(24.69), 25.0);
  for (double bad : {0.0, -3.0, std::nan(""), kInf}) EXPECT_EQ(conditionProove(bad), 1.0) << bad;
}

TEST(Texts, PairIsChosenByTheLanguageAtEachCallAndEveryKoreanTextIsCodePage949) {
  SetLangType(kLangKorean);
  std::string korean = GetText(TxOperatorNeeded), utf8;
  SetLangType(7);  // unknown values mean English
  EXPECT_EQ(GetLangType(), kLangEnglish);
  EXPECT_STREQ(GetText(TxOperatorNeeded), "Operator is needed.");
  ASSERT_TRUE(Cp949ToUtf8(korean, utf8));
  EXPECT_EQ(utf8, "연산자가 필요합니다");
  EXPECT_STREQ(GetText(static_cast<TextId>(-1)), "");
  EXPECT_EQ(ListEntry(kLangEnglish, 18, 3), 21);
  for (int id = 0; id < TxCount; ++id) EXPECT_TRUE(Cp949ToUtf8(GetText(TextId(id), kLangKorean), utf8)) << id;
}

TEST(Cp949, ConversionIsLosslessBothWaysAndRefusesWhatItCannotHold) {
  std::string cp, back;
  ASSERT_TRUE(Utf8ToCp949("평균(종가, 5)", cp));
  ASSERT_TRUE(Cp949ToUtf8(cp, back));
  EXPECT_EQ(back, "평균(종가, 5)");
  EXPECT_FALSE(Utf8ToCp949("\xF0\x9F\x98\x80", cp));  // an emoji
  EXPECT_FALSE(Utf8ToCp949("\xC3", cp));              // cut UTF-8
  EXPECT_EQ(Cp949ToUtf8Lossy("ab\xFF"
                             "c"),
            "ab\\xFFc");
}

}  // namespace

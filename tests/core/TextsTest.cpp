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
  EXPECT_STREQ(SString('x', -2).c_str(), "");
  EXPECT_STREQ(SString("abcdef", 2).c_str(), "ab");
  EXPECT_STREQ(SString("ab", 10).c_str(), "ab");
  EXPECT_STREQ(SString(static_cast<const char*>(nullptr)).c_str(), "");
  const unsigned char bytes[] = {0xC7, 0xD1, 0};
  EXPECT_EQ(SString(bytes).Length(), 2);
  // Wide text is code page 949 whatever the locale; what it lacks is "?".
  EXPECT_EQ(SString(L"\uAC00\uB098").str(), "\xB0\xA1\xB3\xAA");
  EXPECT_EQ(SString(L"a\U0001F600b").str(), "a?b");
  SString s(" \t a b \r\n"), blank("   ");
  EXPECT_STREQ(s.Trim().c_str(), "a b");
  EXPECT_TRUE(blank.Trim().IsEmpty());
}

TEST(SAnsiStringList, IndicesOutsideTheListChangeNothing) {
  SAnsiStringList list;
  list.Add("one");
  list[5] = "outside";
  EXPECT_EQ(list.Count(), 1);
  EXPECT_TRUE(list[-1].IsEmpty());
  const SAnsiStringList& constant = list;
  EXPECT_TRUE(constant[2].IsEmpty());
  EXPECT_STREQ(constant[0].c_str(), "one");
}

TEST(TextHelpers, EscapesAndBlanksAreRemovedButDelimitersKept) {
  char text[] =
      "f|a\x1b+\x01"
      "b|\tx\r\n|y\x7f";
  EXPECT_STREQ(DeleteEscapeCharacter(text), "f|a+b|\tx\r\n|y");
  char spaced[] = " a b\tc ";
  EXPECT_STREQ(DeleteAllSpace(spaced), "abc");
}

TEST(TextHelpers, CutAndDeleteWalkDelimitedFields) {
  char text[] = "name|expr|last";
  char field[sizeof text];
  EXPECT_EQ(CutStringUntilKey(text, field, "|"), field);
  EXPECT_STREQ(field, "name");
  EXPECT_EQ(DeleteString(text, "|"), text);
  EXPECT_STREQ(text, "expr|last");
  DeleteString(text, "|");
  EXPECT_EQ(CutStringUntilKey(text, field, "|"), nullptr);  // no key: the whole rest
  EXPECT_STREQ(field, "last");
  EXPECT_EQ(DeleteString(text, "|"), nullptr);
  EXPECT_STREQ(FindString(text, "as"), "ast");
  EXPECT_EQ(FindString(text, "zz"), nullptr);
}

TEST(TextHelpers, GetNameTakesFormulaNamesIncludingKoreanUpToTheLimit) {
  char out[kMaxNameBytes + 1];
  EXPECT_STREQ(GetName("close_1+2", out), "close_1");
  EXPECT_STREQ(GetName("1abc", out), "");
  EXPECT_STREQ(GetName("\xC1\xBE\xB0\xA1(1)", out), "\xC1\xBE\xB0\xA1");
  EXPECT_EQ(std::strlen(GetName(std::string(400, 'a').c_str(), out)), static_cast<size_t>(kMaxNameBytes));
}

TEST(TextHelpers, NumberParsingFallsBackToTheDefault) {
  const std::pair<const char*, long> ints[] = {
      {"12", 12},  {" -7 ", -7},  {"+3", 3},   {"3.9", 3},         {"-3.9", -3},  {"", 99},
      {"abc", 99}, {"12abc", 99}, {"nan", 99}, {"2147483648", 99}, {"1e3", 1000}, {"--1", 99},
  };
  for (const auto& [text, expected] : ints) EXPECT_EQ(AnsiStringToInt(text, 99), expected) << text;
  EXPECT_EQ(AnsiStringToInt("-2147483648", 99), -2147483648l);
  const std::pair<const char*, double> floats[] = {{"1.25", 1.25}, {" -0.5", -0.5}, {"1e-3", 0.001}, {"", 7.0},
                                                   {"inf", 7.0},   {"nan", 7.0},    {"1,5", 7.0},    {"0x10", 7.0}};
  for (const auto& [text, expected] : floats) EXPECT_DOUBLE_EQ(AnsiStringToFloat(text, 7.0), expected) << text;
}

TEST(TextHelpers, DisplayFormatsShowTheDecimalsAskedFor) {
  struct Fixed {
    double value;
    int precision, digits;
    const char* text;
  };
  // A value that shows as zero loses its minus sign; one beyond the precision
  // is shown with an exponent.
  const Fixed fixed[] = {
      {1234.5678, 15, 2, "1234.57"}, {-0.001, 15, 2, "0.00"}, {3, 15, 0, "3"}, {1.5e12, 10, 2, "1.500000000E+12"}};
  for (const Fixed& f : fixed) EXPECT_STREQ(FloatToStrF(f.value, f.precision, f.digits).c_str(), f.text);
  // The tick's decimals; a tick that is no positive number gives two.
  const std::tuple<double, double, const char*> ticks[] = {
      {1021.5, 0.5, "1021.5"}, {1028, 0.5, "1028.0"},       {1021.37, 1, "1021"},
      {1.23456, 0.05, "1.23"}, {1.23456, 0.0001, "1.2346"}, {100, 0, "100.00"},
  };
  for (const auto& [value, tick, text] : ticks) EXPECT_STREQ(GetTickFullFormat(value, tick).c_str(), text) << tick;
  EXPECT_EQ(TickDecimals(std::nan("")), 2);
}

TEST(TextHelpers, ProposedStepsRoundToTwoSignificantDigitsAndStayPositive) {
  const std::pair<double, double> cases[] = {{24.69, 25},  {61.725, 62},    {0.1234, 0.12}, {50, 50},
                                             {1234, 1200}, {0.0149, 0.015}, {-24.69, -25},  {kInf, 0}};
  for (const auto& [step, expected] : cases) EXPECT_EQ(GetNewTickValue(step), expected) << step;
  EXPECT_EQ(conditionProove(24.69), 25.0);
  for (double bad : {0.0, -3.0, std::nan(""), kInf}) EXPECT_EQ(conditionProove(bad), 1.0) << bad;
}

TEST(Texts, PairIsChosenByTheLanguageAtEachCallAndUnknownValuesMeanEnglish) {
  SetLangType(kLangKorean);
  std::string korean = GetText(TxOperatorNeeded), utf8;
  SetLangType(7);
  EXPECT_EQ(GetLangType(), kLangEnglish);
  EXPECT_STREQ(GetText(TxOperatorNeeded), "Operator is needed.");
  ASSERT_TRUE(Cp949ToUtf8(korean, utf8));
  EXPECT_EQ(utf8, "연산자가 필요합니다");
  EXPECT_STREQ(GetText(static_cast<TextId>(-1)), "");
  EXPECT_EQ(ListEntry(kLangEnglish, 18, 3), 21);
}

TEST(Texts, EveryKoreanTextIsCodePage949) {
  EXPECT_EQ(std::string(GetText(TxClose, kLangKorean)), "\xC1\xBE\xB0\xA1");  // 종가
  for (int id = 0; id < TxCount; ++id) {
    std::string back;
    EXPECT_TRUE(Cp949ToUtf8(GetText(static_cast<TextId>(id), kLangKorean), back)) << id;
  }
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

// The string type's number formats and constructors, and the text helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

TEST(SString, NumberFormatsFollowTheirFixedRules) {
  struct Case {
    SString text;
    const char* expected;
  };
  SString assignedDouble, assignedFloat, assignedInt, assignedUnsigned;
  assignedDouble = 1234567.0;  // "%g": six significant digits
  assignedFloat = 0.25f;
  assignedInt = -5;
  assignedUnsigned = 4294967295ul;
  const Case cases[] = {
      {SString(12), "12"},
      {SString(-5), "-5"},
      {SString(-5l), "-5"},
      {SString(7u), "7"},
      {ultos(4294967295ul), "-1"},
      {ultos(2147483648ul), "-2147483648"},
      {ltos(2147483647l), "2147483647"},
      {SString(0.5), "0.5"},
      {SString(0.0000001), "1e-07"},
      {dtos(3.14159, 2), "3.14"},
      {dtos(2.0, 0), "2"},
      {dtos(2.0, 3), "2.000"},
      {dtos(-1.5, -1), "-1.5"},
      {assignedDouble, "1.23457e+06"},
      {assignedFloat, "0.25"},
      {assignedInt, "-5"},
      {assignedUnsigned, "-1"},
  };
  for (const Case& c : cases) EXPECT_STREQ(c.text.c_str(), c.expected);
}

TEST(SString, ConstructorsTakeCountsAndPrefixes) {
  EXPECT_STREQ(SString('x', 3).c_str(), "xxx");
  EXPECT_STREQ(SString('x', -2).c_str(), "");
  EXPECT_STREQ(SString("abcdef", 2).c_str(), "ab");
  EXPECT_STREQ(SString("ab", 10).c_str(), "ab");  // never reads past the terminator
  EXPECT_STREQ(SString(static_cast<const char*>(nullptr)).c_str(), "");
  const unsigned char bytes[] = {0xC7, 0xD1, 0};
  EXPECT_EQ(SString(bytes).Length(), 2);
}

TEST(SString, TrimRemovesWhiteSpaceAtBothEndsOnly) {
  SString s(" \t a b \r\n");
  EXPECT_STREQ(s.Trim().c_str(), "a b");
  SString blank("   ");
  EXPECT_TRUE(blank.Trim().IsEmpty());
}

TEST(SAnsiStringList, CopiesAreIndependent) {
  SAnsiStringList a;
  a.Add("one");
  a.Add("two");
  SAnsiStringList b = a;
  b[1] = "changed";
  a.Clear();
  EXPECT_EQ(a.Count(), 0);
  ASSERT_EQ(b.Count(), 2);
  EXPECT_STREQ(b[0].c_str(), "one");
  EXPECT_STREQ(b[1].c_str(), "changed");
  b[5] = "outside";  // changes nothing
  EXPECT_EQ(b.Count(), 2);
  EXPECT_TRUE(b[-1].IsEmpty());
  const SAnsiStringList& c = b;
  EXPECT_TRUE(c[2].IsEmpty());
}

TEST(TextHelpers, EscapeRemovalKeepsDelimitersAndTokenSeparators) {
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
  EXPECT_STREQ(text, "last");
  EXPECT_STREQ(FindString(text, "as"), "ast");
  EXPECT_EQ(FindString(text, "zz"), nullptr);
}

TEST(TextHelpers, GetNameTakesFormulaNamesIncludingKorean) {
  char out[kMaxNameBytes + 1];
  EXPECT_STREQ(GetName("close_1+2", out), "close_1");
  EXPECT_STREQ(GetName("1abc", out), "");
  EXPECT_STREQ(GetName("\xC1\xBE\xB0\xA1(1)", out), "\xC1\xBE\xB0\xA1");
  std::string longName(400, 'a');
  EXPECT_EQ(std::strlen(GetName(longName.c_str(), out)), static_cast<size_t>(kMaxNameBytes));
}

TEST(TextHelpers, NumberParsingFallsBackToTheDefault) {
  struct IntCase {
    const char* text;
    long expected;
  };
  const IntCase ints[] = {{"12", 12},
                          {" -7 ", -7},
                          {"+3", 3},
                          {"3.9", 3},
                          {"-3.9", -3},
                          {"", 99},
                          {"abc", 99},
                          {"12abc", 99},
                          {"2147483648", 99},
                          {"nan", 99},
                          {"1e3", 1000},
                          {"--1", 99},
                          {"-2147483648", -2147483648l}};
  for (const IntCase& c : ints) EXPECT_EQ(AnsiStringToInt(c.text, 99), c.expected) << c.text;
  struct FloatCase {
    const char* text;
    double expected;
  };
  const FloatCase floats[] = {{"1.25", 1.25}, {" -0.5", -0.5}, {"1e-3", 0.001}, {"", 7.0},
                              {"inf", 7.0},   {"nan", 7.0},    {"1,5", 7.0},    {"0x10", 7.0}};
  for (const FloatCase& c : floats) EXPECT_DOUBLE_EQ(AnsiStringToFloat(c.text, 7.0), c.expected) << c.text;
}

TEST(TextHelpers, DisplayFormatsShowTheDecimalsAskedFor) {
  struct Case {
    SString text;
    const char* expected;
  };
  const Case cases[] = {
      {FloatToStrF(1234.5678, 15, 2), "1234.57"},
      {FloatToStrF(-0.001, 15, 2), "0.00"},  // no "-0.00"
      {FloatToStrF(3, 15, 0), "3"},
      {FloatToStrF(1.5e12, 10, 2), "1.500000000E+12"},
      {GetTickFullFormat(1021.5, 0.5), "1021.5"},
      {GetTickFullFormat(1028, 0.5), "1028.0"},
      {GetTickFullFormat(1021.37, 1), "1021"},
      {GetTickFullFormat(1.23456, 0.05), "1.23"},
      {GetTickFullFormat(1.23456, 0.0001), "1.2346"},
      {GetTickFullFormat(100, 0), "100.00"},
  };
  for (const Case& c : cases) EXPECT_STREQ(c.text.c_str(), c.expected);
  EXPECT_EQ(TickDecimals(0.25), 2);
  EXPECT_EQ(TickDecimals(5), 0);
  EXPECT_EQ(TickDecimals(std::numeric_limits<double>::quiet_NaN()), 2);
}

TEST(TextHelpers, ProposedStepsRoundToTwoSignificantDigits) {
  struct Case {
    double step, expected;
  };
  const Case cases[] = {{24.69, 25}, {61.725, 62}, {0.1234, 0.12},  {20, 20},     {50, 50},
                        {40, 40},    {1234, 1200}, {0.0149, 0.015}, {-24.69, -25}};
  for (const Case& c : cases) EXPECT_EQ(GetNewTickValue(c.step), c.expected) << c.step;
  EXPECT_EQ(GetNewTickValue(std::numeric_limits<double>::infinity()), 0.0);
  // A usable step is always positive: nonsense becomes the default 1.
  EXPECT_EQ(conditionProove(24.69), 25.0);
  for (double bad : {0.0, -3.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_EQ(conditionProove(bad), 1.0) << bad;
}

}  // namespace

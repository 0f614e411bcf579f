// Text pairs, language switching and the code page 949 edge.
#include <gtest/gtest.h>

#include <string>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

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

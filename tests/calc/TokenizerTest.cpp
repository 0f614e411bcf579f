// Token kinds, names, numbers, comments and the name table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CalcTestUtil.h"

using namespace chartcalc::detail;

namespace {

std::vector<int> Tokens(const std::string& text) {
  SCalc calc;
  calc.SetExpression(text.c_str());
  std::vector<int> out;
  for (int guard = 0; guard < 100 && !calc.AtEnd(); ++guard) out.push_back(calc.GetToken());
  return out;
}

struct TokenCase {
  const char* text;
  std::vector<int> tokens;
};

TEST(Tokenizer, OperatorsAndKeywordsGiveTheirTokens) {
  const TokenCase cases[] = {
      {"a<>b", {NAME, NE, NAME}},
      {"a<=b", {NAME, LE, NAME}},
      {"a=b", {NAME, ASSIGN, NAME}},
      {"a==b", {NAME, EQ, NAME}},
      {"!a", {NOT, NAME}},
      {"a!=b", {NAME, NE, NAME}},
      {"a>=b>c<d", {NAME, GE, NAME, GT, NAME, LT, NAME}},
      {"x and y", {NAME, AND, NAME}},
      {"x AND y", {NAME, AND, NAME}},
      {"x && y", {NAME, AND, NAME}},
      {"x Or y || z", {NAME, OR, NAME, OR, NAME}},
      {"not x", {NOT, NAME}},
      {"band", {NAME}},
      {"(a+b)*c/d%e^f,g;", {LP, NAME, PLUS, NAME, RP, MUL, NAME, DIV, NAME, MOD, NAME, POW, NAME, COMMA, NAME, PRINT}},
      {"-2", {MINUS, NUMBER}},
  };
  for (const TokenCase& c : cases) EXPECT_EQ(Tokens(c.text), c.tokens) << c.text;
}

TEST(Tokenizer, KoreanKeywordsOnlyInKoreanMode) {
  const std::string text = Cp949("x 그리고 y 또는 부정 z");
  {
    LangScope korean(kLangKorean);
    EXPECT_EQ(Tokens(text), (std::vector<int>{NAME, AND, NAME, OR, NOT, NAME}));
  }
  EXPECT_EQ(Tokens(text), (std::vector<int>{NAME, NAME, NAME, NAME, NAME, NAME}));
}

TEST(Tokenizer, CommentsAreSkipped) {
  EXPECT_EQ(Tokens("a // note\nb"), (std::vector<int>{NAME, NAME}));
  EXPECT_EQ(Tokens("/* note */ close"), (std::vector<int>{NAME}));
  EXPECT_EQ(Tokens("/*/ a"), (std::vector<int>{NAME}));
  EXPECT_EQ(Tokens("a /* never closed"), (std::vector<int>{NAME, PRINT}));
}

TEST(Tokenizer, NumbersHaveNoSignExponentOrLeadingPoint) {
  SCalc calc;
  calc.SetExpression("12.5.7");
  EXPECT_EQ(calc.GetToken(), NUMBER);
  EXPECT_EQ(calc.NumberValue(), 12.5);
  EXPECT_TRUE(calc.AtEnd());
  calc.SetExpression("1e5");
  EXPECT_EQ(calc.GetToken(), NUMBER);
  EXPECT_EQ(calc.NumberValue(), 1.0);
  EXPECT_EQ(calc.GetToken(), NAME);
  // A leading point starts no token and is not consumed.
  calc.SetExpression(".5");
  EXPECT_EQ(calc.GetToken(), PRINT);
  EXPECT_FALSE(calc.AtEnd());
}

TEST(Tokenizer, LoneAmpersandIsABadToken) {
  SCalc calc;
  calc.SetExpression("a & b");
  calc.GetToken();
  calc.GetToken();
  EXPECT_EQ(calc.ErrorCount, 1);
  EXPECT_STREQ(calc.ErrorMessage.c_str(), "bad token");
}

TEST(Tokenizer, NamesTakeDigitsUnderscoresAndKoreanBytes) {
  SCalc calc;
  std::string text = Cp949("종가_2x+1");
  calc.SetExpression(text.c_str());
  EXPECT_EQ(calc.GetToken(), NAME);
  EXPECT_EQ(std::string(calc.NameText()), Cp949("종가_2x"));
  EXPECT_TRUE(isHangul(0xA1));
  EXPECT_TRUE(isHangul(0xFE));
  EXPECT_FALSE(isHangul(0xA0));
  EXPECT_FALSE(isHangul(0xFF));
}

TEST(Tokenizer, OverlongNamesAndNumbersAreConsumedWhole) {
  SCalc calc;
  std::string text = std::string(400, 'n') + "+" + std::string(300, '7');
  calc.SetExpression(text.c_str());
  EXPECT_EQ(calc.GetToken(), NAME);
  EXPECT_EQ(std::string(calc.NameText()).size(), 255u);
  EXPECT_EQ(calc.GetToken(), PLUS);
  EXPECT_EQ(calc.GetToken(), NUMBER);
  EXPECT_TRUE(calc.AtEnd());
}

TEST(NameTable, LookupIgnoresCaseAndInsertStartsAtOne) {
  SCalc calc;
  EXPECT_EQ(calc.Look("close", 0), nullptr);
  Name* a = calc.Insert("CLOSE");
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->value.Number(), 1.0);
  EXPECT_EQ(calc.Look("close", 0), a);
  EXPECT_EQ(calc.NameCount(), 1);
  calc.ClearNameTable();
  EXPECT_EQ(calc.NameCount(), 0);
}

TEST(NameTable, FullTableStillGivesAUsableEntryAndReportsIt) {
  SCalc calc;
  for (int i = 0; i < kMaxNames; ++i) calc.Insert(("v" + std::to_string(i)).c_str());
  EXPECT_EQ(calc.ErrorCount, 0);
  Name* extra = calc.Insert("one_too_many");
  ASSERT_NE(extra, nullptr);
  EXPECT_EQ(calc.NameCount(), kMaxNames);
  EXPECT_EQ(calc.ErrorCount, 1);
}

TEST(NameTable, LongNamesAreKeptToTheirFirst51Characters) {
  SCalc calc;
  std::string longName(80, 'q');
  Name* a = calc.Insert(longName.c_str());
  EXPECT_EQ(std::string(a->name).size(), 51u);
  EXPECT_EQ(calc.Look((longName + "x").c_str(), 0), a);
}

}  // namespace

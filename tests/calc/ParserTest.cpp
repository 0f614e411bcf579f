// The name table, grammar rules, statements, error counting and
// messages of the recursive evaluator.
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

TEST(NameTable, FullTableStillGivesAUsableEntryAndReportsIt) {
  SCalc calc;
  for (int i = 0; i < kMaxNames; ++i) calc.Insert(("v" + std::to_string(i)).c_str());
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_NE(calc.Insert("one_too_many"), nullptr);
  EXPECT_EQ(std::pair(calc.NameCount(), calc.ErrorCount), std::pair(kMaxNames, 1));
}

struct ParserTest : ::testing::Test, BoundCalc {
  ParserTest() : BoundCalc(CloseBars(Series({10, 11, 12, 13, 14}, 1))) {}
  using BoundCalc::Run;
};

TEST_F(ParserTest, PrecedenceAssociativityNamesAndStatements) {
  const std::string longName(400, 'n');
  // clang-format off
  const std::pair<std::string, double> cases[] = {
      {"2 + 3 * 4", 14}, {"10 - 4 - 3", 3}, {"-2 * 3", -6}, {"+2", 2}, {"7 % 4", 3}, {"!0", 1}, {"not 2", 0},
      {"1 or 0 and 0", 0},  // one level: (1 or 0) and 0
      {"3 < 2 < 1", 1}, {"1 / 0", 0}, {"12.5.7 * 2", 25}, {"a = b = 3; a + b", 6}, {"x = 1; x + (x = 5)", 6},
      {"Abc = 4; aBC", 4}, {"a = 1; a + b = 3", 4},  // a + (b = 3)
      {"(1 + 2) = 7", 7},       // stray '=': the rest is a new statement
      {"2 ^ 3", 3},             // '^' has no rule: it ends the statement like ';'
      {"4)", 4},                // stray ')' at the end is dropped
      {"5; // trailing note\n\n", 5}, {"4 /* never closed", 4},
      {"3 /*/ + 1", 4},  // the closing search starts at the opening '*'
      {"(2 != 3) + (2 == 2) * 2 + (2 <= 2) * 4 + (1 && 1) * 8 + (0 || 1) * 16", 31}, {"0 Or 1 AND 1", 1},
      {"band = 0; not band", 1},  // a keyword is a whole word
      {Cp949("종가_2x = 3; 종가_2x + 1"), 4},  // names take Korean bytes, digits and underscores
      {longName + " = 2; " + longName + "x + 1", 3},  // both cut to the same first 51 characters
      {std::string(300, '7') + " > 1", 1},  // an overlong number is read whole
      {std::string(100, '(') + "1" + std::string(100, ')'), 1},
      {"1" + std::string(4094, ' ') + "2", 1}};  // the formula is cut at 4095 characters
  // clang-format on
  for (const auto& [formula, value] : cases)  // a constant is spread over close's bars
    ExpectCases(bars, {{formula, 5, 1, std::vector<double>(4, value)}});
  const std::string korean = Cp949("(1 그리고 0) + (0 또는 1) * 2 + (부정 0) * 4");
  EXPECT_GT(Evaluate(bars, korean).errors, 0);  // the Korean keywords are names in English mode
  LangScope ko(kLangKorean);
  EXPECT_EQ(Evaluate(bars, korean).value[4], 6);
}

TEST_F(ParserTest, ErrorsKeepTheFirstMessageAndInvalidateTheResult) {
  // clang-format off
  const std::pair<std::string, TextId> cases[] = {
      {"1 < 2 3", TxOperatorNeeded}, {"(1 + 2", TxRightParenNeeded}, {"a = 1; a(1", TxRightParenNeeded}, {"1 +", TxImperfect},
      {"^ 3", TxImperfect}, {"1 + )", TxImperfect}, {"@", TxImperfect},
      {".5", TxImperfect}, {"1e5", TxOperatorNeeded},  // no leading point or exponent in a number
      {"1 & 1", TxBadToken}, {std::string(3000, '(') + "1", TxNestedTooDeep},
      {std::string(3000, '-') + "1", TxNestedTooDeep},
      {std::string(2000, '(') + "1" + std::string(2000, ')'), TxNestedTooDeep}};
  // clang-format on
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    for (const auto& [formula, message] : cases) {
      EvalResult r = Evaluate(bars, formula);
      EXPECT_EQ(std::tuple(r.errors > 0, r.message, r.value.GetStartIndex()),
                std::tuple(true, std::string(GetText(message, lang)), kInvalidStart))
          << formula.substr(0, 10);
    }
  }
}

TEST_F(ParserTest, VariablesAndErrorsKeepTheirStateAcrossCalculationsAndCopies) {
  Run("a = 7");
  EXPECT_EQ(Run("a * 2")[4], 14.0);
  EXPECT_EQ(calc.Calculate().GetSize(), 0);  // no new text: nothing to evaluate
  SCalc copy(calc);
  calc.SetExpression("b = 4");
  EXPECT_EQ(calc.Calculate(3).IsSeries(), 0);  // no broadcast on the partial path
  EXPECT_EQ(bars[kClose].GetStartIndex(), 1);  // the bound series are restored
  for (const char* f : {"1 2", "3"}) calc.SetExpression(f), calc.Calculate(2);
  EXPECT_EQ(calc.ErrorCount, 1);  // not reset by the partial path
  calc.InitCalc();
  {
    LangScope korean(kLangKorean);
    Run("a * 2 + qq");
  }
  EXPECT_EQ(calc.ErrorCount, 2);  // the first message is kept, in its language
  EXPECT_EQ(Message(), "a" + Cp949("이(가) 정의되지 않았습니다.") + "\n");
  EXPECT_EQ(Evaluate(bars, "xyz").message, "xyzis not defined.\n");
  // Delays of variables are not checked.
  EXPECT_EQ((std::pair{Run("x = 1; y = x; y(2)").GetStartIndex(), calc.ErrorCount}), std::pair(2, 0));
  SCalc assigned, unbound;
  assigned = copy;
  copy.ClearNameTable();
  assigned.SetExpression("a * 3");  // made before InitCalc, the copy kept a
  EXPECT_EQ(assigned.Calculate()[4], 21.0);
  unbound.SetExpression("1 + 1");
  EXPECT_EQ((std::pair{unbound.Calculate().GetSize(), unbound.ErrorCount}), std::pair(0, 0));
}

}  // namespace

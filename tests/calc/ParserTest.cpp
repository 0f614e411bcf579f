// Grammar rules, statements, error counting and messages of the engine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CalcTestUtil.h"

using namespace chartcalc::detail;

namespace {

struct ParserTest : ::testing::Test {
  TestBars bars;
  void SetUp() override {
    bars[kClose] = Series({10, 11, 12, 13, 14}, 1);
    bars[kDateTime] = Series({20240102, 20240103, 20240104, 20240105, 20240108});
  }
  EvalResult Eval(const std::string& f) { return Evaluate(bars, f); }
  double Last(const std::string& f) {
    EvalResult r = Eval(f);
    EXPECT_EQ(r.errors, 0) << f << ": " << r.message;
    return r.value.GetSize() ? r.value[r.value.GetSize() - 1] : -999;
  }
};

TEST_F(ParserTest, ConstantFormulaBecomesAFullSeriesOfClosesLength) {
  EvalResult r = Eval("5");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetSize(), 5);
  EXPECT_EQ(r.value.GetStartIndex(), 1);
  EXPECT_TRUE(r.value.IsSeries());
  EXPECT_EQ(Values(r.value)[4], 5.0);
}

struct ValueCase {
  const char* formula;
  double value;
};

TEST_F(ParserTest, PrecedenceAndAssociativity) {
  const ValueCase cases[] = {
      {"2 + 3 * 4", 14},
      {"10 - 4 - 3", 3},
      {"-2 * 3", -6},
      {"- 2 - 3", -5},
      {"+2", 2},
      {"7 % 4", 3},
      {"1 or 0 and 0", 0},   // one level: (1 or 0) and 0
      {"0 and 0 or 1", 1},
      {"3 < 2 < 1", 1},      // (3 < 2) < 1
      {"2 == 2 == 1", 1},
      {"!0", 1},
      {"not 2", 0},
      {"(1 + 2) * 3", 9},
      {"1 / 0", 0},
      {"a = b = 3; a + b", 6},
      {"a = 2; b = a * 2; b", 4},
      {"x = 1; x + (x = 5)", 6},
      {"a = 1; a + b = 3", 4},  // a + (b = 3)
      {"(1 + 2) = 7", 7},       // stray '=': the rest is a new statement
      {"2 ^ 3", 3},             // '^' has no rule: it ends the statement like ';'
      {"4)", 4},                // stray ')' at the end is dropped
      {"1; 2; 3", 3},
      {"5; // trailing note\n\n", 5},
      {"5 /* note */   ", 5},
  };
  for (const ValueCase& c : cases) EXPECT_EQ(Last(c.formula), c.value) << c.formula;
}

TEST_F(ParserTest, VariablesSurviveUntilInitCalc) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetExpression("a = 7");
  calc.Calculate();
  calc.SetExpression("a * 2");
  SVector r = calc.Calculate();
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(Values(r)[4], 14.0);
  calc.InitCalc();
  calc.SetExpression("a * 2");
  r = calc.Calculate();
  EXPECT_EQ(calc.ErrorCount, 1);
}

TEST_F(ParserTest, SecondCalculateWithoutSetExpressionEvaluatesNothing) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetExpression("3");
  EXPECT_EQ(calc.Calculate().GetSize(), 5);
  EXPECT_EQ(calc.Calculate().GetSize(), 0);
}

TEST_F(ParserTest, VariableDelayIsNotChecked) {
  EvalResult r = Eval("x = 1; y = x; y(2)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetStartIndex(), 2);
}

struct ErrorCase {
  const char* formula;
  TextId message;
  const char* suffix;
};

TEST_F(ParserTest, ErrorsKeepTheFirstMessageAndInvalidateTheResult) {
  const ErrorCase cases[] = {
      {"1 2", TxOperatorNeeded, ""},
      {"a = 1; a a", TxOperatorNeeded, ""},
      {"1 < 2 3", TxOperatorNeeded, ""},
      {"(1 + 2", TxRightParenNeeded, ""},
      {"1 +", TxImperfect, ""},
      {"^ 3", TxImperfect, ""},
      {"1 + )", TxImperfect, ""},
      {"@", TxImperfect, ""},
      {"a = 1; a(1", TxRightParenNeeded, ""},
      {"1 & 1", TxBadToken, ""},
  };
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    for (const ErrorCase& c : cases) {
      EvalResult r = Eval(c.formula);
      EXPECT_GE(r.errors, 1) << c.formula;
      EXPECT_EQ(r.message, std::string(GetText(c.message, lang)) + c.suffix) << c.formula;
      EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << c.formula;
    }
  }
}

TEST_F(ParserTest, UnknownNameIsReportedWithoutASpaceAndWithALineFeed) {
  EvalResult r = Eval("xyz");
  EXPECT_EQ(r.message, "xyzis not defined.\n");
  LangScope korean(kLangKorean);
  r = Eval("xyz + qq");
  EXPECT_EQ(r.errors, 2);
  EXPECT_EQ(r.message, "xyz" + Cp949("이(가) 정의되지 않았습니다.") + "\n");
}

TEST_F(ParserTest, MessageStaysInTheLanguageItWasFormedIn) {
  SCalc calc;
  bars.Bind(calc);
  SetLangType(kLangKorean);
  calc.SetExpression("1 2");
  calc.Calculate();
  SetLangType(kLangEnglish);
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()), Cp949("연산자가 필요합니다"));
  calc.SetExpression("1 2");
  calc.Calculate();
  EXPECT_STREQ(calc.ErrorMessage.c_str(), "Operator is needed.");
}

TEST_F(ParserTest, PartialCalculationRestartsTheBoundSeriesAndRestoresThem) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetExpression("a = 4");
  SVector r = calc.Calculate(3);
  EXPECT_EQ(r.IsSeries(), 0);  // no broadcast on the partial path
  EXPECT_EQ(bars[kClose].GetStartIndex(), 1);
  calc.SetExpression("1 2");
  calc.Calculate(2);
  calc.SetExpression("3");
  calc.Calculate(2);
  EXPECT_EQ(calc.ErrorCount, 1);  // not reset by the partial path
}

TEST_F(ParserTest, CopiedEngineOwnsItsVariablesAndText) {
  SCalc a;
  bars.Bind(a);
  a.SetExpression("v = 3; v + 1");
  a.Calculate();
  SCalc b(a);
  a.InitCalc();
  b.SetExpression("v * 2");
  EXPECT_EQ(Values(b.Calculate())[4], 6.0);
  SCalc c;
  c = b;
  b.ClearNameTable();
  c.SetExpression("v");
  EXPECT_EQ(Values(c.Calculate())[4], 3.0);
}

TEST_F(ParserTest, PathologicalNestingEndsInAnError) {
  for (const std::string& f : {std::string(3000, '(') + "1", std::string(3000, '-') + "1",
                               std::string(2000, '(') + "1" + std::string(2000, ')')}) {
    EvalResult r = Eval(f);
    EXPECT_GE(r.errors, 1);
    EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart);
  }
  EXPECT_EQ(Last(std::string(100, '(') + "1" + std::string(100, ')')), 1);
}

TEST_F(ParserTest, UnboundEngineCalculatesWithoutPriceData) {
  SCalc calc;
  calc.SetExpression("1 + 1");
  SVector r = calc.Calculate();
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_EQ(r.GetSize(), 0);
}

TEST_F(ParserTest, FormulaIsCutAt4095Characters) {
  std::string f = "1" + std::string(4094, ' ') + "2";  // the "2" falls beyond the buffer
  EXPECT_EQ(Last(f), 1);
}

}  // namespace

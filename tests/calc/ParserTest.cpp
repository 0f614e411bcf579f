// Tokens, the name table, grammar rules, statements, error counting and
// messages of the recursive evaluator.
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

std::vector<int> Tokens(const std::string& text) {
  SCalc calc;
  calc.SetExpression(text.c_str());
  std::vector<int> out;
  for (int guard = 0; guard < 100 && !calc.AtEnd(); ++guard) out.push_back(calc.GetToken());
  return out;
}

TEST(Tokenizer, OperatorsKeywordsAndCommentsGiveTheirTokens) {
  struct Case {
    std::string text;
    std::vector<int> tokens;
    int lang = kLangEnglish;
  };
  const Case cases[] = {
      {"a<>b<=c!=d==e=f", {NAME, NE, NAME, LE, NAME, NE, NAME, EQ, NAME, ASSIGN, NAME}},
      {"!a>=b>c<d", {NOT, NAME, GE, NAME, GT, NAME, LT, NAME}},
      {"x and y AND z && w", {NAME, AND, NAME, AND, NAME, AND, NAME}},
      {"x Or y || z", {NAME, OR, NAME, OR, NAME}},
      {"not band", {NOT, NAME}},
      {"(a+b)*c/d%e^f,g;", {LP, NAME, PLUS, NAME, RP, MUL, NAME, DIV, NAME, MOD, NAME, POW, NAME, COMMA, NAME, PRINT}},
      {"-2", {MINUS, NUMBER}},
      {"a // note\nb", {NAME, NAME}},
      {"/* note */ close", {NAME}},
      {"/*/ a", {NAME}},  // the closing search starts at the opening '*'
      {"a /* never closed", {NAME, PRINT}},
      {Cp949("x 그리고 y 또는 부정 z"), {NAME, AND, NAME, OR, NOT, NAME}, kLangKorean},
      {Cp949("x 그리고 y 또는 부정 z"), {NAME, NAME, NAME, NAME, NAME, NAME}},
  };
  for (const Case& c : cases) {
    LangScope scope(c.lang);
    EXPECT_EQ(Tokens(c.text), c.tokens) << c.text;
  }
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
  calc.SetExpression(".5");  // starts no token and is not consumed
  EXPECT_EQ(calc.GetToken(), PRINT);
  EXPECT_FALSE(calc.AtEnd());
}

TEST(Tokenizer, OverlongNamesAndNumbersAreConsumedWholeAndNamesTakeKoreanBytes) {
  SCalc calc;
  std::string text = std::string(400, 'n') + "+" + std::string(300, '7');
  calc.SetExpression(text.c_str());
  EXPECT_EQ(calc.GetToken(), NAME);
  EXPECT_EQ(std::string(calc.NameText()).size(), 255u);
  EXPECT_EQ(calc.GetToken(), PLUS);
  EXPECT_EQ(calc.GetToken(), NUMBER);
  EXPECT_TRUE(calc.AtEnd());
  text = Cp949("종가_2x+1");
  calc.SetExpression(text.c_str());
  EXPECT_EQ(calc.GetToken(), NAME);
  EXPECT_EQ(std::string(calc.NameText()), Cp949("종가_2x"));
}

TEST(NameTable, LookupIgnoresCaseAndLongNamesKeepTheirFirst51Characters) {
  SCalc calc;
  EXPECT_EQ(calc.Look("close", 0), nullptr);
  Name* a = calc.Insert("CLOSE");
  EXPECT_EQ(a->value.Number(), 1.0);
  EXPECT_EQ(calc.Look("close", 0), a);
  const std::string longName(80, 'q');
  Name* q = calc.Insert(longName.c_str());
  EXPECT_EQ(std::string(q->name).size(), 51u);
  EXPECT_EQ(calc.Look((longName + "x").c_str(), 0), q);
  calc.ClearNameTable();
  EXPECT_EQ(calc.NameCount(), 0);
}

TEST(NameTable, FullTableStillGivesAUsableEntryAndReportsIt) {
  SCalc calc;
  for (int i = 0; i < kMaxNames; ++i) calc.Insert(("v" + std::to_string(i)).c_str());
  EXPECT_EQ(calc.ErrorCount, 0);
  EXPECT_NE(calc.Insert("one_too_many"), nullptr);
  EXPECT_EQ(calc.NameCount(), kMaxNames);
  EXPECT_EQ(calc.ErrorCount, 1);
}

struct ParserTest : ::testing::Test {
  TestBars bars;
  void SetUp() override { bars[kClose] = Series({10, 11, 12, 13, 14}, 1); }
  SVector Run(SCalc& calc, const std::string& f, int from = -1) {
    calc.SetExpression(f.c_str());
    return from < 0 ? calc.Calculate() : calc.Calculate(from);
  }
};

TEST_F(ParserTest, PrecedenceAssociativityAndStatements) {
  const std::pair<std::string, double> cases[] = {
      {"2 + 3 * 4", 14},
      {"10 - 4 - 3", 3},
      {"-2 * 3", -6},
      {"- 2 - 3", -5},
      {"+2", 2},
      {"7 % 4", 3},
      {"1 or 0 and 0", 0},  // one level: (1 or 0) and 0
      {"0 and 0 or 1", 1},
      {"3 < 2 < 1", 1},
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
      {std::string(100, '(') + "1" + std::string(100, ')'), 1},
      {"1" + std::string(4094, ' ') + "2", 1},  // the formula is cut at 4095 characters
  };
  for (const auto& [formula, value] : cases) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(r.errors, 0) << formula << ": " << r.message;
    ASSERT_EQ(r.value.GetSize(), 5) << formula;  // a constant is spread over close's bars
    EXPECT_EQ(r.value.GetStartIndex(), 1) << formula;
    EXPECT_EQ(r.value[4], value) << formula;
  }
}

TEST_F(ParserTest, ErrorsKeepTheFirstMessageAndInvalidateTheResult) {
  const std::pair<std::string, TextId> cases[] = {
      {"1 2", TxOperatorNeeded},
      {"a = 1; a a", TxOperatorNeeded},
      {"1 < 2 3", TxOperatorNeeded},
      {"(1 + 2", TxRightParenNeeded},
      {"a = 1; a(1", TxRightParenNeeded},
      {"1 +", TxImperfect},
      {"^ 3", TxImperfect},
      {"1 + )", TxImperfect},
      {"@", TxImperfect},
      {"1 & 1", TxBadToken},
      {std::string(3000, '(') + "1", TxNestedTooDeep},
      {std::string(3000, '-') + "1", TxNestedTooDeep},
      {std::string(2000, '(') + "1" + std::string(2000, ')'), TxNestedTooDeep},
  };
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    for (const auto& [formula, message] : cases) {
      EvalResult r = Evaluate(bars, formula);
      EXPECT_GE(r.errors, 1) << formula;
      EXPECT_EQ(r.message, GetText(message, lang)) << formula.substr(0, 10);
      EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << formula;
    }
  }
}

TEST_F(ParserTest, UnknownNameIsReportedWithoutASpaceAndMessageKeepsItsLanguage) {
  EXPECT_EQ(Evaluate(bars, "xyz").message, "xyzis not defined.\n");
  SCalc calc;
  bars.Bind(calc);
  {
    LangScope korean(kLangKorean);
    EvalResult r = Evaluate(bars, "xyz + qq");
    EXPECT_EQ(r.errors, 2);
    EXPECT_EQ(r.message, "xyz" + Cp949("이(가) 정의되지 않았습니다.") + "\n");
    Run(calc, "1 2");
  }
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()), Cp949("연산자가 필요합니다"));
}

TEST_F(ParserTest, VariablesSurviveUntilInitCalcAndDelaysOfThemAreNotChecked) {
  SCalc calc;
  bars.Bind(calc);
  Run(calc, "a = 7");
  EXPECT_EQ(Run(calc, "a * 2")[4], 14.0);
  EXPECT_EQ(calc.ErrorCount, 0);
  calc.InitCalc();
  Run(calc, "a * 2");
  EXPECT_EQ(calc.ErrorCount, 1);
  EvalResult r = Evaluate(bars, "x = 1; y = x; y(2)");
  EXPECT_EQ(r.errors, 0);
  EXPECT_EQ(r.value.GetStartIndex(), 2);
}

TEST_F(ParserTest, SecondCalculateWithoutNewTextAndUnboundEngineGiveEmptyResults) {
  SCalc calc;
  bars.Bind(calc);
  EXPECT_EQ(Run(calc, "3").GetSize(), 5);
  EXPECT_EQ(calc.Calculate().GetSize(), 0);
  SCalc unbound;
  EXPECT_EQ(Run(unbound, "1 + 1").GetSize(), 0);
  EXPECT_EQ(unbound.ErrorCount, 0);
}

TEST_F(ParserTest, PartialCalculationRestoresTheBoundSeriesAndKeepsTheErrorCount) {
  SCalc calc;
  bars.Bind(calc);
  EXPECT_EQ(Run(calc, "a = 4", 3).IsSeries(), 0);  // no broadcast on the partial path
  EXPECT_EQ(bars[kClose].GetStartIndex(), 1);
  Run(calc, "1 2", 2);
  Run(calc, "3", 2);
  EXPECT_EQ(calc.ErrorCount, 1);
}

TEST_F(ParserTest, CopiedEngineOwnsItsVariablesAndText) {
  SCalc a;
  bars.Bind(a);
  Run(a, "v = 3; v + 1");
  SCalc b(a);
  a.InitCalc();
  EXPECT_EQ(Run(b, "v * 2")[4], 6.0);
  SCalc c;
  c = b;
  b.ClearNameTable();
  EXPECT_EQ(Run(c, "v")[4], 3.0);
}

}  // namespace

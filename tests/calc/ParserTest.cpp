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
  // clang-format off
  const Case cases[] = {
      {"a<>b<=c!=d==e=f", {NAME, NE, NAME, LE, NAME, NE, NAME, EQ, NAME, ASSIGN, NAME}},
      {"!a>=b>c<d", {NOT, NAME, GE, NAME, GT, NAME, LT, NAME}},
      {"x and y AND z && w", {NAME, AND, NAME, AND, NAME, AND, NAME}},
      {"x Or y || z", {NAME, OR, NAME, OR, NAME}},
      {"not band", {NOT, NAME}},
      {"(a+b)*c/d%e^f,g;", {LP, NAME, PLUS, NAME, RP, MUL, NAME, DIV, NAME, MOD, NAME, POW, NAME, COMMA, NAME, PRINT}},
      {"-2", {MINUS, NUMBER}}, {"1e5", {NUMBER, NAME}},  // no sign or exponent in a number
      {"a // note\nb", {NAME, NAME}}, {"/* note */ close", {NAME}},
      {"/*/ a", {NAME}},  // the closing search starts at the opening '*'
      {"a /* never closed", {NAME, PRINT}},
      {Cp949("x 그리고 y 또는 부정 z"), {NAME, AND, NAME, OR, NOT, NAME}, kLangKorean},
      {Cp949("x 그리고 y 또는 부정 z"), {NAME, NAME, NAME, NAME, NAME, NAME}}};
  // clang-format on
  for (const Case& c : cases) {
    LangScope scope(c.lang);
    EXPECT_EQ(Tokens(c.text), c.tokens) << c.text;
  }
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
  SCalc calc;
  void SetUp() override {
    bars[kClose] = Series({10, 11, 12, 13, 14}, 1);
    bars.Bind(calc);
  }
  SVector Run(const std::string& f, SCalc* engine = nullptr) {
    engine = engine ? engine : &calc;
    engine->SetExpression(f.c_str());
    return engine->Calculate();
  }
};

TEST_F(ParserTest, PrecedenceAssociativityNamesAndStatements) {
  const std::string longName(400, 'n');
  // clang-format off
  const std::pair<std::string, double> cases[] = {
      {"2 + 3 * 4", 14}, {"10 - 4 - 3", 3}, {"-2 * 3", -6}, {"- 2 - 3", -5}, {"+2", 2}, {"7 % 4", 3},
      {"1 or 0 and 0", 0},  // one level: (1 or 0) and 0
      {"0 and 0 or 1", 1}, {"3 < 2 < 1", 1}, {"2 == 2 == 1", 1}, {"!0", 1}, {"not 2", 0}, {"(1 + 2) * 3", 9},
      {"1 / 0", 0}, {"12.5.7 * 2", 25}, {"a = b = 3; a + b", 6}, {"a = 2; b = a * 2; b", 4},
      {"x = 1; x + (x = 5)", 6}, {"Abc = 4; aBC", 4},
      {"a = 1; a + b = 3", 4},  // a + (b = 3)
      {"(1 + 2) = 7", 7},       // stray '=': the rest is a new statement
      {"2 ^ 3", 3},             // '^' has no rule: it ends the statement like ';'
      {"4)", 4},                // stray ')' at the end is dropped
      {"1; 2; 3", 3}, {"5; // trailing note\n\n", 5}, {"5 /* note */   ", 5},
      {Cp949("종가_2x = 3; 종가_2x + 1"), 4},  // names take Korean bytes, digits and underscores
      {longName + " = 2; " + longName + "x + 1", 3},  // both cut to the same first 51 characters
      {std::string(300, '7') + " > 1", 1},  // an overlong number is read whole
      {std::string(100, '(') + "1" + std::string(100, ')'), 1},
      {"1" + std::string(4094, ' ') + "2", 1}};  // the formula is cut at 4095 characters
  // clang-format on
  for (const auto& [formula, value] : cases) {
    EvalResult r = Evaluate(bars, formula);
    EXPECT_EQ(r.errors, 0) << formula.substr(0, 40) << ": " << r.message;
    ASSERT_EQ(r.value.GetSize(), 5) << formula.substr(0, 40);  // a constant is spread over close's bars
    EXPECT_EQ(r.value.GetStartIndex(), 1) << formula.substr(0, 40);
    EXPECT_EQ(r.value[4], value) << formula.substr(0, 40);
  }
}

TEST_F(ParserTest, ErrorsKeepTheFirstMessageAndInvalidateTheResult) {
  // clang-format off
  const std::pair<std::string, TextId> cases[] = {
      {"1 2", TxOperatorNeeded}, {"a = 1; a a", TxOperatorNeeded}, {"1 < 2 3", TxOperatorNeeded},
      {"(1 + 2", TxRightParenNeeded}, {"a = 1; a(1", TxRightParenNeeded}, {"1 +", TxImperfect},
      {"^ 3", TxImperfect}, {"1 + )", TxImperfect}, {"@", TxImperfect},
      {".5", TxImperfect},  // a leading point starts no number
      {"1 & 1", TxBadToken}, {std::string(3000, '(') + "1", TxNestedTooDeep},
      {std::string(3000, '-') + "1", TxNestedTooDeep},
      {std::string(2000, '(') + "1" + std::string(2000, ')'), TxNestedTooDeep}};
  // clang-format on
  for (int lang : {kLangEnglish, kLangKorean}) {
    LangScope scope(lang);
    for (const auto& [formula, message] : cases) {
      EvalResult r = Evaluate(bars, formula);
      EXPECT_GE(r.errors, 1) << formula.substr(0, 10);
      EXPECT_EQ(r.message, GetText(message, lang)) << formula.substr(0, 10);
      EXPECT_EQ(r.value.GetStartIndex(), kInvalidStart) << formula.substr(0, 10);
    }
  }
}

TEST_F(ParserTest, UnknownNameIsReportedWithoutASpaceAndMessageKeepsItsLanguage) {
  EXPECT_EQ(Evaluate(bars, "xyz").message, "xyzis not defined.\n");
  {
    LangScope korean(kLangKorean);
    EvalResult r = Evaluate(bars, "xyz + qq");
    EXPECT_EQ(r.errors, 2);
    EXPECT_EQ(r.message, "xyz" + Cp949("이(가) 정의되지 않았습니다.") + "\n");
    Run("1 2");
  }
  EXPECT_EQ(std::string(calc.ErrorMessage.c_str()), Cp949("연산자가 필요합니다"));
}

TEST_F(ParserTest, VariablesSurviveUntilInitCalcAndDelaysOfThemAreNotChecked) {
  Run("a = 7");
  EXPECT_EQ(Run("a * 2")[4], 14.0);
  EXPECT_EQ(calc.ErrorCount, 0);
  calc.InitCalc();
  Run("a * 2");
  EXPECT_EQ(calc.ErrorCount, 1);
  EXPECT_EQ(Run("x = 1; y = x; y(2)").GetStartIndex(), 2);
  EXPECT_EQ(calc.ErrorCount, 0);
}

TEST_F(ParserTest, RepeatedUnboundAndPartialCalculationsKeepTheirState) {
  EXPECT_EQ(Run("3").GetSize(), 5);
  EXPECT_EQ(calc.Calculate().GetSize(), 0);  // no new text: nothing to evaluate
  SCalc unbound;
  EXPECT_EQ(Run("1 + 1", &unbound).GetSize(), 0);
  EXPECT_EQ(unbound.ErrorCount, 0);
  calc.SetExpression("a = 4");
  EXPECT_EQ(calc.Calculate(3).IsSeries(), 0);  // no broadcast on the partial path
  EXPECT_EQ(bars[kClose].GetStartIndex(), 1);  // the bound series are restored
  calc.SetExpression("1 2");
  calc.Calculate(2);
  calc.SetExpression("3");
  calc.Calculate(2);
  EXPECT_EQ(calc.ErrorCount, 1);  // not reset by the partial path
}

TEST_F(ParserTest, CopiedEngineOwnsItsVariablesAndText) {
  Run("v = 3; v + 1");
  SCalc b(calc);
  calc.InitCalc();
  EXPECT_EQ(Run("v * 2", &b)[4], 6.0);
  SCalc c;
  c = b;
  b.ClearNameTable();
  EXPECT_EQ(Run("v", &c)[4], 3.0);
}

}  // namespace

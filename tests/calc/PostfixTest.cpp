// The postfix path: compilation order, the codes, and evaluation against the
// recursive evaluator on the same formulas.
#include <cstdio>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

// The compiled items of a formula in postfix order, numbers as their value.
std::string Compiled(const char* formula) {
  SCalc calc;
  calc.SetExpression(formula);
  SStack list;
  calc.InToPost(&list);
  std::string out;
  for (int i = list.top; i >= 0; --i) {
    const PostfixItem& item = list.items[i];
    char number[32];
    std::snprintf(number, sizeof number, "%g", item.Value.Number());
    out += (out.empty() ? "" : " ") + std::string(item.Code == kPfNumber ? number : item.Text.c_str());
  }
  return out;
}

TEST(Postfix, CompilesInPrecedenceOrderLeftToRight) {
  // clang-format off
  // Evaluation order shows in the comparison with the recursive evaluator below;
  // these rows are what it cannot see.
  const std::pair<const char*, const char*> cases[] = {
      {"2 + 3 * 4", "2 3 4 MUL PLUS"}, {"10 - 4 - 3", "10 4 MINUS 3 MINUS"}, {"c(1) + 1", "1 c PREV 1 PLUS"},
      {"c * -2", "c 2 UMINUS MUL"}, {"x = c * 2; x + 1", "x c 2 MUL OPASSIGN x 1 PLUS"},
      {"2 ^ 3 + 1", "2 3 OPPOW 1 PLUS"},  // the recursive evaluator has no rule for '^'
      {"sum(c) + foo", "c sum foo PLUS"},  // an unknown name is a variable
      // Only the compress functions leave an item, before their argument.
      {"CompressC(day) + DeCompress(c, c)", "CompressC day c c PLUS"}};
  // clang-format on
  for (const auto& [formula, postfix] : cases) EXPECT_EQ(Compiled(formula), postfix) << formula;
  EXPECT_EQ(Compiled(Cp949("합계 + 1").c_str()), Cp949("합계") + " 1 PLUS");  // a variable in English mode
  {
    LangScope ko(kLangKorean);
    EXPECT_EQ(Compiled(Cp949("합계(c, 3)").c_str()), "c 3 " + Cp949("합계"));
  }
  SCalc calc;  // the parentheses, the unary plus and unknown codes bind least; the power most
  const int codes[][3] = {{3, 3, 1}, {4, 4, 1}, {5, 90, 1}, {6, 90, 9}, {-1, 90, 1}};  // code, kind, precedence
  for (const auto& c : codes)
    EXPECT_EQ(std::make_pair(calc.GetOpType(c[0]), calc.GetPrecedence(c[0])), std::make_pair(c[1], c[2])) << c[0];
}

struct PostfixRun {
  SCalc calc;
  PostfixRun(TestBars& bars, const std::string& formula, SFunctionList* functions = nullptr) {
    bars.Bind(calc);
    calc.SetFunction(functions);
    calc.SetExpression(formula.c_str());
    calc.InfixToPostFix();
  }
  SVector Eval() { return calc.CalcOp(nullptr); }
};

TEST(Postfix, EvaluatesLikeTheRecursiveEvaluator) {
  TestBars bars = WalkBars(120);
  SFunctionList functions;  // user functions bind their arguments and take a trailing delay
  for (const char* d : {"add|a + b|a|b", "twice|add(x, x)|x", "barRange|t = h - l; t|"})
    functions.SetExpressionWithVariable(d);
  // clang-format off
  for (const char* f : {
           "c - o - l", "avg(c, 5) - avg(c, 20)", "(h + l + c) / 3 * v % 7", "-c * 2 + !(c > o) + c * -2", "c(1) + h(2) - l",
           "if(c > o, h, l)", "max(h - l, abs(h - c(1)), abs(l - c(1)))", "min(c, o) + min(h)",
           "crossup(avg(c, 5), avg(c, 20)) + crossdown(c, o)", "stdev(c, 10) + highest(h, 7) - lowest(l, 7)",
           "sum(c > c(1), 5) / 5 * 100", "sum(v) + avg(c) + wavg(c, 4) + esum(c, 3) + eavg(c, 9)", "avg(c, 5, 2)",
           "x = c * 2; y = x - o; y / 2", "x = avg(c, 3); x(2) + x", "c > o and h > h(1) or l < l(1)",
           "c <= o && c != o || c == h", "sqrt(abs(c - o)) + log10(v) + tanh(c / 100)", "shift(c, 3) + ref(c, 2)",
           "valuewhen(2, c > o, h) + BarsSince(c > h(1)) + HighestSince(1, c > o, h) + LowestSince(1, c < o, l)",
           "cci(14) + nvi(c) + pvi(c) + ad() + PVT()",
           "LinearRegressionValue(c, 10, 0) + LinearRegressionSlope(c, 10) + Correlation(c, v, 10) + RSquared(c, 10)",
           "swinghigh(1, h, 2, 10) + swinglow(1, l, 2, 10)", "sar(0.02, 0.2) + csar(0.02, 0.2) + ZigZag(5)",
           "pow(c, 2) - c * c", "y = 3; x = c * 2", "add(c, 1)", "twice(c) * 2", "add(c, 1, 2)", "barRange() + 1"}) {
    // clang-format on
    PostfixRun p(bars, f, &functions);
    ExpectSame(Evaluate(bars, f, &functions), {p.Eval(), p.calc.ErrorCount, p.calc.ErrorMessage.c_str()}, f);
  }
}

TEST(Postfix, OnlyTheFirstFourUserFunctionsAreCompiledAndSelfCallsStopAtTheLimit) {
  TestBars bars = WalkBars(30);
  SFunctionList functions, loops;
  for (const char* f : {"f0|c|", "f1|c|", "f2|c|", "f3|c|", "f4|c|"}) functions.SetExpressionWithVariable(f);
  EXPECT_EQ(PostfixRun(bars, "f3()", &functions).Eval().GetSize(), 30);
  EXPECT_EQ(PostfixRun(bars, "f4()", &functions).Eval().GetSize(), 0);
  loops.SetExpressionWithVariable("loop|loop(x) + 1|x");
  PostfixRun loop(bars, "loop(c)", &loops);
  loop.Eval();
  EXPECT_STREQ(loop.calc.ErrorMessage.c_str(), "Function methods are so coplicated.");
}

TEST(Postfix, DateAndTimeTakeTheLastSixDigitsAndReservedOrMissingNamesAreReported) {
  TestBars bars = WalkBars(3);
  auto message = [&](const char* formula, bool forget = false) {
    PostfixRun p(bars, formula);
    if (forget) p.calc.ClearNameTable();  // the name the compiler entered is gone
    p.Eval();
    return std::string(p.calc.ErrorMessage.c_str());
  };
  EXPECT_EQ(message("Year + 1"), "There is an error at a variable definition.");
  EXPECT_EQ(message("ghost * 2", true), "The name could not be found. : ghost");
  bars[kDateTime] = Series({1507311530, 20240105093000.0, 20240105});
  EXPECT_EQ(Values(PostfixRun(bars, "Time").Eval()), (std::vector<double>{311530, 93000, 240105}));
  EXPECT_EQ(Values(PostfixRun(bars, "Date + 0").Eval()), (std::vector<double>{31, 9, 24}));
  LangScope ko(kLangKorean);  // the postfix path's own wording
  EXPECT_EQ(message("Month"), Cp949("변수 정의에 오류가 있습니다."));
}

TEST(Postfix, OverlongAndMalformedFormulasDoNotCrash) {
  TestBars bars = WalkBars(20);
  std::string longSum = "c";
  for (int i = 0; i < 300; ++i) longSum += " + c(" + std::to_string(i % 5) + ")";
  EXPECT_LE(PostfixRun(bars, longSum).Eval().GetSize(), 20);
  for (const char* f : {"((((", "))))", "avg(", "avg(c,", ", , ;", "c c c", "-", "= = 3", "pow(c)", "f(1)(2)",
                        "x = ; x", "if(c)", "@#$ + 1", "c ^ ^ 2"})
    EXPECT_LE(PostfixRun(bars, f).Eval().GetSize(), 20) << f;
  SCalc never;  // nothing compiled
  EXPECT_EQ((std::pair{never.CalcOp(nullptr).GetSize(), never.GetEvalValue(3)->GetSize()}), std::pair(0, 0));
}

TEST(Postfix, CopiesOfStacksStartEmptyAndCopiedEnginesStillEvaluate) {
  SStack s;
  PostfixItem item;
  item.Code = kPfNumber;
  for (int i = 0; i < kPostfixCapacity + 5; ++i) s.Push(item);
  SStack copy(s);
  EXPECT_EQ(std::tuple(s.top, copy.top, copy.count), std::tuple(kPostfixCapacity - 1, -1, kPostfixCapacity));
  TestBars bars = WalkBars(40);
  PostfixRun p(bars, "avg(c, 4)");
  SCalc other = p.calc;
  ExpectSame(Evaluate(bars, "avg(c, 4)"), other.CalcOp(nullptr), "copied engine");
}

}  // namespace

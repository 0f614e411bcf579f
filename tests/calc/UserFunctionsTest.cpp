// User functions: the list, reading it from the database, and calls from
// formulas (argument binding, the caller's variables, delays, nesting, the
// call limit, the history).
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

// Close 10, 11, ..., 17, bound to an engine that knows the given functions.
struct UserCalc {
  TestBars bars;
  SFunctionList functions;
  SCalc calc;
  explicit UserCalc(std::initializer_list<const char*> definitions) {
    bars[kClose] = Series({10, 11, 12, 13, 14, 15, 16, 17});
    for (const char* d : definitions) functions.SetExpressionWithVariable(d);
    bars.Bind(calc);
    calc.SetFunction(&functions);
  }
  SVector Run(const std::string& formula) {
    calc.SetExpression(formula.c_str());
    return calc.Calculate();
  }
  // The formula's valid values; it must calculate without error.
  std::vector<double> Valid(const std::string& formula) {
    SVector r = Run(formula);
    EXPECT_EQ(calc.ErrorCount, 0) << formula << ": " << calc.ErrorMessage.c_str();
    return ValidValues(r);
  }
  double Var(const char* name) { return calc.Look(name, 0) ? calc.Look(name, 0)->value.Number() : -999; }
  // close * k + d for the closes of bars [0, to).
  std::vector<double> Close(double k, double d, int to = 8) {
    std::vector<double> out;
    for (int i = 0; i < to; ++i) out.push_back(bars[kClose][i] * k + d);
    return out;
  }
};

TEST(UserFunctions, CallBindsArgumentsDelaysAndGivesTheCallerItsVariablesBack) {
  UserCalc u({"f|a + b|a|b"});
  EXPECT_EQ(u.Valid("a = 100; f(close, 1)"), u.Close(1, 1));
  EXPECT_EQ(u.Var("a"), 100);                                     // existed before the call: restored
  EXPECT_EQ(u.Var("b"), 1);                                       // created by the call: stays
  EXPECT_EQ(u.Valid("a = 7; f(close, 1, 2)"), u.Close(1, 1, 6));  // two bars later, from bar 2 on
  EXPECT_EQ(u.Run("f(close, 1, 2)").GetStartIndex(), 2);
  EXPECT_EQ(u.Var("a"), 7);
}

TEST(UserFunctions, CallsNestAndBodiesRunTheirOwnStatementsWithTheCallersVariables) {
  UserCalc u({"add|a + b|a|b", "twice|add(x, x)|x", "quad|twice(twice(x))|x", "g|t = x * 2; // doubled\n t + k|x",
              "same|y\n/* comment */ \n|y"});
  EXPECT_EQ(u.Valid("add(add(close, 1), 1)"), u.Close(1, 2));
  EXPECT_EQ(u.Valid("QUAD(close) * 2 + 1"), u.Close(8, 1));  // names ignore case; the caller reads on
  EXPECT_EQ(u.Valid("k = 5; g(close)"), u.Close(2, 5));
  EXPECT_NE(u.calc.Look("t", 0), nullptr);
  EXPECT_EQ(u.Valid("same(close)"), u.Close(1, 0));
  std::string square = Cp949("제곱|값 * 값|값");
  UserCalc korean({square.c_str()});
  LangScope ko(kLangKorean);
  EXPECT_EQ(korean.Valid(Cp949("제곱(close)"))[2], 144);
}

TEST(UserFunctions, TheCallLimitCountsEveryCallOfOneCalculationAndStopsRecursion) {
  UserCalc u({"one|1|", "r|r(x) + 1|x"});
  std::string calls = "one()";
  for (int i = 1; i < kMaxUserCalls; ++i) calls += " + one()";
  EXPECT_EQ(u.Valid(calls)[0], kMaxUserCalls);
  u.Run(calls + " + one()");
  EXPECT_STREQ(u.calc.ErrorMessage.c_str(), "Function methods are so coplicated.");
  u.Valid(calls);  // a new calculation starts counting again
  EXPECT_EQ(u.Run("x = 3; r(close)").GetStartIndex(), kInvalidStart);
  EXPECT_STREQ(u.calc.ErrorMessage.c_str(), "Function methods are so coplicated.");
  EXPECT_EQ(u.Var("x"), 3);  // every level gave its caller's variables back
  LangScope korean(kLangKorean);
  u.Run("r(close)");
  EXPECT_EQ(std::string(u.calc.ErrorMessage.c_str()), Cp949("함수식이 너무 복잡합니다."));
}

TEST(UserFunctions, MissingFunctionsArgumentsAndBodiesAreErrors) {
  UserCalc u({"f|a + b|a|b", "bad|x +|x"});
  EXPECT_EQ(u.calc.FindFunction("F"), 0);
  EXPECT_EQ(u.calc.FindFunction("g"), -1);
  EXPECT_TRUE(u.calc.IsUserFunction("BAD"));
  u.Run("f(close)");  // b is missing
  EXPECT_STREQ(u.calc.ErrorMessage.c_str(),
               "A numerical formula is imperfect. Necessary variable or operator could not be found.");
  u.Run("bad(close)");
  EXPECT_GT(u.calc.ErrorCount, 0);
  u.Run("f");
  EXPECT_STREQ(u.calc.ErrorMessage.c_str(), "There is error in a function definition");
  SCalc unbound;
  EXPECT_FALSE(unbound.IsUserFunction("f"));
  EXPECT_EQ(unbound.FindFunction("f"), -1);
}

TEST(UserFunctions, HistoryRecordsEveryCalledName) {
  UserCalc u({"f|x|x", "g|f(x) + 1|x"});
  SAnsiStringList history;
  u.calc.SetFuncHist(&history);
  u.Run("G(f(1))");
  ASSERT_EQ(history.Count(), 3);
  EXPECT_STREQ(history[0].c_str(), "f");  // the argument is bound before the call is recorded
  EXPECT_STREQ(history[1].c_str(), "G");
  EXPECT_STREQ(history[2].c_str(), "f");
}

TEST(UserFunctions, ConvertExpressionSubstitutesStoredValues) {
  SFunctionList list;
  SFunction f;
  f.Name = "ma";
  f.Expression = "avg(close, Period) + periodX + PERIOD*k + " + Cp949("가") + "1";
  f.VarName[0] = "period";
  f.VarValue[0] = "20";
  f.VarName[1] = "k";  // no stored value: the name stays
  list.Add(f);
  SCalc calc;
  calc.SetFunction(&list);
  char out[kMaxExpression];
  calc.ConvertExpression(0, out);
  EXPECT_EQ(std::string(out), "avg(close, 20) + periodX + 20*k + " + Cp949("가") + "1");
  std::strcpy(out, "untouched");
  calc.ConvertExpression(5, out);
  EXPECT_STREQ(out, "untouched");
  calc.ConvertExpression(3, out);  // beyond the list: the empty record
  EXPECT_STREQ(out, "");
  f.Expression = std::string(3000, 'x') + "+period+" + std::string(3000, 'y');
  list[0] = f;
  calc.ConvertExpression(0, out);
  EXPECT_EQ(std::strlen(out), static_cast<size_t>(kMaxExpression - 1));
}

TEST(SFunctionList, DelimitedTextGrowsTheListAndOutsideIndicesGiveAnEmptyRecord) {
  SFunctionList list;
  for (const char* text : {"f | a + b\x01 | a | b", "solo", "k|1|", "many|x|p0|p1|p2|p3|p4|p5|p6|p7|p8|p9|p10"})
    list.SetExpressionWithVariable(text);
  EXPECT_STREQ(list[0].Name.c_str(), "f");  // names are trimmed, expressions keep their spaces
  EXPECT_STREQ(list[0].Expression.c_str(), " a + b ");
  EXPECT_STREQ(list[0].VarName[1].c_str(), "b");
  EXPECT_TRUE(list[1].Expression.IsEmpty());
  EXPECT_EQ(list[2].GetVarCount(), 0);
  EXPECT_EQ(list[3].GetVarCount(), kMaxFunctionVars);  // parameters beyond the limit are dropped
  for (int i = 4; i < 101; ++i) list.SetExpressionWithVariable(std::to_string(i).c_str());
  list[-1].Name = "scribbled";
  EXPECT_TRUE(list[-1].Name.IsEmpty());
  EXPECT_TRUE(list[101].Name.IsEmpty());
  list.Delete(0);
  list.Delete(500);  // ignored
  SFunctionList copy(list);
  list.Clear();
  list.SetMaxSize(64);
  EXPECT_EQ(list.GetCapacity(), 64);
  EXPECT_EQ(copy.GetCount(), 100);
  EXPECT_STREQ(copy[0].Name.c_str(), "solo");
  EXPECT_STREQ(copy[99].Name.c_str(), "100");
}

// The user-function database in the test's own index directory: skips
// deleted records and records without a name; without records or without a
// database the list ends up empty.
TEST(SFunctionList, ReadFunctionLoadsTheValidRecordsOfTheDatabase) {
  const std::string dir = std::string(CHARTCALC_TEST_TMP) + "/ReadFunction/";
  std::filesystem::remove_all(dir);
  struct IndexDir {
    explicit IndexDir(const std::string& d) { SetIndexDir(d.c_str()); }
    ~IndexDir() { SetIndexDir("./"); }
  } scope(dir);
  ASSERT_EQ(CreateIndexDB(4, getIndexDBFileName(4).c_str()), 1);
  auto add = [](const char* name, const char* expression, bool deleted) {
    DDB db(getIndexDBFileName(4).c_str(), getUserDBFileName(4).c_str(), 1);
    db.SetExtension(getIndexDBExt(4));
    ASSERT_EQ(db.Append(name), 1);
    db.InsField("IndexName", name);
    db.InsField("Expression0", expression);
    db.InsField("VarName0", "a");
    db.InsField("VarName1", "b");
    db.InsField("VarValue1", "5");
    ASSERT_EQ(db.WriteRecord(), 1);
    if (deleted) {
      ASSERT_EQ(db.Delete(), 1);
    }
  };
  add("gone", "a", true);
  SFunctionList list;
  list.SetExpressionWithVariable("old|1");
  EXPECT_EQ(list.ReadFunction(), 0);
  EXPECT_EQ(list.GetCount(), 0);
  add("  diff  ", "a - b", false);
  add("   ", "ignored", false);
  add("avg3", "avg(a, b)", false);
  ASSERT_EQ(list.ReadFunction(), 1);
  ASSERT_EQ(list.GetCount(), 2);
  EXPECT_STREQ(list[0].Name.c_str(), "diff");
  EXPECT_STREQ(list[0].Expression.c_str(), "a - b");
  EXPECT_STREQ(list[0].VarValue[1].c_str(), "5");
  EXPECT_STREQ(list[1].Name.c_str(), "avg3");
  TestBars bars;
  bars[kClose] = Series({1, 2, 3, 4});
  EXPECT_EQ(Values(Evaluate(bars, "diff(close, 1)", &list).value), (std::vector<double>{0, 1, 2, 3}));
  std::filesystem::remove_all(dir);
  EXPECT_EQ(list.ReadFunction(), 0);
  EXPECT_FALSE(std::filesystem::exists(dir));
}

}  // namespace

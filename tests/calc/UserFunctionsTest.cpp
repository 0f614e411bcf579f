// User functions: the list, reading it from the database, and calls from
// formulas (argument binding, the caller's variables, delays, nesting, the
// call limit, the history).
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "calc/CalcTestUtil.h"

namespace {

// close * k + d for the closes 10, 11, ..., 17 of bars [0, to).
std::vector<double> Close(double k, double d, int to = 8) {
  std::vector<double> out;
  for (int i = 0; i < to; ++i) out.push_back((10 + i) * k + d);
  return out;
}

struct UserCalc : BoundCalc {
  explicit UserCalc(std::initializer_list<const char*> definitions)
      : BoundCalc(CloseBars(Series({10, 11, 12, 13, 14, 15, 16, 17})), definitions) {}
  // The formula's valid values; it must calculate without error.
  std::vector<double> Valid(const std::string& formula) {
    SVector r = Run(formula);
    EXPECT_EQ(calc.ErrorCount, 0) << formula << ": " << Message();
    return ValidValues(r);
  }
  double Var(const char* name) { return calc.Look(name, 0) ? calc.Look(name, 0)->value.Number() : -999; }
};

TEST(UserFunctions, CallsBindArgumentsNestDelayAndGiveTheCallerItsVariablesBack) {
  UserCalc u({"f|a + b|a|b", "twice|f(x, x)|x", "quad|twice(twice(x))|x", "g|t = x * 2; // doubled\n t + k|x",
              "same|y\n/* comment */ \n|y"});
  EXPECT_EQ(u.Valid("a = 100; f(close, 1)"), Close(1, 1));
  // a existed before the call: restored; b was created by the call: it stays.
  EXPECT_EQ(std::pair(u.Var("a"), u.Var("b")), std::pair(100.0, 1.0));
  EXPECT_EQ(u.Valid("a = 7; f(close, 1, 2)"), Close(1, 1, 6));  // two bars later, from bar 2 on
  EXPECT_EQ(u.Var("a"), 7);
  EXPECT_EQ(u.Valid("f(f(close, 1), 1)"), Close(1, 2));
  EXPECT_EQ(u.Valid("QUAD(close) * 2 + 1"), Close(8, 1));  // names ignore case; the caller reads on
  EXPECT_EQ(u.Valid("k = 5; g(close)"), Close(2, 5));      // the body's statements see the caller's k
  EXPECT_NE(u.calc.Look("t", 0), nullptr);
  EXPECT_EQ(u.Valid("same(close)"), Close(1, 0));
  UserCalc korean({Cp949("제곱|값 * 값|값").c_str()});
  LangScope ko(kLangKorean);
  EXPECT_EQ(korean.Valid(Cp949("제곱(close)"))[2], 144);
}

TEST(UserFunctions, TheCallLimitCountsEveryCallOfOneCalculationAndStopsRecursion) {
  UserCalc u({"one|1|", "r|r(x) + 1|x"});
  std::string calls = "one()";
  for (int i = 1; i < kMaxUserCalls; ++i) calls += " + one()";
  EXPECT_EQ(u.Valid(calls)[0], kMaxUserCalls);
  u.Run(calls + " + one()");
  EXPECT_EQ(u.Message(), "Function methods are so coplicated.");
  u.Valid(calls);  // a new calculation starts counting again
  EXPECT_EQ(u.Run("x = 3; r(close)").GetStartIndex(), kInvalidStart);
  EXPECT_EQ(u.Message(), "Function methods are so coplicated.");
  EXPECT_EQ(u.Var("x"), 3);  // every level gave its caller's variables back
}

TEST(UserFunctions, MissingFunctionsArgumentsAndBodiesAreErrors) {
  UserCalc u({"f|a + b|a|b", "bad|x +|x"});
  u.Run("f(close)");  // b is missing
  EXPECT_EQ(u.Message(), "A numerical formula is imperfect. Necessary variable or operator could not be found.");
  u.Run("bad(close)");
  EXPECT_GT(u.calc.ErrorCount, 0);
  u.Run("f");
  EXPECT_EQ(u.Message(), "There is error in a function definition");
  SCalc unbound;
  EXPECT_EQ(std::pair(unbound.IsUserFunction("f"), unbound.FindFunction("f")), std::pair(false, -1));
}

TEST(UserFunctions, HistoryRecordsEveryCalledName) {
  UserCalc u({"f|x|x", "g|f(x) + 1|x"});
  SAnsiStringList history;
  u.calc.SetFuncHist(&history);
  u.Run("G(f(1))");  // the argument is bound before the call is recorded
  EXPECT_EQ(std::to_string(history.Count()) + history[0].c_str() + history[1].c_str() + history[2].c_str(), "3fGf");
}

TEST(UserFunctions, ConvertExpressionSubstitutesStoredValues) {
  SFunctionList list;
  SFunction f;
  f.Name = "ma";
  f.Expression = "avg(close, Period) + periodX + PERIOD*k + " + Cp949("가") + "1";
  f.VarName[0] = "period", f.VarValue[0] = "20";
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
  // Names are trimmed, expressions keep their spaces.
  EXPECT_EQ(list[0].Name.str() + "|" + list[0].Expression.str() + "|" + list[0].VarName[1].str(), "f| a + b |b");
  EXPECT_TRUE(list[1].Expression.IsEmpty() && list[2].GetVarCount() == 0);
  EXPECT_EQ(list[3].GetVarCount(), kMaxFunctionVars);  // parameters beyond the limit are dropped
  for (int i = 4; i < 101; ++i) list.SetExpressionWithVariable(std::to_string(i).c_str());
  list[-1].Name = "scribbled";
  EXPECT_TRUE(list[-1].Name.IsEmpty() && list[101].Name.IsEmpty());
  list.Delete(0), list.Delete(500);  // the second is ignored
  SFunctionList copy(list);
  list.Clear();
  list.SetMaxSize(64);
  EXPECT_EQ(std::tuple(list.GetCapacity(), copy.GetCount(), copy[0].Name.str() + copy[99].Name.str()),
            std::tuple(64, 100, "solo100"));
}

// Deleted records and records without a name are skipped; without records or
// without a database the list ends up empty.
TEST(SFunctionList, ReadFunctionLoadsTheValidRecordsOfTheDatabase) {
  IndexDirScope scope;
  ASSERT_EQ(CreateIndexDB(4, getIndexDBFileName(4).c_str()), 1);
  auto add = [](const char* name, const char* expression, bool deleted = false) {
    DDB db(getIndexDBFileName(4).c_str(), getUserDBFileName(4).c_str(), 1);
    db.SetExtension(getIndexDBExt(4));
    ASSERT_EQ(db.Append(name), 1);
    db.InsField("IndexName", name), db.InsField("Expression0", expression);
    db.InsField("VarName0", "a"), db.InsField("VarName1", "b"), db.InsField("VarValue1", "5");
    ASSERT_EQ(db.WriteRecord(), 1);
    ASSERT_EQ(deleted ? db.Delete() : 1, 1);
  };
  add("gone", "a", true), add("  diff  ", "a - b"), add("   ", "ignored"), add("avg3", "avg(a, b)");
  SFunctionList list;
  list.SetExpressionWithVariable("old|1");  // replaced by what the database holds
  ASSERT_EQ(list.ReadFunction(), 1);
  ASSERT_EQ(list.GetCount(), 2);
  EXPECT_EQ(list[0].Name.str() + "|" + list[0].VarValue[1].str() + "|" + list[1].Name.str(), "diff|5|avg3");
  std::filesystem::remove_all(scope.dir);
  EXPECT_EQ(list.ReadFunction() + list.GetCount(), 0);
  EXPECT_FALSE(std::filesystem::exists(scope.dir));  // reading creates nothing
}

}  // namespace

// The shipped definitions, as the build stored them in its index directory:
// there are enough of each kind, they are complete, and every formula
// evaluates without error on the bundled sample data.
#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

namespace {

// The nine price series of a sample CSV (date[,time],open,high,low,close,volume).
struct Bars {
  SVector s[kPriceSlots];
  void Bind(SCalc& calc) {
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest],
                     s[kAmount], s[kSpread]);
  }
};

Bars ReadSample(const std::string& name) {
  Bars bars;
  std::ifstream in(std::string(CHARTCALC_DATA_DIR) + "/" + name);
  std::string line;
  std::getline(in, line);
  bool hasTime = line.find(",time,") != std::string::npos;
  while (std::getline(in, line)) {
    std::replace(line.begin(), line.end(), ',', ' ');
    std::replace(line.begin(), line.end(), ':', ' ');
    std::istringstream row(line);
    double date = 0, hour = 0, minute = 0, open, high, low, close, volume;
    row >> date;
    if (hasTime) row >> hour >> minute;
    row >> open >> high >> low >> close >> volume;
    double dateTime = hasTime ? date * 1000000 + hour * 10000 + minute * 100 : date;
    double values[kPriceSlots] = {close, open, high, low, volume, dateTime, 0, 0, 0};
    for (int k = 0; k < kPriceSlots; ++k) bars.s[k].Add(values[k]);
  }
  return bars;
}

// Every definition name of a kind in the shipped index directory.
std::vector<std::string> Names(int kind) {
  SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
  DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
  db.SetExtension(getIndexDBExt(kind));
  std::vector<std::string> names;
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1))
    if (!db.Deleted()) names.push_back(db.GetStr("IndexName"));
  return names;
}

SIndex Read(const std::string& name, int kind) {
  SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
  SIndex x(name.c_str(), kind);
  EXPECT_EQ(x.ReadExpression(name.c_str()), 1) << name;
  return x;
}

bool SameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

// Calls visit(name) for every whole name of a formula and appends to out
// what visit returns for it; the text between names is copied.
template <typename Visit>
std::string MapNames(const std::string& formula, Visit visit) {
  std::string out;
  char name[kMaxNameBytes + 1];
  for (size_t i = 0; i < formula.size();) {
    GetName(formula.c_str() + i, name);
    size_t n = std::strlen(name);
    if (n == 0) {
      out += formula[i++];
      continue;
    }
    out += visit(std::string(name));
    i += n;
  }
  return out;
}

// The variable values put into a formula on whole names, the way the
// indicator's own calculation will do it: a name equal to a variable name
// (ignoring case) is replaced, the inserted value is not searched again, and
// any other name is skipped whole.
std::string Substitute(const SIndex& x, const std::string& formula) {
  return MapNames(formula, [&](const std::string& name) {
    for (int k = 0; k < kIndexVars; ++k)
      if (x.VarName[k].Length() > 0 && SameName(x.VarName[k].str(), name)) return x.VarValue[k].str();
    return name;
  });
}

bool UsesName(const std::string& formula, const std::string& wanted) {
  bool found = false;
  MapNames(formula, [&](const std::string& name) {
    found = found || SameName(name, wanted);
    return name;
  });
  return found;
}

struct Outcome {
  int errors = 0;
  std::string message;
  int validBars = 0;
  int nonZero = 0;
};

Outcome Evaluate(Bars& bars, const std::string& formula, SFunctionList* functions = nullptr) {
  SCalc calc;
  bars.Bind(calc);
  calc.SetFunction(functions);
  calc.SetExpression(formula.c_str());
  SVector r = calc.Calculate();
  Outcome o{calc.ErrorCount, calc.ErrorMessage.c_str()};
  for (int i = std::max(r.GetStartIndex(), 0); i < r.GetSize(); ++i) {
    o.validBars += std::isfinite(r[i]) ? 1 : 0;
    o.nonZero += r[i] != 0.0 ? 1 : 0;
  }
  return o;
}

// Every %name% of a line name is one of the definition's variables.
void ExpectPlaceholdersNameVariables(const SIndex& x, const std::string& lineName) {
  for (size_t open = lineName.find('%'); open != std::string::npos;) {
    size_t close = lineName.find('%', open + 1);
    if (close == std::string::npos) break;
    std::string name = lineName.substr(open + 1, close - open - 1);
    bool known = name.empty();  // "%%" is a percent sign
    for (int k = 0; k < kIndexVars; ++k) known = known || SameName(x.VarName[k].str(), name);
    EXPECT_TRUE(known) << x.IndexName.c_str() << ": line name " << lineName << " names no variable '" << name << "'";
    open = lineName.find('%', close + 1);
  }
}

// Every variable is used by one of the formulas.
void ExpectVariablesUsed(const SIndex& x) {
  for (int k = 0; k < kIndexVars && x.VarName[k].Length() > 0; ++k) {
    bool used = false;
    for (int line = 0; line < kIndexLines; ++line)
      used = used || UsesName(x.Expression[line].str(), x.VarName[k].str());
    EXPECT_TRUE(used) << x.IndexName.c_str() << ": variable " << x.VarName[k].c_str() << " is never used";
  }
}

class Shipped : public ::testing::Test {
 protected:
  void TearDown() override { SetIndexDir("./"); }
  Bars daily_ = ReadSample("sample_daily.csv");
  Bars intraday_ = ReadSample("sample_intraday.csv");
};

}  // namespace

TEST_F(Shipped, LibraryHasEnoughDefinitionsOfEachKind) {
  EXPECT_GE(Names(kIndexIndicator).size(), 25u);
  EXPECT_GE(Names(kIndexSystem).size(), 10u);
  EXPECT_GE(Names(kIndexUserFunction).size(), 10u);
  EXPECT_GT(daily_.s[kClose].GetSize(), 500);
  EXPECT_GT(intraday_.s[kClose].GetSize(), 100);
}

TEST_F(Shipped, EveryIndicatorLineEvaluatesOnTheSampleData) {
  for (const std::string& name : Names(kIndexIndicator)) {
    SIndex x = Read(name, kIndexIndicator);
    ASSERT_FALSE(x.Expression[0].IsEmpty()) << name;
    EXPECT_FALSE(x.Description.IsEmpty()) << name;
    ExpectVariablesUsed(x);
    for (int line = 0; line < kIndexLines; ++line) {
      if (x.Expression[line].IsEmpty()) continue;
      EXPECT_FALSE(x.ExpName[line].IsEmpty()) << name << " line " << line;
      ExpectPlaceholdersNameVariables(x, x.ExpName[line].str());
      std::string formula = Substitute(x, x.Expression[line].str());
      for (Bars* bars : {&daily_, &intraday_}) {
        Outcome o = Evaluate(*bars, formula);
        EXPECT_EQ(o.errors, 0) << name << " line " << line << ": " << o.message << "\n" << formula;
        EXPECT_GT(o.validBars, bars->s[kClose].GetSize() / 2) << name << " line " << line;
      }
    }
  }
}

TEST_F(Shipped, EverySystemSignalsOnTheSampleData) {
  for (const std::string& name : Names(kIndexSystem)) {
    SIndex x = Read(name, kIndexSystem);
    EXPECT_FALSE(x.Description.IsEmpty()) << name;
    ExpectVariablesUsed(x);
    for (int k = 0; k < kIndexVars && x.VarName[k].Length() > 0; ++k) {
      double value = AnsiStringToFloat(x.VarValue[k], NAN), start = AnsiStringToFloat(x.VarStart[k], NAN);
      double end = AnsiStringToFloat(x.VarEnd[k], NAN), step = AnsiStringToFloat(x.VarIncrement[k], NAN);
      EXPECT_TRUE(start <= value && value <= end && step > 0) << name << " variable " << x.VarName[k].c_str();
    }
    for (int line = 0; line < 4; ++line) {
      ASSERT_FALSE(x.Expression[line].IsEmpty()) << name << " signal " << line;
      std::string formula = Substitute(x, x.Expression[line].str());
      Outcome o = Evaluate(daily_, formula);
      EXPECT_EQ(o.errors, 0) << name << " signal " << line << ": " << o.message << "\n" << formula;
      EXPECT_GT(o.nonZero, 0) << name << " signal " << line << " never fires";
      EXPECT_LT(o.nonZero, daily_.s[kClose].GetSize() / 2) << name << " signal " << line << " fires on most bars";
    }
  }
}

TEST_F(Shipped, EveryCandlePatternEvaluatesAndIsCallableAsAFunction) {
  SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
  SFunctionList functions;
  ASSERT_EQ(functions.ReadFunction(), 1);
  for (const std::string& name : Names(kIndexUserFunction)) {
    SIndex x = Read(name, kIndexUserFunction);
    EXPECT_TRUE(x.VarName[0].IsEmpty()) << name << ": a candle pattern takes no parameters";
    EXPECT_FALSE(x.Description.IsEmpty()) << name;
    Outcome own = Evaluate(daily_, x.Expression[0].str());
    EXPECT_EQ(own.errors, 0) << name << ": " << own.message;
    EXPECT_GT(own.nonZero, 0) << name << " never occurs in the sample";
    EXPECT_LT(own.nonZero, daily_.s[kClose].GetSize() / 4) << name << " occurs on too many bars";
    Outcome called = Evaluate(daily_, name + "()", &functions);
    EXPECT_EQ(called.errors, 0) << name << "(): " << called.message;
    EXPECT_EQ(called.nonZero, own.nonZero) << name;
  }
}

TEST_F(Shipped, SubstitutionReplacesWholeNamesOnly) {
  SIndex x;
  x.VarName[0] = "len";
  x.VarValue[0] = "len+1";
  x.VarName[1] = "n";
  x.VarValue[1] = "10";
  EXPECT_EQ(Substitute(x, "avg(c, LEN) + len2 + Length + n*2 + c(n)"), "avg(c, len+1) + len2 + Length + 10*2 + c(10)");
}

#endif  // CHARTCALC_SHIPPED_INDEX_DIR

// The shipped definitions, as the build stored them in its index directory.
// Every indicator and system, fed the daily sample bar by bar through
// CalcLast with ticks as a host does live, ends with the lines a full Calc
// gives; those lines hold values (indicators, on both samples) or fire on
// some bars but not on most (systems). Candle patterns occur in the sample
// and are callable by name.
#include <strings.h>

#include <regex>
#include <string>
#include <vector>

#include "index/IndexTestUtil.h"

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

namespace {

// Bars from the start index on that are finite (or, with nonZero, not zero).
int Bars(const SVector& s, bool nonZero = false) {
  int n = 0;
  for (int i = std::max(s.GetStartIndex(), 0); i < s.GetSize(); ++i) n += nonZero ? s[i] != 0.0 : std::isfinite(s[i]);
  return n;
}

class Shipped : public ::testing::Test {
 protected:
  void SetUp() override {
    SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
    ASSERT_EQ(candles_.ReadFunction(), 1);
    daily_.AddDaily(0, Daily().size());
    for (const auto& row : ReadSample("sample_intraday.csv")) intraday_.AddBar(row.data());
    ASSERT_GT(Daily().size(), 1000u);
    ASSERT_GT(intraday_.s[kClose].GetSize(), 100);
  }
  void TearDown() override { SetIndexDir("./"); }

  // Every definition of the kind, at least `least` of them.
  static std::vector<SIndex> Read(int kind, size_t least) {
    DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
    db.SetExtension(getIndexDBExt(kind));
    std::vector<SIndex> out;
    for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
      if (db.Deleted()) continue;
      out.emplace_back("", kind);
      EXPECT_EQ(out.back().ReadExpression(db.GetStr("IndexName")), 1) << db.GetStr("IndexName");
      EXPECT_FALSE(out.back().Description.IsEmpty()) << db.GetStr("IndexName");
    }
    EXPECT_GE(out.size(), least) << kind;
    return out;
  }

  // Feeds the daily sample through a copy of x and compares with a full Calc,
  // which it returns: the first bars one at a time (the warm-up of every
  // line), then most of the history arriving between two calls, then the
  // last bars one at a time; every other bar first arrives with another
  // close and is revised.
  SIndex ExpectStreamedEqualsFull(const SIndex& x) {
    Feed live;
    SIndex streamed = x, full = x;
    live.Bind(streamed);
    daily_.Bind(full);
    streamed.SetCandle(&candles_);
    full.SetCandle(&candles_);
    const size_t n = Daily().size();
    for (size_t i = 0; i < n; ++i) {
      live.AddDaily(i, i + 1);
      if (i >= kEdgeBars && i + kEdgeBars < n) continue;
      if (i % 2) {
        live.Tick(Daily()[i][kClose] * 1.01);
        streamed.CalcLast();
        live.Tick(Daily()[i][kClose]);
      }
      streamed.CalcLast();
    }
    full.Calc();
    for (int line = 0; line < kIndexLines; ++line)
      if (!full.ConvertedExpression[line].IsEmpty())
        ExpectSameLine(streamed.LineData[line], full.LineData[line], x.IndexName.str() + " " + std::to_string(line));
    windowed_ += streamed.CalcState[0] == 0;
    return full;
  }

  static constexpr size_t kEdgeBars = 300;
  Feed daily_, intraday_;
  SFunctionList candles_;
  int windowed_ = 0;  // definitions whose line 0 took the incremental path
};

bool SameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

// Every variable is used by a formula, and every %name% of a line name
// ("%%" is a percent sign) names a variable.
void ExpectVariablesUsedAndNamed(const SIndex& x) {
  SIndex probe = x;
  for (int k = 0; k < kIndexVars; ++k) probe.VarValue[k] = ("@" + std::to_string(k) + "@").c_str();
  probe.ConvertExpression();
  std::string formulas;
  for (const SString& f : probe.ConvertedExpression) formulas += f.str();
  for (int k = 0; k < kIndexVars && !x.VarName[k].IsEmpty(); ++k)
    EXPECT_NE(formulas.find("@" + std::to_string(k) + "@"), std::string::npos)
        << x.IndexName.str() << ": variable " << x.VarName[k].str() << " is never used";
  static const std::regex placeholder("%([^%]*)%");
  for (const SString& lineName : x.ExpName) {
    const std::string& s = lineName.str();
    for (std::sregex_iterator m(s.begin(), s.end(), placeholder), end; m != end; ++m) {
      bool known = (*m)[1].length() == 0;
      for (const SString& v : x.VarName) known = known || SameName(v.str(), (*m)[1].str());
      EXPECT_TRUE(known) << x.IndexName.str() << ": line name " << s << " names no variable";
    }
  }
}

TEST_F(Shipped, IndicatorsStreamLikeTheirFullCalculationAndHoldValuesOnBothSamples) {
  for (const SIndex& x : Read(kIndexIndicator, 25)) {
    ExpectVariablesUsedAndNamed(x);
    SIndex daily = ExpectStreamedEqualsFull(x), intraday = x;
    intraday_.Bind(intraday);
    intraday.Calc();
    ASSERT_FALSE(x.Expression[0].IsEmpty()) << x.IndexName.str();
    for (int line = 0; line < kIndexLines; ++line) {
      if (x.Expression[line].IsEmpty()) continue;
      const std::string what = x.IndexName.str() + " line " + std::to_string(line);
      EXPECT_FALSE(x.ExpName[line].IsEmpty()) << what;
      EXPECT_GT(Bars(daily.LineData[line]), daily_.s[kClose].GetSize() / 2) << what;
      EXPECT_GT(Bars(intraday.LineData[line]), intraday_.s[kClose].GetSize() / 2) << what;
    }
  }
  EXPECT_GT(windowed_, 10);  // most take the incremental path
}

TEST_F(Shipped, SystemsStreamLikeTheirFullCalculationAndFireOnSomeButNotMostBars) {
  for (const SIndex& x : Read(kIndexSystem, 10)) {
    ExpectVariablesUsedAndNamed(x);
    for (int k = 0; k < kIndexVars && !x.VarName[k].IsEmpty(); ++k) {
      double value = AnsiStringToFloat(x.VarValue[k], NAN), start = AnsiStringToFloat(x.VarStart[k], NAN);
      double end = AnsiStringToFloat(x.VarEnd[k], NAN), step = AnsiStringToFloat(x.VarIncrement[k], NAN);
      EXPECT_TRUE(start <= value && value <= end && step > 0) << x.IndexName.str() << " " << x.VarName[k].str();
    }
    const SIndex full = ExpectStreamedEqualsFull(x);
    for (int line = 0; line < 4; ++line) {
      const int fired = Bars(full.LineData[line], true);
      EXPECT_GT(fired, 0) << x.IndexName.str() << " signal " << line << " never fires";
      EXPECT_LT(fired, daily_.s[kClose].GetSize() / 2) << x.IndexName.str() << " signal " << line;
    }
  }
}

TEST_F(Shipped, CandlePatternsOccurSometimesAreCallableAndStreamLikeTheirFullCalculation) {
  auto occurrences = [this](const std::string& formula, SFunctionList* functions) {
    SCalc calc;
    daily_.Bind(calc);
    calc.SetFunction(functions);
    calc.SetExpression(formula.c_str());
    const SVector r = calc.Calculate();
    EXPECT_EQ(calc.ErrorCount, 0) << formula << ": " << calc.ErrorMessage.str();
    return Bars(r, true);
  };
  for (const SIndex& x : Read(kIndexUserFunction, 10)) {
    const std::string name = x.IndexName.str();
    EXPECT_TRUE(x.VarName[0].IsEmpty()) << name << ": a candle pattern takes no parameters";
    const int own = occurrences(x.Expression[0].str(), nullptr);
    EXPECT_GT(own, 0) << name << " never occurs in the sample";
    EXPECT_LT(own, daily_.s[kClose].GetSize() / 4) << name << " occurs on too many bars";
    EXPECT_EQ(occurrences(name + "()", &candles_), own) << name;
  }
  ExpectStreamedEqualsFull(SIndex("candles", kIndexCandlePattern));
}

}  // namespace

#endif  // CHARTCALC_SHIPPED_INDEX_DIR

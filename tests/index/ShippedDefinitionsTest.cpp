// The shipped definitions, as the build stored them in its index directory.
// Every indicator and system, fed the daily sample bar by bar through
// CalcLast with ticks as a host does live, ends with the lines a full Calc
// gives; those lines hold values (indicators, on both samples) or fire on
// some bars but not on most (systems). Candle patterns occur in the sample
// and are callable by name.
#include <cstring>
#include <regex>

#include "index/IndexTestUtil.h"

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

// Bars from the start index on that are finite (or, with nonZero, not zero).
static int Bars(const SVector& s, bool nonZero = false) {
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
    ASSERT_TRUE(Daily().size() > 1000 && intraday_.s[kClose].GetSize() > 100);
  }
  void TearDown() override { SetIndexDir("./"); }

  // Every definition of the kind, at least `least` of them.
  static std::vector<SIndex> Read(int kind, size_t least) {
    std::vector<SIndex> out = ReadDefinitions(kind);
    for (const SIndex& x : out) EXPECT_FALSE(x.Description.IsEmpty()) << x.IndexName.str();
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
        live.s[kClose].Update(Daily()[i][kClose] * 1.01, 0);
        streamed.CalcLast();
        live.s[kClose].Update(Daily()[i][kClose], 0);
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

// Every variable is used by a formula and, in a system, lies in its
// optimisation range; every %name% of a line name ("%%" is a percent sign)
// names a variable.
static void ExpectVariablesSound(const SIndex& x) {
  SIndex probe = x;
  for (int k = 0; k < kIndexVars; ++k) probe.VarValue[k] = ("@" + std::to_string(k) + "@").c_str();
  probe.ConvertExpression();
  std::string formulas, names = "|";
  for (const SString& f : probe.ConvertedExpression) formulas += f.str();
  auto number = [](const SString& s) { return AnsiStringToFloat(s, NAN); };
  for (int k = 0; k < kIndexVars && !x.VarName[k].IsEmpty(); ++k) {
    const std::string what = x.IndexName.str() + " " + x.VarName[k].str();
    EXPECT_NE(formulas.find("@" + std::to_string(k) + "@"), std::string::npos) << what << " is never used";
    names += x.VarName[k].str() + "|";
    const double value = number(x.VarValue[k]), start = number(x.VarStart[k]), end = number(x.VarEnd[k]);
    EXPECT_TRUE(x.IndexType != kIndexSystem || (start <= value && value <= end && number(x.VarIncrement[k]) > 0))
        << what;
  }
  static const std::regex placeholder("%([^%]*)%");
  for (const SString& lineName : x.ExpName)
    for (std::sregex_iterator m(lineName.str().begin(), lineName.str().end(), placeholder), end; m != end; ++m)
      EXPECT_TRUE((*m)[1].length() == 0 || strcasestr(names.c_str(), ("|" + (*m)[1].str() + "|").c_str()))
          << x.IndexName.str() << ": line name " << lineName.str() << " names no variable";
}

TEST_F(Shipped, IndicatorsStreamLikeTheirFullCalculationAndHoldValuesOnBothSamples) {
  for (const SIndex& x : Read(kIndexIndicator, 25)) {
    ExpectVariablesSound(x);
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
    ExpectVariablesSound(x);
    const SIndex full = ExpectStreamedEqualsFull(x);
    for (int line = 0; line < 4; ++line) {
      const int fired = Bars(full.LineData[line], true);
      EXPECT_TRUE(fired > 0 && fired < daily_.s[kClose].GetSize() / 2) << x.IndexName.str() << " signal " << line;
    }
  }
}

TEST_F(Shipped, CandlePatternsOccurSometimesAreCallableAndStreamLikeTheirFullCalculation) {
  for (const SIndex& x : Read(kIndexUserFunction, 10)) {
    const std::string name = x.IndexName.str();
    EXPECT_TRUE(x.VarName[0].IsEmpty()) << name << ": a candle pattern takes no parameters";
    const EvalResult own = Evaluate(daily_, x.Expression[0].str()), called = Evaluate(daily_, name + "()", &candles_);
    EXPECT_EQ(own.errors + called.errors, 0) << name << ": " << own.message << called.message;
    EXPECT_TRUE(Bars(own.value, true) > 0 && Bars(own.value, true) < daily_.s[kClose].GetSize() / 4) << name;
    EXPECT_EQ(Bars(called.value, true), Bars(own.value, true)) << name;
  }
  ExpectStreamedEqualsFull(SIndex("candles", kIndexCandlePattern));
}

#endif  // CHARTCALC_SHIPPED_INDEX_DIR

// The shipped definitions, as the build stored them in its index directory:
// every formula evaluates on the bundled samples, systems and candle patterns
// fire on some bars but not on most, and every indicator, system and the
// candle-pattern indicator, fed bar by bar through CalcLast with ticks as a
// host does live, ends with the lines a full Calc gives.
#include <strings.h>

#include <array>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "index/IndexTestUtil.h"

#ifdef CHARTCALC_SHIPPED_INDEX_DIR

namespace {

using Rows = std::vector<std::array<double, kPriceSlots>>;

// The bars of a sample CSV (date[,time],open,high,low,close,volume).
Rows ReadSample(const std::string& name) {
  Rows rows;
  std::ifstream in(std::string(CHARTCALC_DATA_DIR) + "/" + name);
  std::string line;
  std::getline(in, line);
  const bool hasTime = line.find(",time,") != std::string::npos;
  while (std::getline(in, line)) {
    for (char& ch : line) ch = ch == ',' || ch == ':' ? ' ' : ch;
    std::istringstream row(line);
    double date = 0, hour = 0, minute = 0, open, high, low, close, volume;
    row >> date;
    if (hasTime) row >> hour >> minute;
    row >> open >> high >> low >> close >> volume;
    rows.push_back({close, open, high, low, volume, hasTime ? date * 1e6 + hour * 1e4 + minute * 100 : date});
  }
  return rows;
}

struct Outcome {
  int errors = 0;
  std::string message;
  int validBars = 0, nonZero = 0;
};

class Shipped : public ::testing::Test {
 protected:
  void SetUp() override {
    SetIndexDir(CHARTCALC_SHIPPED_INDEX_DIR);
    ASSERT_EQ(candles_.ReadFunction(), 1);
    for (const auto& row : daily_) dailyFeed_.AddBar(row.data());
    for (const auto& row : ReadSample("sample_intraday.csv")) intradayFeed_.AddBar(row.data());
    ASSERT_GT(daily_.size(), 1000u);
    ASSERT_GT(intradayFeed_.s[kClose].GetSize(), 100);
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

  static Outcome Evaluate(Feed& bars, const std::string& formula, SFunctionList* functions = nullptr) {
    SCalc calc;
    bars.Bind(calc);
    calc.SetFunction(functions);
    calc.SetExpression(formula.c_str());
    SVector r = calc.Calculate();
    Outcome o{calc.ErrorCount, calc.ErrorMessage.str()};
    for (int i = std::max(r.GetStartIndex(), 0); i < r.GetSize(); ++i) {
      o.validBars += std::isfinite(r[i]) ? 1 : 0;
      o.nonZero += r[i] != 0.0 ? 1 : 0;
    }
    return o;
  }

  // Feeds the daily sample through a copy of x and compares with a full Calc:
  // the first bars one at a time (the warm-up of every line), then most of
  // the history arriving between two calls, then the last bars one at a
  // time; every other bar first arrives with another close and is revised.
  void ExpectStreamedEqualsFull(const SIndex& x, int& windowed) {
    Feed live;
    SIndex streamed = x, full = x;
    live.Bind(streamed);
    dailyFeed_.Bind(full);
    streamed.SetCandle(&candles_);
    full.SetCandle(&candles_);
    for (size_t i = 0; i < daily_.size(); ++i) {
      live.AddBar(daily_[i].data());
      if (i >= kEdgeBars && i + kEdgeBars < daily_.size()) continue;
      if (i % 2) {
        live.Tick(daily_[i][kClose] * 1.01);
        streamed.CalcLast();
        live.Tick(daily_[i][kClose]);
      }
      streamed.CalcLast();
    }
    full.Calc();
    for (int line = 0; line < kIndexLines; ++line) {
      if (full.ConvertedExpression[line].IsEmpty()) continue;
      EXPECT_GT(full.LineData[line].GetSize(), 0) << x.IndexName.str();
      ExpectSameLine(streamed.LineData[line], full.LineData[line], x.IndexName.str() + " line " + std::to_string(line));
    }
    windowed += streamed.CalcState[0] == 0;
  }

  static constexpr size_t kEdgeBars = 300;
  Rows daily_ = ReadSample("sample_daily.csv");
  Feed dailyFeed_, intradayFeed_;
  SFunctionList candles_;
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

TEST_F(Shipped, EveryIndicatorLineEvaluatesOnBothSamples) {
  for (SIndex& x : Read(kIndexIndicator, 25)) {
    ASSERT_FALSE(x.Expression[0].IsEmpty()) << x.IndexName.str();
    ExpectVariablesUsedAndNamed(x);
    x.ConvertExpression();
    for (int line = 0; line < kIndexLines; ++line) {
      if (x.Expression[line].IsEmpty()) continue;
      const std::string what = x.IndexName.str() + " line " + std::to_string(line);
      EXPECT_FALSE(x.ExpName[line].IsEmpty()) << what;
      for (Feed* bars : {&dailyFeed_, &intradayFeed_}) {
        Outcome o = Evaluate(*bars, x.ConvertedExpression[line].str());
        EXPECT_EQ(o.errors, 0) << what << ": " << o.message;
        EXPECT_GT(o.validBars, bars->s[kClose].GetSize() / 2) << what;
      }
    }
  }
}

TEST_F(Shipped, EverySystemSignalsOnSomeButNotMostBars) {
  const int half = dailyFeed_.s[kClose].GetSize() / 2;
  for (SIndex& x : Read(kIndexSystem, 10)) {
    ExpectVariablesUsedAndNamed(x);
    for (int k = 0; k < kIndexVars && !x.VarName[k].IsEmpty(); ++k) {
      double value = AnsiStringToFloat(x.VarValue[k], NAN), start = AnsiStringToFloat(x.VarStart[k], NAN);
      double end = AnsiStringToFloat(x.VarEnd[k], NAN), step = AnsiStringToFloat(x.VarIncrement[k], NAN);
      EXPECT_TRUE(start <= value && value <= end && step > 0) << x.IndexName.str() << " " << x.VarName[k].str();
    }
    x.ConvertExpression();
    for (int line = 0; line < 4; ++line) {
      const std::string what = x.IndexName.str() + " signal " + std::to_string(line);
      Outcome o = Evaluate(dailyFeed_, x.ConvertedExpression[line].str());
      EXPECT_EQ(o.errors, 0) << what << ": " << o.message;
      EXPECT_GT(o.nonZero, 0) << what << " never fires";
      EXPECT_LT(o.nonZero, half) << what << " fires on most bars";
    }
  }
}

TEST_F(Shipped, EveryCandlePatternOccursSometimesAndIsCallableAsAFunction) {
  for (SIndex& x : Read(kIndexUserFunction, 10)) {
    const std::string name = x.IndexName.str();
    EXPECT_TRUE(x.VarName[0].IsEmpty()) << name << ": a candle pattern takes no parameters";
    Outcome own = Evaluate(dailyFeed_, x.Expression[0].str());
    EXPECT_EQ(own.errors, 0) << name << ": " << own.message;
    EXPECT_GT(own.nonZero, 0) << name << " never occurs in the sample";
    EXPECT_LT(own.nonZero, dailyFeed_.s[kClose].GetSize() / 4) << name << " occurs on too many bars";
    Outcome called = Evaluate(dailyFeed_, name + "()", &candles_);
    EXPECT_EQ(called.errors, 0) << name << "(): " << called.message;
    EXPECT_EQ(called.nonZero, own.nonZero) << name;
  }
}

TEST_F(Shipped, StreamedCalcLastMatchesFullCalcForEveryIndicatorAndSystem) {
  int windowed = 0;
  for (int kind : {kIndexIndicator, kIndexSystem})
    for (const SIndex& x : Read(kind, 1)) ExpectStreamedEqualsFull(x, windowed);
  EXPECT_GT(windowed, 10);  // most take the incremental path
  ExpectStreamedEqualsFull(SIndex("candles", kIndexCandlePattern), windowed);
}

}  // namespace

#endif  // CHARTCALC_SHIPPED_INDEX_DIR

// Look-back analysis: the bars an indicator needs before its first valid
// value, found without price data, and the search evaluation it prepares.
#include <string>
#include <vector>

#include "index/IndexTestUtil.h"

using namespace chartcalc::detail;

namespace {

struct LookbackCase {
  std::vector<std::string> lines;
  int bars;
};

TEST(Lookback, ComposedFormulasAddTheirWindows) {
  const LookbackCase cases[] = {
      {{"avg(c, 20)"}, 20},
      {{"avg(c, 5)", "avg(c, 60)"}, 60},
      {{}, 0},
      {{"avg(c, 20"}, 0},                      // fails to parse: no bar counts
      {{"avg(c, 5) +", "avg(c, 3)"}, 3},       // the failing line does not count
      {{"avg(avg(c, 5), 3)"}, 7},              // windows chain: 4 + 2 bars of warm-up
      {{"c(10) + avg(c, 5)"}, 11},             // the later of the two starts
      {{"crossup(avg(c, 5), avg(c, 20))"}, 21},
      {{"stdev(c, 10) / avg(c, 10)"}, 10},
      {{"x = highest(h, 14); x - lowest(l, 14)"}, 14},
      {{"avg(c, n)"}, 30},                     // n is the indicator's variable
      {{"c"}, 1},
      {{"5"}, 1},
  };
  for (const LookbackCase& c : cases) {
    SIndex x("t", kIndexIndicator);
    x.VarName[0] = "n";
    x.VarValue[0] = "30";
    for (size_t k = 0; k < c.lines.size(); ++k) x.SetExpression(static_cast<int>(k), c.lines[k].c_str());
    EXPECT_EQ(x.GetMinDataSize(), c.bars) << (c.lines.empty() ? "" : c.lines[0]);
  }
}

TEST(Lookback, UserFunctionBodiesCountAndPriceDataIsNotNeeded) {
  SFunctionList functions;
  functions.SetExpressionWithVariable("smooth|avg(avg(x, 10), 10)|x");
  SIndex x("t", kIndexIndicator);
  x.SetFunction(&functions);
  x.SetExpression(0, "smooth(c) - c(3)");
  EXPECT_EQ(x.GetMinDataSize(), 19);
  EXPECT_EQ(x.LineData[0].GetSize(), 0);  // evaluated over empty series
}

TEST(Lookback, PreparesTheSearchEvaluationOfLineZero) {
  Market market(200);
  Feed feed;
  feed.AddRange(market, 0, 200);
  SIndex x("t", kIndexIndicator), full("f", kIndexIndicator);
  for (SIndex* i : {&x, &full}) {
    feed.Bind(*i);
    i->VarName[0] = "n";
    i->VarValue[0] = "12";
    i->SetExpression(0, "(c - avg(c, n)) / stdev(c, n) + crossup(c, avg(c, n))");
  }
  x.CalcSrch();  // nothing compiled yet: nothing happens
  EXPECT_EQ(x.LineData[0].GetSize(), 0);
  EXPECT_EQ(x.GetMinDataSize(), 13);
  x.CalcSrch();
  full.Calc();
  ExpectSameLine(x.LineData[0], full.LineData[0], "search evaluation", 0);
  // The compiled form is walked again for another symbol's prices.
  Feed other;
  other.AddRange(Market(150, 99), 0, 150);
  other.Bind(x);
  other.Bind(full);
  x.Engine.SetVariable(other.s[0], other.s[1], other.s[2], other.s[3], other.s[4], other.s[5], other.s[6],
                       other.s[7], other.s[8]);
  x.CalcSrch();
  full.Calc();
  ExpectSameLine(x.LineData[0], full.LineData[0], "another symbol", 0);
}

}  // namespace

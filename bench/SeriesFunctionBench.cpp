// Series functions evaluated through the formula engine over 1,000,000 daily
// bars, each on the smooth and on the random-walk market. Each benchmark
// reports bars per second (items processed); ns per bar is its inverse.
// Window functions must cost the same whatever their period, so highest over
// 20 and over 200 bars should run at about the same speed.
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

constexpr FormulaCase kFormulas[] = {
    {"BM_SeriesAvg20", "avg(close, 20)"},
    {"BM_SeriesHighest20", "highest(high, 20)"},
    {"BM_SeriesBollingerZ20", "(close - avg(close, 20)) / stdev(close, 20)"},
    {"BM_SeriesHighest200", "highest(high, 200)"},
    {"BM_SeriesValueWhenCross", "valuewhen(1, crossup(c, avg(c, 20)), c)"},
    // Ten series functions in one formula.
    {"BM_SeriesTenFunctions",
     "up = crossup(c, eavg(c, 12)); "
     "band = highest(h, 50) - lowest(l, 50); "
     "z = (c - wavg(c, 30)) / stdev(c, 30); "
     "if(BarsSince(up) < 5, valuewhen(2, up, c), HighestSince(1, up, h)) + band * 0 + z"},
    {"BM_SeriesSwingHigh", "swinghigh(2, high, 5, 100)"},
};

[[maybe_unused]] const bool kRegistered = RegisterFormulaBenches(kFormulas, BarTime::kDaily);

}  // namespace

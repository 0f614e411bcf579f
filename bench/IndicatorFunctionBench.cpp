// Indicator and compression formulas over 1,000,000 intraday bars (30-minute
// bars, 14 a day), each on the smooth and on the random-walk market. Each
// benchmark evaluates the whole formula through the engine; with the time
// unit in milliseconds per 1,000,000 bars, the reported time per iteration
// reads directly as nanoseconds per bar.
#include "BenchMarket.h"

using namespace chartcalc::detail;

namespace {

constexpr FormulaCase kFormulas[] = {
    {"BM_IndicatorCci20", "cci(20)"},
    {"BM_IndicatorRsi14", "rsi(14)"},
    {"BM_IndicatorCorrelationCloseVolume20", "Correlation(c, v, 20)"},
    {"BM_IndicatorLinearRegressionValue20", "LinearRegressionValue(c, 20, 0)"},
    {"BM_IndicatorSar", "sar(0.02, 0.2)"},
    {"BM_IndicatorDeCompressDailyClose", "DeCompress(CompressC(day), CompressD(day))"},
    // The period must not change the cost of the running-sum statistics.
    {"BM_IndicatorLinearRegressionValue500", "LinearRegressionValue(c, 500, 0)"},
    {"BM_IndicatorCorrelationCloseVolume500", "Correlation(c, v, 500)"},
};

[[maybe_unused]] const bool kRegistered = RegisterFormulaBenches(kFormulas, BarTime::kIntraday);

}  // namespace

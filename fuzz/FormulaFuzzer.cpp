// Feeds arbitrary bytes as a formula to the engine over a small bound data
// set, in both languages, through the recursive evaluator, the partial
// calculation, an indicator's whole and incremental calculation and the
// postfix evaluator. Any crash, hang or out-of-bounds read is a bug.
#include <cstddef>
#include <cstdint>
#include <string>

#include "chartcalc.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

struct Bars {
  SVector s[kPriceSlots];
  Bars() {
    const int n = 64;
    for (int k = 0; k < kPriceSlots; ++k) s[k] = SVector(n);
    for (int i = 0; i < n; ++i) {
      double c = 100.0 + 10.0 * ((i * 7919) % 13 - 6) / 6.0;
      s[kClose][i] = c;
      s[kOpen][i] = c - 0.5;
      s[kHigh][i] = c + 1.0;
      s[kLow][i] = c - 1.5;
      s[kVolume][i] = 1000.0 + 37.0 * (i % 11);
      // Two days of half-hour bars.
      s[kDateTime][i] = MakeDateTime(20240105 + i / 32, 90000 + (i % 32) / 2 * 10000 + (i % 2) * 3000);
      s[kOpenInterest][i] = 5000.0 - i;
      s[kAmount][i] = c * s[kVolume][i];
      s[kSpread][i] = 0.01 * (i % 3);
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Bars bars;
  std::string formula(reinterpret_cast<const char*>(data), size);
  SVector* s = bars.s;
  for (int lang : {kLangEnglish, kLangKorean}) {
    SetLangType(lang);
    SCalc calc;
    calc.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest],
                     s[kAmount], s[kSpread]);
    calc.SetExpression(formula.c_str());
    SVector r = calc.Calculate();
    // The partial path and a copied engine must cope with the same text.
    SCalc copy(calc);
    copy.SetExpression(formula.c_str());
    copy.Calculate(40);
    (void)r;
    // The same text as an indicator line: whole, incremental (the last bar
    // again), its look-back and the postfix form compiled from it.
    SIndex index("fuzz", kIndexSystem);
    index.SetVariable(s[kClose], s[kOpen], s[kHigh], s[kLow], s[kVolume], s[kDateTime], s[kOpenInterest],
                      s[kAmount], s[kSpread]);
    index.SetExpression(0, formula.c_str());
    index.Calc();
    index.CalcLast();
    index.CalcLast();
    index.GetMinDataSize();
    index.CalcSrch();
  }
  return 0;
}

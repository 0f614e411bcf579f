// The trading system the back-test benchmarks run: a moving-average
// crossover, long when the short average crosses above the long one and
// short on the way down. The lengths are formula text: numbers, or the
// names of the system's variables.
#pragma once

#include <string>

#include "chartcalc.h"

inline SIndex CrossoverSystem(const std::string& shortLength = "5", const std::string& longLength = "20") {
  SIndex x("MACross", chartcalc::detail::kIndexSystem);
  const std::string averages = "(avg(c, " + shortLength + "), avg(c, " + longLength + "))";
  const std::string up = "crossup" + averages, down = "crossdown" + averages;
  x.SetExpression(0, up.c_str());
  x.SetExpression(1, down.c_str());
  x.SetExpression(2, down.c_str());
  x.SetExpression(3, up.c_str());
  return x;
}

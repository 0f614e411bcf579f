// Internal: font measuring for the display records. Every measurement goes
// through the installed chartcalc::FontMetricSource (the library's own unless
// the host put one in) and is cached per face, size and character set, since
// every SChartProperty construction measures its base font.
#pragma once

#include "chartcalc/SChartProperty.h"

namespace chartcalc::detail {

// The metrics of face (code page 949) at tenthsOfPoint, measured once per
// face, size and character set; safe to call from any thread.
TextMetrics MeasureFont(const SString& face, int tenthsOfPoint, int charset);

// Metrics estimated from the size alone, for when no font can be measured:
// the proportions of a typical Hangul-capable sans-serif face. FaceName is
// empty.
TextMetrics SizeDerivedMetrics(int tenthsOfPoint, int charset);

// The em height in pixels at 96 dots per inch of a font of tenthsOfPoint,
// rounded as a device context rounds it.
int EmPixels(int tenthsOfPoint);

}  // namespace chartcalc::detail

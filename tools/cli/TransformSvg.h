// Pictures of the chart types: a standalone SVG (no scripts, no fetched
// fonts or images) of a calculated transform, with a price axis, a date or
// volume axis and a title. Every element of the chart (column, segment,
// brick, line, point, candle, letter or band) is one SVG element of class
// "mark", so that a reader can count them against the CSV rows.
#pragma once

#include <string>

#include "chartcalc.h"

// How a chart type is drawn.
enum class TransformDrawing { kColumns, kKagi, kSwing, kBricks, kLineBreak, kCurve, kCandles, kProfile, kBands };

struct TransformPicture {
  TransformDrawing drawing;
  const SIndex& chart;     // calculated, still bound to the price data it read
  std::string title;       // UTF-8
  int first = 0, end = 0;  // the elements [first, end) of the chart's lines
  int barOffset = 0;       // element k of a per-bar chart is bar k + barOffset
  int from = 0, to = 0;    // the bars a band chart was taken over
};

// The whole SVG document.
std::string TransformSvg(const TransformPicture& picture);

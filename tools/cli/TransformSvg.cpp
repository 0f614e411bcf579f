#include "TransformSvg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include "ChartAxis.h"

using namespace chartcalc::detail;

namespace {

// ---- a small SVG writer -------------------------------------------------------

template <typename... Numbers>
void Append(std::string& out, const char* format, Numbers... numbers) {
  char text[160];
  const int n = std::snprintf(text, sizeof text, format, numbers...);
  out.append(text, static_cast<size_t>(std::clamp(n, 0, static_cast<int>(sizeof text) - 1)));
}

// Generic families only: the picture must not fetch a font.
constexpr char kStyle[] =
    "<style>\n"
    "text{font-family:sans-serif;font-size:11px;fill:#444}\n"
    ".title{font-size:15px;font-weight:bold;fill:#222}\n"
    ".frame{fill:#fcfcfd;stroke:#c8cfdb}\n"
    ".grid{stroke:#e6e9ef;stroke-width:1}\n"
    ".box{stroke:#eef0f4;stroke-width:0.6}\n"
    ".value{text-anchor:end}\n"
    ".date{text-anchor:middle}\n"
    ".note{fill:#666;font-style:italic}\n"
    ".x{fill:none;stroke:#1a7f37;stroke-width:1.4}\n"
    ".o{fill:none;stroke:#c62828;stroke-width:1.4}\n"
    ".xbar{fill:#1a7f37}\n"
    ".obar{fill:#c62828}\n"
    ".yang{stroke:#1a7f37;stroke-width:3.2;fill:none}\n"
    ".yin{stroke:#c62828;stroke-width:1;fill:none}\n"
    ".up{fill:#fff;stroke:#1a7f37;stroke-width:1}\n"
    ".down{fill:#c62828;stroke:#8e1b1b;stroke-width:1}\n"
    ".wick{stroke:#555;stroke-width:1}\n"
    ".path{fill:none;stroke:#9aa7b8;stroke-width:1}\n"
    ".start{fill:#1a7f37}\n"
    ".end{fill:#c62828}\n"
    ".letter{font-family:monospace;font-size:10px;text-anchor:middle}\n"
    ".day{stroke:#d5dae3}\n"
    ".band{fill:#6c8ebf}\n"
    ".poc{fill:#e69a00}\n"
    ".last{stroke:#333;stroke-dasharray:4 3}\n"
    "</style>\n";

class Svg {
 public:
  Svg(double width, double height) {
    Append(out_, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\"", width, height);
    Append(out_, " viewBox=\"0 0 %.0f %.0f\">\n", width, height);
    out_ += kStyle;
  }
  void Rect(const char* cls, double x, double y, double w, double h) {
    Append(out_, "<rect class=\"%s\" x=\"%.1f\" y=\"%.1f\"", cls, x, y);
    Append(out_, " width=\"%.1f\" height=\"%.1f\"/>\n", std::max(w, 0.1), std::max(h, 0.1));
  }
  void Line(const char* cls, double x1, double y1, double x2, double y2) {
    Append(out_, "<line class=\"%s\" x1=\"%.1f\" y1=\"%.1f\"", cls, x1, y1);
    Append(out_, " x2=\"%.1f\" y2=\"%.1f\"/>\n", x2, y2);
  }
  void Circle(const char* cls, double x, double y, double r, const char* fill = nullptr) {
    Append(out_, "<circle class=\"%s\" cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\"", cls, x, y, r);
    if (fill) Append(out_, " style=\"fill:%s\"", fill);
    out_ += "/>\n";
  }
  void Text(const char* cls, double x, double y, const std::string& text) {
    Append(out_, "<text class=\"%s\" x=\"%.1f\" y=\"%.1f\">", cls, x, y);
    out_ += Escaped(text) + "</text>\n";
  }
  void Path(const char* cls, const std::string& d) {
    out_ += std::string("<path class=\"") + cls + "\" d=\"" + d + "\"/>\n";
  }
  void Polyline(const char* cls, const std::vector<std::pair<double, double>>& points) {
    out_ += std::string("<polyline class=\"") + cls + "\" points=\"";
    for (const auto& [x, y] : points) Append(out_, "%.1f,%.1f ", x, y);
    out_ += "\"/>\n";
  }
  void Open(const char* cls) { out_ += std::string("<g class=\"") + cls + "\">\n"; }
  void Close() { out_ += "</g>\n"; }
  std::string Finish() { return out_ + "</svg>\n"; }

 private:
  std::string out_;
};

// ---- frame and axes -----------------------------------------------------------

constexpr double kMarginLeft = 80, kMarginRight = 48, kMarginTop = 48, kMarginBottom = 46;
constexpr double kPlotHeight = 440;
constexpr double kMinPlotWidth = 860, kMaxPlotWidth = 12000;  // wider charts scroll; beyond, marks get thinner
constexpr int kPriceTicks = 8, kVolumeTicks = 6;
constexpr double kDateLabelSpacing = 120;        // pixels between date labels
constexpr double kIntradayDateTime = 100000000;  // larger date-time numbers carry hhmmss
constexpr double kTimeOfDay = 1000000;           // hhmmss

struct Frame {
  double left, top, width, height;
  double Right() const { return left + width; }
  double Bottom() const { return top + height; }
};

// A plot wide enough for count marks pitch pixels apart.
Frame FrameFor(double count, double pitch, double height = kPlotHeight) {
  return {kMarginLeft, kMarginTop, std::clamp(count * pitch, kMinPlotWidth, kMaxPlotWidth), height};
}

Svg Canvas(const Frame& f, const std::string& title) {
  Svg svg(f.Right() + kMarginRight, f.Bottom() + kMarginBottom);
  svg.Text("title", f.left, 26, title);
  svg.Rect("frame", f.left, f.top, f.width, f.height);
  return svg;
}

// Horizontal grid and labels of a price axis at the left.
Scale PriceAxis(Svg& svg, const Frame& f, double lo, double hi) {
  const ValueAxis a = NiceAxis(lo, hi, static_cast<int>(kPriceTicks * f.height / kPlotHeight));
  const Scale y{a.lo, a.hi, f.Bottom(), f.top};
  const int decimals = StepDecimals(a.step);
  for (double v = a.lo; v <= a.hi + a.step * 1e-6; v += a.step) {
    svg.Line("grid", f.left, y(v), f.Right(), y(v));
    svg.Text("value", f.left - 6, y(v) + 4, Amount(v, decimals));
  }
  return y;
}

// Vertical grid and labels of a volume axis at the bottom.
Scale VolumeAxis(Svg& svg, const Frame& f, double lo, double hi, const std::string& name) {
  const ValueAxis a = NiceAxis(lo, hi, kVolumeTicks);
  const Scale x{a.lo, a.hi, f.left, f.Right()};
  for (double v = a.lo; v <= a.hi + a.step * 1e-6; v += a.step) {
    svg.Line("grid", x(v), f.top, x(v), f.Bottom());
    svg.Text("date", x(v), f.Bottom() + 16, Amount(v, StepDecimals(a.step)));
  }
  svg.Text("note", f.Right() - 90, f.Bottom() + 34, name);
  return x;
}

// "2015-01-02", or "2024-11-04 09:30" for an intraday date-time.
std::string DateText(double dateTime) {
  long long v = std::llround(dateTime), time = -1;
  const auto timeOfDay = static_cast<long long>(kTimeOfDay);
  if (dateTime > kIntradayDateTime) time = v % timeOfDay, v /= timeOfDay;
  char text[40];
  std::snprintf(text, sizeof text, "%04lld-%02lld-%02lld", v / 10000 % 10000, v / 100 % 100, v % 100);
  std::string out = text;
  if (time >= 0) std::snprintf(text, sizeof text, " %02lld:%02lld", time / 10000, time / 100 % 100), out += text;
  return out;
}

// The date of a date-time number.
double DayOf(double dateTime) { return dateTime > kIntradayDateTime ? std::floor(dateTime / kTimeOfDay) : dateTime; }

// Date labels under marks at x positions, spaced so that they never meet,
// with a grid line above each unless the chart draws its own.
void DateLabels(Svg& svg, const Frame& f, const std::vector<std::pair<double, double>>& xAndDate, bool grid = true) {
  double next = -1e300;
  for (const auto& [x, dateTime] : xAndDate) {
    if (x < next || x > f.Right() - 30) continue;
    if (grid) svg.Line("grid", x, f.top, x, f.Bottom());
    svg.Text("date", x, f.Bottom() + 16, DateText(dateTime));
    next = x + kDateLabelSpacing;
  }
}

// ---- the elements -------------------------------------------------------------

// Element k of a line, 0 outside it.
double At(const SVector& line, int k) { return k >= 0 && k < line.GetSize() ? line[k] : 0.0; }

double Line(const TransformPicture& p, int line, int k) { return At(p.chart.LineData[line], k); }

double Price(const TransformPicture& p, int slot, int bar) {
  const SVector* s = p.chart.PriceSeries[slot];
  return s ? At(*s, bar) : 0.0;
}

int Count(const TransformPicture& p) { return std::max(p.end - p.first, 0); }

// The lowest and highest value of the given lines over the elements.
std::pair<double, double> Range(const TransformPicture& p, std::initializer_list<int> lines) {
  double lo = INFINITY, hi = -INFINITY;
  for (int k = p.first; k < p.end; ++k)
    for (int line : lines) lo = std::min(lo, Line(p, line, k)), hi = std::max(hi, Line(p, line, k));
  return {lo, hi};
}

double Param(const TransformPicture& p, int k) { return std::strtod(p.chart.VarValue[k].c_str(), nullptr); }

// Date labels for charts whose elements carry their date-time in line 0.
void ElementDates(Svg& svg, const Frame& f, const TransformPicture& p, double pitch) {
  std::vector<std::pair<double, double>> marks;
  for (int k = p.first; k < p.end; ++k) marks.emplace_back(f.left + (k - p.first + 0.5) * pitch, Line(p, 0, k));
  DateLabels(svg, f, marks);
}

// ---- point and figure ---------------------------------------------------------

constexpr double kMinGlyph = 3;   // smaller boxes are drawn as a solid column
constexpr int kMostGlyphs = 400;  // per column; more are drawn as a solid column
constexpr double kBoxPixels = 9;  // the grid's square cell, while the plot stays below its tallest
constexpr double kTallestPlot = 1400;

void Column(Svg& svg, double x, double pitch, double start, double end, double box, const Scale& y) {
  const bool rising = end > start;
  const double count = std::fabs(end - start) / box;
  const double boxPixels = std::fabs(y(box) - y(0)), size = std::min(pitch, boxPixels) * 0.4;
  svg.Open(rising ? "mark x" : "mark o");
  if (size < kMinGlyph / 2 || !(count <= kMostGlyphs)) {
    svg.Rect(rising ? "xbar" : "obar", x - pitch * 0.35, y(std::max(start, end)), pitch * 0.7,
             std::fabs(y(end) - y(start)));
  } else {
    std::string d;
    for (int i = 0, boxes = std::max(1, static_cast<int>(std::lround(count))); i < boxes; ++i) {
      const double cy = y(start + (rising ? 1 : -1) * (i + 0.5) * box);
      if (!rising) {
        svg.Circle("o", x, cy, size);
        continue;
      }
      Append(d, "M%.1f %.1fL%.1f %.1f", x - size, cy - size, x + size, cy + size);
      Append(d, "M%.1f %.1fL%.1f %.1f", x + size, cy - size, x - size, cy + size);
    }
    if (rising) svg.Path("x", d);
  }
  svg.Close();
}

// The box levels, counted from the first column's start, while they lie
// far enough apart to be seen.
void BoxGrid(Svg& svg, const Frame& f, double origin, double box, const Scale& y) {
  constexpr double kMinGridPixels = 4;
  if (!(box > 0) || std::fabs(y(box) - y(0)) < kMinGridPixels) return;
  const double lo = y.lo + std::fmod(origin - y.lo, box) - box;
  for (double v = lo; v <= y.hi; v += box)
    if (v >= y.lo) svg.Line("box", f.left, y(v), f.Right(), y(v));
}

std::string PointFigure(const TransformPicture& p) {
  const auto [lo, hi] = Range(p, {2, 3});
  const double box = std::fabs(Param(p, 1));
  // Boxes as tall as they are wide; the price axis may add up to a step
  // above and below the columns.
  const double boxes = box > 0 ? (hi - lo) / box + 2 : 0;
  const Frame f = FrameFor(Count(p), kBoxPixels, std::clamp(boxes * kBoxPixels, kPlotHeight, kTallestPlot));
  Svg svg = Canvas(f, p.title);
  const Scale y = PriceAxis(svg, f, lo, hi);
  const double step = f.width / std::max(Count(p), 1);
  BoxGrid(svg, f, Line(p, 2, p.first), box, y);
  ElementDates(svg, f, p, step);
  for (int k = p.first; k < p.end; ++k)
    Column(svg, f.left + (k - p.first + 0.5) * step, step, Line(p, 2, k), Line(p, 3, k), box > 0 ? box : 1, y);
  return svg.Finish();
}

// ---- Kagi and swing -------------------------------------------------------------

// The thickness of a line turns yang when it rises above the last shoulder
// (peak) and yin when it falls below the last waist (trough); a segment that
// crosses one is drawn in two parts.
struct KagiState {
  bool yang;
  double shoulder, waist;
};

// Draws a segment from (x0, a) to (x1, b) and updates the state.
void KagiStroke(Svg& svg, KagiState& s, double x0, double x1, double a, double b, const Scale& y) {
  const double level = b > a ? s.shoulder : s.waist;
  const bool crosses = b > a ? (!s.yang && b > level) : (s.yang && b < level);
  if (crosses) {
    const double xm = x0 + (x1 - x0) * (level - a) / (b - a);
    svg.Line(s.yang ? "yang" : "yin", x0, y(a), xm, y(level));
    s.yang = !s.yang;
    x0 = xm, a = level;
  }
  svg.Line(s.yang ? "yang" : "yin", x0, y(a), x1, y(b));
  (b > a ? s.shoulder : s.waist) = b;
}

std::string KagiOrSwing(const TransformPicture& p, bool kagi) {
  const auto [lo, hi] = Range(p, {2, 3});
  const SVector* close = p.chart.PriceSeries[kClose];
  const int bars = close ? close->GetSize() : 0, firstBar = close ? std::max(close->GetStartIndex(), 0) : 0;
  const Frame f = kagi ? FrameFor(Count(p), 6) : FrameFor(bars, 0.5);
  Svg svg = Canvas(f, p.title);
  const Scale y = PriceAxis(svg, f, lo, hi);
  const double pitch = f.width / std::max(Count(p), 1);
  const Scale time{static_cast<double>(firstBar), std::max(bars - 1.0, firstBar + 1.0), f.left, f.Right()};
  auto xOf = [&](int k) { return kagi ? f.left + (k - p.first + 0.5) * pitch : time(Line(p, 1, k)); };
  std::vector<std::pair<double, double>> dates;
  for (int k = p.first; k < p.end; ++k) dates.emplace_back(xOf(k), Line(p, 0, k));
  DateLabels(svg, f, dates);
  KagiState s{Line(p, 3, p.first) > Line(p, 2, p.first), Line(p, 2, p.first), Line(p, 2, p.first)};
  for (int k = p.first; k < p.end; ++k) {
    svg.Open("mark");
    const double start = Line(p, 2, k), end = Line(p, 3, k);
    if (kagi) {
      KagiStroke(svg, s, xOf(k), xOf(k), start, end, y);
      if (k + 1 < p.end) svg.Line(s.yang ? "yang" : "yin", xOf(k), y(end), xOf(k + 1), y(end));
    } else {
      KagiStroke(svg, s, k == p.first ? time(firstBar) : xOf(k - 1), xOf(k), start, end, y);
    }
    svg.Close();
  }
  return svg.Finish();
}

// ---- Renko and line break -------------------------------------------------------

std::string Boxes(const TransformPicture& p, double pitch) {
  const auto [lo, hi] = Range(p, {2, 3});
  const Frame f = FrameFor(Count(p), pitch);
  Svg svg = Canvas(f, p.title);
  const Scale y = PriceAxis(svg, f, lo, hi);
  const double step = f.width / std::max(Count(p), 1);
  ElementDates(svg, f, p, step);
  for (int k = p.first; k < p.end; ++k) {
    const double start = Line(p, 2, k), end = Line(p, 3, k);
    svg.Rect(end > start ? "mark up" : "mark down", f.left + (k - p.first) * step + step * 0.1, y(std::max(start, end)),
             step * 0.8, std::fabs(y(end) - y(start)));
  }
  return svg.Finish();
}

std::string Kagi(const TransformPicture& p) { return KagiOrSwing(p, true); }
std::string Swing(const TransformPicture& p) { return KagiOrSwing(p, false); }

std::string Renko(const TransformPicture& p) { return Boxes(p, 6); }
std::string LineBreak(const TransformPicture& p) { return Boxes(p, 5); }

// ---- counter-clockwise curve ----------------------------------------------------

// Older points pale, newer ones dark, so the direction of travel shows.
std::string TimeColour(double t) {
  char text[16];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<int>(190 - 160 * t), static_cast<int>(205 - 140 * t),
                static_cast<int>(235 - 80 * t));
  return text;
}

std::string Curve(const TransformPicture& p) {
  const Frame f = FrameFor(0, 0);
  Svg svg = Canvas(f, p.title);
  const auto [vLo, vHi] = Range(p, {3});
  const auto [cLo, cHi] = Range(p, {2});
  const Scale y = PriceAxis(svg, f, cLo, cHi);
  const Scale x = VolumeAxis(svg, f, vLo, vHi, "average volume");
  svg.Text("note", f.left + 6, f.top + 14, "average close");
  std::vector<std::pair<double, double>> points;
  for (int k = p.first; k < p.end; ++k) points.emplace_back(x(Line(p, 3, k)), y(Line(p, 2, k)));
  svg.Polyline("path", points);
  for (size_t i = 0; i < points.size(); ++i)
    svg.Circle("mark", points[i].first, points[i].second, 1.8,
               TimeColour(static_cast<double>(i) / std::max<size_t>(points.size() - 1, 1)).c_str());
  if (points.empty()) return svg.Finish();
  svg.Circle("start", points.front().first, points.front().second, 5);
  svg.Text("date", points.front().first, points.front().second - 9, "start " + DateText(Line(p, 0, p.first)));
  svg.Rect("end", points.back().first - 5, points.back().second - 5, 10, 10);
  svg.Text("date", points.back().first, points.back().second - 9, "end " + DateText(Line(p, 0, p.end - 1)));
  return svg.Finish();
}

// ---- candle volume --------------------------------------------------------------

std::string Candles(const TransformPicture& p) {
  double total = 0, lo = INFINITY, hi = -INFINITY;
  for (int k = p.first; k < p.end; ++k) {
    const int bar = k + p.barOffset;
    total += std::max(Line(p, 0, k), 0.0);
    lo = std::min(lo, Price(p, kLow, bar)), hi = std::max(hi, Price(p, kHigh, bar));
  }
  const Frame f = FrameFor(Count(p), 3.5);
  Svg svg = Canvas(f, p.title);
  const Scale y = PriceAxis(svg, f, lo, hi);
  std::vector<std::pair<double, double>> dates;
  double x = f.left;
  for (int k = p.first; k < p.end; ++k) {
    const int bar = k + p.barOffset;
    const double w = total > 0 ? f.width * std::max(Line(p, 0, k), 0.0) / total : f.width / Count(p);
    const double open = Price(p, kOpen, bar), close = Price(p, kClose, bar);
    svg.Open(close >= open ? "mark up" : "mark down");
    svg.Line("wick", x + w / 2, y(Price(p, kHigh, bar)), x + w / 2, y(Price(p, kLow, bar)));
    svg.Rect(close >= open ? "up" : "down", x + w * 0.08, y(std::max(open, close)), w * 0.84,
             std::fabs(y(open) - y(close)));
    svg.Close();
    dates.emplace_back(x + w / 2, Price(p, kDateTime, bar));
    x += w;
  }
  DateLabels(svg, f, dates);
  return svg.Finish();
}

// ---- market profile -------------------------------------------------------------

constexpr double kLetterPitch = 8, kLetterRow = 11, kMinDayWidth = 30;

// The letter bars of each day: (price row, letter code) in time order.
struct ProfileDay {
  double dateTime = 0;
  std::vector<std::pair<long, double>> letters;
  std::map<long, int> depth;  // letters per price row
};

// A letter code as its character; codes past the printable ones as '?'.
std::string LetterText(double code) {
  constexpr double kFirstPrintable = 33, kLastPrintable = 126;
  return std::string(1, code >= kFirstPrintable && code <= kLastPrintable ? static_cast<char>(code) : '?');
}

std::vector<ProfileDay> ProfileDays(const TransformPicture& p, double rowStep) {
  std::vector<ProfileDay> days;
  for (int k = p.first; k < p.end; ++k) {
    if (days.empty() || Line(p, 2, k) != 0) days.emplace_back().dateTime = DayOf(Line(p, 0, k));
    if (Line(p, 1, k) == 0) continue;
    const long row = std::lround(Price(p, kClose, k) / rowStep);
    days.back().letters.emplace_back(row, Line(p, 1, k));
    ++days.back().depth[row];
  }
  return days;
}

std::string Profile(const TransformPicture& p) {
  double lo = INFINITY, hi = -INFINITY;
  for (int k = p.first; k < p.end; ++k) lo = std::min(lo, Price(p, kClose, k)), hi = std::max(hi, Price(p, kClose, k));
  const double rowStep = NiceStep(std::isfinite(hi - lo) && hi > lo ? hi - lo : 1.0, kPlotHeight / kLetterRow);
  const std::vector<ProfileDay> days = ProfileDays(p, rowStep);
  std::vector<double> widths;
  double total = 0;
  for (const ProfileDay& d : days) {
    int most = 1;
    for (const auto& [row, n] : d.depth) most = std::max(most, n);
    total += widths.emplace_back(std::max(kMinDayWidth, most * kLetterPitch + kLetterPitch));
  }
  const Frame f = FrameFor(total, 1);
  Svg svg = Canvas(f, p.title);
  const Scale y = PriceAxis(svg, f, lo - rowStep / 2, hi + rowStep / 2);
  const double scale = f.width / std::max(total, 1.0);
  std::vector<std::pair<double, double>> dates;
  double x = f.left;
  for (size_t d = 0; d < days.size(); ++d) {
    std::map<long, int> placed;
    for (const auto& [row, code] : days[d].letters) {
      const double lx = x + (kLetterPitch * (placed[row]++ + 1)) * scale;
      svg.Text("mark letter", lx, y(row * rowStep) + 3.5, LetterText(code));
    }
    dates.emplace_back(x + widths[d] * scale / 2, days[d].dateTime);
    x += widths[d] * scale;
    svg.Line("day", x, f.top, x, f.Bottom());
  }
  DateLabels(svg, f, dates, false);
  return svg.Finish();
}

// ---- volume at price ------------------------------------------------------------

std::string Bands(const TransformPicture& p) {
  const Frame f = FrameFor(0, 0);
  Svg svg = Canvas(f, p.title + " \xC2\xB7 bars " + DateText(Price(p, kDateTime, p.from)) + " to " +
                          DateText(Price(p, kDateTime, p.to)));
  const auto [lo, hi] = Range(p, {0, 1});
  const auto [vLo, vHi] = Range(p, {2});
  const Scale y = PriceAxis(svg, f, lo, hi);
  const Scale x = VolumeAxis(svg, f, 0, vHi, "volume");
  for (int k = p.first; k < p.end; ++k) {
    const double top = y(Line(p, 1, k)), bottom = y(Line(p, 0, k)), share = Line(p, 4, k);
    svg.Rect(Line(p, 3, k) == 1 ? "mark poc" : "mark band", f.left, top + 1, x(Line(p, 2, k)) - f.left,
             bottom - top - 2);
    char label[32];
    std::snprintf(label, sizeof label, "%.1f%%", share * 100);
    svg.Text("note", x(Line(p, 2, k)) + 4, (top + bottom) / 2 + 4, label);
  }
  const double last = Price(p, kClose, p.to);
  svg.Line("last", f.left, y(last), f.Right(), y(last));
  svg.Text("value", f.Right() - 4, y(last) - 4, "last close " + Amount(last, 2));
  return svg.Finish();
}

std::string Empty(const TransformPicture& p) {
  const Frame f = FrameFor(0, 0);
  Svg svg = Canvas(f, p.title);
  svg.Text("note", f.left + f.width / 2 - 60, f.top + f.height / 2, "nothing to draw");
  return svg.Finish();
}

}  // namespace

std::string TransformSvg(const TransformPicture& picture) {
  // In the order of TransformDrawing.
  static std::string (*const kDrawers[])(const TransformPicture&) = {PointFigure, Kagi,    Swing,   Renko, LineBreak,
                                                                     Curve,       Candles, Profile, Bands};
  const auto drawing = static_cast<size_t>(picture.drawing);
  return Count(picture) == 0 || drawing >= std::size(kDrawers) ? Empty(picture) : kDrawers[drawing](picture);
}

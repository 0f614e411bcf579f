#include "EquityPage.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "ChartAxis.h"
#include "Cli.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

// ---- labels ---------------------------------------------------------------------

// The page's own texts; this page is UTF-8, so both forms stand here as they
// are shown.
enum Label {
  kTitle,
  kRunFormat,
  kEquity,
  kDrawdown,
  kWin,
  kLoss,
  kFlat,
  kOpen,
  kTrades,
  kNetProfit,
  kMaxDrawdown,
  kPeriod,
  kNoTrades,
  kLabelCount
};

struct Bilingual {
  const char* ko;
  const char* en;
};

constexpr Bilingual kLabels[kLabelCount] = {
    {"자산 곡선", "Equity curve"},
    {"%ld회차", "run %ld"},
    {"누적 손익", "Cumulative profit/loss"},
    {"고점 대비 낙폭", "Drawdown from peak"},
    {"수익 거래", "Winning trade"},
    {"손실 거래", "Losing trade"},
    {"본전 거래", "Break-even trade"},
    {"미청산 거래", "Open trade"},
    {"거래 수", "Trades"},
    {"총손익", "Net profit"},
    {"최대 낙폭", "Max drawdown"},
    {"기간", "Period"},
    {"거래 없음", "No trades"},
};

const char* Text(Label label) { return GetLangType() == kLangKorean ? kLabels[label].ko : kLabels[label].en; }

// ---- reading --------------------------------------------------------------------

// Report figures are plain decimals; thousands separators are tolerated.
bool ParseFigure(const std::string& text, double& value) {
  std::string digits;
  for (char c : text)
    if (c != ',' && c != ' ') digits += c;
  return ParseNumber(digits, value);
}

bool AllDigits(const std::string& text, size_t from, size_t count) {
  if (text.size() < from + count) return false;
  for (size_t i = from; i < from + count; ++i)
    if (text[i] < '0' || text[i] > '9') return false;
  return true;
}

int Digits(const std::string& text, size_t from, size_t count) { return std::atoi(text.substr(from, count).c_str()); }

constexpr int kMinYear = 1000;  // "0000" is what an open trade's exit date reads
constexpr double kMinutesPerDay = 1440.0;

bool DayOf(int y, int m, int d, double& day) {
  using namespace std::chrono;
  const year_month_day ymd{year{y}, month{static_cast<unsigned>(m)}, std::chrono::day{static_cast<unsigned>(d)}};
  if (y < kMinYear || !ymd.ok()) return false;
  day = static_cast<double>(sys_days(ymd).time_since_epoch().count());
  return true;
}

std::chrono::year_month_day CivilOf(double day) {
  using namespace std::chrono;
  return year_month_day{sys_days{days{static_cast<long>(std::floor(day))}}};
}

const char* Field(DB& db, const char* name) { return db.GetStr(name); }

std::string DateTimeText(const std::string& date, const std::string& time) {
  if (date.size() != 8) return date;
  std::string text = date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6, 2);
  return time.empty() || time == "00:00" ? text : text + " " + time;
}

}  // namespace

bool ParseTradeDay(const std::string& date, const std::string& time, double& day) {
  if (date.size() != 8 || !AllDigits(date, 0, 8)) return false;
  if (!DayOf(Digits(date, 0, 4), Digits(date, 4, 2), Digits(date, 6, 2), day)) return false;
  if (time.empty()) return true;
  if (time.size() != 5 || time[2] != ':' || !AllDigits(time, 0, 2) || !AllDigits(time, 3, 2)) return false;
  const int h = Digits(time, 0, 2), m = Digits(time, 3, 2);
  if (h > 23 || m > 59) return false;
  day += (h * 60 + m) / kMinutesPerDay;
  return true;
}

bool TermEndDay(const std::string& term, double& day) {
  const size_t tilde = term.find('~');
  if (tilde == std::string::npos) return false;
  std::string end;
  for (char c : term.substr(tilde + 1))
    if (c != ' ' && c != '.') end += c;
  return ParseTradeDay(end, "", day);
}

bool ReadEquityTrades(const std::string& path, double lastDay, std::vector<EquityTrade>& trades, std::string& error) {
  static const char* const kNeeded[] = {"EntryDate", "EntryTime",  "ExitDate",
                                        "ExitTime",  "ProfitLoss", "CumProfitLoss"};
  DB db(path.c_str(), 0);
  if (!db.IsOpen()) return error = path + " is not a readable report table (damaged or foreign)", false;
  for (const char* name : kNeeded)
    if (!db.FindField(name)) return error = path + " is not a trade list (it has no field " + name + ")", false;
  trades.clear();
  for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) {
    if (db.Deleted()) continue;
    EquityTrade t;
    const std::string entryDate = Field(db, "EntryDate"), entryTime = Field(db, "EntryTime");
    const std::string exitDate = Field(db, "ExitDate"), exitTime = Field(db, "ExitTime");
    const std::string number = std::to_string(trades.size() + 1);
    if (!ParseTradeDay(entryDate, entryTime, t.entry))
      return error = "trade " + number + " of " + path + " has no entry date", false;
    if (!ParseFigure(Field(db, "ProfitLoss"), t.profitLoss) ||
        !ParseFigure(Field(db, "CumProfitLoss"), t.cumProfitLoss))
      return error = "trade " + number + " of " + path + " has no profit/loss figures", false;
    t.open = !ParseTradeDay(exitDate, exitTime, t.exit) || t.exit < t.entry;
    if (t.open) t.exit = std::max(lastDay, t.entry);
    t.entryText = DateTimeText(entryDate, entryTime);
    t.exitText = t.open ? std::string() : DateTimeText(exitDate, exitTime);
    trades.push_back(std::move(t));
  }
  return true;
}

namespace {

// ---- axes -----------------------------------------------------------------------

// The plot's frame, in SVG pixels.
constexpr double kSvgWidth = 860, kSvgHeight = 566;
constexpr double kPlotLeft = 88, kPlotRight = 844;
constexpr double kEquityTop = 28, kEquityBottom = 356;
constexpr double kDrawdownTop = 400, kDrawdownBottom = 530;
constexpr double kDateLabelY = 548;
constexpr int kValueTicks = 5, kDrawdownTicks = 3;
constexpr size_t kMaxDateTicks = 8;
constexpr size_t kManyTrades = 400;  // beyond this the markers get smaller

// Date ticks fall on whole units: minutes and days on multiples of the step
// since 1970, months and years on calendar boundaries.
enum class Unit { kMinute, kDay, kMonth, kYear };

struct DateStep {
  Unit unit;
  int count;
  double days;  // about
};

constexpr DateStep kDateSteps[] = {
    {Unit::kMinute, 15, 15 / kMinutesPerDay},
    {Unit::kMinute, 30, 30 / kMinutesPerDay},
    {Unit::kMinute, 60, 60 / kMinutesPerDay},
    {Unit::kMinute, 120, 120 / kMinutesPerDay},
    {Unit::kMinute, 180, 180 / kMinutesPerDay},
    {Unit::kMinute, 360, 360 / kMinutesPerDay},
    {Unit::kMinute, 720, 720 / kMinutesPerDay},
    {Unit::kDay, 1, 1},
    {Unit::kDay, 2, 2},
    {Unit::kDay, 7, 7},
    {Unit::kDay, 14, 14},
    {Unit::kMonth, 1, 30.44},
    {Unit::kMonth, 2, 60.9},
    {Unit::kMonth, 3, 91.3},
    {Unit::kMonth, 6, 182.6},
    {Unit::kYear, 1, 365.25},
    {Unit::kYear, 2, 730.5},
    {Unit::kYear, 5, 1826},
    {Unit::kYear, 10, 3652},
    {Unit::kYear, 20, 7305},
    {Unit::kYear, 50, 18262},
    {Unit::kYear, 100, 36525},
};

struct DateTick {
  double day;
  std::string label;
};

std::string DateLabel(double day, Unit unit) {
  const auto ymd = CivilOf(day);
  const int y = static_cast<int>(ymd.year()), m = static_cast<int>(static_cast<unsigned>(ymd.month())),
            d = static_cast<int>(static_cast<unsigned>(ymd.day()));
  char text[32];
  if (unit == Unit::kYear)
    std::snprintf(text, sizeof text, "%04d", y);
  else if (unit == Unit::kMonth)
    std::snprintf(text, sizeof text, "%04d-%02d", y, m);
  else if (unit == Unit::kDay)
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", y, m, d);
  else {
    const int minutes = static_cast<int>(std::lround((day - std::floor(day)) * kMinutesPerDay));
    std::snprintf(text, sizeof text, "%02d-%02d %02d:%02d", m, d, minutes / 60, minutes % 60);
  }
  return text;
}

std::vector<DateTick> DateTicks(double lo, double hi) {
  const DateStep* step = &kDateSteps[std::size(kDateSteps) - 1];
  for (const DateStep& s : kDateSteps)
    if ((hi - lo) / s.days <= kMaxDateTicks - 1) {
      step = &s;
      break;
    }
  std::vector<DateTick> ticks;
  auto add = [&](double day) {
    if (day >= lo - 1e-9 && day <= hi + 1e-9) ticks.push_back({day, DateLabel(day, step->unit)});
  };
  if (step->unit == Unit::kMinute || step->unit == Unit::kDay) {
    for (double day = std::ceil(lo / step->days - 1e-9) * step->days; day <= hi + 1e-9; day += step->days) add(day);
    return ticks;
  }
  const auto first = CivilOf(lo);
  const int months = step->unit == Unit::kYear ? 12 * step->count : step->count;
  long index = static_cast<int>(first.year()) * 12L + static_cast<unsigned>(first.month()) - 1;
  if (step->unit == Unit::kYear) index = static_cast<int>(first.year()) * 12L;
  index = (index + months - 1) / months * months;
  for (double day = lo;; index += months) {
    if (!DayOf(static_cast<int>(index / 12), static_cast<int>(index % 12) + 1, 1, day) || day > hi + 1e-9) break;
    add(day);
  }
  return ticks;
}

// ---- drawing --------------------------------------------------------------------

template <typename... Numbers>
void Append(std::string& out, const char* format, Numbers... numbers) {
  char text[128];
  std::snprintf(text, sizeof text, format, numbers...);
  out += text;
}

struct Curve {
  std::vector<double> x, equity, drawdown;  // the start, then one point per trade
  double maxDrawdown = 0;
};

Curve CurveOf(const std::vector<EquityTrade>& trades) {
  Curve c;
  double peak = 0;
  c.x.push_back(trades.empty() ? 0 : trades.front().entry);
  c.equity.push_back(0);
  c.drawdown.push_back(0);
  for (const EquityTrade& t : trades) {
    peak = std::max(peak, t.cumProfitLoss);
    c.x.push_back(t.exit);
    c.equity.push_back(t.cumProfitLoss);
    c.drawdown.push_back(t.cumProfitLoss - peak);
    c.maxDrawdown = std::min(c.maxDrawdown, t.cumProfitLoss - peak);
  }
  return c;
}

// Horizontal grid lines and value labels of one panel.
void ValueGrid(std::string& svg, const ValueAxis& axis, const Scale& y) {
  const int decimals = StepDecimals(axis.step);
  for (double v = axis.lo; v <= axis.hi + axis.step * 1e-6; v += axis.step) {
    const double py = y(v);
    Append(svg, "<line class=\"grid\" x1=\"%.1f\" y1=\"%.1f\" ", kPlotLeft, py);
    Append(svg, "x2=\"%.1f\" y2=\"%.1f\"/>\n", kPlotRight, py);
    Append(svg, "<text class=\"value\" x=\"%.1f\" y=\"%.1f\">", kPlotLeft - 6, py + 4);
    svg += Amount(std::fabs(v) < axis.step * 1e-6 ? 0.0 : v, decimals) + "</text>\n";
  }
}

void DateGrid(std::string& svg, const std::vector<DateTick>& ticks, const Scale& x) {
  for (const DateTick& t : ticks) {
    const double px = x(t.day);
    for (auto [top, bottom] : {std::pair{kEquityTop, kEquityBottom}, std::pair{kDrawdownTop, kDrawdownBottom}}) {
      Append(svg, "<line class=\"grid\" x1=\"%.1f\" y1=\"%.1f\" ", px, top);
      Append(svg, "x2=\"%.1f\" y2=\"%.1f\"/>\n", px, bottom);
    }
    Append(svg, "<text class=\"date\" x=\"%.1f\" y=\"%.1f\">", px, kDateLabelY);
    svg += t.label + "</text>\n";
  }
}

void Panel(std::string& svg, double top, double bottom, Label title) {
  Append(svg, "<rect class=\"panel\" x=\"%.1f\" y=\"%.1f\" ", kPlotLeft, top);
  Append(svg, "width=\"%.1f\" height=\"%.1f\"/>\n", kPlotRight - kPlotLeft, bottom - top);
  Append(svg, "<text class=\"panel-title\" x=\"%.1f\" y=\"%.1f\">", kPlotLeft, top - 8);
  svg += std::string(Text(title)) + "</text>\n";
}

const char* MarkerClass(const EquityTrade& t) {
  if (t.open) return "trade open";
  return t.profitLoss > 0 ? "trade win" : t.profitLoss < 0 ? "trade loss" : "trade flat";
}

void Markers(std::string& svg, const std::vector<EquityTrade>& trades, const Scale& x, const Scale& y, int decimals) {
  const double radius = trades.size() > kManyTrades ? 2.2 : 3.6;
  for (size_t k = 0; k < trades.size(); ++k) {
    const EquityTrade& t = trades[k];
    svg += std::string("<circle class=\"") + MarkerClass(t) + "\"";
    Append(svg, " cx=\"%.1f\" cy=\"%.1f\"", x(t.exit), y(t.cumProfitLoss));
    Append(svg, " r=\"%.1f\"", radius);
    svg += "><title>#" + std::to_string(k + 1) + " " + Escaped(t.entryText) + " \xE2\x86\x92 " +
           Escaped(t.open ? Text(kOpen) : t.exitText) + ": " + Amount(t.profitLoss, decimals) + "</title></circle>\n";
  }
}

constexpr char kSvgStyle[] =
    "<style>\n"
    "text{font-family:'Noto Sans','NanumGothic','Malgun Gothic',sans-serif;font-size:11px;fill:#444}\n"
    ".panel{fill:#fafbfd;stroke:#c8cfdb}\n.grid{stroke:#e3e7ee;stroke-width:1}\n"
    ".value{text-anchor:end}\n.date{text-anchor:middle}\n.panel-title{font-size:12px;font-weight:bold;fill:#333}\n"
    ".zero{stroke:#888;stroke-dasharray:4 3}\n.equity{fill:none;stroke:#1f5fbf;stroke-width:1.8}\n"
    ".drawdown{fill:#d9534f;fill-opacity:0.35;stroke:#c9302c;stroke-width:1}\n"
    ".win{fill:#2e9d4a}\n.loss{fill:#d9534f}\n.flat{fill:#8a8a8a}\n.open{fill:#fff;stroke:#e69a00;stroke-width:2}\n"
    ".empty{font-size:16px;text-anchor:middle;fill:#888}\n"
    "</style>\n";

// Decimals of the run's own figures: as many as its profit texts show
// (the trade list writes them with the symbol's digits).
int FigureDecimals(const std::vector<EquityTrade>& trades) {
  int decimals = 0;
  for (const EquityTrade& t : trades)
    for (double v : {t.profitLoss, t.cumProfitLoss})
      for (int d = decimals; d < 4 && std::fabs(v * std::pow(10.0, d) - std::round(v * std::pow(10.0, d))) > 1e-6;)
        decimals = ++d;
  return decimals;
}

std::string Svg(const EquityRun& run, const Curve& c) {
  const std::vector<EquityTrade>& trades = run.trades;
  double xLo = c.x.front(), xHi = c.x.front();
  for (const EquityTrade& t : trades) {
    xLo = std::min({xLo, t.entry, t.exit});
    xHi = std::max(xHi, t.exit);
  }
  if (trades.empty() && TermEndDay(run.term, xHi)) xLo = xHi - 1;
  if (xHi - xLo < 1 / kMinutesPerDay) xLo -= 0.5, xHi += 0.5;
  const auto [eqLo, eqHi] = std::minmax_element(c.equity.begin(), c.equity.end());
  const ValueAxis eq = NiceAxis(*eqLo, *eqHi, kValueTicks);
  const ValueAxis dd = NiceAxis(c.maxDrawdown, 0, kDrawdownTicks);
  const Scale x{xLo, xHi, kPlotLeft, kPlotRight}, y{eq.lo, eq.hi, kEquityBottom, kEquityTop},
      yDd{dd.lo, dd.hi, kDrawdownBottom, kDrawdownTop};

  std::string svg;
  Append(svg, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\"", kSvgWidth, kSvgHeight);
  Append(svg, " viewBox=\"0 0 %.0f %.0f\">\n", kSvgWidth, kSvgHeight);
  svg += kSvgStyle;
  Panel(svg, kEquityTop, kEquityBottom, kEquity);
  Panel(svg, kDrawdownTop, kDrawdownBottom, kDrawdown);
  ValueGrid(svg, eq, y);
  ValueGrid(svg, dd, yDd);
  DateGrid(svg, DateTicks(xLo, xHi), x);
  Append(svg, "<line class=\"zero\" x1=\"%.1f\" y1=\"%.1f\" ", kPlotLeft, y(0));
  Append(svg, "x2=\"%.1f\" y2=\"%.1f\"/>\n", kPlotRight, y(0));
  if (trades.empty()) {
    Append(svg, "<text class=\"empty\" x=\"%.1f\" y=\"%.1f\">", (kPlotLeft + kPlotRight) / 2,
           (kEquityTop + kEquityBottom) / 2);
    return svg + Text(kNoTrades) + "</text>\n</svg>\n";
  }
  svg += "<polygon class=\"drawdown\" points=\"";
  Append(svg, "%.1f,%.1f", x(c.x.front()), yDd(0));
  for (size_t i = 0; i < c.x.size(); ++i) Append(svg, " %.1f,%.1f", x(c.x[i]), yDd(c.drawdown[i]));
  Append(svg, " %.1f,%.1f\"/>\n", x(c.x.back()), yDd(0));
  svg += "<polyline class=\"equity\" points=\"";
  for (size_t i = 0; i < c.x.size(); ++i) Append(svg, i ? " %.1f,%.1f" : "%.1f,%.1f", x(c.x[i]), y(c.equity[i]));
  svg += "\"/>\n";
  Markers(svg, trades, x, y, FigureDecimals(trades));
  return svg + "</svg>\n";
}

std::string Legend() {
  std::string html = "<p class=\"legend\">";
  for (auto [cls, label] : {std::pair{"win", kWin}, std::pair{"loss", kLoss}, std::pair{"open", kOpen}})
    html += std::string("<span class=\"key ") + cls + "\">\xE2\x97\x8F</span> " + Text(label) + " &nbsp; ";
  return html + "</p>\n";
}

std::string Figures(const EquityRun& run, const Curve& c) {
  const int decimals = FigureDecimals(run.trades);
  std::string html = "<table class=\"figures\">\n";
  auto row = [&](Label label, const std::string& value) {
    html += std::string("<tr><th>") + Text(label) + "</th><td>" + value + "</td></tr>\n";
  };
  row(kPeriod, Escaped(run.term));
  row(kTrades, std::to_string(run.trades.size()));
  row(kNetProfit, Amount(c.equity.back(), decimals));
  row(kMaxDrawdown, Amount(c.maxDrawdown, decimals));
  return html + "</table>\n";
}

constexpr char kPageStyle[] =
    "<style>\n"
    "body{font-family:'Noto Sans','NanumGothic','Malgun Gothic',sans-serif;margin:16px;color:#222;background:#fff}\n"
    "h1{font-size:18px;margin:0 0 8px}\n.legend{font-size:12px;margin:4px 0}\n"
    ".key{font-size:14px}\n.key.win{color:#2e9d4a}\n.key.loss{color:#d9534f}\n.key.open{color:#e69a00}\n"
    ".figures{border-collapse:collapse;font-size:12px;margin-top:8px}\n"
    ".figures th{text-align:left;padding:2px 12px 2px 0;font-weight:normal;color:#555}\n"
    ".figures td{text-align:right;padding:2px 0}\n"
    "</style>\n";

}  // namespace

std::string EquityPageHtml(const EquityRun& run) {
  char runText[64];
  std::snprintf(runText, sizeof runText, Text(kRunFormat), run.run);
  std::string title = Text(kTitle);
  title += ": " + run.system;
  if (!run.symbol.empty()) title += " \xC2\xB7 " + run.symbol;
  title += std::string(" \xC2\xB7 ") + runText;
  const Curve curve = CurveOf(run.trades);
  std::string html = "<!DOCTYPE html>\n<html lang=\"";
  html += GetLangType() == kLangKorean ? "ko" : "en";
  html += "\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + Escaped(title) + "</title>\n" + kPageStyle +
          "</head>\n<body>\n<h1>" + Escaped(title) + "</h1>\n" + Legend() + Svg(run, curve) + Figures(run, curve) +
          "</body>\n</html>\n";
  return html;
}

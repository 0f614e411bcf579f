// chartcalc transform TYPE: a chart type computed from the price data.
//   One CSV row per element the chart is made of (a column, segment, brick,
//   line or band, or a bar for the per-bar types), headed n, then datetime
//   and bar where the element has them, then its values. The parameters as
//   the calculation left them (a reset writes its own) go to standard error
//   as one line; --svg FILE also draws the chart.
#include <algorithm>
#include <limits>
#include <span>
#include <string>

#include "Cli.h"
#include "NamedDefinition.h"
#include "PriceCsv.h"
#include "TransformSvg.h"
#include "TransformTypes.h"
#include "chartcalc.h"
#include "core/FileUtil.h"

using namespace chartcalc::detail;

namespace {

// A picture of more marks than this would take minutes to open; the CSV
// has no such limit.
constexpr int kMostMarks = 200000;

// The columns of the types whose lines 0-3 hold one element each.
constexpr Column kElementColumns[] = {
    {"datetime", Cell::kWhole, 0}, {"bar", Cell::kWhole, 1}, {"start", Cell::kNumber, 2}, {"end", Cell::kNumber, 3}};
constexpr Column kCurveColumns[] = {{"datetime", Cell::kWhole, 0},
                                    {"bar", Cell::kWhole, 1},
                                    {"avg_close", Cell::kNumber, 2},
                                    {"avg_volume", Cell::kNumber, 3}};
constexpr Column kCandleColumns[] = {
    {"datetime", Cell::kRowDateTime}, {"bar", Cell::kRowBar}, {"weight", Cell::kNumber, 0}};
constexpr Column kProfileColumns[] = {{"datetime", Cell::kWhole, 0}, {"bar", Cell::kRowBar},
                                      {"letter", Cell::kLetter, 1},  {"day_start", Cell::kNumber, 2},
                                      {"volume", Cell::kNumber, 3},  {"count", Cell::kNumber, 4}};
constexpr Column kBandColumns[] = {{"low", Cell::kNumber, 0},
                                   {"high", Cell::kNumber, 1},
                                   {"volume", Cell::kNumber, 2},
                                   {"of_largest", Cell::kNumber, 3},
                                   {"of_total", Cell::kNumber, 4}};

const TransformType kTypes[] = {
    {"pnf",
     "Point and figure",
     [](SIndex& x, int reset, int, int) { x.CalcPnF(reset); },
     {ParamKind::kCount, "reversal", "reversal count, in boxes", "3"},
     {ParamKind::kSize, "box", "box size, in price units", "1"},
     RowSpan::kElements,
     kElementColumns,
     TransformDrawing::kColumns},
    {"kagi",
     "Kagi",
     [](SIndex& x, int reset, int, int) { x.CalcKagi(reset); },
     {ParamKind::kSize, "reversal", "reversal amount, in price units", "1"},
     {},
     RowSpan::kElements,
     kElementColumns,
     TransformDrawing::kKagi},
    {"swing",
     "Swing",
     [](SIndex& x, int reset, int, int) { x.CalcSwing(reset); },
     {ParamKind::kSize, "reversal", "reversal amount, in price units", "1"},
     {},
     RowSpan::kElements,
     kElementColumns,
     TransformDrawing::kSwing},
    {"renko",
     "Renko",
     [](SIndex& x, int reset, int, int) { x.CalcRenko(reset); },
     {ParamKind::kSize, "brick", "brick size, in price units", "1"},
     {},
     RowSpan::kElements,
     kElementColumns,
     TransformDrawing::kBricks},
    {"linebreak",
     "Line break",
     [](SIndex& x, int reset, int, int) { x.CalcThreeLineBreak(reset); },
     {ParamKind::kCount, "lines", "line count that a turn must break", "3"},
     {ParamKind::kResult, "turn", "the price the next close must break to turn (written by the calculation)"},
     RowSpan::kElements,
     kElementColumns,
     TransformDrawing::kLineBreak},
    {"ccw",
     "Counter-clockwise curve",
     [](SIndex& x, int reset, int, int) { x.CalcCounterClock(reset); },
     {ParamKind::kCount, "period", "averaging period, in bars", "20"},
     {},
     RowSpan::kAverages,
     kCurveColumns,
     TransformDrawing::kCurve},
    {"candlevolume",
     "Candle volume",
     [](SIndex& x, int reset, int, int) { x.CalcCandleVolume(reset); },
     {},
     {},
     RowSpan::kBarsFromStart,
     kCandleColumns,
     TransformDrawing::kCandles},
    {"profile",
     "Market profile",
     [](SIndex& x, int reset, int, int) { x.CalcMarketProfile(reset); },
     {ParamKind::kCount, "minutes", "minutes per period (15 or less: 15)", "15"},
     {},
     RowSpan::kBarsByIndex,
     kProfileColumns,
     TransformDrawing::kProfile},
    {"vap",
     "Volume at price",
     [](SIndex& x, int reset, int from, int to) { x.CalcVolumeAtPrice(reset, from, to); },
     {ParamKind::kCount, "bands", "price bands", "15", 2, 100000},  // the calculation draws no more
     {},
     RowSpan::kElements,
     kBandColumns,
     TransformDrawing::kBands},
};

}  // namespace

std::span<const TransformType> TransformTypes() { return kTypes; }

const TransformType* FindType(const std::string& name) {
  for (const TransformType& t : kTypes)
    if (name == t.name) return &t;
  return nullptr;
}

// ---- parameters ---------------------------------------------------------------

namespace {

std::string OptionName(int k) { return k == 0 ? "--p1" : "--p2"; }

// A given parameter's text checked against its kind. False after a message.
bool CheckParam(const TransformType& t, int k, const Param& p, const std::string& text, std::ostream& err) {
  const std::string what = std::string(t.name) + " " + OptionName(k);
  if (p.kind == ParamKind::kNone || p.kind == ParamKind::kResult) {
    err << "error: " << what << " is not an input"
        << (p.kind == ParamKind::kResult ? " (the calculation writes it)" : "") << "\n";
    return false;
  }
  double size = 0;
  long long count = 0;
  if (p.kind == ParamKind::kSize && !(ParseNumber(text, size) && size > 0)) {
    err << "error: " << what << " (" << p.meaning << ") must be a positive number, not '" << text << "'\n";
    return false;
  }
  if (p.kind == ParamKind::kCount && !(ParseInteger(text, count) && count >= p.least && count <= p.most)) {
    err << "error: " << what << " (" << p.meaning << ") must be a whole number from " << p.least << " to " << p.most
        << ", not '" << text << "'\n";
    return false;
  }
  return true;
}

}  // namespace

// Sets VarValue[0] and [1] from --p1 and --p2, or their fallbacks. False
// after a message.
bool SetParams(const TransformType& t, const CliOptions& options, SIndex& x, std::ostream& err) {
  const bool reset = options.flags.count("reset") > 0;
  const Param* params[] = {&t.p1, &t.p2};
  for (int k = 0; k < 2; ++k) {
    const auto given = options.own.find(OptionName(k).substr(2));
    if (given == options.own.end()) {
      x.VarValue[k] = params[k]->fallback;
      continue;
    }
    if (reset) {
      err << "error: --reset chooses the parameters itself; leave out " << OptionName(k) << "\n";
      return false;
    }
    if (!CheckParam(t, k, *params[k], given->second, err)) return false;
    x.VarValue[k] = given->second.c_str();
  }
  return true;
}

// "reversal 3, box 2.5": the parameters as the indicator holds them.
std::string ParamText(const TransformType& t, const SIndex& x) {
  std::string text;
  const Param* params[] = {&t.p1, &t.p2};
  for (int k = 0; k < 2; ++k) {
    // A result the calculation never reached stays empty.
    if (params[k]->kind == ParamKind::kNone || x.VarValue[k].IsEmpty()) continue;
    if (!text.empty()) text += ", ";
    text += std::string(params[k]->word) + " " + x.VarValue[k].c_str();
  }
  return text;
}

// --from and --to (a band chart only): bars of the data, whole series by
// default. False after a message.
bool BarRange(const TransformType& t, const CliOptions& options, int bars, int& from, int& to, std::ostream& err) {
  from = 0, to = bars - 1;
  const bool given = options.own.count("from") || options.own.count("to");
  if (!given) return true;
  if (t.drawing != TransformDrawing::kBands) {
    err << "error: --from and --to apply to vap only\n";
    return false;
  }
  for (const char* name : {"from", "to"}) {
    auto it = options.own.find(name);
    long long bar = 0;
    if (it == options.own.end()) continue;
    if (!ParseInteger(it->second, bar) || bar < 0 || bar >= bars) {
      err << "error: --" << name << " must be a bar from 0 to " << bars - 1 << ", not '" << it->second << "'\n";
      return false;
    }
    (name[0] == 'f' ? from : to) = static_cast<int>(bar);
  }
  if (from > to) err << "error: --from " << from << " lies after --to " << to << "\n";
  return from <= to;
}

// ---- the CSV ------------------------------------------------------------------

namespace {

int Size(const SVector& v) { return std::max(v.GetSize(), 0); }

}  // namespace

RowRange RowsOf(const TransformType& t, const SIndex& x) {
  const SVector* close = x.PriceSeries[kClose];
  const int closeStart = close ? std::max(close->GetStartIndex(), 0) : 0;
  switch (t.rows) {
    case RowSpan::kAverages: {
      const int first = std::max({x.LineData[2].GetStartIndex(), x.LineData[3].GetStartIndex(), 0});
      return {first, std::min({Size(x.LineData[0]), Size(x.LineData[2]), Size(x.LineData[3])})};
    }
    case RowSpan::kBarsFromStart:
      return {0, Size(x.LineData[0]), closeStart};
    case RowSpan::kBarsByIndex:
      return {closeStart, Size(x.LineData[1])};
    case RowSpan::kElements:
      break;
  }
  return {0, Size(x.LineData[0])};
}

double CellValue(const Column& c, const SIndex& x, int row, int bar) {
  const SVector& line = x.LineData[c.line];
  const SVector* dateTime = x.PriceSeries[kDateTime];
  switch (c.cell) {
    case Cell::kWhole:
    case Cell::kNumber:
    case Cell::kLetter:
      if (row < line.GetSize() && row >= std::max(line.GetStartIndex(), 0)) return line[row];
      break;
    case Cell::kRowBar:
      return bar;
    case Cell::kRowDateTime:
      if (dateTime && bar < dateTime->GetSize()) return (*dateTime)[bar];
      break;
    case Cell::kNone:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

namespace {

// A letter code as its character; 0 (a merged bar) as nothing.
void AppendLetter(std::string& buf, double code) {
  constexpr double kFirstPrintable = 33, kLastPrintable = 126;
  if (code >= kFirstPrintable && code <= kLastPrintable && code == static_cast<int>(code))
    buf += static_cast<char>(code);
  else if (code != 0)
    AppendNumber(buf, "%.0f", code);
}

void AppendCell(std::string& buf, const Column& c, const SIndex& x, int row, int bar) {
  const SVector& line = x.LineData[c.line];
  const bool inLine = row < line.GetSize() && row >= std::max(line.GetStartIndex(), 0);
  const SVector* dateTime = x.PriceSeries[kDateTime];
  switch (c.cell) {
    case Cell::kWhole:
      if (inLine) AppendNumber(buf, "%.0f", line[row]);
      break;
    case Cell::kNumber:
      if (inLine) AppendNumber(buf, "%.15g", line[row]);
      break;
    case Cell::kLetter:
      if (inLine) AppendLetter(buf, line[row]);
      break;
    case Cell::kRowBar:
      buf += std::to_string(bar);
      break;
    case Cell::kRowDateTime:
      if (dateTime && bar < dateTime->GetSize()) AppendNumber(buf, "%.0f", (*dateTime)[bar]);
      break;
    case Cell::kNone:
      break;
  }
}

constexpr size_t kFlushBytes = 1 << 16;

void PrintRows(const TransformType& t, const SIndex& x, std::ostream& out) {
  std::string buf = "n";
  for (const Column& c : t.columns) buf += std::string(",") + c.header;
  buf += '\n';
  const RowRange rows = RowsOf(t, x);
  for (int row = rows.first; row < rows.end; ++row) {
    buf += std::to_string(row - rows.first + 1);
    for (const Column& c : t.columns) {
      buf += ',';
      AppendCell(buf, c, x, row, row + rows.barOffset);
    }
    buf += '\n';
    if (buf.size() > kFlushBytes) out << buf, buf.clear();
  }
  out << buf;
}

// ---- the command --------------------------------------------------------------

bool WritePicture(const TransformType& t, const SIndex& x, int from, int to, const std::string& path,
                  std::ostream& err) {
  const RowRange rows = RowsOf(t, x);
  if (rows.end - rows.first > kMostMarks) {
    err << "error: " << rows.end - rows.first << " elements are too many to draw (at most " << kMostMarks
        << "); choose larger parameters\n";
    return false;
  }
  const std::string params = ParamText(t, x);
  const TransformPicture picture{
      t.drawing,  x,        params.empty() ? t.title : std::string(t.title) + " (" + params + ")",
      rows.first, rows.end, rows.barOffset,
      from,       to};
  if (WriteWholeFile(path, TransformSvg(picture))) return true;
  err << "error: cannot write " << path << "\n";
  return false;
}

}  // namespace

std::string TransformTypesHelp() {
  std::string text = "Types and their parameters (--p1, --p2; default in brackets):\n";
  for (const TransformType& t : kTypes) {
    text += std::string("  ") + t.name + std::string(14 - std::string(t.name).size(), ' ') + t.title + "\n";
    const Param* params[] = {&t.p1, &t.p2};
    for (int k = 0; k < 2; ++k) {
      if (params[k]->kind == ParamKind::kNone) continue;
      text += "      " + OptionName(k) + " " + params[k]->word + ": " + params[k]->meaning;
      text += *params[k]->fallback ? std::string(" [") + params[k]->fallback + "]\n" : "\n";
    }
  }
  return text;
}

int RunTransform(const CliOptions& options, std::ostream& out, std::ostream& err) {
  if (options.args.size() != 1) {
    err << "error: transform takes exactly one TYPE (see chartcalc transform --help)\n";
    return kExitBadInput;
  }
  const TransformType* t = FindType(options.args[0]);
  if (!t) {
    err << "error: unknown chart type '" << options.args[0] << "' (pnf, kagi, swing, renko, linebreak, ccw,"
        << " candlevolume, profile or vap)\n";
    return kExitBadInput;
  }
  SIndex x;
  if (!SetParams(*t, options, x, err)) return kExitBadInput;
  SPriceData prices;
  if (!ReadPriceCsv(options.data, prices, err)) return kExitBadInput;
  int from = 0, to = 0;
  if (!BarRange(*t, options, Bars(prices), from, to, err)) return kExitBadInput;
  BindPrices(x, prices);
  t->calc(x, options.flags.count("reset") > 0, from, to);
  // The picture first: a run that fails prints no rows.
  const auto svg = options.own.find("svg");
  if (svg != options.own.end() && !WritePicture(*t, x, from, to, svg->second, err)) return kExitBadInput;
  PrintRows(*t, x, out);
  err << t->name << (t->p1.kind == ParamKind::kNone ? "" : ": ") << ParamText(*t, x) << "\n";
  return kExitOk;
}

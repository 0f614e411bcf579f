// The price-data settings file: an INI document whose section and key names
// are display texts of the current language, so a file is read back only in
// the language it was written in. Layout, English names (Korean in the text
// table):
//
//   [-1]                 COUNT = number of records
//   [i_Configuration]    PriceID, Code, MaxMin, Max value, Min value,
//                        Log Apply, Reverse, Line style, Line's thickness,
//                        Default0 ... Default3, Chart Type
//   [i_<chart type>]     per chart type: Uptrend color, Fill in a Ascension.,
//                        Down color, Fill in the down part, Sell-off range,
//                        Show the Figure, Variable value 1, Variable value 2
//   [i_RatioShow]        Low/High, LC(Low,Close), HC
//   [i_Alram]            only for a record with support/resistance lines:
//                        AlramNameShow, PriceShow, LineType, Show the screen,
//                        Show position, then per line j LineColor tone<j>,
//                        LineShow<j>, Line's thickness<j>, and Default<j>
//                        for the user lines 24-27
//
// where i is the record's index in the list. Every value is written with its
// default: the record's default values, the chart type's defaults, those of
// freshly reset support/resistance lines.
#include <algorithm>
#include <string>

#include "chartcalc/SPriceDataList.h"
#include "chartcalc/TableDb.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

std::string Section(int i, const std::string& text) { return std::to_string(i) + "_" + text; }
std::string Tx(TextId id) { return GetText(id); }
std::string Numbered(const std::string& key, int j) { return key + std::to_string(j); }

class IniWrite {
 public:
  explicit IniWrite(CIniMemFile& doc) : doc_(doc) {}
  void Int(const std::string& s, const std::string& k, const int& v, int d) {
    doc_.WriteInt(s.c_str(), k.c_str(), v, d);
  }
  void Dbl(const std::string& s, const std::string& k, const double& v, double d) {
    doc_.WriteDouble(s.c_str(), k.c_str(), v, d);
  }
  void Str(const std::string& s, const std::string& k, const SString& v, const SString& d) {
    doc_.WriteString(s.c_str(), k.c_str(), v.c_str(), d.c_str());
  }

 private:
  CIniMemFile& doc_;
};

class IniRead {
 public:
  explicit IniRead(CIniMemFile& doc) : doc_(doc) {}
  void Int(const std::string& s, const std::string& k, int& v, int d) {
    v = static_cast<int>(doc_.GetInt(s.c_str(), k.c_str(), d));
  }
  void Dbl(const std::string& s, const std::string& k, double& v, double d) {
    v = doc_.GetDouble(s.c_str(), k.c_str(), d);
  }
  void Str(const std::string& s, const std::string& k, SString& v, const SString& d) {
    v = doc_.GetString(s.c_str(), k.c_str(), d.c_str());
  }

 private:
  CIniMemFile& doc_;
};

// The price-chart settings of record i; P is const when writing.
template <class Io, class P>
void ExchangeProperty(Io& io, int i, P& p, const SPriceProperty& d) {
  for (int k = 0; k < kPriceChartTypes; ++k) {
    const std::string s = Section(i, GetPriceChartTypeName(k));
    io.Int(s, Tx(TxSetUptrendColor), p.WhiteLineColor[k], d.WhiteLineColor[k]);
    io.Int(s, Tx(TxSetFillUp), p.WhiteLineFill[k], d.WhiteLineFill[k]);
    io.Int(s, Tx(TxSetDownColor), p.BlackLineColor[k], d.BlackLineColor[k]);
    io.Int(s, Tx(TxSetFillDown), p.BlackLineFill[k], d.BlackLineFill[k]);
    io.Int(s, Tx(TxSetSellOffRange), p.VolumeAtPriceColor[k], d.VolumeAtPriceColor[k]);
    io.Int(s, Tx(TxSetShowFigure), p.BlVolumeDisp[k], d.BlVolumeDisp[k]);
    io.Str(s, Tx(TxSetVariableValue1), p.Value1[k], d.Value1[k]);
    io.Str(s, Tx(TxSetVariableValue2), p.Value2[k], d.Value2[k]);
  }
  const std::string config = Section(i, Tx(TxSetConfiguration));
  io.Int(config, Tx(TxSetMaxMin), p.MinMaxY, d.MinMaxY);
  io.Dbl(config, Tx(TxSetMaxValue), p.UserMax, d.UserMax);
  io.Dbl(config, Tx(TxSetMinValue), p.UserMin, d.UserMin);
  io.Int(config, Tx(TxSetLogApply), p.LogY, d.LogY);
  io.Int(config, Tx(TxSetReverse), p.InvertY, d.InvertY);
  io.Int(config, Tx(TxSetLineStyle), p.LineStyle, d.LineStyle);
  io.Int(config, Tx(TxSetLineThickness), p.LineThick, d.LineThick);
  for (int j = 0; j < 4; ++j) io.Int(config, Numbered(Tx(TxSetDefault), j), p.ShowBaseLine[j], d.ShowBaseLine[j]);
  const std::string ratio = Section(i, Tx(TxSetRatio) + Tx(TxSetShow));
  io.Int(ratio, Tx(TxSetLowHigh), p.ShowLH, d.ShowLH);
  io.Int(ratio, Tx(TxSetLowClose), p.ShowLC, d.ShowLC);
  io.Int(ratio, Tx(TxSetHighClose), p.ShowHC, d.ShowHC);
  io.Int(config, Tx(TxSetChartType), p.PriceChartType, d.PriceChartType);
}

// The support/resistance line settings of record i; L is const when writing.
template <class Io, class L>
void ExchangeAlarm(Io& io, int i, L& l, const SSRLines& d) {
  const std::string s = Section(i, Tx(TxSetAlarm));
  const std::string show = Tx(TxSetShow), line = Tx(TxSetLine);
  io.Int(s, Tx(TxSetAlarm) + Tx(TxSetName) + show, l.ShowTitle, d.ShowTitle);
  io.Int(s, Tx(TxSetPrice) + show, l.ShowValue, d.ShowValue);
  io.Int(s, Tx(TxSetLineType), l.LineStyle, d.LineStyle);
  io.Int(s, Tx(TxSetShowScreen), l.ShowAlarmLine, d.ShowAlarmLine);
  io.Int(s, Tx(TxSetShowPosition), l.TextPos, d.TextPos);
  for (int j = 0; j < kSRLineCount; ++j) {
    io.Int(s, Numbered(line + Tx(TxSetColorTone), j), l.LineColor[j], d.LineColor[j]);
    io.Int(s, Numbered(line + show, j), l.ShowLine[j], d.ShowLine[j]);
    io.Int(s, Numbered(Tx(TxSetLineThickness), j), l.LineThick[j], d.LineThick[j]);
    if (j >= kSRUser1) io.Dbl(s, Numbered(Tx(TxSetDefault), j), l.LineValue[j], d.LineValue[j]);
  }
}

}  // namespace

void SPriceDataList::SaveSettingDoc(CIniMemFile& doc) const {
  const int n = Used();
  doc.WriteInt("-1", "COUNT", n);
  const SPriceProperty defaultProperty;
  const SSRLines defaultLines;
  IniWrite io(doc);
  for (int i = 0; i < n; ++i) {
    const SPriceData& r = Items[i];
    const std::string config = Section(i, Tx(TxSetConfiguration));
    io.Int(config, "PriceID", r.ID, -1);
    io.Str(config, "Code", r.SymbolCode, SString());
    if (r.PriceProperty) ExchangeProperty(io, i, *r.PriceProperty, defaultProperty);
    if (r.SRLines) ExchangeAlarm(io, i, *r.SRLines, defaultLines);
  }
}

// Lines whose settings all equal the defaults leave the record's own lines
// untouched.
void SPriceDataList::ReadSettingDoc(CIniMemFile& doc) {
  Clear();
  int n = std::min(static_cast<int>(doc.GetInt("-1", "COUNT", 1)), kMaxPriceRecords);
  SetMaxSize(n);
  const SPriceProperty defaultProperty;
  const SSRLines defaultLines;
  IniRead io(doc);
  for (int i = 0; i < n; ++i) {
    int at = AddSeq();
    if (at < 0) break;
    SPriceData& r = Items[at];
    const std::string config = Section(i, Tx(TxSetConfiguration));
    io.Int(config, "PriceID", r.ID, i);
    io.Str(config, "Code", r.SymbolCode, SString());
    if (!r.PriceProperty) r.PriceProperty = std::make_unique<SPriceProperty>();
    ExchangeProperty(io, i, *r.PriceProperty, defaultProperty);
    SSRLines lines;
    ExchangeAlarm(io, i, lines, defaultLines);
    if (lines == defaultLines) continue;
    if (!r.SRLines) r.SRLines = std::make_unique<SSRLines>();
    *r.SRLines = lines;
  }
}

int SPriceDataList::ReadSetting(CMemFile* file) {
  if (!file) return 0;
  CIniMemFile doc;
  int read = doc.LoadIniFile(file, 1);
  ReadSettingDoc(doc);
  return read;
}

int SPriceDataList::SaveSetting(CMemFile* file) const {
  if (!file) return 0;
  CIniMemFile doc;
  SaveSettingDoc(doc);
  return doc.GetMemFile(file);
}

int SPriceDataList::ReadSetting(const char* path) {
  if (!path) return 0;
  CIniMemFile doc(SString(path), 1);
  ReadSettingDoc(doc);
  return FileExist(path) ? 1 : 0;
}

int SPriceDataList::SaveSetting(const char* path) const {
  if (!path) return 0;
  CIniMemFile doc;
  SaveSettingDoc(doc);
  return doc.SaveIniFile(SString(path));
}

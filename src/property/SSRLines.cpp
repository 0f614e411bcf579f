// Support and resistance lines. The settings file "alarmset.ini" in the index
// directory holds the display settings: a main section ("Alram
// Configuration", Korean "알람설정", by the language at the time) with
// ShowAlarmLine, ShowAlarmDlg, ShowTitle, ShowValue, LineStyle and TextPos,
// and one section per line, named by its index, with ShowLine, LineColor and
// LineThick.
#include "chartcalc/SSRLines.h"

#include <cstdio>

#include "chartcalc/CIniMemFile.h"
#include "chartcalc/TableDb.h"
#include "core/TextTable.h"
#include "property/ArchiveKeys.h"

using namespace chartcalc::detail;

namespace {

// Default pen colours, repeated every ten lines.
const int kLineColors[10] = {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00, 0x64141B,
                             0x3399FF, 0xFF0099, 0x66CCFF, 0xEFAE00, 0x00CC00};

static_assert(TxSRLineUser4 - TxSRLinePrevOpen == kSRLineCount - 1);

SString AlarmSetPath() { return getIndexDir() + SString("alarmset.ini"); }

// The section of line j.
struct LineSection {
  explicit LineSection(int j) { std::snprintf(text, sizeof text, "%d", j); }
  char text[16];
};

// Every key of the record in archive order; Rec is const when storing.
template <class Io, class Rec>
void ExchangeKeys(Io& io, Rec& r, const SSRLines& d) {
  io.Int("ShowAlarmLine", r.ShowAlarmLine, d.ShowAlarmLine);
  io.Int("ShowAlarmDlg", r.ShowAlarmDlg, d.ShowAlarmDlg);
  io.Int("ShowTitle", r.ShowTitle, d.ShowTitle);
  io.Int("ShowValue", r.ShowValue, d.ShowValue);
  io.Int("LineStyle", r.LineStyle, d.LineStyle);
  io.Int("TextPos", r.TextPos, d.TextPos);
  for (int j = 0; j < kSRLineCount; ++j) {
    io.Dbl(NumberedKey(j, "LineValue"), r.LineValue[j], d.LineValue[j]);
    io.Int(NumberedKey(j, "ShowLine"), r.ShowLine[j], d.ShowLine[j]);
    io.Int(NumberedKey(j, "LineThick"), r.LineThick[j], d.LineThick[j]);
    io.Int(NumberedKey(j, "ShowAlert"), r.ShowAlert[j], d.ShowAlert[j]);
    io.Int(NumberedKey(j, "LineColor"), r.LineColor[j], d.LineColor[j]);
  }
}

}  // namespace

const char* chartcalc::detail::GetSRLineName(int j) {
  if (j < 0 || j >= kSRLineCount) return "";
  return GetText(static_cast<TextId>(TxSRLinePrevOpen + j));
}

SSRLines::SSRLines() {
  SetToDefault();
  Clear();
  for (int& a : ShowAlert) a = 0;
}

void SSRLines::SetToDefault() {
  ShowAlarmLine = 1;
  ShowAlarmDlg = 0;
  ShowTitle = 0;
  ShowValue = 0;
  LineStyle = 0;
  TextPos = 2;
  for (int j = 0; j < kSRLineCount; ++j) {
    ShowLine[j] = 0;
    LineThick[j] = 1;
    LineColor[j] = kLineColors[j % 10];
  }
}

void SSRLines::SetValue(int j, double v) {
  if (j >= 0 && j < kSRLineCount) LineValue[j] = v;
}

void SSRLines::Clear() {
  Close = PrevClose = 0.0;
  for (double& v : LineValue) v = 0.0;
}

void SSRLines::SetClose(double v) {
  PrevClose = Close;
  Close = v;
}

void SSRLines::CalcAlarmLine() {
  double* l = LineValue;
  const double po = l[kSRPrevOpen], ph = l[kSRPrevHigh], pl = l[kSRPrevLow], pc = l[kSRPrevClose];
  l[kSRTodayOhl3] = (l[kSRTodayOpen] + l[kSRTodayHigh] + l[kSRTodayLow]) / 3;
  const double p = (ph + pl + pc) / 3;
  l[kSRPivot] = p;
  l[kSRPivotR1] = 2 * p - pl;
  l[kSRPivotR2] = p + ph - pl;
  l[kSRPivotS1] = 2 * p - ph;
  l[kSRPivotS2] = p - ph + pl;
  // DeMark weighs the side the previous day closed on.
  double x = 2 * pc + ph + pl;
  if (pc > po) x = 2 * ph + pl + pc;
  else if (pc < po) x = 2 * pl + ph + pc;
  l[kSRDemark] = x / 4;
  l[kSRDemarkHigh] = x / 2 - pl;
  l[kSRDemarkLow] = x / 2 - ph;
}

// A line is crossed upward when the previous close was below it and the
// close reached it, downward when the previous close was above it and the
// close reached it from above; touching it from the line itself is no cross.
void SSRLines::Calc() {
  for (int& a : ShowAlert) a = 0;
  if (Close == 0.0 || PrevClose == 0.0) return;
  for (int j = 0; j < kSRLineCount; ++j) {
    if (!ShowLine[j]) continue;
    const double v = LineValue[j];
    if (v > PrevClose && Close >= v) ShowAlert[j] = 1;
    if (PrevClose > v && v >= Close) ShowAlert[j] = -1;
  }
}

SString SSRLines::GetAlertMessage(int j) const {
  if (j < 0 || j >= kSRLineCount) return SString();
  if (ShowAlarmDlg == 0 || ShowAlert[j] == 0 || ShowLine[j] == 0) return SString();
  SString text(GetSRLineName(j));
  text += SString(" ");
  text += SString(GetText(ShowAlert[j] == 1 ? TxSRUpward : TxSRDownward));
  return text;
}

bool SSRLines::operator==(const SSRLines& o) const {
  if (ShowAlarmLine != o.ShowAlarmLine || ShowAlarmDlg != o.ShowAlarmDlg || ShowTitle != o.ShowTitle ||
      ShowValue != o.ShowValue || LineStyle != o.LineStyle || TextPos != o.TextPos || Close != o.Close ||
      PrevClose != o.PrevClose)
    return false;
  for (int j = 0; j < kSRLineCount; ++j) {
    if (ShowLine[j] != o.ShowLine[j] || ShowAlert[j] != o.ShowAlert[j] || LineColor[j] != o.LineColor[j] ||
        LineThick[j] != o.LineThick[j])
      return false;
  }
  return true;
}

void SSRLines::Load(CFBArchive& archive, int index) {
  const SSRLines d;
  SetArchiveCategory(archive, "SSRLines", index);
  ArchiveLoad io(archive);
  ExchangeKeys(io, *this, d);
}

void SSRLines::Store(CFBArchive& archive, int index) const {
  const SSRLines d;
  SetArchiveCategory(archive, "SSRLines", index);
  ArchiveStore io(archive);
  ExchangeKeys(io, *this, d);
}

int SSRLines::ReadSetting() {
  const SString path = AlarmSetPath();
  CIniMemFile doc;
  doc.LoadIniFile(path, 1);
  const char* main = GetText(TxSRAlarmConfiguration);
  ShowTitle = static_cast<int>(doc.GetInt(main, "ShowTitle", ShowTitle));
  ShowValue = static_cast<int>(doc.GetInt(main, "ShowValue", ShowValue));
  LineStyle = static_cast<int>(doc.GetInt(main, "LineStyle", LineStyle));
  TextPos = static_cast<int>(doc.GetInt(main, "TextPos", TextPos));
  for (int j = 0; j < kSRLineCount; ++j) {
    LineSection s(j);
    ShowLine[j] = static_cast<int>(doc.GetInt(s.text, "ShowLine", ShowLine[j]));
    LineColor[j] = static_cast<int>(doc.GetInt(s.text, "LineColor", LineColor[j]));
    LineThick[j] = static_cast<int>(doc.GetInt(s.text, "LineThick", LineThick[j]));
  }
  return FileExist(path.c_str()) ? 1 : 0;
}

// The document is bound to the file (flag 1) and writes itself back there
// when it is released at the end of the block.
int SSRLines::SaveSetting() const {
  const SString path = AlarmSetPath();
  {
    const SSRLines d;
    CIniMemFile doc(path, 1);
    const char* main = GetText(TxSRAlarmConfiguration);
    doc.WriteInt(main, "ShowAlarmLine", ShowAlarmLine, d.ShowAlarmLine);
    doc.WriteInt(main, "ShowAlarmDlg", ShowAlarmDlg, d.ShowAlarmDlg);
    doc.WriteInt(main, "ShowTitle", ShowTitle, d.ShowTitle);
    doc.WriteInt(main, "ShowValue", ShowValue, d.ShowValue);
    doc.WriteInt(main, "LineStyle", LineStyle, d.LineStyle);
    doc.WriteInt(main, "TextPos", TextPos, d.TextPos);
    for (int j = 0; j < kSRLineCount; ++j) {
      LineSection s(j);
      doc.WriteInt(s.text, "ShowLine", ShowLine[j], d.ShowLine[j]);
      doc.WriteInt(s.text, "LineColor", LineColor[j], d.LineColor[j]);
      doc.WriteInt(s.text, "LineThick", LineThick[j], d.LineThick[j]);
    }
  }
  return FileExist(path.c_str()) ? 1 : 0;
}

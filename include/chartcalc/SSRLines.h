// SSRLines: twenty-eight horizontal price lines of one symbol (previous day,
// today, this week and this month, the daily limits, pivot and DeMark levels
// and four user values), how each is drawn, and the alarm state that records
// when the last close crossed a line.
#pragma once

#include "chartcalc/CFBArchive.h"
#include "chartcalc/SString.h"

namespace chartcalc::detail {

inline constexpr int kSRLineCount = 28;

// The lines, by index.
enum SRLineIndex {
  kSRPrevOpen,
  kSRPrevHigh,
  kSRPrevLow,
  kSRPrevClose,
  kSRTodayOpen,
  kSRTodayHigh,
  kSRTodayLow,
  kSRTodayOhl3,
  kSRLimitHigh,
  kSRLimitLow,
  kSRWeekOpen,
  kSRWeekHigh,
  kSRWeekLow,
  kSRMonthOpen,
  kSRMonthHigh,
  kSRMonthLow,
  kSRPivot,
  kSRPivotR1,
  kSRPivotR2,
  kSRPivotS1,
  kSRPivotS2,
  kSRDemark,
  kSRDemarkHigh,
  kSRDemarkLow,
  kSRUser1,
  kSRUser2,
  kSRUser3,
  kSRUser4
};

// The name of line j in the current language ("" outside 0-27).
const char* GetSRLineName(int j);

}  // namespace chartcalc::detail

class SSRLines {
 public:
  SSRLines();
  SSRLines(const SSRLines&) = default;
  SSRLines& operator=(const SSRLines&) = default;
  virtual ~SSRLines() = default;

  // Display defaults; the closes, line values and alarm states are kept.
  void SetToDefault();
  void SetValue(int j, double v);
  // The closes and every line value become 0.
  void Clear();
  void SetClose(double v);
  // Derives today's OHL/3 and the pivot and DeMark levels from lines 0-6.
  void CalcAlarmLine();
  // Records which shown lines the last close crossed.
  void Calc();
  // "<line name> Upward breakthrough" (or Downward) for a line whose alarm
  // is up and shown while alarm messages are on; otherwise empty.
  SString GetAlertMessage(int j) const;

  // Equal display settings, closes and alarm states (line values are not
  // compared).
  bool operator==(const SSRLines& o) const;
  bool operator!=(const SSRLines& o) const { return !(*this == o); }

  // Keyed archive: category "SSRLines", or "SSRLines%d" for an index other
  // than -1.
  void Load(CFBArchive& archive, int index);
  void Store(CFBArchive& archive, int index) const;

  // "alarmset.ini" in the index directory. Reading takes the display
  // settings (not ShowAlarmLine and ShowAlarmDlg); saving writes them into
  // the file, keeping whatever else it holds. Both return 1 when the file
  // exists afterwards.
  int ReadSetting();
  int SaveSetting() const;

  int ShowAlarmLine;
  int ShowAlarmDlg;
  int ShowTitle;
  int ShowValue;
  int LineStyle;
  int TextPos;
  double Close;
  double PrevClose;
  double LineValue[chartcalc::detail::kSRLineCount];
  int ShowLine[chartcalc::detail::kSRLineCount];
  int LineThick[chartcalc::detail::kSRLineCount];
  int ShowAlert[chartcalc::detail::kSRLineCount];  // 1 crossed upward, -1 downward, 0 none
  int LineColor[chartcalc::detail::kSRLineCount];
};

// The back-test settings record and its two persisted forms.
//
// INI form: section "SimulationConfigure" of a plain INI file (format in
// CIniMemFile.h), one Key=Value line per field that has an INI key, in the
// order of kFields: ints in decimal, doubles in their shortest exact form,
// texts as they are. "DateTradingStop" is written but never read back, and
// reading always leaves SignalAction at 0. The file is read once and
// written once, whole, keeping its other sections and lines. Values are
// parsed as the INI accessors parse them (see AnsiStringToInt and
// AnsiStringToFloat): an int is any finite number in the 32-bit range
// truncated toward zero, a double any finite number; anything else ("nan",
// "inf", "12abc", an empty value) keeps the field's current value, as does
// a missing key, section or file. Nothing is clamped: a negative volume or
// an unknown mode is kept as written, and the code that uses it copes.
//
// Archive form: category "Simulation", one entry per field that has an
// archive key, in the same order, typed as the field is, except "JumpMode":
// an int kept as a double entry (the archive rounds it back to the int).
// Every key is written and read with a freshly defaulted record's value as
// its default, so a missing key restores the default.
#include <charconv>
#include <cmath>
#include <ctime>
#include <iterator>
#include <string_view>
#include <utility>

#include "chartcalc/CIniMemFile.h"
#include "chartcalc/SSimulation.h"
#include "chartcalc/TableDb.h"
#include "simulation/SimulationSettingKeys.h"

using namespace chartcalc::detail;

namespace {

constexpr const char* kIniSection = "SimulationConfigure";
constexpr const char* kArchiveCategory = "Simulation";
// The cut-off date's default is formatted into a buffer of this size.
constexpr size_t kDateTextBytes = 128;

using S = SSimulationSetting;

// Row flags of kFields.
enum : unsigned {
  kIniWriteOnly = 1u,     // written to the INI file, never read from it
  kArchiveAsDouble = 2u,  // an int field kept in the archive as a double entry
  kTodayDefault = 4u,     // a text whose default is today's local date
};

// One field of the record: where it is persisted and its default. Exactly
// one of the three member pointers is set.
struct SettingField {
  const char* ini;      // INI key; null when the INI form lacks the field
  const char* archive;  // archive key; null when the archive lacks it
  int S::*i;
  double S::*d;
  SString S::*t;
  double number;     // default of an int or double field
  const char* text;  // default of a text field
  unsigned flags;
};

constexpr SettingField Int(const char* ini, const char* archive, int S::*f, int dflt, unsigned flags = 0) {
  return {ini, archive, f, nullptr, nullptr, static_cast<double>(dflt), "", flags};
}
constexpr SettingField Dbl(const char* ini, const char* archive, double S::*f, double dflt) {
  return {ini, archive, nullptr, f, nullptr, dflt, "", 0};
}
constexpr SettingField Text(const char* ini, const char* archive, SString S::*f, const char* dflt, unsigned flags = 0) {
  return {ini, archive, nullptr, nullptr, f, 0.0, dflt, flags};
}

// Every field but the symbol name, in the order both forms read and write
// them. The two orders agree; the INI form skips the archive-only fields at
// the end, the archive skips DispSignalAction.
constexpr SettingField kFields[] = {
    Int("Position", "POS", &S::Position, 2),
    Int("OrderStart", "ORDSTART", &S::OrderStart, 0),
    Int("SignalAction", "SACT", &S::SignalAction, 0),
    Int("DispSignalAction", nullptr, &S::DispSignalAction, 1),
    Int("OrderType", "ORDTYPE", &S::OrderType, 0),
    Int("StopLossType", "STOPLOSS", &S::StopLossType, 1),
    Int("ModeOrderEntryPrice", "ENTRY", &S::ModeOrderEntryPrice, 2),
    Int("ModeOrderExitPrice", "EXIT", &S::ModeOrderExitPrice, 2),
    Int("ModeVolume", "MODEVOL", &S::ModeVolume, 0),
    Int("TradeVolume", "TRADEVOL", &S::TradeVolume, 1),
    Int("BlUseAlarm", "UALARM", &S::BlUseAlarm, 0),
    Text("AlarmFileName", "ALARMFILE", &S::AlarmFileName, ""),
    Dbl("EntryCommission", "ENTRYCOMM", &S::EntryCommission, 0.0),
    Int("ModeEntryCommission", "MENTRYCOMM", &S::ModeEntryCommission, 0),
    Dbl("ExitCommission", "EXITCOMM", &S::ExitCommission, 0.0),
    Int("ModeExitCommission", "MEXITCOMM", &S::ModeExitCommission, 0),
    Dbl("Slippage", "SLIPPAGE", &S::Slippage, 0.0005),
    Int("ModeSlippage", "MSLIPPAGE", &S::ModeSlippage, 0),
    Int("BlMoneyManagementStop", "BMMS", &S::BlMoneyManagementStop, 0),
    Dbl("MoneyManagementStop", "MMS", &S::MoneyManagementStop, 0.02),
    Int("ModeMoneyManagementStop", "MMMS", &S::ModeMoneyManagementStop, 0),
    Int("BlProfitTargetStop", "BPTS", &S::BlProfitTargetStop, 0),
    Dbl("ProfitTargetStop", "PTS", &S::ProfitTargetStop, 0.02),
    Int("ModeProfitTargetStop", "MPTS", &S::ModeProfitTargetStop, 0),
    Int("BlRiskTrailingStop", "BRTS", &S::BlRiskTrailingStop, 0),
    Dbl("RiskTrailingStop", "RTS", &S::RiskTrailingStop, 0.6),
    Int("ModeRiskTrailingStop", "MRS", &S::ModeRiskTrailingStop, 0),
    Dbl("RiskTrailingStopStart", "RTSS", &S::RiskTrailingStopStart, 0.02),
    Int("ModeRiskTrailingStopStart", "MSS", &S::ModeRiskTrailingStopStart, 0),
    Int("BlRiskTrailingStop2", "BRTS2", &S::BlRiskTrailingStop2, 0),
    Dbl("RiskTrailingStop2", "RTS2", &S::RiskTrailingStop2, 0.025),
    Int("ModeRiskTrailingStop2", "MRTS2", &S::ModeRiskTrailingStop2, 0),
    Int("BlMinVariationStop", "BMVS", &S::BlMinVariationStop, 0),
    Dbl("MinVariationStop", "MVS", &S::MinVariationStop, 0.02),
    Int("ModeMinVariationStop", "MMVS", &S::ModeMinVariationStop, 0),
    Int("MinVariationStopCount", "MVSC", &S::MinVariationStopCount, 10),
    Int("BlDayTradingStop", "BDTS", &S::BlDayTradingStop, 0),
    Int("BlDateTradingStop", "BlDateTradingStop", &S::BlDateTradingStop, 0),
    Text("DayTradingStop", "DTS", &S::DayTradingStop, "02:30"),
    Text("DateTradingStop", "DateTradingStop", &S::DateTradingStop, "", kIniWriteOnly | kTodayDefault),
    Int("ModeDayTradingStop", "MDTS", &S::ModeDayTradingStop, 1),
    Int("BlMaxBarStop", "BMBS", &S::BlMaxBarStop, 0),
    Int("MaxBarStop", "MBS", &S::MaxBarStop, 30),
    Int("MoneyManagementColor", "MMCLR", &S::MoneyManagementColor, 0xFFFF00),
    Int("RiskTrailingColor", "RTCLR", &S::RiskTrailingColor, 0x80),
    Int("RiskTrailing2Color", "RT2CLR", &S::RiskTrailing2Color, 0xFF00FF),
    Int("ProfitTargetColor", "PTCLR", &S::ProfitTargetColor, 0xFF),
    Int("MinVariationColor", "MVCLR", &S::MinVariationColor, 0xFF0000),
    Int("DayTradingColor", "DRCLR", &S::DayTradingColor, 0xFF00),
    Int(nullptr, "EntryCond", &S::EntryCond, 0),
    Int(nullptr, "EntryRange", &S::EntryRange, 5),
    Int(nullptr, "ExitCond", &S::ExitCond, 0),
    Int(nullptr, "ExitRange", &S::ExitRange, 5),
    Int(nullptr, "BlJumpCondStop", &S::BlJumpCondStop, 0),
    Dbl(nullptr, "JumpValue", &S::JumpValue, 100.0),
    Int(nullptr, "JumpMode", &S::JumpMode, 0, kArchiveAsDouble),
    Int(nullptr, "JumpCondColor", &S::JumpCondColor, 0x808000),
    Int(nullptr, "BlDropCondStop", &S::BlDropCondStop, 0),
    Dbl(nullptr, "DropValue", &S::DropValue, 100.0),
    Int(nullptr, "DropMode", &S::DropMode, 0),
    Int(nullptr, "DropCondColor", &S::DropCondColor, 0x8080),
};
// Fields 2-62 of the record: everything but the symbol name.
static_assert(std::size(kFields) == 61);

enum class Form { kIniRead, kIniWrite, kArchive };

const char* KeyIn(const SettingField& f, Form form) {
  if (form == Form::kArchive) return f.archive;
  if (form == Form::kIniRead && (f.flags & kIniWriteOnly)) return nullptr;
  return f.ini;
}

// Calls visit(row, key, field of r, same field of d) for every field the
// form carries, in order; d supplies each key's default (it may be r).
template <class Rec, class Visit>
void ForEachField(Form form, Rec& r, const S& d, Visit visit) {
  for (const SettingField& f : kFields) {
    const char* key = KeyIn(f, form);
    if (!key) continue;
    if (f.i)
      visit(f, key, r.*f.i, d.*f.i);
    else if (f.d)
      visit(f, key, r.*f.d, d.*f.d);
    else
      visit(f, key, r.*f.t, d.*f.t);
  }
}

// The four directions, one overload per field type. Defaults of ints and
// doubles are taken by value: when reading the INI form the default is the
// field itself.
void IniGet(CIniMemFile& doc, const char* key, int& v, int dflt) {
  v = static_cast<int>(doc.GetInt(kIniSection, key, dflt));
}
void IniGet(CIniMemFile& doc, const char* key, double& v, double dflt) { v = doc.GetDouble(kIniSection, key, dflt); }
void IniGet(CIniMemFile& doc, const char* key, SString& v, const SString& dflt) {
  v = doc.GetString(kIniSection, key, dflt.c_str());
}

void IniPut(CIniMemFile& doc, const char* key, int v) { doc.WriteInt(kIniSection, key, v); }
void IniPut(CIniMemFile& doc, const char* key, double v) { doc.WriteDouble(kIniSection, key, v); }
void IniPut(CIniMemFile& doc, const char* key, const SString& v) { doc.WriteString(kIniSection, key, v.c_str()); }

void ArchiveGet(CFBArchive& a, const char* key, int& v, int dflt) { v = a.GetInt(key, dflt); }
void ArchiveGet(CFBArchive& a, const char* key, double& v, double dflt) { v = a.GetDbl(key, dflt); }
void ArchiveGet(CFBArchive& a, const char* key, SString& v, const SString& dflt) { v = a.GetStr(key, dflt.c_str()); }

void ArchivePut(CFBArchive& a, const SettingField& f, const char* key, int v, int dflt) {
  if (f.flags & kArchiveAsDouble)
    a.SetDbl(key, v, dflt);
  else
    a.SetInt(key, v, dflt);
}
void ArchivePut(CFBArchive& a, const SettingField&, const char* key, double v, double dflt) { a.SetDbl(key, v, dflt); }
void ArchivePut(CFBArchive& a, const SettingField&, const char* key, const SString& v, const SString& dflt) {
  a.SetStr(key, v.c_str(), dflt.c_str());
}

SString Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char text[kDateTextBytes] = "";
  if (localtime_r(&now, &local)) std::strftime(text, sizeof text, "%Y-%m-%d", &local);
  return SString(text);
}

}  // namespace

void SSimulationSetting::SetDefaultValue() {
  for (const SettingField& f : kFields) {
    if (f.i)
      this->*f.i = static_cast<int>(f.number);
    else if (f.d)
      this->*f.d = f.number;
    else
      this->*f.t = (f.flags & kTodayDefault) ? Today() : SString(f.text);
  }
}

// One read of the file; a missing or unreadable file reads as an empty
// document, so every field keeps its value.
void SSimulation::ReadSetting(const char* iniPath) {
  CIniMemFile doc;
  doc.LoadIniFile(SString(iniPath), 0);
  ForEachField(Form::kIniRead, Setting, Setting,
               [&doc](const SettingField&, const char* key, auto& v, const auto& dflt) { IniGet(doc, key, v, dflt); });
  // Whatever the file holds, a read settings record starts with no signal
  // action.
  Setting.SignalAction = 0;
}

// One write of the whole file, keeping whatever else it holds. A file that
// exists but cannot be read is never overwritten; a failed write leaves the
// old file (nothing is reported, as with the single-value writes).
void SSimulation::SaveSetting(const char* iniPath) {
  const SString path(iniPath);
  if (path.IsEmpty()) return;
  CIniMemFile doc;
  if (!doc.LoadIniFile(path, 0) && FileExist(path.c_str())) return;
  ForEachField(Form::kIniWrite, std::as_const(Setting), Setting,
               [&doc](const SettingField&, const char* key, const auto& v, const auto&) { IniPut(doc, key, v); });
  if (doc.IsModified()) doc.SaveIniFile(path);
}

void SSimulation::Load(CFBArchive& archive) {
  archive.SetCategory(kArchiveCategory);
  const SSimulationSetting defaults;
  ForEachField(Form::kArchive, Setting, defaults,
               [&archive](const SettingField&, const char* key, auto& v, const auto& dflt) {
                 ArchiveGet(archive, key, v, dflt);
               });
}

void SSimulation::Store(CFBArchive& archive) {
  archive.SetCategory(kArchiveCategory);
  const SSimulationSetting defaults;
  ForEachField(Form::kArchive, std::as_const(Setting), defaults,
               [&archive](const SettingField& f, const char* key, const auto& v, const auto& dflt) {
                 ArchivePut(archive, f, key, v, dflt);
               });
}

// ---- settings by key ------------------------------------------------------------

namespace {

bool SameNameNoCase(const char* a, const char* b) {
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  for (; *a && *b; ++a, ++b)
    if (lower(*a) != lower(*b)) return false;
  return *a == *b;
}

const SettingField* FindField(const char* key) {
  for (const SettingField& f : kFields)
    for (const char* name : {f.ini, f.archive})
      if (name && SameNameNoCase(name, key)) return &f;
  return nullptr;
}

constexpr std::string_view kHexPrefixes[] = {"0x", "0X"};
constexpr int kDecimalBase = 10;
constexpr int kHexBase = 16;

// The whole text as a 32-bit int: decimal with an optional sign, or
// hexadecimal after "0x".
bool ParseWholeInt(std::string_view t, int& out) {
  int base = kDecimalBase;
  for (std::string_view prefix : kHexPrefixes)
    if (t.substr(0, prefix.size()) == prefix) {
      t.remove_prefix(prefix.size());
      base = kHexBase;
    }
  if (base == kDecimalBase && !t.empty() && t[0] == '+') t.remove_prefix(1);
  if (t.empty() || t[0] == '+' || (base == kHexBase && t[0] == '-')) return false;
  auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), out, base);
  return ec == std::errc() && end == t.data() + t.size();
}

// The whole text as a finite double (optional sign, decimals, exponent).
bool ParseWholeDouble(std::string_view t, double& out) {
  if (!t.empty() && t[0] == '+') t.remove_prefix(1);
  if (t.empty() || t[0] == '+') return false;
  auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), out, std::chars_format::general);
  return ec == std::errc() && end == t.data() + t.size() && std::isfinite(out);
}

// The shortest text that reads back as the same double.
SString DoubleText(double v) {
  char text[64];
  auto [end, ec] = std::to_chars(text, text + sizeof text, v);
  return ec == std::errc() ? SString(std::string(text, end)) : dtos(v, 0);
}

int Fail(SString* error, const std::string& message) {
  if (error) *error = SString(message);
  return 0;
}

}  // namespace

int chartcalc::detail::SetSettingByKey(SSimulationSetting& s, const char* key, const char* value, SString* error) {
  const SettingField* f = FindField(key ? key : "");
  if (!f) return Fail(error, "unknown setting '" + std::string(key ? key : "") + "'");
  const std::string text = value ? value : "";
  if (f->t) {
    s.*f->t = text;
  } else if (f->i) {
    int v = 0;
    if (!ParseWholeInt(text, v))
      return Fail(error, "'" + text + "' is not an integer between -2147483648 and 2147483647");
    s.*f->i = v;
  } else {
    double v = 0.0;
    if (!ParseWholeDouble(text, v)) return Fail(error, "'" + text + "' is not a finite number");
    s.*f->d = v;
  }
  return 1;
}

std::vector<SettingKey> chartcalc::detail::ListSettingKeys(const SSimulationSetting& s) {
  std::vector<SettingKey> keys;
  for (const SettingField& f : kFields) {
    const char* name = f.ini ? f.ini : f.archive;
    if (f.i)
      keys.push_back({name, "int", ltos(s.*f.i)});
    else if (f.d)
      keys.push_back({name, "double", DoubleText(s.*f.d)});
    else
      keys.push_back({name, "text", s.*f.t});
  }
  return keys;
}

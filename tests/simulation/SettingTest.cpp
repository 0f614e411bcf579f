// The settings record: its defaults, the INI and archive forms, and setting
// fields by key name.
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "SimTestUtil.h"
#include "simulation/SimulationSettingKeys.h"

using chartcalc::detail::ListSettingKeys;
using chartcalc::detail::SetSettingByKey;
using chartcalc::detail::SettingKey;
using chartcalc::detail::SettingTextAt;

namespace {

using S = SSimulationSetting;
using Values = std::map<std::string, std::string>;  // field name -> value text

constexpr const char* kSection = "SimulationConfigure";

// Every field as the settings documentation gives it, "INI key|archive
// key=default" (an empty side: that form lacks the field), in the INI
// form's order, the cut-off date directly after the cut-off time, then the
// archive-only fields.
constexpr const char* kFieldText =
    "Position|POS=2 OrderStart|ORDSTART=0 SignalAction|SACT=0 DispSignalAction|=1 OrderType|ORDTYPE=0 "
    "StopLossType|STOPLOSS=1 ModeOrderEntryPrice|ENTRY=2 ModeOrderExitPrice|EXIT=2 ModeVolume|MODEVOL=0 "
    "TradeVolume|TRADEVOL=1 BlUseAlarm|UALARM=0 AlarmFileName|ALARMFILE= EntryCommission|ENTRYCOMM=0 "
    "ModeEntryCommission|MENTRYCOMM=0 ExitCommission|EXITCOMM=0 ModeExitCommission|MEXITCOMM=0 "
    "Slippage|SLIPPAGE=0.0005 ModeSlippage|MSLIPPAGE=0 BlMoneyManagementStop|BMMS=0 MoneyManagementStop|MMS=0.02 "
    "ModeMoneyManagementStop|MMMS=0 BlProfitTargetStop|BPTS=0 ProfitTargetStop|PTS=0.02 ModeProfitTargetStop|MPTS=0 "
    "BlRiskTrailingStop|BRTS=0 RiskTrailingStop|RTS=0.6 ModeRiskTrailingStop|MRS=0 RiskTrailingStopStart|RTSS=0.02 "
    "ModeRiskTrailingStopStart|MSS=0 BlRiskTrailingStop2|BRTS2=0 RiskTrailingStop2|RTS2=0.025 "
    "ModeRiskTrailingStop2|MRTS2=0 BlMinVariationStop|BMVS=0 MinVariationStop|MVS=0.02 ModeMinVariationStop|MMVS=0 "
    "MinVariationStopCount|MVSC=10 BlDayTradingStop|BDTS=0 BlDateTradingStop|BlDateTradingStop=0 "
    "DayTradingStop|DTS=02:30 DateTradingStop|DateTradingStop=today ModeDayTradingStop|MDTS=1 BlMaxBarStop|BMBS=0 "
    "MaxBarStop|MBS=30 MoneyManagementColor|MMCLR=0xFFFF00 RiskTrailingColor|RTCLR=0x80 "
    "RiskTrailing2Color|RT2CLR=0xFF00FF ProfitTargetColor|PTCLR=0xFF MinVariationColor|MVCLR=0xFF0000 "
    "DayTradingColor|DRCLR=0xFF00 |EntryCond=0 |EntryRange=5 |ExitCond=0 |ExitRange=5 |BlJumpCondStop=0 "
    "|JumpValue=100 |JumpMode=0 |JumpCondColor=0x808000 |BlDropCondStop=0 |DropValue=100 |DropMode=0 "
    "|DropCondColor=0x8080";

struct Field {
  std::string ini, archive, dflt;
  std::string Name() const { return ini.empty() ? archive : ini; }
};

std::vector<Field> Fields() {
  std::vector<Field> out;
  std::istringstream words(kFieldText);
  for (std::string w; words >> w;) {
    const size_t bar = w.find('|'), eq = w.find('=');
    out.push_back({w.substr(0, bar), w.substr(bar + 1, eq - bar - 1), w.substr(eq + 1)});
  }
  return out;
}

std::string Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d", &local);
  return text;
}

std::string Exact(double v) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", v);
  return text;
}

// Equal texts, or numbers of equal value ("0x80" and "128").
bool Same(const std::string& a, const std::string& b) {
  char *endA, *endB;
  const double x = std::strtod(a.c_str(), &endA), y = std::strtod(b.c_str(), &endB);
  return a == b || (!a.empty() && !b.empty() && !*endA && !*endB && x == y);
}

Values ValuesOf(const S& s) {
  Values out;
  for (const auto& k : ListSettingKeys(s)) out[k.name] = k.value.str();
  return out;
}

// A value for every field that is no default and differs from the others':
// negative ints, doubles with no short decimal form, texts with blanks at
// both ends and code page 949 bytes.
S Distinct() {
  S s;
  int n = 0;
  for (const auto& k : ListSettingKeys(s)) {
    const std::string type = k.type;
    const std::string v = type == "int"      ? std::to_string((n % 2 ? -1 : 1) * (100 + n))
                          : type == "double" ? Exact(n + 1.0 / 3.0)
                                             : " \xC7\xD1 " + std::to_string(n) + ":05 ";
    EXPECT_EQ(SetSettingByKey(s, k.name, v.c_str(), nullptr), 1) << k.name;
    ++n;
  }
  return s;
}

std::string TestDir() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  auto dir = std::filesystem::path(CHARTCALC_TEST_TMP) / (std::string(info->test_suite_name()) + "." + info->name());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string() + "/";
}

void WriteBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

// The file holds the INI keys in their fixed order, whatever else it holds
// stays, and reading it back gives every INI field but two: SignalAction
// always reads as 0 and the cut-off date is never read.
TEST(SettingIni, SaveThenReadRoundTripsEveryIniFieldButSignalActionAndDate) {
  const std::string dir = TestDir(), path = dir + "sim.ini";
  WriteBytes(path, "[Other]\nPosition=7\n[simulationconfigure]\nposition=1\nExtra=x\n");
  SSimulation saved, read;
  saved.Setting = Distinct();
  saved.SaveSetting(path.c_str());
  read.Setting.DateTradingStop = "1999-01-01";
  read.ReadSetting(path.c_str());
  Values want = ValuesOf(saved.Setting), fresh = ValuesOf(S());
  std::vector<std::string> keys, order = {"position", "Extra"};
  for (const Field& f : Fields()) {
    if (f.ini.empty()) want[f.archive] = fresh[f.archive];  // archive-only: untouched
    if (!f.ini.empty() && f.ini != "Position") order.push_back(f.ini);
  }
  want["SignalAction"] = "0";
  want["DateTradingStop"] = "1999-01-01";
  EXPECT_EQ(ValuesOf(read.Setting), want);
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);)
    if (line.find('=') != std::string::npos) keys.push_back(line.substr(0, line.find('=')));
  order.insert(order.begin(), "Position");  // the other section's
  EXPECT_EQ(keys, order);
  EXPECT_EQ(CIniFile(path.c_str()).GetInt(kSection, "SignalAction", 0), unsigned(saved.Setting.SignalAction));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);  // nothing left aside
}

// What the file does not validly hold keeps the current value; values are
// parsed as the single-value accessors parse them, absurd ones included.
TEST(SettingIni, ReadKeepsEveryValueTheFileDoesNotValidlyHold) {
  const std::string path = TestDir() + "case.ini";
  struct Case {
    const char* what;
    bool exists;
    std::string file;
    Values changes;
  } cases[] = {
      {"odd values",
       true,
       "[SimulationConfigure]\r\nTRADEVOLUME = -5\r\nSlippage=nan\r\nMaxBarStop=1.5e1\r\nDayTradingStop=7\r\n"
       "Position=99999999999\r\nModeVolume=0x10\r\nExitCommission=+.5\r\nBlUseAlarm\r\nMaxBarStop=3\r\n",
       {{"TradeVolume", "-5"}, {"MaxBarStop", "15"}, {"DayTradingStop", "7"}, {"ExitCommission", "0.5"}}},
      {"missing file", false, "", {}},
      {"binary garbage", true, std::string("\x01\xFF\xFE\0[\x80=\x81\n=\n[]\n", 15), {}},
      {"keys before any section", true, "Position=0\nTradeVolume=5\n", {}},
      {"another section only", true, "[Simulation]\nPosition=0\n", {}},
      {"header without its bracket", true, "[SimulationConfigure\nPosition=0\n", {}},
  };
  for (const Case& c : cases) {
    std::filesystem::remove(path);
    if (c.exists) WriteBytes(path, c.file);
    SSimulation sim;
    sim.Setting = Distinct();
    Values want = ValuesOf(sim.Setting);
    for (const auto& [name, value] : c.changes) want[name] = value;
    want["SignalAction"] = "0";
    sim.ReadSetting(path.c_str());
    EXPECT_EQ(ValuesOf(sim.Setting), want) << c.what;
  }
  SSimulation sim;
  sim.ReadSetting(nullptr);
  EXPECT_EQ(ValuesOf(sim.Setting), ValuesOf(S()));
}

// Saving where no file can be written does nothing, and a file too large to
// read is never overwritten.
TEST(SettingIni, SaveThatCannotReadOrWriteTheFileChangesNothing) {
  const std::string dir = TestDir(), big = dir + "big.ini";
  WriteBytes(dir + "plain", "not a directory");
  WriteBytes(big, "");
  std::filesystem::resize_file(big, chartcalc::detail::kMaxIniBytes + 1);
  SSimulation sim;
  for (const std::string& path : {dir + "plain/sim.ini", dir, std::string(), big}) sim.SaveSetting(path.c_str());
  sim.SaveSetting(nullptr);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 2);
  EXPECT_EQ(std::filesystem::file_size(dir + "plain"), 15u);
  EXPECT_EQ(std::filesystem::file_size(big), chartcalc::detail::kMaxIniBytes + 1);
}

// Every archive key holds its own field (so the two cut-off flags "BDTS"
// and "BlDateTradingStop" stay apart) and reads back into it.
TEST(SettingArchive, StoreThenLoadRoundTripsEveryArchiveFieldUnderItsOwnKey) {
  CFBArchive archive;
  SSimulation stored, loaded;
  stored.Setting = Distinct();
  stored.Store(archive);
  loaded.Setting.DispSignalAction = 42;
  loaded.Load(archive);
  Values want = ValuesOf(stored.Setting);
  want["DispSignalAction"] = "42";  // the INI form's alone
  EXPECT_EQ(ValuesOf(loaded.Setting), want);
  archive.SetCategory("Simulation");
  int keys = 0;
  for (const Field& f : Fields()) {
    if (f.archive.empty()) continue;
    ++keys;
    const std::string& w = want[f.Name()];
    const char* key = f.archive.c_str();
    EXPECT_TRUE(archive.GetStr(key, "?").str() == w || Same(Exact(archive.GetDbl(key, NAN)), w)) << key;
  }
  EXPECT_EQ(archive.GetEntryCount(), keys);
}

TEST(SettingArchive, JumpModeIsStoredAsADoubleAndLoadsAsTheInt) {
  CFBArchive archive;
  SSimulation sim;
  sim.Setting.JumpMode = 1;
  sim.Store(archive);
  const std::string path = TestDir() + "doc.arc";
  ASSERT_EQ(archive.SaveFile(path.c_str()), 1);
  archive.SetDbl("JumpMode", 0.9999);  // another writer's double loads as the int it stands for
  sim.Load(archive);
  EXPECT_EQ(sim.Setting.JumpMode, 1);
  if (std::system("command -v sqlite3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "no sqlite3 tool";
  std::string out, cmd = "sqlite3 -batch '" + path + "' \"SELECT type FROM entries WHERE key='JumpMode'\"";
  if (FILE* p = popen(cmd.c_str(), "r")) {
    for (int c; (c = std::fgetc(p)) != EOF;) out += static_cast<char>(c);
    pclose(p);
  }
  EXPECT_EQ(out, "double\n");
}

// Load falls back to a fresh record's values, not the current ones, and
// reads only its own category; those values are the documented defaults.
TEST(SettingArchive, LoadFromAnEmptyCategoryGivesExactlyTheDocumentedDefaults) {
  CFBArchive archive;
  archive.SetCategory("Simulation0");
  archive.SetInt("POS", 0);
  SSimulation sim;
  sim.Setting = Distinct();
  sim.Setting.SymbolName = "KOSPI200";
  sim.Load(archive);
  const auto keys = ListSettingKeys(sim.Setting);
  const auto fields = Fields();
  ASSERT_EQ(keys.size(), fields.size());
  for (size_t i = 0; i < keys.size(); ++i) {
    const Field& f = fields[i];
    const std::string want = f.archive.empty() ? ValuesOf(Distinct())[f.ini] : f.dflt == "today" ? Today() : f.dflt;
    EXPECT_TRUE(Same(keys[i].value.str(), want)) << f.Name() << " is " << keys[i].value.str();
  }
  EXPECT_EQ(sim.Setting.SymbolName.str(), "KOSPI200");
  sim.Setting.SetDefaultValue();
  EXPECT_EQ(ValuesOf(sim.Setting), ValuesOf(S()));
  EXPECT_EQ(sim.Setting.SymbolName.str(), "KOSPI200");
}

std::string Upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

TEST(SettingByKey, EveryKeyOfEitherFormInAnyCaseReachesItsOwnFieldOnly) {
  const Values distinct = ValuesOf(Distinct()), fresh = ValuesOf(S());
  for (const Field& f : Fields())
    for (const std::string& key : {f.ini, f.archive, Upper(f.ini), Upper(f.archive)}) {
      if (key.empty()) continue;
      S s;
      ASSERT_EQ(SetSettingByKey(s, key.c_str(), distinct.at(f.Name()).c_str(), nullptr), 1) << key;
      Values want = fresh;
      want[f.Name()] = distinct.at(f.Name());
      EXPECT_EQ(ValuesOf(s), want) << key;
    }
}

TEST(SettingByKey, UnknownKeysAndValuesNotOfTheFieldTypeAreRejected) {
  struct Case {
    const char *key, *value, *inMessage;
  } cases[] = {
      {"Nope", "1", "Nope"},
      {"", "1", "unknown"},
      {"SymbolName", "X", "SymbolName"},
      {"Position", "1.5", "1.5"},
      {"Position", "", "integer"},
      {"Position", " 1", "integer"},
      {"POS", "2147483648", "2147483648"},
      {"Position", "-0x5", "integer"},
      {"MMCLR", "0x100000000", "integer"},
      {"Slippage", "nan", "nan"},
      {"Slippage", "1e999", "finite"},
      {"JumpValue", "0.1x", "0.1x"},
  };
  for (const Case& c : cases) {
    S s;
    SString error;
    EXPECT_EQ(SetSettingByKey(s, c.key, c.value, &error), 0) << c.key << "=" << c.value;
    EXPECT_NE(error.str().find(c.inMessage), std::string::npos) << error.str();
    EXPECT_EQ(ValuesOf(s), ValuesOf(S())) << c.key << "=" << c.value;
  }
  S s;
  EXPECT_EQ(SetSettingByKey(s, nullptr, "1", nullptr), 0);
  EXPECT_EQ(SetSettingByKey(s, "MoneyManagementColor", "0xff00", nullptr), 1);
  EXPECT_EQ(SetSettingByKey(s, "TradeVolume", "+7", nullptr), 1);
  EXPECT_EQ(s.MoneyManagementColor + s.TradeVolume, 0xFF00 + 7);
}

TEST(SettingText, PositionsOutsideAShortCutoffTextReadAsNul) {
  EXPECT_EQ(SettingTextAt(SString("7"), 0), '7');
  for (int i : {-1, 1, 4}) EXPECT_EQ(SettingTextAt(SString("7"), i), '\0') << i;
}

}  // namespace

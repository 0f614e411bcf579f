// The settings record: its defaults, the INI and archive forms, and setting
// fields by key name.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>

#include "SimTestUtil.h"
#include "simulation/SimulationSettingKeys.h"

using namespace chartcalc::detail;

namespace {

using Values = std::map<std::string, std::string>;  // field name -> value text

// Every field's archive key and documented default, in the record's
// persisted order ("-": the INI form's alone; numbers as they list, colours in decimal). The INI form carries the
// first kIniFields fields, the cut-off date directly after the cut-off time.
constexpr int kIniFields = 49;
constexpr const char* kFieldText =
    "POS=2 ORDSTART=0 SACT=0 -=1 ORDTYPE=0 STOPLOSS=1 ENTRY=2 EXIT=2 MODEVOL=0 TRADEVOL=1 UALARM=0 ALARMFILE= "
    "ENTRYCOMM=0 MENTRYCOMM=0 EXITCOMM=0 MEXITCOMM=0 SLIPPAGE=5e-04 MSLIPPAGE=0 BMMS=0 MMS=0.02 MMMS=0 BPTS=0 "
    "PTS=0.02 MPTS=0 BRTS=0 RTS=0.6 MRS=0 RTSS=0.02 MSS=0 BRTS2=0 RTS2=0.025 MRTS2=0 BMVS=0 MVS=0.02 MMVS=0 MVSC=10 "
    "BDTS=0 BlDateTradingStop=0 DTS=02:30 DateTradingStop=today MDTS=1 BMBS=0 MBS=30 MMCLR=16776960 RTCLR=128 "
    "RT2CLR=16711935 PTCLR=255 MVCLR=16711680 DRCLR=65280 EntryCond=0 EntryRange=5 ExitCond=0 ExitRange=5 "
    "BlJumpCondStop=0 JumpValue=100 JumpMode=0 JumpCondColor=8421376 BlDropCondStop=0 DropValue=100 DropMode=0 "
    "DropCondColor=32896";

// name: the INI key, or the archive key of an archive-only field.
struct Field {
  std::string name, type, archive, dflt;
};

std::vector<Field> Fields() {
  std::vector<Field> out;
  std::istringstream words(kFieldText);
  const auto keys = ListSettingKeys(SSimulationSetting());
  for (std::string w; words >> w;)
    out.push_back({keys[out.size()].name, keys[out.size()].type, w.substr(0, w.find('=')), w.substr(w.find('=') + 1)});
  return out;
}

Values ValuesOf(const SSimulationSetting& s) {
  Values out;
  for (const auto& k : ListSettingKeys(s)) out[k.name] = k.value.str();
  return out;
}

// A value for every field that is no default and differs from the others
// (negative ints, doubles with no short decimal form, texts with blanks at
// both ends and code page 949 bytes), each set by its archive key (the INI
// key of an INI-only field) in capitals.
SSimulationSetting Distinct() {
  SSimulationSetting s;
  for (int n = 101; const Field& f : Fields()) {
    std::string key = f.archive == "-" ? f.name : f.archive, v = (n % 2 ? "+" : "-") + std::to_string(n);
    ++n;
    v = f.type == "double" ? v + ".0123456789012345" : f.type == "text" ? " \xC7\xD1 " + v + " " : v;
    for (char& c : key) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    EXPECT_EQ(SetSettingByKey(s, key.c_str(), v.c_str(), nullptr), 1) << key;
  }
  return s;
}

// The file holds the INI keys in their fixed order and keeps whatever else it
// holds; reading it back gives every INI field but two: SignalAction always
// reads as 0 and the cut-off date is never read. An existing file too large
// to read is never overwritten.
TEST(SettingIni, SaveThenReadRoundTripsEveryIniFieldButSignalActionAndDate) {
  std::string path = CHARTCALC_TEST_TMP "/SettingIni.ini", big = CHARTCALC_TEST_TMP "/SettingIni.big", line;
  std::ofstream(path) << "[Other]\nPosition=7\n[simulationconfigure]\nposition=1\nExtra=x\n";
  SSimulation saved, read;
  saved.Setting = Distinct();
  saved.SaveSetting(path.c_str());
  read.Setting.DateTradingStop = "1999-01-01";
  read.ReadSetting(path.c_str());
  Values want = ValuesOf(saved.Setting), fresh = ValuesOf(SSimulationSetting());
  std::vector<std::string> keys, order = {"Position", "position", "Extra"};
  const auto fields = Fields();
  for (int k = 1; k < kIniFields; ++k) order.push_back(fields[k].name);
  for (size_t k = kIniFields; k < fields.size(); ++k) want[fields[k].name] = fresh[fields[k].name];  // untouched
  want["SignalAction"] = "0", want["DateTradingStop"] = "1999-01-01";
  EXPECT_EQ(ValuesOf(read.Setting), want);
  for (std::ifstream in(path); std::getline(in, line);)
    if (line.find('=') != std::string::npos) keys.push_back(line.substr(0, line.find('=')));
  EXPECT_EQ(keys, order);
  EXPECT_EQ(int(CIniFile(path.c_str()).GetInt("SimulationConfigure", "SignalAction", 0)), saved.Setting.SignalAction);
  std::ofstream(big, std::ios::binary).seekp(kMaxIniBytes) << 'x';
  for (const std::string& file : {big + "/sim.ini", std::string(), big}) saved.SaveSetting(file.c_str());
  EXPECT_EQ(std::filesystem::file_size(big), kMaxIniBytes + 1);
}

// Every archive key holds its own field (the two cut-off flags "BDTS" and
// "BlDateTradingStop" stay apart) and reads back into it. JumpMode is
// stored as a double, and another writer's double loads as the int it
// stands for.
TEST(SettingArchive, StoreThenLoadRoundTripsEveryArchiveFieldAndAnEmptyCategoryGivesTheDefaults) {
  CFBArchive archive;
  SSimulation stored, loaded;
  stored.Setting = Distinct();
  stored.Store(archive);
  loaded.Setting.DispSignalAction = stored.Setting.DispSignalAction;  // the INI form's alone: not loaded
  loaded.Load(archive);
  EXPECT_EQ(ValuesOf(loaded.Setting), ValuesOf(stored.Setting));
  EXPECT_EQ(archive.GetEntryCount(), 60);
  // Load falls back to a fresh record's values, not the current ones, and
  // reads only its own category; those are the documented defaults.
  CFBArchive empty;
  empty.SetCategory("Simulation0");
  empty.SetInt("POS", 0);
  loaded.Setting.SymbolName = "KOSPI200", loaded.Setting.DispSignalAction = 1;
  loaded.Load(empty);
  char today[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(today, sizeof today, "%Y-%m-%d", std::localtime(&now));
  Values defaults;
  for (const Field& f : Fields()) defaults[f.name] = f.dflt == "today" ? today : f.dflt;
  EXPECT_EQ(ValuesOf(loaded.Setting), defaults);
  loaded.Setting.SetDefaultValue();
  EXPECT_EQ(loaded.Setting.SymbolName.str(), "KOSPI200");
  const std::string path = CHARTCALC_TEST_TMP "/SettingArchive.arc";
  ASSERT_EQ(archive.SaveFile(path.c_str()), 1);
  archive.SetDbl("JumpMode", 0.9999);
  loaded.Load(archive);
  EXPECT_EQ(loaded.Setting.JumpMode, 1);
  if (std::system("command -v sqlite3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "no sqlite3 tool";
  std::string type(16, '\0');
  if (FILE* p = popen(("sqlite3 '" + path + "' \"SELECT type FROM entries WHERE key='JumpMode'\"").c_str(), "r"))
    type.resize(std::fread(type.data(), 1, type.size(), p)), pclose(p);
  EXPECT_EQ(type, "double\n");
}

// Distinct() sets every field by a key in capitals: each must reach its own
// field.
TEST(SettingByKey, KeysOfEitherFormInAnyCaseAreTakenAndUnknownKeysOrMistypedValuesRejected) {
  const Values fresh = ValuesOf(SSimulationSetting());
  for (const auto& [name, value] : ValuesOf(Distinct())) EXPECT_NE(value, fresh.at(name)) << name;
  const char* cases[][3] = {{nullptr, "1", "unknown"},
                            {"Position", "1.5", "integer"},
                            {"POS", "2147483648", "2147483648"},
                            {"Slippage", "1e999", "finite"}};
  SSimulationSetting s;
  SString error;
  for (const auto& [key, value, inMessage] : cases)
    EXPECT_TRUE(!SetSettingByKey(s, key, value, &error) && error.str().find(inMessage) != std::string::npos)
        << error.str();
  EXPECT_EQ(ValuesOf(s), fresh);  // no rejected value reached the record
  EXPECT_EQ((SetSettingByKey(s, "MoneyManagementColor", "0xff00", nullptr), s.MoneyManagementColor), 0xFF00);
  // Cut-off texts are read by position, short ones included.
  for (int i : {-1, 0, 1}) EXPECT_EQ(SettingTextAt("7", i), i ? '\0' : '7') << i;
}

}  // namespace

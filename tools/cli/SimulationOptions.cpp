// Reading the system, the settings and the price step of a back-test or an
// optimisation from the tool's options.
#include "SimulationOptions.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "DefinitionText.h"
#include "NamedDefinition.h"
#include "simulation/SimulationSettingKeys.h"

using namespace chartcalc::detail;

namespace {

// Prices are quoted in cents unless --tick says otherwise; the tick size
// sets the stops' rounding and the summary's decimals.
constexpr double kDefaultTick = 0.01;

}  // namespace

int ReadSystem(const CliOptions& options, SIndex& x, std::ostream& err) {
  if (int status = ReadSystemDefinition(options.args, x, err); status != kExitOk) return status;
  return FinishNamed(options, x, err);
}

int ReadSystemDefinition(const std::vector<std::string>& args, SIndex& x, std::ostream& err) {
  std::string name;
  if (args.size() == 1 && Utf8ToCp949(args[0], name) && StoredName(kIndexSystem, name).empty()) {
    for (const DefinitionKind& k : kDefinitionKinds) {
      if (k.type == kIndexSystem || StoredName(k.type, name).empty()) continue;
      err << "error: '" << args[0] << "' is a definition of kind " << DefinitionKindWord(k.type)
          << ", not a trading system (see chartcalc indicator list --kind system)\n";
      return kExitBadInput;
    }
  }
  std::vector<std::string> words = {"backtest"};
  words.insert(words.end(), args.begin(), args.end());
  return ReadNamed(words, {kIndexSystem}, x, err);
}

bool ApplySettings(const CliOptions& options, SSimulation& sim, std::ostream& err) {
  if (auto it = options.own.find("settings"); it != options.own.end()) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(it->second, ec)) {
      err << "error: the settings file " << it->second << " cannot be read\n";
      return false;
    }
    sim.ReadSetting(it->second.c_str());
  }
  for (const auto& [option, text] : options.ownAll) {
    if (option != "set") continue;
    const size_t eq = text.find('=');
    std::string value;
    if (eq == std::string::npos || eq == 0 || !Utf8ToCp949(text.substr(eq + 1), value)) {
      err << "error: --set takes KEY=VALUE, not '" << text << "'\n";
      return false;
    }
    SString message;
    if (!SetSettingByKey(sim.Setting, text.substr(0, eq).c_str(), value.c_str(), &message)) {
      err << "error: --set " << text << ": " << Cp949ToUtf8Lossy(message.c_str()) << "\n";
      return false;
    }
  }
  return true;
}

bool ReadTick(const CliOptions& options, double& tick, std::ostream& err) {
  tick = kDefaultTick;
  auto it = options.own.find("tick");
  if (it == options.own.end()) return true;
  if (ParseNumber(it->second, tick) && tick > 0) return true;
  err << "error: --tick takes a positive number, not '" << it->second << "'\n";
  return false;
}

const char* const kTradeColumnNames[STradeTable::kColumns] = {
    "Direction",     "EntryDateTime", "EntryPrice", "EntryCostPrice", "ExitDateTime",  "ExitPrice",
    "ExitCostPrice", "Quantity",      "ProfitLoss", "ReturnFactor",   "CumProfitLoss", "CumReturnFactor",
    "Runup",         "Drawdown",      "EntryEff",   "ExitEff",        "TotalEff",      "BarsHeld"};

bool RunSimulation(SSimulation& sim, SPriceData& prices, SFunctionList& functions, std::ostream& err) {
  auto s = [&prices](int slot) { return &prices.GetSeries(slot); };
  sim.SetVariablePointer(s(kClose), s(kOpen), s(kHigh), s(kLow), s(kVolume), s(kDateTime), s(kOpenInterest), s(kAmount),
                         s(kSpread));
  sim.SetFunction(&functions);
  sim.SetVariableToIndex();
  sim.Index.Calc();
  if (!ReportFormulaErrors(sim.Index, prices, functions, err)) return false;
  sim.ProcessStop();
  sim.Index.PreProcess();
  sim.SetHistoryToZero();
  sim.SetHistory();
  sim.SummaryCount = 0;
  sim.SetSummary();
  return true;
}

std::string SymbolName(const CliOptions& options) {
  std::string symbol;
  Utf8ToCp949(std::filesystem::path(options.data).stem().string(), symbol);
  return symbol;
}

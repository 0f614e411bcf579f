// Shared by the subcommands that run a trading system through SSimulation
// (backtest, optimise): reading the system, the settings of --settings and
// --set, and the price step of --tick.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "Cli.h"
#include "chartcalc.h"

// Reads the system named by options.args (one word), which must be a
// trading system, with --var NAME=VALUE applied. Returns kExitOk, or the
// exit status after a message.
int ReadSystem(const CliOptions& options, SIndex& x, std::ostream& err);
// The system named by args (one word) as stored, without --var.
int ReadSystemDefinition(const std::vector<std::string>& args, SIndex& x, std::ostream& err);
// --settings, then every --set in order. False after a message.
bool ApplySettings(const CliOptions& options, SSimulation& sim, std::ostream& err);
// The price step of --tick (0.01 without it). False after a message.
bool ReadTick(const CliOptions& options, double& tick, std::ostream& err);
// One back-test as a host runs it (Calc, ProcessStop, PreProcess,
// SetHistory, SetSummary) over the nine series of prices. False after
// reporting a formula error.
bool RunSimulation(SSimulation& sim, SPriceData& prices, SFunctionList& functions, std::ostream& err);
// The trade table's column names, in its column order.
extern const char* const kTradeColumnNames[STradeTable::kColumns];
// The symbol name of a run: the price file's name without its extension.
std::string SymbolName(const CliOptions& options);

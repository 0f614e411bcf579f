// Placeholder: the HTML pages are being written.
#include "chartcalc/SSimulation.h"

void SSimulation::SaveSummaryToHTML(SString, SString, SString) {}
void SSimulation::SaveSummaryToHTML2(SString, SString, SString) {}
void SSimulation::SaveTradeHistoryToHTML(SString, SString, SString) {}
void SSimulation::SaveTradeHistoryToHTML2(SString, SString, SString) {}

// Loads files built from fuzz bytes as keyed archives: raw bytes, or a valid
// archive with bytes flipped, and the chart display records from them (any
// font name and size). A file that loads must save and load again with the
// same entries.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzFiles.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

std::string MakeTemplate() {
  std::string path = fuzzfiles::ScratchDir() + "template.doc";
  CFBArchive a;
  a.SetCategory("Simulation");
  a.SetInt("POS", 2, 0);
  a.SetDbl("JumpMode", 1.0, 0.0);
  a.SetDbl("JumpValue", 100.5, 100.0);
  a.SetStr("SymbolName", "\xBB\xEF\xBC\xBA", "");
  a.SetCategory("PriceData3");
  a.SetStr("Raw", "\x80\xFF", "");
  // The chart display records measure the font an archive names.
  a.SetCategory("ChartProperty");
  a.SetStr("BaseFontName", "\xB1\xBC\xB8\xB2", "");
  a.SetInt("BaseFontSize", 12, 9);
  a.SetDbl("BarSpacing", 4.5, 6.0);
  a.SetCategory("Chart2");
  a.SetStr("ChartName", "pane", "");
  a.SaveFile(path.c_str());
  std::string bytes = fuzzfiles::ReadFile(path);
  fuzzfiles::RemoveWithSidecars(path);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string templ = MakeTemplate();
  std::string path = fuzzfiles::ScratchDir() + "fuzz.doc";
  std::string saved = fuzzfiles::ScratchDir() + "saved.doc";
  fuzzfiles::WriteFile(path, fuzzfiles::FileBytes(data, size, templ));
  CFBArchive a;
  if (a.LoadFile(path.c_str())) {
    a.SetCategory("Simulation");
    a.GetInt("JumpMode", 0);
    a.GetDbl("JumpValue", 0.0);
    a.GetStr("SymbolName", "");
    SChartProperty chart;
    chart.Load(a);
    SChartProp pane;
    pane.Load(a, 2);
    if (!a.SaveFile(saved.c_str())) std::abort();
    CFBArchive b;
    if (!b.LoadFile(saved.c_str()) || b.GetEntryCount() != a.GetEntryCount()) std::abort();
  }
  fuzzfiles::RemoveWithSidecars(path);
  fuzzfiles::RemoveWithSidecars(saved);
  return 0;
}

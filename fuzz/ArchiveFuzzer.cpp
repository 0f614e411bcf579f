// Loads files built from fuzz bytes as keyed archives: raw bytes, or a valid
// archive with bytes flipped. A file that loads must save and load again
// with the same entries.
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
    if (!a.SaveFile(saved.c_str())) std::abort();
    CFBArchive b;
    if (!b.LoadFile(saved.c_str()) || b.GetEntryCount() != a.GetEntryCount()) std::abort();
  }
  fuzzfiles::RemoveWithSidecars(path);
  fuzzfiles::RemoveWithSidecars(saved);
  return 0;
}

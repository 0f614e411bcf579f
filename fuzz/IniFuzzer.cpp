// Feeds arbitrary bytes to the INI reader, from a memory file and from a
// file. Beyond crashes, it checks that a document written out reads back as
// the same document.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzFiles.h"
#include "chartcalc.h"
#include "core/TextCodec.h"

using namespace chartcalc::detail;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  CMemFile mem;
  mem.SetContent(bytes);
  CIniMemFile doc;
  doc.LoadIniFile(&mem, 1);
  doc.GetInt("SimulationConfigure", "Position", 0);
  doc.GetDouble("", "a", 1.0);
  doc.GetString("0_Configuration", "Symbol", "");
  std::string text = doc.GetText();

  CIniMemFile again;
  again.SetText(text);
  if (again.GetText() != text) std::abort();  // writing and reading must agree

  // Through a file: saved whole, read back equal. (Bytes that are no code
  // page 949 text but happen to form UTF-8 are read back as UTF-8; that is
  // the format's rule, not a fault.)
  std::string path = fuzzfiles::ScratchDir() + "fuzz.ini";
  fuzzfiles::WriteFile(path, bytes);
  CIniFile file(path.c_str());
  file.GetString("S", "k", "");
  doc.WriteString("S", "k", "v");
  std::string utf8;
  bool ambiguous = !CleanUtf8(doc.GetText(), utf8) && IsValidUtf8(doc.GetText());
  if (doc.SaveIniFile(path.c_str()) && !ambiguous) {
    CIniMemFile back(path.c_str(), 0);
    if (back.GetText() != doc.GetText()) std::abort();
  }
  return 0;
}

// Opens files built from fuzz bytes as table database files: raw bytes, or a
// valid table with bytes flipped. Every operation must fail cleanly or work;
// none may crash, hang or write past a buffer.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzFiles.h"
#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

const char* const kFields[] = {"IndexName", "Expression0", "Short"};

// A small valid table: three fields, a few records (one deleted, one Korean,
// one stored as raw bytes).
std::string MakeTemplate() {
  std::string path = fuzzfiles::ScratchDir() + "template.rpt";
  DB db(0);
  db.CreateDB(path.c_str());
  db.InsertField(kFields[0], 'c', 50);
  db.InsertField(kFields[1], 'c', 200);
  db.InsertField(kFields[2], 'c', 5);
  db.WriteHead();
  db.WriteField();
  db.WriteEof();
  const char* values[] = {"avg", "\xC0\xCC\xB5\xBF", "\x80\xFF", "last"};
  for (const char* v : values) {
    db.Append(v);
    db.InsField(kFields[1], "avg(close, 5)");
    db.InsField(kFields[2], v);
    db.WriteRecord();
  }
  db.FindFirst(kFields[0], "last");
  db.Delete();
  db.Close();
  std::string bytes = fuzzfiles::ReadFile(path);
  fuzzfiles::RemoveWithSidecars(path);
  return bytes;
}

void Exercise(DB& db) {
  int visited = 0;
  for (db.MoveFirst(1); !db.Eof() && visited < 100; db.MoveNext(1), ++visited) {
    db.Deleted();
    for (const char* f : kFields) db.GetStr(f);
    db.GetStr("Undeclared");
  }
  db.FindFirst(kFields[0], "avg");
  db.FindNext(kFields[0], "avg");
  for (int i = 0; i < db.GetFieldCount(); ++i) db.GetField(i);
  db.Append("new");
  db.InsField(kFields[1], std::string(300, 'x').c_str());
  db.WriteRecord();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string templ = MakeTemplate();
  std::string path = fuzzfiles::ScratchDir() + "fuzz.rpt";
  std::string user = fuzzfiles::ScratchDir() + "user.rpt";
  fuzzfiles::WriteFile(path, fuzzfiles::FileBytes(data, size, templ));
  {
    DB db(path.c_str(), 0);
    Exercise(db);
    DB copy = db;
    copy.MoveNext(1);
  }
  {
    DDB pair(path.c_str(), user.c_str(), 1);
    int visited = 0;
    for (pair.MoveFirst(1); !pair.Eof() && visited < 100; pair.MoveNext(1), ++visited) pair.GetStr(kFields[0]);
    if (pair.FindFirst(kFields[0], "avg")) pair.Delete();
  }
  fuzzfiles::RemoveWithSidecars(path);
  fuzzfiles::RemoveWithSidecars(user);
  return 0;
}

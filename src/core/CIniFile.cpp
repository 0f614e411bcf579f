#include "chartcalc/CIniFile.h"

#include "chartcalc/TableDb.h"

using namespace chartcalc::detail;

unsigned int CIniFile::GetInt(const char* section, const char* key, int dflt) {
  CIniMemFile doc(fileName_, 0);
  return doc.GetInt(section, key, dflt);
}

double CIniFile::GetDouble(const char* section, const char* key, double dflt) {
  CIniMemFile doc(fileName_, 0);
  return doc.GetDouble(section, key, dflt);
}

SString CIniFile::GetString(const char* section, const char* key, const char* dflt) {
  CIniMemFile doc(fileName_, 0);
  return doc.GetString(section, key, dflt);
}

// Loads the file (a missing one is an empty document), applies the change and
// writes the file whole. A file that exists but cannot be read is left alone.
template <typename Change>
int CIniFile::Update(Change change) {
  if (fileName_.IsEmpty()) return 0;
  CIniMemFile doc;
  if (!doc.LoadIniFile(fileName_, 0) && FileExist(fileName_.c_str())) return 0;
  if (!change(doc)) return 0;
  return doc.IsModified() ? doc.SaveIniFile(fileName_) : 1;
}

int CIniFile::WriteInt(const char* section, const char* key, int value) {
  return Update([&](CIniMemFile& doc) { return doc.WriteInt(section, key, value); });
}

int CIniFile::WriteDouble(const char* section, const char* key, double value) {
  return Update([&](CIniMemFile& doc) { return doc.WriteDouble(section, key, value); });
}

int CIniFile::WriteString(const char* section, const char* key, const char* value) {
  return Update([&](CIniMemFile& doc) { return doc.WriteString(section, key, value); });
}

// CIniFile: reads and writes single values of an INI file (the format is
// described in CIniMemFile.h). Every write rewrites the file whole.
#pragma once

#include "chartcalc/CIniMemFile.h"

class CIniFile {
 public:
  CIniFile() = default;
  explicit CIniFile(const char* path) : fileName_(path) {}
  CIniFile(const CIniFile&) = default;
  CIniFile& operator=(const CIniFile&) = default;
  virtual ~CIniFile() = default;

  void SetFileName(const char* path) { fileName_ = path; }
  const SString& GetFileName() const { return fileName_; }

  // Read one value of the file, as CIniMemFile does; a missing file gives
  // the defaults.
  unsigned int GetInt(const char* section, const char* key, int dflt);
  double GetDouble(const char* section, const char* key, double dflt);
  SString GetString(const char* section, const char* key, const char* dflt);

  // Set one value and write the file whole. Returns 1 on success; a file
  // that exists but cannot be read is left alone (0).
  int WriteInt(const char* section, const char* key, int value);
  int WriteDouble(const char* section, const char* key, double value);
  int WriteString(const char* section, const char* key, const char* value);

 private:
  template <typename Change>
  int Update(Change change);

  SString fileName_;
};

// Walking a record's keys in the keyed archive. Load and Store of a persisted
// record go through one list of keys written as a template over the
// direction, so both directions always agree on the names, their order and
// their defaults.
#pragma once

#include <cstdio>

#include "chartcalc/CFBArchive.h"
#include "chartcalc/SString.h"

namespace chartcalc::detail {

// Writes each value with the record's default for its key.
class ArchiveStore {
 public:
  explicit ArchiveStore(CFBArchive& archive) : archive_(archive) {}
  void Int(const char* key, const int& value, int dflt) { archive_.SetInt(key, value, dflt); }
  void Dbl(const char* key, const double& value, double dflt) { archive_.SetDbl(key, value, dflt); }
  void Str(const char* key, const SString& value, const SString& dflt) {
    archive_.SetStr(key, value.c_str(), dflt.c_str());
  }

 private:
  CFBArchive& archive_;
};

// Reads each value, falling back to the record's default for its key.
class ArchiveLoad {
 public:
  explicit ArchiveLoad(CFBArchive& archive) : archive_(archive) {}
  void Int(const char* key, int& value, int dflt) { value = archive_.GetInt(key, dflt); }
  void Dbl(const char* key, double& value, double dflt) { value = archive_.GetDbl(key, dflt); }
  void Str(const char* key, SString& value, const SString& dflt) { value = archive_.GetStr(key, dflt.c_str()); }

 private:
  CFBArchive& archive_;
};

// Makes the record's category current: the base name for index -1, else the
// base name followed by the index ("PriceData3").
inline void SetArchiveCategory(CFBArchive& archive, const char* base, int index) {
  if (index == -1) {
    archive.SetCategory(base);
    return;
  }
  char category[96];
  std::snprintf(category, sizeof category, "%s%d", base, index);
  archive.SetCategory(category);
}

// A numbered key: the number, a dot, then the name ("5.Value2").
class NumberedKey {
 public:
  NumberedKey(int n, const char* name) { std::snprintf(text_, sizeof text_, "%d.%s", n, name); }
  operator const char*() const { return text_; }

 private:
  char text_[64];
};

}  // namespace chartcalc::detail

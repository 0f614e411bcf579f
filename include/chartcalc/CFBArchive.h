// CFBArchive: the keyed archive of chart documents. Values (int, double or
// text) are addressed by a category and a key; one category is current at a
// time. The archive lives in memory and is saved to and loaded from a file.
//
// File format: an SQLite database with one table
//
//   entries(category TEXT, key TEXT, type TEXT, value, PRIMARY KEY(category, key))
//
// where type is "int" (value INTEGER), "double" (value REAL; NULL for NaN)
// or "string" (value TEXT, UTF-8, or BLOB with the exact code page 949 bytes
// when they do not convert cleanly; category and key follow the same rule).
// A save builds the file aside in one transaction and renames it over the
// target, so a crash never leaves half a document. A load reads everything
// or changes nothing.
#pragma once

#include <map>
#include <string>

#include "chartcalc/CArray.h"
#include "chartcalc/SString.h"

class CFBArchive {
 public:
  CFBArchive() = default;
  CFBArchive(const CFBArchive&) = default;
  CFBArchive& operator=(const CFBArchive&) = default;
  virtual ~CFBArchive() = default;

  void SetCategory(const char* category);
  const std::string& GetCategory() const { return category_; }

  // The stored value of key in the current category, or dflt when there is
  // none. A value stored as another type is converted: a double read as an
  // int is rounded to the nearest int (so a count written as a double comes
  // back as that count), a text read as a number is parsed (dflt when it is
  // not a number), a number read as a text is written out.
  int GetInt(const char* key, int dflt);
  double GetDbl(const char* key, double dflt);
  SString GetStr(const char* key, const char* dflt);

  // Store value under key in the current category. The default is the
  // record's default for the key; values are stored whether or not they
  // equal it, so a saved document shows every setting.
  void SetInt(const char* key, int value, int dflt = 0);
  void SetDbl(const char* key, double value, double dflt = 0.0);
  void SetStr(const char* key, const char* value, const char* dflt = "");

  // 1 on success, 0 on failure (the file, or the archive, is then unchanged).
  int SaveFile(const char* path);
  int LoadFile(const char* path);

  void Clear() { categories_.clear(); }
  int HasKey(const char* key) const;
  int GetEntryCount() const;

 private:
  enum class Type { kInt, kDouble, kString };
  struct Value {
    Type type = Type::kInt;
    long long i = 0;
    double d = 0.0;
    std::string s;
  };
  using Category = std::map<std::string, Value>;

  const Value* Find(const char* key) const;
  Value& Slot(const char* key);
  static bool ReadEntries(const char* path, std::map<std::string, Category>& out);

  std::map<std::string, Category> categories_;
  std::string category_;
};

// The framework's growable array of archive pointers; it owns nothing.
using CFBArchiveArray = CArray<CFBArchive*, CFBArchive*>;

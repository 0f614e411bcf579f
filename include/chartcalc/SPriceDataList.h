// SPriceDataList: the symbols of one chart. A growable array of SPriceData
// records, each identified by an ID the list assigns, one of them selected.
// It persists in the keyed archive and as an INI settings file whose section
// and key names are display texts in the current language.
#pragma once

#include <memory>

#include "chartcalc/CFBArchive.h"
#include "chartcalc/CIniMemFile.h"
#include "chartcalc/CMemFile.h"
#include "chartcalc/SPriceData.h"

namespace chartcalc::detail {

// Settings files and archives name at most this many records; a larger
// count is taken as this many (a chart never shows so many symbols).
inline constexpr int kMaxPriceRecords = 1000;

}  // namespace chartcalc::detail

class SPriceDataList {
 public:
  SPriceDataList();
  SPriceDataList(const SPriceDataList& other);
  // Clear, then a copy of every record of s in order, IDs included.
  // SelectedID, Capacity and GrowBy are not copied.
  SPriceDataList& operator=(const SPriceDataList& s);
  virtual ~SPriceDataList();

  int GetSize() const { return Count; }
  // Appends a reset record with the next ID; returns the ID.
  int Add();
  // The same; returns the new record's index.
  int AddSeq();
  // Appends a copy of r under the next ID; returns the ID.
  int Add(const SPriceData& r);
  // Removes record i (nothing for an index outside the list).
  void Delete(int i);
  // Resets every allocated record; the capacity stays.
  void Clear();
  // Grows the array to exactly n records when n exceeds the capacity.
  void SetMaxSize(long n);

  // Record i, or Fallback for an index outside the list.
  SPriceData& operator[](long i);
  const SPriceData& operator[](long i) const;

  int GetNextID() const;  // largest ID in use + 1; 0 when empty
  int GetSymbolNoFromID(int id) const;
  int GetSymbolIDFromNo(int i) const;
  // The record with that ID (a negative id means SelectedID), or Fallback.
  SPriceData& GetCurData(int id);
  // The selected record; when no record has SelectedID, the first slot
  // becomes the selected one.
  SPriceData& GetCurSlectedData();
  int GetCurSelecedID();

  // Keyed archive: category "PriceDataList" with the key "size", then each
  // record under "PriceData<i>".
  void Load(CFBArchive& archive);
  void Store(CFBArchive& archive) const;

  // The settings file, in a memory file or a file. Reading clears the list
  // first; missing keys take their defaults. Each returns 1 when the source
  // could be read (the target written), else 0; a null memory file changes
  // nothing.
  int ReadSetting(CMemFile* file);
  int SaveSetting(CMemFile* file) const;
  int ReadSetting(const char* path);
  int SaveSetting(const char* path) const;

  // The host may read and write these. The list owns Items and frees it; it
  // keeps the length it really allocated to itself, so a Count or Capacity
  // written from outside never sends it past the end of the array.
  SPriceData Fallback;
  std::unique_ptr<SPriceData[]> Items;  // Capacity records, the first Count in use
  int Count = 0;
  int Capacity = 1;
  int GrowBy = 5;
  int SelectedID = 0;

 private:
  // Count, clamped to the records that really exist.
  int Used() const;
  bool Reallocate(int capacity);
  bool EnsureRoom();
  int AppendReset();
  void ReadSettingDoc(CIniMemFile& doc);
  void SaveSettingDoc(CIniMemFile& doc) const;

  int allocated_ = 1;
};

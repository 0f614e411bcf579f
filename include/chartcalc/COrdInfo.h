// COrdInfo, COrdInfoAvg, COrdInfoList: the order and position markers a host
// shows on a chart. The library gives a marker no meaning beyond its key; it
// stores, finds, replaces and deletes markers, and merges a marker added again
// under the same key into the one it already holds.
#pragma once

#include <map>
#include <vector>

#include "chartcalc/CArray.h"
#include "chartcalc/SString.h"

// One marker. Every field but the key belongs to the host, which reads and
// writes them directly; the library only carries them. Fields keep the host's
// order.
class COrdInfo {
 public:
  COrdInfo() = default;
  COrdInfo(const COrdInfo&) = default;
  COrdInfo& operator=(const COrdInfo&) = default;
  // Takes every field of *p; a null p leaves the record as it is.
  void Copy(COrdInfo* p);

  CString key;
  int intField1 = 1;
  CString textField1;
  int intField2 = 1;
  int intField3 = 0;  // merged on a re-add
  int intField4 = 1;
  CString textField2;
  int intField5 = -1;
  double number1 = 0.0;  // merged on a re-add
  double number2 = 0.0;  // merged on a re-add
  int intField6 = 1;
  double number3 = 0.0;  // merged on a re-add
  int intField7 = 1;
  double number4 = 0.0;
  int intField8 = 1;
  CString textField3;
  int intField9 = 1;
  CString textField4;
  CString textField5;
  CString textField6;
  int lineColour = 255;  // merged on a re-add, as are the width and style
  int lineWidth = 1;
  int lineStyle = 0;
};

// The average price of one key with the dates that make it up.
class COrdInfoAvg {
 public:
  COrdInfoAvg() = default;
  COrdInfoAvg(const COrdInfoAvg&) = default;
  COrdInfoAvg& operator=(const COrdInfoAvg&) = default;
  virtual ~COrdInfoAvg() = default;

  void SetAvgPrice(double price) { avgPrice = price; }
  double GetAvgPrice() const { return avgPrice; }
  void AddDate(double date) { dates.Add(date); }
  CArray<double, double>& GetDate() { return dates; }
  const CArray<double, double>& GetDate() const { return dates; }

  double avgPrice = 0.0;
  CArray<double, double> dates;
};

namespace chartcalc::detail {
// Orders keys by their bytes, so the averages map needs nothing of SString
// beyond its text.
struct OrderKeyLess {
  bool operator()(const SString& a, const SString& b) const { return a.str() < b.str(); }
};
}  // namespace chartcalc::detail

// The markers of one chart. The list owns every record it holds, always: a
// record comes in as a copy (Add, a copy or assignment of another list) or as
// a pointer the caller hands over (Set at or past the end), and leaves only
// through Del, RemoveAll or the destructor, which delete it. So no record is
// ever shared between two lists.
class COrdInfoList {
 public:
  COrdInfoList() = default;
  // The same as assigning to a new list: copies of the other list's records
  // and its default pen; the averages and the show switches start at their
  // defaults. A copy that differed from an assignment would surprise a host
  // that uses both.
  COrdInfoList(const COrdInfoList& other);
  // Replaces the records with copies of the other list's records and takes
  // its default pen; the averages and the show switches stay this list's own.
  COrdInfoList& operator=(const COrdInfoList& other);
  virtual ~COrdInfoList();

  // Adds a copy of info; when a record with its key exists, that record takes
  // the merged fields of info instead and nothing is appended.
  void Add(const COrdInfo& info);
  // Index of the first record whose key equals key exactly, else -1.
  int Search(const CString& key) const;
  // Null for i < 0; throws std::out_of_range for i at or past the count.
  COrdInfo* Get(int i);
  // For i inside the list, copies *p into record i (p stays the caller's).
  // For i at or past the end, appends p itself and takes ownership of it; a p
  // the list already holds is appended as a copy so it is never held twice.
  // A negative i or a null p changes nothing.
  void Set(int i, COrdInfo* p);
  // Deletes the first record with key (later records move down); an unknown
  // key changes nothing.
  void Del(const CString& key);
  void Del(COrdInfo* p);
  // Deletes every record; the averages stay.
  void RemoveAll();
  int GetCount() const { return static_cast<int>(records_.size()); }

  void SetShowAvgPrice(int flag) { showAvgPrice_ = flag; }
  int GetShowAvgPrice() const { return showAvgPrice_; }
  void SetShowEntry(int flag) { showEntry_ = flag; }
  int GetShowEntry() const { return showEntry_; }
  void SetShowUnClear(int flag) { showUnClear_ = flag; }
  int GetShowUnClear() const { return showUnClear_; }
  void SetShowPriceLine(int flag) { showPriceLine_ = flag; }
  int GetShowPriceLine() const { return showPriceLine_; }

  // The host reads and writes these directly: the average price per key and
  // the pen of a marker line that has none of its own.
  std::map<CString, COrdInfoAvg, chartcalc::detail::OrderKeyLess> averages;
  int lineColour = 255;
  int lineWidth = 1;
  int lineStyle = 0;

 private:
  void CopyRecordsFrom(const COrdInfoList& other);
  void AppendCopy(const COrdInfo& info);
  bool Holds(const COrdInfo* p) const;

  int showAvgPrice_ = 0;
  int showEntry_ = 1;
  int showUnClear_ = 1;  // open positions not yet cleared
  int showPriceLine_ = 1;
  std::vector<COrdInfo*> records_;  // owned, never null, never repeated
};

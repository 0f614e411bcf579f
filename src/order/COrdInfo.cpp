// The order markers: copying a record, and the list that owns its records.
#include "chartcalc/COrdInfo.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace {

// The fields a record added again under a known key passes on to the record
// already held; every other field of the held record stays.
constexpr int COrdInfo::*kMergedInts[] = {&COrdInfo::intField3, &COrdInfo::lineColour, &COrdInfo::lineWidth,
                                          &COrdInfo::lineStyle};
constexpr double COrdInfo::*kMergedNumbers[] = {&COrdInfo::number1, &COrdInfo::number2, &COrdInfo::number3};

void Merge(COrdInfo& held, const COrdInfo& added) {
  for (auto field : kMergedInts) held.*field = added.*field;
  for (auto field : kMergedNumbers) held.*field = added.*field;
}

}  // namespace

void COrdInfo::Copy(COrdInfo* p) {
  if (p) *this = *p;
}

COrdInfoList::COrdInfoList(const COrdInfoList& other) { *this = other; }

COrdInfoList& COrdInfoList::operator=(const COrdInfoList& other) {
  if (this == &other) return *this;
  CopyRecordsFrom(other);
  lineColour = other.lineColour;
  lineWidth = other.lineWidth;
  lineStyle = other.lineStyle;
  return *this;
}

COrdInfoList::~COrdInfoList() {
  RemoveAll();
  averages.clear();
}

// Makes every copy before letting go of the old records, so a failed
// allocation leaves this list as it was and leaks nothing.
void COrdInfoList::CopyRecordsFrom(const COrdInfoList& other) {
  std::vector<std::unique_ptr<COrdInfo>> copies;
  copies.reserve(other.records_.size());
  for (const COrdInfo* p : other.records_) copies.push_back(std::make_unique<COrdInfo>(*p));
  std::vector<COrdInfo*> fresh;
  fresh.reserve(copies.size());
  RemoveAll();
  for (auto& copy : copies) fresh.push_back(copy.release());
  records_.swap(fresh);
}

bool COrdInfoList::Holds(const COrdInfo* p) const {
  for (const COrdInfo* held : records_)
    if (held == p) return true;
  return false;
}

void COrdInfoList::Add(const COrdInfo& info) {
  int found = Search(info.key);
  if (found >= 0) {
    Merge(*records_[static_cast<size_t>(found)], info);
    return;
  }
  AppendCopy(info);
}

void COrdInfoList::AppendCopy(const COrdInfo& info) {
  auto copy = std::make_unique<COrdInfo>(info);
  records_.push_back(copy.get());
  copy.release();
}

int COrdInfoList::Search(const CString& key) const {
  for (size_t i = 0; i < records_.size(); ++i)
    if (records_[i]->key == key) return static_cast<int>(i);
  return -1;
}

COrdInfo* COrdInfoList::Get(int i) {
  if (i < 0) return nullptr;
  if (i >= GetCount())
    throw std::out_of_range("COrdInfoList::Get: index " + std::to_string(i) + " is not below the count " +
                            std::to_string(GetCount()));
  return records_[static_cast<size_t>(i)];
}

void COrdInfoList::Set(int i, COrdInfo* p) {
  if (i < 0 || !p) return;
  if (i < GetCount()) {
    *records_[static_cast<size_t>(i)] = *p;
    return;
  }
  // Holding one pointer twice would delete it twice.
  if (Holds(p))
    AppendCopy(*p);
  else
    records_.push_back(p);
}

void COrdInfoList::Del(const CString& key) {
  int found = Search(key);
  if (found < 0) return;
  COrdInfo* gone = records_[static_cast<size_t>(found)];
  records_.erase(records_.begin() + found);
  delete gone;
}

void COrdInfoList::Del(COrdInfo* p) {
  if (!p) return;
  const CString key = p->key;  // p may be the very record Del deletes
  Del(key);
}

void COrdInfoList::RemoveAll() {
  for (COrdInfo* p : records_) delete p;
  records_.clear();
}

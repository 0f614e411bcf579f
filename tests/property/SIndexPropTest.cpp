// The indicator display record: defaults by kind, key lookup, and its keys in
// the keyed archive.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chartcalc.h"

using namespace chartcalc::detail;

namespace {

using P = SIndexProp;

// The persisted fields: every one is filled with a value of its own and
// compared, so a field that is not stored, or two fields sharing a key, shows.
const std::vector<int P::*> kInts = {
    &P::IndexType,    &P::ChartPeriod,    &P::UserID,         &P::SymbolID,      &P::ShareIndex,
    &P::BlMovable,    &P::BlDeleble,      &P::BlPopupDlg,     &P::ChartNo,       &P::YValueColor,
    &P::YValueStyle,  &P::YValueWidth,    &P::InvertY,        &P::LogY,          &P::YScaleType,
    &P::YAxisCount,   &P::YAxisUnitSize,  &P::YAxisPrecision, &P::YAxisUseComma, &P::BlShow,
    &P::BlShowLegend, &P::RealUpdateType, &P::ExtID,          &P::DRAWLV,        &P::MinMaxY};
const std::vector<double P::*> kDoubles = {&P::ChartCycle, &P::UserMax, &P::UserMin};
const std::vector<SString P::*> kTexts = {&P::IndexName, &P::YAxisUnitText, &P::ExtData};
const std::vector<int (P::*)[kIndexLines]> kLineInts = {&P::ShowLine,    &P::Shape,       &P::LineType,
                                                        &P::LineColor,   &P::LineStyle,   &P::LineWidth,
                                                        &P::LineUpColor, &P::LineDnColor, &P::LineCompMethod};
const std::vector<SString (P::*)[kIndexLines]> kLineTexts = {&P::LineUpValue, &P::LineDnValue, &P::YValue};

// The persisted fields as texts, in the order of the lists above.
std::vector<std::string> Persisted(const P& r) {
  std::vector<std::string> out;
  for (auto f : kInts) out.push_back(std::to_string(r.*f));
  for (auto f : kDoubles) out.push_back(std::to_string(r.*f));
  for (auto f : kTexts) out.push_back((r.*f).str());
  for (int k = 0; k < kIndexLines; ++k) {
    for (auto f : kLineInts) out.push_back(std::to_string((r.*f)[k]));
    for (auto f : kLineTexts) out.push_back((r.*f)[k].str());
  }
  for (const SString& v : r.VarValue) out.push_back(v.str());
  return out;
}

// Every persisted field away from its default, no two alike.
P Filled() {
  P r;
  int n = 100;
  for (auto f : kInts) r.*f = n++;
  for (auto f : kDoubles) r.*f = n++ + 0.5;
  for (auto f : kTexts) r.*f = std::to_string(n++);
  for (int k = 0; k < kIndexLines; ++k) {
    for (auto f : kLineInts) (r.*f)[k] = n++;
    for (auto f : kLineTexts) (r.*f)[k] = std::to_string(n++);
  }
  for (SString& v : r.VarValue) v = std::to_string(n++);
  r.MinMaxY = 2;  // the user scale, whose bounds are stored
  return r;
}

// Trading systems (3) and patterns (2) colour their signal lines apart.
TEST(IndexProp, LineColoursFollowTheKind) {
  const std::pair<int, std::vector<int>> cases[] = {
      {0, {0xFF0000, 0xD800FF, 0x3300FF, 0x2F8E00, 0x64141B}},
      {3, {0x0000FF, 0xFF0000, 0xFF0000, 0x0000FF, 0x64141B}},
      {2, {0xFFCCFF, 0xFFECCC, 0x3300FF, 0x2F8E00, 0x64141B}},
  };
  for (const auto& [type, colors] : cases) {
    P r("x", type);
    EXPECT_EQ(std::vector<int>(r.LineColor, r.LineColor + kIndexLines), colors) << "type " << type;
  }
}

TEST(IndexProp, SetToDefaultResetsTheDisplayButKeepsTheIdentityAndTheHostsKeys) {
  const P filled = Filled();
  P r = filled, want(filled.IndexName.c_str(), 3);
  r.IndexType = 3;
  r.VarName[2] = "len";
  r.Expression[1] = "avg(c, len)";
  r.RealKeys.Add("key");
  r.SetToDefault();
  want.UserID = filled.UserID;
  want.ShareIndex = filled.ShareIndex;
  want.BlMovable = filled.BlMovable;
  want.BlDeleble = filled.BlDeleble;
  want.BlPopupDlg = filled.BlPopupDlg;  // set by the constructor only
  EXPECT_EQ(Persisted(r), Persisted(want));
  EXPECT_TRUE(r.VarName[2].IsEmpty());
  EXPECT_TRUE(r.Expression[1].IsEmpty());
  EXPECT_EQ(r.RealKeys.Count(), 1);
}

TEST(IndexProp, StoreThenLoadGivesBackEveryPersistedFieldUnderItsKeys) {
  P stored = Filled(), loaded, base = Filled();
  CFBArchive ar;
  stored.Store(ar, 3);
  loaded.Load(ar, 3);
  EXPECT_EQ(Persisted(loaded), Persisted(stored));
  ar.SetCategory("Index3");
  for (const char* key : {"3.VarValue", "9.VarValue", "0.BlShowLine", "2.DisplayType", "4.YValue", "4.LineCompMethod",
                          "IndexName", "IndexType", "ExtData", "DRAWLV", "UserMax", "UserMin"})
    EXPECT_TRUE(ar.HasKey(key)) << key;
  EXPECT_EQ(ar.GetInt("2.DisplayType", -1), stored.LineType[2]);
  base.Load(ar, -1);  // "Index" is not "Index3": every field falls back to the default record
  EXPECT_EQ(Persisted(base), Persisted(P("", -1)));
}

TEST(IndexProp, UserBoundsAreStoredOnlyForTheUserScale) {
  P r = Filled(), loaded;
  r.MinMaxY = 1;
  CFBArchive ar;
  r.Store(ar, -1);
  ar.SetCategory("Index");
  EXPECT_FALSE(ar.HasKey("UserMax"));
  EXPECT_FALSE(ar.HasKey("UserMin"));
  loaded.UserMax = 5.0;
  loaded.Load(ar, -1);
  EXPECT_EQ(loaded.UserMax, 0.0);  // always read, with the default as fallback
  EXPECT_EQ(loaded.MinMaxY, 1);
}

TEST(IndexProp, FindRealKeyIgnoresCaseAndTakesTheFirstMatch) {
  P r;
  for (const char* key : {"XYZ", "ABC", "abc"}) r.RealKeys.Add(key);
  EXPECT_EQ(r.FindRealKey("abc"), 1);
  EXPECT_EQ(r.FindRealKey("xyz"), 0);
  EXPECT_EQ(r.FindRealKey("ab"), -1);
  EXPECT_EQ(r.FindRealKey(nullptr), -1);
}

}  // namespace

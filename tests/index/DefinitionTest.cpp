// Definitions in the index database: round trips of every kind, the field
// sets each kind reads, trimming, flag fallbacks, the kept scale mode,
// failures that change nothing, and comment removal.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "chartcalc.h"
#include "core/Cp949.h"
#include "core/TextTable.h"

using namespace chartcalc::detail;

namespace {

// Korean text of the source (UTF-8) as the library holds it.
std::string Ko(const std::string& utf8) {
  std::string out;
  EXPECT_TRUE(Utf8ToCp949(utf8, out));
  return out;
}

// Each test gets an empty index directory of its own; the default
// directory comes back afterwards.
class Definition : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir_ = std::string(CHARTCALC_TEST_TMP) + "/Definition." + info->name() + "/";
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
    SetIndexDir(dir_.c_str());
  }
  void TearDown() override { SetIndexDir("./"); }

  // The stored text of one field of the record called name.
  std::string Stored(int kind, const char* name, const char* field) {
    DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
    db.SetExtension(getIndexDBExt(kind));
    return db.FindFirst("IndexName", name) ? db.GetStr(field) : "<no record>";
  }
  // Overwrites one stored field of the record called name.
  void Restore(int kind, const char* name, const char* field, const char* text) {
    DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
    db.SetExtension(getIndexDBExt(kind));
    ASSERT_TRUE(db.FindFirst("IndexName", name));
    ASSERT_TRUE(db.InsField(field, text));
    ASSERT_TRUE(db.WriteRecord());
  }
  int RecordCount(int kind) {
    DDB db(getIndexDBFileName(kind).c_str(), getUserDBFileName(kind).c_str(), 1);
    db.SetExtension(getIndexDBExt(kind));
    int n = 0;
    for (db.MoveFirst(1); !db.Eof(); db.MoveNext(1)) n += db.Deleted() ? 0 : 1;
    return n;
  }
  std::string Listing() {
    std::string out;
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir_)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    for (const auto& n : names) out += n + " ";
    return out;
  }

  std::string dir_;
};

// An indicator of the kind with every definition field set.
SIndex Filled(const char* name, int kind) {
  SIndex x(name, kind);
  for (int k = 0; k < kIndexVars; ++k) {
    x.VarName[k] = ("v" + std::to_string(k)).c_str();
    x.VarValue[k] = std::to_string(10 + k).c_str();
    x.VarStart[k] = std::to_string(k).c_str();
    x.VarEnd[k] = std::to_string(50 + k).c_str();
    x.VarIncrement[k] = "2";
  }
  for (int k = 0; k < kIndexLines; ++k) {
    x.ShowLine[k] = k % 2;
    x.Expression[k] = ("avg(c, v" + std::to_string(k) + ")").c_str();
    x.ExpName[k] = ("line" + std::to_string(k) + "(%v" + std::to_string(k) + "%)").c_str();
    x.LineType[k] = k + 1;
    x.LineColor[k] = 0x010203 * (k + 1);
    x.LineUpColor[k] = 0x111111 * (k + 1);
    x.LineDnColor[k] = 0x020202 * (k + 1);
    x.LineUpValue[k] = "70";
    x.LineDnValue[k] = "30";
    x.LineCompMethod[k] = 2;
    x.LineStyle[k] = 3;
    x.LineWidth[k] = 2;
    x.YValue[k] = std::to_string(20 * k).c_str();
  }
  x.YValueColor = 0x808080;
  x.YValueStyle = 2;
  x.YValueWidth = 3;
  x.MinMaxY = 2;
  x.UserMin = -12.5;
  x.UserMax = 99.5;
  x.LogY = 1;
  x.InvertY = 0;
  x.Password = "pw";
  x.Description = Ko("설명 text").c_str();
  x.Period = "20";
  return x;
}

}  // namespace

TEST_F(Definition, IndicatorRoundTripKeepsEveryField) {
  SIndex w = Filled(Ko("가격이평").c_str(), 0);
  ASSERT_EQ(w.WriteExpression(w.IndexName.c_str(), 1, 0), 1);
  SIndex r(Ko("가격이평").c_str(), 0);
  ASSERT_EQ(r.ReadExpression(Ko("가격이평").c_str()), 1);
  for (int k = 0; k < kIndexVars; ++k) {
    EXPECT_EQ(r.VarName[k], w.VarName[k]);
    EXPECT_EQ(r.VarValue[k], w.VarValue[k]);
    EXPECT_TRUE(r.VarStart[k].IsEmpty());  // an indicator has no ranges
  }
  for (int k = 0; k < kIndexLines; ++k) {
    EXPECT_EQ(r.ShowLine[k], w.ShowLine[k]);
    EXPECT_EQ(r.Expression[k], w.Expression[k]);
    EXPECT_EQ(r.ExpName[k], w.ExpName[k]);
    EXPECT_EQ(r.LineType[k], w.LineType[k]);
    EXPECT_EQ(r.LineColor[k], w.LineColor[k]);
    EXPECT_EQ(r.LineUpColor[k], w.LineUpColor[k]);
    EXPECT_EQ(r.LineDnColor[k], w.LineDnColor[k]);
    EXPECT_EQ(r.LineUpValue[k], w.LineUpValue[k]);
    EXPECT_EQ(r.LineDnValue[k], w.LineDnValue[k]);
    EXPECT_EQ(r.LineCompMethod[k], w.LineCompMethod[k]);
    EXPECT_EQ(r.LineStyle[k], w.LineStyle[k]);
    EXPECT_EQ(r.LineWidth[k], w.LineWidth[k]);
    EXPECT_EQ(r.YValue[k], w.YValue[k]);
  }
  EXPECT_EQ(r.YValueColor, w.YValueColor);
  EXPECT_EQ(r.YValueStyle, w.YValueStyle);
  EXPECT_EQ(r.YValueWidth, w.YValueWidth);
  EXPECT_EQ(r.MinMaxY, 2);
  EXPECT_EQ(r.UserMin, -12.5);
  EXPECT_EQ(r.UserMax, 99.5);
  EXPECT_EQ(r.LogY, 1);
  EXPECT_EQ(r.InvertY, 0);
  EXPECT_EQ(r.Password, SString("pw"));
  EXPECT_EQ(r.Description, w.Description);
  EXPECT_TRUE(r.Period.IsEmpty());
  EXPECT_EQ(Stored(0, Ko("가격이평").c_str(), "UserMax"), "99.5");
  EXPECT_EQ(Stored(0, Ko("가격이평").c_str(), "LogY"), "1");
}

TEST_F(Definition, SingleExpressionKeepsItsPeriodAndReadsLineStyle) {
  SIndex w = Filled("typical", 1);
  ASSERT_EQ(w.WriteExpression("typical", 1, 0), 1);
  EXPECT_EQ(Stored(1, "typical", "LineStyle0"), "");  // not written
  Restore(1, "typical", "LineStyle0", "4");
  SIndex r("typical", 1);
  ASSERT_EQ(r.ReadExpression("typical"), 1);
  EXPECT_EQ(r.IndexName, SString("typical"));
  EXPECT_EQ(r.Expression[0], w.Expression[0]);
  EXPECT_TRUE(r.Expression[1].IsEmpty());
  EXPECT_EQ(r.LineType[0], 1);
  EXPECT_EQ(r.LineColor[0], w.LineColor[0]);
  EXPECT_EQ(r.LineWidth[0], 2);
  EXPECT_EQ(r.LineStyle[0], 4);
  EXPECT_EQ(r.Period, SString("20"));
  EXPECT_EQ(r.VarValue[9], SString("19"));
  EXPECT_TRUE(r.VarStart[0].IsEmpty());
}

TEST_F(Definition, PatternStoresRangesButReadsNeitherThemNorTheLineStyle) {
  SIndex w = Filled("pat", 2);
  ASSERT_EQ(w.WriteExpression("pat", 1, 0), 1);
  EXPECT_EQ(Stored(2, "pat", "VarEnd3"), "53");
  SIndex r("pat", 2);
  r.LineStyle[0] = r.LineStyle[1] = 5;
  r.LineStyle[2] = 5;
  ASSERT_EQ(r.ReadExpression("pat"), 1);
  EXPECT_EQ(r.VarName[3], SString("v3"));
  EXPECT_EQ(r.VarValue[3], SString("13"));
  EXPECT_TRUE(r.VarEnd[3].IsEmpty());
  EXPECT_EQ(r.Expression[1], w.Expression[1]);
  EXPECT_TRUE(r.Expression[2].IsEmpty());
  EXPECT_EQ(r.LineColor[1], w.LineColor[1]);
  EXPECT_EQ(r.LineStyle[0], 0);
  EXPECT_EQ(r.LineStyle[1], 0);
  EXPECT_EQ(r.LineStyle[2], 5);
  EXPECT_EQ(r.Description, w.Description);
}

TEST_F(Definition, SystemRoundTripKeepsRangesAndFourSignalLines) {
  SIndex w = Filled("sys", 3);
  ASSERT_EQ(w.WriteExpression("sys", 1, 0), 1);
  SIndex r("sys", 3);
  ASSERT_EQ(r.ReadExpression("sys"), 1);
  for (int k = 0; k < kIndexVars; ++k) {
    EXPECT_EQ(r.VarStart[k], w.VarStart[k]);
    EXPECT_EQ(r.VarEnd[k], w.VarEnd[k]);
    EXPECT_EQ(r.VarIncrement[k], w.VarIncrement[k]);
  }
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(r.Expression[k], w.Expression[k]);
    EXPECT_EQ(r.LineType[k], w.LineType[k]);
    EXPECT_EQ(r.LineWidth[k], w.LineWidth[k]);
  }
  EXPECT_TRUE(r.Expression[4].IsEmpty());
  EXPECT_TRUE(r.ExpName[0].IsEmpty());  // systems name their lines by role
}

TEST_F(Definition, UserFunctionStoresNamesAndFormulaOnly) {
  SIndex w = Filled("band", 4);
  ASSERT_EQ(w.WriteExpression("band", 1, 0), 1);
  SIndex r("band", 4);
  ASSERT_EQ(r.ReadExpression("band"), 1);
  EXPECT_EQ(r.VarName[9], SString("v9"));
  EXPECT_TRUE(r.VarValue[0].IsEmpty());
  EXPECT_EQ(r.Expression[0], w.Expression[0]);
  EXPECT_EQ(r.Password, SString("pw"));
  // The user-function list reads the same record.
  SFunctionList functions;
  ASSERT_EQ(functions.ReadFunction(), 1);
  EXPECT_EQ(functions[0].Name, SString("band"));
  EXPECT_EQ(functions[0].Expression, w.Expression[0]);
}

TEST_F(Definition, VariableBlanksAreTrimmedExceptForIndicators) {
  for (int kind : {0, 1, 2, 3, 4}) {
    SIndex w("blanks", kind);
    w.VarName[0] = " len ";
    w.VarValue[0] = "  14\t";
    w.Expression[0] = " c ";
    ASSERT_EQ(w.WriteExpression("blanks", 1, 0), 1) << kind;
    SIndex r("blanks", kind);
    ASSERT_EQ(r.ReadExpression("blanks"), 1) << kind;
    EXPECT_EQ(r.VarName[0], SString(kind == 0 ? " len " : "len")) << kind;
    if (kind != 4) EXPECT_EQ(r.VarValue[0], SString(kind == 0 ? "  14\t" : "14")) << kind;
    EXPECT_EQ(r.Expression[0], SString(" c ")) << kind;  // formulas are never trimmed
  }
}

TEST_F(Definition, ScaleFlagsAreOnUnlessStoredAsAnIntegerOtherThanOne) {
  SIndex w("flags", 0);
  ASSERT_EQ(w.WriteExpression("flags", 1, 0), 1);
  struct Case {
    const char* text;
    int on;
  };
  for (const Case& c : {Case{"", 1}, Case{"0", 0}, Case{"2", 0}, Case{"1", 1}, Case{"on", 1}, Case{" 1 ", 1}}) {
    Restore(0, "flags", "LogY", c.text);
    Restore(0, "flags", "InvertY", c.text);
    SIndex r("flags", 0);
    r.LogY = r.InvertY = 1 - c.on;
    ASSERT_EQ(r.ReadExpression("flags"), 1);
    EXPECT_EQ(r.LogY, c.on) << "'" << c.text << "'";
    EXPECT_EQ(r.InvertY, c.on) << "'" << c.text << "'";
  }
}

TEST_F(Definition, UnparsableNumbersKeepTheCurrentValueButShowLineFallsBackToShown) {
  SIndex w("bad", 0);
  ASSERT_EQ(w.WriteExpression("bad", 1, 0), 1);
  Restore(0, "bad", "LineWidth2", "wide");
  Restore(0, "bad", "UserMax", "");
  Restore(0, "bad", "ShowLine1", "x");
  SIndex r("bad", 0);
  r.LineWidth[2] = 7;
  r.UserMax = 3.5;
  r.ShowLine[1] = 0;
  ASSERT_EQ(r.ReadExpression("bad"), 1);
  EXPECT_EQ(r.LineWidth[2], 7);
  EXPECT_EQ(r.UserMax, 3.5);
  EXPECT_EQ(r.ShowLine[1], 1);
}

TEST_F(Definition, RecordWithoutAShowLineFieldShowsThatLine) {
  // A hand-made table that declares only some of the fields.
  std::string index = getIndexDBFileName(0).str(), user = getUserDBFileName(0).str();
  for (const std::string& path : {index, user}) {
    DB db(0);
    ASSERT_TRUE(db.CreateDB(path.c_str()));
    db.ClearField();
    for (const char* f : {"IndexName", "ShowLine0", "Expression0"}) ASSERT_TRUE(db.InsertField(f, 'c', 50));
    ASSERT_TRUE(db.WriteHead() && db.WriteField() && db.WriteEof());
  }
  DB db(index.c_str(), 0);
  ASSERT_TRUE(db.Append("short"));
  db.InsField("ShowLine0", "0");
  db.InsField("Expression0", "c");
  ASSERT_TRUE(db.WriteRecord());
  SIndex r("short", 0);
  r.ShowLine[3] = 0;
  r.Expression[1] = "kept";
  r.ExpName[0] = "kept too";
  ASSERT_EQ(r.ReadExpression("short"), 1);
  EXPECT_EQ(r.ShowLine[0], 0);
  EXPECT_EQ(r.ShowLine[3], 1);
  EXPECT_EQ(r.Expression[0], SString("c"));
  EXPECT_EQ(r.Expression[1], SString("kept"));
  EXPECT_EQ(r.ExpName[0], SString("kept too"));
}

TEST_F(Definition, RewriteKeepsTheStoredScaleModeOnlyForModeFourWithIsNewZero) {
  SIndex w("scale", 0);
  w.MinMaxY = 1;
  ASSERT_EQ(w.WriteExpression("scale", 1, 0), 1);
  w.MinMaxY = 4;
  w.Description = "rewritten";
  ASSERT_EQ(w.WriteExpression("scale", 0, 0), 1);
  EXPECT_EQ(Stored(0, "scale", "MinMaxY"), "1");
  EXPECT_EQ(Stored(0, "scale", "Description"), "rewritten");
  w.MinMaxY = 2;
  ASSERT_EQ(w.WriteExpression("scale", 0, 0), 1);
  EXPECT_EQ(Stored(0, "scale", "MinMaxY"), "2");
  w.MinMaxY = 4;
  ASSERT_EQ(w.WriteExpression("scale", 2, 0), 1);
  EXPECT_EQ(Stored(0, "scale", "MinMaxY"), "4");
  EXPECT_EQ(RecordCount(0), 1);
}

TEST_F(Definition, RewritingAnUnknownNameWritesNothing) {
  SIndex w("present", 0);
  ASSERT_EQ(w.WriteExpression("present", 1, 0), 1);
  SIndex other("absent", 0);
  EXPECT_EQ(other.WriteExpression("absent", 0, 0), 0);
  EXPECT_EQ(RecordCount(0), 1);
  EXPECT_EQ(Stored(0, "absent", "IndexName"), "<no record>");
}

TEST_F(Definition, FailedReadsLeaveTheIndicatorAsItWasAndCreateNothing) {
  SIndex r("keep", 0);
  r.Expression[0] = "c";
  r.VarName[0] = "n";
  EXPECT_EQ(r.ReadExpression("keep"), 0);  // no files at all
  EXPECT_EQ(Listing(), "");
  SIndex w("there", 0);
  ASSERT_EQ(w.WriteExpression("there", 1, 1), 1);  // index file alone
  EXPECT_EQ(Listing(), "Indicator.idx ");
  EXPECT_EQ(r.ReadExpression("there"), 0);  // the user file is missing
  ASSERT_EQ(w.WriteExpression("other", 1, 0), 1);
  EXPECT_EQ(r.ReadExpression("nobody"), 0);
  EXPECT_EQ(r.ReadExpression(nullptr), 0);
  EXPECT_EQ(r.IndexName, SString("keep"));
  EXPECT_EQ(r.Expression[0], SString("c"));
  EXPECT_EQ(r.VarName[0], SString("n"));
  EXPECT_EQ(r.ReadExpression("there"), 1);
  EXPECT_EQ(r.ReadIndex("there"), 0);
}

TEST_F(Definition, KindsWithoutARecordNeitherReadNorWrite) {
  for (int kind : {-1, 5, 6, 10, 30}) {
    SIndex x("odd", kind);
    x.Expression[0] = "c";
    EXPECT_EQ(x.WriteExpression("odd", 1, 0), 0) << kind;
    EXPECT_EQ(x.ReadExpression("odd"), 0) << kind;
  }
  EXPECT_EQ(Listing(), "");
}

TEST_F(Definition, ExplicitFileNamesAreReadInsteadOfTheDefaults) {
  SIndex w("elsewhere", 3);
  w.Expression[0] = "crossup(c, avg(c, 5))";
  ASSERT_EQ(w.WriteExpression("elsewhere", 1, 0), 1);
  std::string moved = dir_ + "sub/";
  std::filesystem::create_directories(moved);
  std::filesystem::rename(getIndexDBFileName(3).str(), moved + "System.sys");
  std::filesystem::rename(getUserDBFileName(3).str(), moved + "Mine.sys");
  SIndex r("elsewhere", 3);
  EXPECT_EQ(r.ReadExpression("elsewhere"), 0);
  ASSERT_EQ(
      r.ReadExpression("elsewhere", SString((moved + "System.sys").c_str()), SString((moved + "Mine.sys").c_str())), 1);
  EXPECT_EQ(r.Expression[0], w.Expression[0]);
}

TEST_F(Definition, ConversionReadShowsEveryNamedLineWithAFormula) {
  SIndex w("conv", 0);
  for (int k = 0; k < kIndexLines; ++k) w.ShowLine[k] = 0;
  w.Expression[0] = "c";
  w.ExpName[0] = "close";
  w.Expression[1] = "o";  // no name
  w.ExpName[2] = "nameless";
  ASSERT_EQ(w.WriteExpression("conv", 1, 0), 1);
  SIndex plain("conv", 0), conv("conv", 0);
  ASSERT_EQ(plain.ReadExpression("conv"), 1);
  ASSERT_EQ(conv.ReadExpForConv("conv"), 1);
  EXPECT_EQ(plain.ShowLine[0], 0);
  EXPECT_EQ(conv.ShowLine[0], 1);
  EXPECT_EQ(conv.ShowLine[1], 0);
  EXPECT_EQ(conv.ShowLine[2], 0);
}

TEST(Comments, SkipCommentsRemovesLineAndBlockComments) {
  struct Case {
    const char* in;
    const char* out;
  };
  const Case cases[] = {
      {"a // note\nb", "a \nb"},
      {"a // note\r\nb", "a \r\nb"},
      {"a // note", "a "},
      {"a /* x */ b", "a  b"},
      {"a /* x\n y */b", "a b"},
      {"a /* open", "a "},
      {"a /*/ b", "a "},  // the closing mark is searched after the asterisk
      {"a /**/b/**/", "a b"},
      {"a / b /", "a / b /"},
      {"/", "/"},
      {"", ""},
      {"//\n//\n", "\n\n"},
      {"a /* // */ b // /* c\nd", "a  b \nd"},
  };
  for (const Case& c : cases) {
    SString s(c.in);
    SIndex::SkipComments(s);
    EXPECT_EQ(std::string(s.c_str()), c.out) << c.in;
  }
}

TEST(Comments, ProcessStringDropsControlBytesAndBlanks) {
  char text[] = "avg( c ,\t5 )\x01|x";
  EXPECT_EQ(SIndex::ProcessString(text), text);
  EXPECT_STREQ(text, "avg(c,5)|x");
  EXPECT_EQ(SIndex::ProcessString(nullptr), nullptr);
}

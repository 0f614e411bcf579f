// Definitions in the index database: the field set each kind stores and reads
// back, trimming, flag and number fallbacks, the kept scale mode, failures
// that change nothing, and comment removal.
#include "index/IndexTestUtil.h"

// Each test gets an empty index directory of its own.
class Definition : public ::testing::Test {
 protected:
  std::string Stored(int kind, const char* name, const char* field) {
    DDB db = OpenIndexDb(kind);
    return db.FindFirst("IndexName", name) ? db.GetStr(field) : "<no record>";
  }
  void Restore(int kind, const char* name, const char* field, const char* text) {
    DDB db = OpenIndexDb(kind);
    ASSERT_TRUE(db.FindFirst("IndexName", name) && db.InsField(field, text) && db.WriteRecord());
  }

  IndexDirScope scope_;
};

// An indicator of the kind with every definition field set: every field of
// seed 1 differs from seed 2's and from the fields around it.
static SIndex Filled(const std::string& name, int kind, int seed) {
  SIndex x(name.c_str(), kind);
  int n = seed * 1000;
  auto next = [&n] { return SString(std::to_string(++n).c_str()); };
  for (auto m : {&SIndex::VarName, &SIndex::VarValue, &SIndex::VarStart, &SIndex::VarEnd, &SIndex::VarIncrement})
    for (SString& v : x.*m) v = next();
  for (auto m : {&SIndex::Expression, &SIndex::ExpName, &SIndex::LineUpValue, &SIndex::LineDnValue, &SIndex::YValue})
    for (SString& v : x.*m) v = next();
  for (auto m : {&SIndex::ShowLine, &SIndex::LineType, &SIndex::LineColor, &SIndex::LineUpColor, &SIndex::LineDnColor,
                 &SIndex::LineCompMethod, &SIndex::LineStyle, &SIndex::LineWidth})
    for (int& v : x.*m) v = ++n;
  for (int* v : {&x.YValueColor, &x.YValueStyle, &x.YValueWidth, &x.MinMaxY}) *v = ++n;
  for (SString* v : {&x.Password, &x.Description, &x.Period}) *v = next();
  x.UserMin = -12.5 * seed;
  x.UserMax = 99.5 * seed;
  x.LogY = seed % 2;
  x.InvertY = 1 - seed % 2;
  x.Description = (Cp949("설명 ") + x.Description.str()).c_str();
  // Blanks around variable texts are stored; formulas keep theirs everywhere.
  x.VarName[0] = " len ";
  x.VarValue[0] = (" 14\t" + std::to_string(seed)).c_str();
  x.Expression[0] = (" c " + std::to_string(seed)).c_str();
  return x;
}

static std::string Text(const SString& v) { return v.str(); }
static std::string Text(double v) { return std::to_string(v); }
template <typename... T>
static std::string Join(const T&... v) {
  return ((Text(v) + "|") + ...);
}

// After a round trip the fields hold what was written (w), what the reading
// indicator held before (k), or zero (0); one column per kind: indicator,
// single expression, pattern, system, user function.
struct Probe {
  std::string (*get)(const SIndex&);
  const char* byKind;
};
const Probe kProbes[] = {
    {[](const SIndex& x) { return Join(x.VarName[9], x.Expression[0], x.Password, x.Description); }, "wwwww"},
    {[](const SIndex& x) { return Join(x.VarValue[3], x.LineWidth[0]); }, "wwwwk"},
    {[](const SIndex& x) { return Join(x.VarStart[3], x.VarEnd[8], x.VarIncrement[9]); }, "kkkwk"},
    {[](const SIndex& x) { return Join(x.Expression[1], x.LineColor[1]); }, "wkwwk"},
    {[](const SIndex& x) { return Join(x.Expression[3], x.LineType[3]); }, "wkkwk"},
    {[](const SIndex& x) { return Join(x.LineStyle[0]); }, "wk0kk"},
    {[](const SIndex& x) { return Join(x.Period); }, "kwkkk"},
    {[](const SIndex& x) {
       return Join(x.ShowLine[1], x.Expression[4], x.ExpName[2], x.LineStyle[2], x.LineUpColor[4], x.LineDnColor[3],
                   x.LineUpValue[2], x.LineDnValue[1], x.LineCompMethod[0], x.YValue[4], x.YValueColor, x.YValueStyle,
                   x.YValueWidth, x.MinMaxY, x.UserMin, x.UserMax, x.LogY, x.InvertY);
     },
     "wkkkk"},
};

TEST_F(Definition, EachKindReadsBackExactlyItsOwnFields) {
  const std::string name = Cp949("가격이평");
  for (int kind = 0; kind <= kIndexUserFunction; ++kind) {
    SIndex w = Filled(name, kind, 1), r = Filled(name, kind, 2);
    const SIndex kept = r;
    ASSERT_EQ(w.WriteExpression(name.c_str(), 1, 0), 1) << kind;
    ASSERT_EQ(r.ReadExpression(name.c_str()), 1) << kind;
    EXPECT_EQ(r.IndexName.str(), name);
    for (const Probe& p : kProbes) {
      const char want = p.byKind[kind];
      EXPECT_EQ(p.get(r), want == 'w' ? p.get(w) : want == 'k' ? p.get(kept) : Join(0.0)) << kind << p.byKind;
    }
    // Only an indicator keeps the blanks around its variable texts.
    EXPECT_EQ(r.VarName[0].str(), kind == 0 ? " len " : "len") << kind;
    EXPECT_EQ(r.VarValue[0].str(), kind == 0 ? " 14\t1" : kind == kIndexUserFunction ? " 14\t2" : "14\t1") << kind;
  }
  const SIndex w = Filled(name, 0, 1);
  EXPECT_EQ(Stored(0, name.c_str(), "UserMax"), "99.5");
  EXPECT_EQ(Stored(0, name.c_str(), "LogY"), "1");
  EXPECT_EQ(Stored(1, name.c_str(), "LineStyle0"), "");              // read but never written
  EXPECT_EQ(Stored(2, name.c_str(), "VarEnd3"), w.VarEnd[3].str());  // written but never read
  // User functions are read from the same record.
  SFunctionList functions;
  ASSERT_EQ(functions.ReadFunction(), 1);
  EXPECT_EQ(functions[0].Expression, w.Expression[0]);
}

// The scale flags are on unless stored as an integer other than 1; the shown
// flag falls back to shown; other numbers keep the current value.
TEST_F(Definition, UnparsableStoredNumbersFallBackPerField) {
  ASSERT_EQ(SIndex("flags", 0).WriteExpression("flags", 1, 0), 1);
  Restore(0, "flags", "UserMax", "");
  // clang-format off
  const std::tuple<const char*, const char*, int, int> cases[] = {
      {"LogY", "", 0, 1}, {"LogY", "2", 1, 0}, {"LogY", "on", 0, 1}, {"ShowLine1", "x", 0, 1}, {"LineWidth2", "wide", 7, 7}};
  // clang-format on
  for (const auto& [field, text, before, after] : cases) {
    Restore(0, "flags", field, text);
    SIndex r("flags", 0);
    const std::string f = field;
    int& value = f == "LogY" ? r.LogY : f == "ShowLine1" ? r.ShowLine[1] : r.LineWidth[2];
    value = before;
    r.UserMax = 3.5;
    ASSERT_EQ(r.ReadExpression("flags"), 1);
    EXPECT_EQ(std::tuple(value, r.UserMax), std::tuple(after, 3.5)) << field << " '" << text << "'";
  }
}

// A table from an older version declares only some fields: the text fields
// it lacks keep their values instead of being blanked.
TEST_F(Definition, FieldsTheTableDoesNotDeclareKeepTheirValues) {
  for (const std::string& path : {getIndexDBFileName(0).str(), getUserDBFileName(0).str()}) {
    DB db(0);
    ASSERT_TRUE(db.CreateDB(path.c_str()));
    db.ClearField();
    for (const char* f : {"IndexName", "ShowLine0", "Expression0"}) ASSERT_TRUE(db.InsertField(f, 'c', 50));
    ASSERT_TRUE(db.WriteHead() && db.WriteField() && db.WriteEof());
  }
  DB db(getIndexDBFileName(0).c_str(), 0);
  ASSERT_TRUE(db.Append("short") && db.InsField("ShowLine0", "0") && db.InsField("Expression0", "c"));
  ASSERT_TRUE(db.WriteRecord());
  SIndex r("short", 0);
  r.ShowLine[3] = 0;
  r.Expression[1] = r.ExpName[0] = "kept";
  ASSERT_EQ(r.ReadExpression("short"), 1);
  EXPECT_EQ(std::tuple(r.ShowLine[0], r.ShowLine[3], r.Expression[0].str()), std::tuple(0, 1, "c"));
  EXPECT_EQ(std::tuple(r.Expression[1].str(), r.ExpName[0].str()), std::tuple("kept", "kept"));
}

TEST_F(Definition, RewriteKeepsTheStoredScaleModeOnlyForModeFourWithIsNewZero) {
  SIndex w("scale", 0);
  const std::tuple<int, int, const char*> steps[] = {{1, 1, "1"}, {4, 0, "1"}, {2, 0, "2"}, {4, 2, "4"}};
  for (const auto& [mode, isNew, stored] : steps) {
    w.MinMaxY = mode;
    w.Description = std::to_string(mode * 10 + isNew).c_str();
    ASSERT_EQ(w.WriteExpression("scale", isNew, 0), 1);
    EXPECT_EQ(Stored(0, "scale", "MinMaxY"), stored) << mode << " " << isNew;
    EXPECT_EQ(Stored(0, "scale", "Description"), w.Description.str());  // the rest is rewritten
  }
  EXPECT_EQ(SIndex("absent", 0).WriteExpression("absent", 0, 0), 0);  // a rewrite finds no record
  EXPECT_EQ(Stored(0, "absent", "IndexName"), "<no record>");
}

TEST_F(Definition, FailedReadsLeaveTheIndicatorAsItWasAndCreateNothing) {
  SIndex r("keep", 0), w("there", 0);
  r.Expression[0] = "c";
  EXPECT_EQ(r.ReadExpression("keep"), 0);  // no files at all
  EXPECT_EQ(Listing(scope_.dir), "");
  ASSERT_EQ(w.WriteExpression("there", 1, 1), 1);  // index file alone
  EXPECT_EQ(Listing(scope_.dir), "Indicator.idx ");
  EXPECT_EQ(r.ReadExpression("there"), 0);         // the user file is missing
  ASSERT_EQ(w.WriteExpression("there", 1, 0), 1);  // now with the user file
  EXPECT_EQ(r.ReadExpression("nobody") + r.ReadExpression(nullptr) + r.ReadIndex("there"), 0);
  // Explicit names win.
  EXPECT_EQ(r.ReadExpression("there", getIndexDBFileName(0), (scope_.dir + "none.idx").c_str()), 0);
  EXPECT_EQ(std::tuple(r.IndexName.str(), r.Expression[0].str()), std::tuple("keep", "c"));
  EXPECT_EQ(r.ReadExpression("there"), 1);
  for (int kind : {-1, 5, 6, 10, 30})  // kinds without a record
    EXPECT_EQ(SIndex("odd", kind).WriteExpression("odd", 1, 0) + SIndex("odd", kind).ReadExpression("there"), 0)
        << kind;
  EXPECT_EQ(Stored(0, "odd", "IndexName"), "<no record>");
}

TEST_F(Definition, ConversionReadShowsEveryNamedLineWithAFormula) {
  SIndex w("conv", 0);
  for (int k = 0; k < kIndexLines; ++k) w.ShowLine[k] = 0;
  w.Expression[0] = w.Expression[1] = "c";
  w.ExpName[0] = w.ExpName[2] = "close";  // line 1 has no name, line 2 no formula
  ASSERT_EQ(w.WriteExpression("conv", 1, 0), 1);
  SIndex plain("conv", 0), conv("conv", 0);
  ASSERT_EQ(plain.ReadExpression("conv") + conv.ReadExpForConv("conv"), 2);
  EXPECT_EQ(std::tuple(plain.ShowLine[0], conv.ShowLine[0], conv.ShowLine[1], conv.ShowLine[2]),
            std::tuple(0, 1, 0, 0));
}

// In "/*/" the closing mark is searched after the asterisk.
TEST(Comments, SkipCommentsRemovesLineAndBlockComments) {
  // clang-format off
  const std::pair<const char*, const char*> cases[] = {
      {"a // note\nb", "a \nb"}, {"a // note\r\nb", "a \r\nb"}, {"a // note", "a "}, {"a /* x\n y */b", "a b"},
      {"a /* open", "a "}, {"a /*/ b", "a "}, {"a /**/b/**/", "a b"}, {"a / b /", "a / b /"}, {"/", "/"}, {"", ""},
      {"//\n//\n", "\n\n"}, {"a /* // */ b // /* c\nd", "a  b \nd"}};
  // clang-format on
  for (const auto& [in, out] : cases) {
    SString s(in);
    SIndex::SkipComments(s);
    EXPECT_EQ(s.str(), out) << in;
  }
  char text[] = "avg( c ,\t5 )\x01|x";
  EXPECT_EQ(SIndex::ProcessString(text), text);
  EXPECT_STREQ(text, "avg(c,5)|x");
  EXPECT_EQ(SIndex::ProcessString(nullptr), nullptr);
}

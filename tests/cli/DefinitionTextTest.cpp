// The definitions text read by the build (which reads the shipped texts
// with it): every key lands in its field, continuation lines join, every
// mistake names its file and line.
#include "CliTestUtil.h"

// The definitions of a text that must read, or the error of one that must not.
static std::vector<DefinitionText> Parse(const std::string& text, bool ok = true, std::string* error = nullptr) {
  std::vector<DefinitionText> out;
  std::string message;
  EXPECT_EQ(ParseDefinitions(text, "t.txt", out, error ? *error : message), ok) << text << message;
  return out;
}

static SIndex First(const std::string& text) { return Parse(text).at(0).index; }

TEST(DefinitionText, EveryKindsKeysFillTheirFieldsAndContinuationLinesJoin) {
  auto defs = Parse(
      "# comment\nkind: indicator\n\n[Bands]\ndescription: Two bands.\nvar: period = 20\nvar: width=2.5\n"
      "line: Upper(%period%) = avg(c, period) +\n    width * stdev(c, period)\r\n"
      "bars: Width = 2 * width * stdev(c, period)\nbase: 0, 1.5\n[Second]\nline: c = c\n");
  ASSERT_EQ(defs.size(), 2u);
  const SIndex& x = defs[0].index;
  EXPECT_EQ(std::tuple(defs[0].line, x.IndexName.str(), x.IndexType, x.Description.str(), x.VarValue[1].str()),
            std::tuple(4, "Bands", kIndexIndicator, "Two bands.", "2.5"));
  EXPECT_EQ(std::tuple(x.ExpName[0].str(), x.Expression[0].str(), x.LineType[0]),
            std::tuple("Upper(%period%)", "avg(c, period) +\nwidth * stdev(c, period)", 0));
  EXPECT_EQ(std::tuple(x.ExpName[1].str(), x.LineType[1], x.YValue[0].str(), x.YValue[1].str(), x.VarName[1].str()),
            std::tuple("Width", 1, "0", "1.5", "width"));
  EXPECT_EQ(defs[1].index.Expression[0].str(), "c");
  const SIndex s = First(
      "kind: system\n[S]\nvar: n = 5, 2, 9, 1\nvar: k = 3\n"
      "long entry:\n  c > o\nshort entry: o\nshort exit: c < o\n");
  EXPECT_EQ(
      std::tuple(s.IndexType, s.VarStart[0].str(), s.VarEnd[0].str(), s.VarIncrement[0].str(), s.VarStart[1].str()),
      std::tuple(kIndexSystem, "2", "9", "1", ""));
  EXPECT_EQ(std::tuple(s.Expression[0].str(), s.Expression[1].str(), s.Expression[2].str(), s.Expression[3].str()),
            std::tuple("c > o", "", "o", "c < o"));
  const SIndex f = First("kind: function\n[F]\nparam: a\nparam: b\nformula: a + b\n");
  EXPECT_EQ(std::tuple(f.VarName[1].str(), f.VarValue[1].str(), f.Expression[0].str()), std::tuple("b", "", "a + b"));
  EXPECT_EQ(First("kind: pattern\n[P]\nbullish: c > o\nbearish: c < o\n").Expression[1].str(), "c < o");
  EXPECT_EQ(First("kind: expression\n[E]\nformula: (h + l) / 2\nperiod: 20\n").Period.str(), "20");
  // UTF-8 text is held as code page 949.
  const SIndex k =
      First("kind: indicator\n[가격]\ndescription: 종가 평균\nvar: 기간 = 5\nline: 평균(%기간%) = avg(c, 기간)\n");
  EXPECT_EQ(std::tuple(Cp949ToUtf8Lossy(k.IndexName.str()), Cp949ToUtf8Lossy(k.Expression[0].str())),
            std::tuple("가격", "avg(c, 기간)"));
  EXPECT_NE(k.IndexName.str(), "가격");
}

TEST(DefinitionText, MistakesNameTheirFileAndLine) {
  const std::string head = "kind: indicator\n[A]\n";
  std::string tenVars;
  for (int k = 0; k <= 10; ++k) tenVars += "var: v" + std::to_string(k) + " = 1\n";
  // clang-format off
  const std::pair<std::string, std::string> cases[] = {
      {"[A]\nline: a = c\n", "t.txt:1: a definition before 'kind:'"},
      {"kind: indicators\n", "t.txt:1: unknown kind 'indicators'"},
      {"kind: indicator\nkind: system\n", "t.txt:2: the kind is given twice"},
      {"kind: indicator\nline: a = c\n", "t.txt:2: 'line' before the first [NAME]"},
      {"kind: indicator\n  c\n", "t.txt:2: a continuation line without a key before it"},
      {head + "colour: red\n", "t.txt:3: unknown key 'colour'"},
      {head + "long entry: c\n", "t.txt:3: 'long entry' is not a key of indicator definitions"},
      {head + "just words\n", "t.txt:3: expected KEY: VALUE"},
      {head + "var: 1n = 5\n", "t.txt:3: '1n' is not a formula name"},
      {head + "var: n = 5\nvar: N = 6\n", "t.txt:4: variable 'N' is named twice"},
      {head + "var: n =\n", "t.txt:3: variable 'n' has no value"},
      {head + "var: n = 5, 1, 9, 1\n", "t.txt:3: a variable is written NAME = VALUE"},
      {head + tenVars, "t.txt:13: more than 10 variables"},
      {head + "line: c\n", "t.txt:3: a line is written NAME = FORMULA"},
      {head + "line: = c\n", "t.txt:3: the line has no name"},
      {head + "line: a =\n", "t.txt:3: the formula is empty"},
      {head + "line: a = " + std::string(4096, '1') + "\n", "t.txt:3: the formula is longer than 4095 bytes"},
      {head + "line: a = c\nline: b = c\nline: d = c\nline: e = c\nline: f = c\nline: g = c\n", "t.txt:8: more than 5 lines"},
      {head + "base: 30, high\n", "t.txt:3: base line 'high' is not a number"},
      {head + "description: \xF0\x9F\x98\x80\n", "t.txt:3: the text is not one code page 949 can hold"},
      {head + "description: " + std::string(201, 'x') + "\n", "t.txt:3: the description is longer than 200 bytes"},
      {"kind: indicator\n[A B]\n", "t.txt:2: 'A B' is not a formula name"},
      {"kind: indicator\n[A\n", "t.txt:2: a definition starts with [NAME]"},
      {"kind: indicator\n[A]\nline: a = c\n[a]\n", "t.txt:4: 'a' is defined twice"},
      {"kind: indicator\n[A]\ndescription: none\n[B]\nline: b = c\n", "t.txt:2: 'A' has no formula"},
      {"kind: indicator\n[" + std::string(51, 'a') + "]\n", "t.txt:2: the name is longer than 50 bytes"},
      {"kind: system\n[S]\nvar: n = 5, 1\n", "t.txt:3: a system variable is NAME = VALUE or NAME = VALUE, START, END, STEP"},
      {"kind: system\n[S]\nlong entry: c\nlong entry: o\n", "t.txt:4: the formula is given twice"}};
  // clang-format on
  for (const auto& [text, message] : cases) {
    std::string error;
    EXPECT_TRUE(Parse(text, false, &error).empty());
    EXPECT_EQ(error, message) << text;
  }
}

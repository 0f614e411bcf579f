// chartcalc transform: the CSV of each chart type, the parameter line on
// standard error, and the arguments it refuses.
#include "CliTestUtil.h"

namespace {

// A price file of consecutive days with the given closes and volumes.
std::string Closes(const std::string& name, const std::vector<std::pair<double, double>>& bars) {
  std::string text = "date,open,high,low,close,volume\n";
  for (size_t i = 0; i < bars.size(); ++i) {
    const auto [close, volume] = bars[i];
    char row[160];
    std::snprintf(row, sizeof row, "202401%02zu,%g,%g,%g,%g,%g\n", i + 2, close, close, close, close, volume);
    text += row;
  }
  return WriteFile(name, text);
}

std::vector<std::pair<double, double>> Plain(std::initializer_list<double> closes) {
  std::vector<std::pair<double, double>> bars;
  for (double c : closes) bars.emplace_back(c, 100);
  return bars;
}

}  // namespace

// Small series whose elements are counted by hand from the rules of each
// chart type.
TEST(TransformCommand, HandCountedElementsArePrintedWithTheirBarAndDate) {
  const std::string turn = Closes("tf-turn.csv", Plain({100, 104, 100})),
                    kagi = Closes("tf-kagi.csv", Plain({100, 102, 100.5, 99})),
                    renko = Closes("tf-renko.csv", Plain({100, 103})),
                    lines = Closes("tf-lines.csv", Plain({10, 11, 12, 13, 9})),
                    bands = Closes("tf-bands.csv", {{10, 5}, {20, 15}}), zero = Closes("tf-zero.csv", Plain({0, 0}));
  const std::string head = "n,datetime,bar,start,end\n";
  // clang-format off
  ExpectRuns({
      // Rises to 104 (boxes to 105), the reversal at bar 2 counts five boxes down to 99.
      {{"transform", "pnf", "--p1", "3", "--p2", "1", "--data", turn}, 0,
       head + "1,20240104,2,100,105\n2,20240104,2,104,99\n", "pnf: reversal 3, box 1\n"},
      {{"transform", "kagi", "--p1", "1", "--data", kagi}, 0,
       head + "1,20240104,2,100,102\n2,20240104,2,102,100\n", "kagi: reversal 1\n"},
      // A close of 103 does not yet complete the third brick.
      {{"transform", "renko", "--p1=1", "--data", renko}, 0,
       head + "1,20240103,1,100,101\n2,20240103,1,101,102\n", "renko: brick 1\n"},
      // The turning line starts at the far end of the line before it.
      {{"transform", "linebreak", "--data", lines}, 0,
       head + "1,20240103,1,10,11\n2,20240104,2,11,12\n3,20240105,3,12,13\n4,20240106,4,12,9\n",
       "linebreak: lines 3, turn 13\n"},
      {{"transform", "vap", "--p1", "2", "--data", bands}, 0,
       "n,low,high,volume,of_largest,of_total\n1,10,15,5,0.333333333333333,0.25\n2,15,20,15,1,0.75\n",
       "vap: bands 2\n"},
      // One bar: a constant close leaves every band zero.
      {{"transform", "vap", "--p1", "2", "--from", "1", "--data", bands}, 0,
       "n,low,high,volume,of_largest,of_total\n1,0,0,0,0,0\n2,0,0,0,0,0\n", ""},
      {{"transform", "candlevolume", "--data", Closes("tf-weights.csv", {{5, 1}, {6, 2}, {7, 3}})}, 0,
       "n,datetime,bar,weight\n1,20240102,0,2\n2,20240103,1,4\n3,20240104,2,6\n", "candlevolume\n"},
      // Nothing to compute from zero closes: the header alone.
      {{"transform", "pnf", "--data", zero}, 0, head, ""},
      {{"transform", "swing", "--data", zero}, 0, head, ""},
      // No line drawn: no turn level to report.
      {{"transform", "linebreak", "--data", zero}, 0, head, "linebreak: lines 3\n"}});
  // clang-format on
}

// Every type on the bundled ten years of daily bars: the header, one row per
// element numbered from 1, and a datetime that is the date of the row's bar.
TEST(TransformCommand, EveryTypeNumbersItsRowsAndDatesThemByTheirBar) {
  const auto dates = Rows(RunTool({"eval", "1"}).out);
  const std::string element = "n,datetime,bar,start,end";
  struct Case {
    std::string type, header;
    size_t rows;  // 0: at least one
  };
  const Case cases[] = {
      {"pnf", element, 0},
      {"kagi", element, 0},
      {"swing", element, 0},
      {"renko", element, 0},
      {"linebreak", element, 0},
      {"ccw", "n,datetime,bar,avg_close,avg_volume", dates.size() - 1 - 19},  // from the 20th bar on
      {"candlevolume", "n,datetime,bar,weight", dates.size() - 1},
      {"profile", "n,datetime,bar,letter,day_start,volume,count", dates.size() - 1},
  };
  for (const Case& c : cases) {
    ToolRun r = RunTool({"transform", c.type, "--reset"});
    ASSERT_EQ(r.status, 0) << c.type << ": " << r.err;
    const auto rows = Rows(r.out);
    ASSERT_GT(rows.size(), 1u) << c.type;
    EXPECT_EQ(r.out.substr(0, r.out.find('\n')), c.header);
    if (c.rows) {
      EXPECT_EQ(rows.size() - 1, c.rows) << c.type;
    }
    long previousBar = -1;
    for (size_t i = 1; i < rows.size(); ++i) {
      const long bar = std::stol(rows[i][2]);
      ASSERT_TRUE(rows[i][0] == std::to_string(i) && bar >= previousBar && bar + 1 < static_cast<long>(dates.size()))
          << c.type << " row " << i;
      EXPECT_EQ(rows[i][1], dates[bar + 1][1]) << c.type << " row " << i;
      previousBar = bar;
    }
  }
  EXPECT_EQ(Rows(RunTool({"transform", "vap"}).out).size(), 16u);
}

// The reset writes the data's own sizes; the sample starts near 100.
TEST(TransformCommand, ResetRewritesTheParametersThatTheLineReports) {
  EXPECT_EQ(RunTool({"transform", "pnf", "--reset"}).err.rfind("pnf: reversal 3, box ", 0), 0u);
  EXPECT_NE(RunTool({"transform", "pnf", "--reset"}).err, "pnf: reversal 3, box 1\n");
  EXPECT_EQ(RunTool({"transform", "ccw", "--reset"}).err, "ccw: period 20\n");
  EXPECT_EQ(RunTool({"transform", "vap", "--reset"}).err, "vap: bands 15\n");
}

TEST(TransformCommand, BadTypesParametersAndRangesAreRefused) {
  // clang-format off
  ExpectRuns({
      {{"transform"}, 1, "", "error: transform takes exactly one TYPE"},
      {{"transform", "pnf", "kagi"}, 1, "", "error: transform takes exactly one TYPE"},
      {{"transform", "heikin"}, 1, "", "error: unknown chart type 'heikin'"},
      {{"transform", "pnf", "--p1", "three"}, 1, "", "error: pnf --p1 (reversal count, in boxes) must be a whole number"},
      {{"transform", "pnf", "--p1", "0"}, 1, "", "must be a whole number from 1 to 1000000, not '0'"},
      {{"transform", "pnf", "--p2", "-2"}, 1, "", "error: pnf --p2 (box size, in price units) must be a positive number"},
      {{"transform", "renko", "--p1", "nan"}, 1, "", "must be a positive number, not 'nan'"},
      {{"transform", "kagi", "--p2", "1"}, 1, "", "error: kagi --p2 is not an input\n"},
      {{"transform", "linebreak", "--p2", "5"}, 1, "", "error: linebreak --p2 is not an input (the calculation writes it)"},
      {{"transform", "candlevolume", "--p1", "5"}, 1, "", "error: candlevolume --p1 is not an input"},
      {{"transform", "vap", "--p1", "1"}, 1, "", "must be a whole number from 2 to"},
      {{"transform", "ccw", "--p1", "99999999999999999999"}, 1, "", "must be a whole number from 1"},
      {{"transform", "pnf", "--reset", "--p2", "3"}, 1, "", "error: --reset chooses the parameters itself; leave out --p2"},
      {{"transform", "pnf", "--from", "3"}, 1, "", "error: --from and --to apply to vap only"},
      {{"transform", "vap", "--from", "30", "--to", "20"}, 1, "", "error: --from 30 lies after --to 20"},
      {{"transform", "vap", "--to", "100000"}, 1, "", "error: --to must be a bar from 0 to 2607, not '100000'"},
      {{"transform", "vap", "--from", "-1"}, 1, "", "error: --from must be a bar from 0 to"},
      {{"transform", "pnf", "--data", "/no/such/file.csv"}, 1, "", "error: /no/such/file.csv: cannot open"},
      {{"transform", "pnf", "--svg", "/dev/null/chart.svg"}, 1, "", "error: cannot write /dev/null/chart.svg"},
      {{"transform", "vap", "--p1", "100001"}, 1, "", "must be a whole number from 2 to 100000"},
      {{"transform", "renko", "--p1", "0.001", "--svg", WriteFile("tf-many.svg", "")}, 1, "",
       "elements are too many to draw (at most 200000)"}});
  // clang-format on
}

TEST(TransformCommand, HelpNamesEachTypesParameters) {
  const std::string help = RunTool({"transform", "--help"}).out;
  for (const char* words :
       {"--p1 reversal: reversal count", "--p2 box: box size", "--p1 brick: brick size", "--p1 lines: line count",
        "--p1 period: averaging period", "--p1 minutes: minutes per period", "--p1 bands: price bands"})
    EXPECT_NE(help.find(words), std::string::npos) << words;
}

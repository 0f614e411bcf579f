// INI documents in memory and on disk, and the memory file they travel in.
#include <filesystem>

#include "StorageTestUtil.h"

using namespace chartcalc::detail;

namespace {

TEST(CIniMemFile, ValuesRoundTripThroughFileAndMemoryFile) {
  std::string path = TestDir() + "settings.ini";
  std::string section = Ko("0_설정"), key = Ko("종목");
  {
    CIniMemFile doc;
    doc.WriteInt("SimulationConfigure", "Position", -3, 0);
    doc.WriteDouble("SimulationConfigure", "EntryCommission", 0.1, 0);
    doc.WriteDouble("SimulationConfigure", "Big", 1234567.891, 0);
    doc.WriteString(section.c_str(), key.c_str(), Ko("삼성전자").c_str(), "");
    ASSERT_EQ(doc.SaveIniFile(path.c_str()), 1);
  }
  CIniMemFile fromFile(path.c_str(), 1);
  CMemFile mem;
  ASSERT_EQ(fromFile.GetMemFile(&mem), 1);
  CIniMemFile fromMem;
  ASSERT_EQ(fromMem.LoadIniFile(&mem, 1), 1);
  for (CIniMemFile* doc : {&fromFile, &fromMem}) {
    EXPECT_EQ(static_cast<int>(doc->GetInt("simulationconfigure", "POSITION", 0)), -3);
    EXPECT_EQ(doc->GetDouble("SimulationConfigure", "EntryCommission", 0), 0.1);
    EXPECT_EQ(doc->GetDouble("SimulationConfigure", "Big", 0), 1234567.891);
    EXPECT_EQ(doc->GetString(section.c_str(), key.c_str(), "").str(), Ko("삼성전자"));
    EXPECT_EQ(doc->GetInt("SimulationConfigure", "Missing", 9), 9u);
  }
  EXPECT_EQ(fromFile.IsModified(), 0);
}

TEST(CIniMemFile, TextIsPlainSectionsOfKeyValueLines) {
  CIniMemFile doc;
  doc.WriteInt("A", "x", 1);
  doc.WriteDouble("A", "y", 0.25);
  doc.WriteString("B", "z", "hello world");
  doc.WriteInt("a", "X", 2);  // the same section and key
  EXPECT_EQ(doc.GetText(), "[A]\nx=2\ny=0.25\n\n[B]\nz=hello world\n");
}

TEST(CIniMemFile, QuotedValuesKeepBlanksQuotesAndLineBreaks) {
  const std::string values[] = {" leading", "trailing ", "two\nlines\r\n", "\"quoted\"", "back\\slash", "", "a=b"};
  CIniMemFile doc;
  for (size_t i = 0; i < std::size(values); ++i)
    doc.WriteString("S", ("k" + std::to_string(i)).c_str(), values[i].c_str());
  CIniMemFile back;
  back.SetText(doc.GetText());
  for (size_t i = 0; i < std::size(values); ++i)
    EXPECT_EQ(back.GetString("S", ("k" + std::to_string(i)).c_str(), "?").str(), values[i]) << i;
  EXPECT_NE(doc.GetText().find("k2=\"two\\nlines\\r\\n\""), std::string::npos);
  EXPECT_NE(doc.GetText().find("k6=a=b\n"), std::string::npos);
}

TEST(CIniMemFile, ForeignTextIsReadLenientlyAndItsOtherLinesKept) {
  CIniMemFile doc;
  doc.SetText(
      "top=1\r\n; a comment\r\n  [ Main ]  \r\n  key  =  spaced value  \r\nkey=second\r\n"
      "no equals sign\r\n=novalue\r\n[broken\r\n# hash\r\n[Other]\r\nn=5\r\n");
  EXPECT_EQ(static_cast<int>(doc.GetInt("", "top", 0)), 1);
  EXPECT_STREQ(doc.GetString("main", "KEY", "").c_str(), "spaced value");  // the first one counts
  EXPECT_EQ(doc.GetInt("Other", "n", 0), 5u);
  EXPECT_EQ(doc.GetText(),
            "top=1\n; a comment\n\n[Main]\nkey=spaced value\nkey=second\nno equals sign\n=novalue\n[broken\n"
            "# hash\n\n[Other]\nn=5\n");
}

TEST(CIniMemFile, UnwritableNamesAreRefused) {
  CIniMemFile doc;
  EXPECT_EQ(doc.WriteString("S", "a=b", "v"), 0);
  EXPECT_EQ(doc.WriteString("S", " padded", "v"), 0);
  EXPECT_EQ(doc.WriteString("S", "[x", "v"), 0);
  EXPECT_EQ(doc.WriteString("S", "", "v"), 0);
  EXPECT_EQ(doc.WriteString("S]", "k", "v"), 0);
  EXPECT_EQ(doc.WriteString("S\n", "k", "v"), 0);
  EXPECT_EQ(doc.IsModified(), 0);
  EXPECT_EQ(doc.GetText(), "");
}

TEST(CIniMemFile, BothEncodingsAreReadAndCleanTextIsSavedAsUtf8) {
  std::string dir = TestDir();
  WriteBytes(dir + "utf8.ini", "\xEF\xBB\xBF[알람설정]\n개수=3\n");
  WriteBytes(dir + "cp949.ini", Ko("[알람설정]\n개수=4\n"));
  CIniMemFile utf8((dir + "utf8.ini").c_str(), 1);
  CIniMemFile cp949((dir + "cp949.ini").c_str(), 1);
  EXPECT_EQ(utf8.GetInt(Ko("알람설정").c_str(), Ko("개수").c_str(), 0), 3u);
  EXPECT_EQ(cp949.GetInt(Ko("알람설정").c_str(), Ko("개수").c_str(), 0), 4u);
  cp949.SaveIniFile((dir + "saved.ini").c_str());
  EXPECT_EQ(ReadBytes(dir + "saved.ini"), "[알람설정]\n개수=4\n");
  CIniMemFile raw;
  raw.WriteString("S", "k", "\x80\x80");  // not code page 949: kept as bytes
  raw.SaveIniFile((dir + "raw.ini").c_str());
  CIniMemFile rawBack((dir + "raw.ini").c_str(), 0);
  EXPECT_STREQ(rawBack.GetString("S", "k", "").c_str(), "\x80\x80");
}

TEST(CIniMemFile, BoundDocumentWritesItselfBackOnlyAfterAChange) {
  std::string dir = TestDir();
  std::string path = dir + "alarmset.ini";
  { CIniMemFile unchanged(path.c_str(), 1); }
  EXPECT_EQ(Listing(dir), "");  // reading creates nothing
  {
    CIniMemFile doc(path.c_str(), 1);
    doc.WriteInt("0", "Price", 100);
  }
  EXPECT_EQ(ReadBytes(path), "[0]\nPrice=100\n");
  {
    CIniMemFile doc(path.c_str(), 1);
    doc.WriteInt("0", "Price", 100);  // the same value: no change
  }
  {
    CIniMemFile doc(path.c_str(), 0);  // not bound
    doc.WriteInt("0", "Price", 5);
  }
  EXPECT_EQ(ReadBytes(path), "[0]\nPrice=100\n");
  EXPECT_EQ(Listing(dir), "alarmset.ini ");
}

TEST(CIniMemFile, FileThatCannotBeReadIsNeverOverwritten) {
  std::string dir = TestDir();
  std::string path = dir + "huge.ini";
  WriteBytes(path, "[S]\nk=1\n");
  std::filesystem::resize_file(path, kMaxIniBytes + 1);  // sparse: costs no disk
  {
    CIniMemFile doc(path.c_str(), 1);
    EXPECT_EQ(doc.GetInt("S", "k", 7), 7u);
    doc.WriteInt("S", "k", 2);
  }
  EXPECT_EQ(std::filesystem::file_size(path), kMaxIniBytes + 1);
  CIniFile file(path.c_str());
  EXPECT_EQ(file.WriteInt("S", "k", 3), 0);
  EXPECT_EQ(std::filesystem::file_size(path), kMaxIniBytes + 1);
}

TEST(CIniMemFile, BinaryGarbageParsesWithoutHarm) {
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>((i * 7919) % 256);
  CIniMemFile doc;
  doc.SetText(bytes);
  CIniMemFile again;
  again.SetText(doc.GetText());
  EXPECT_EQ(again.GetText(), doc.GetText());
}

TEST(CIniFile, SingleValuesAreReadAndWrittenThroughTheFile) {
  std::string dir = TestDir();
  CIniFile ini((dir + "sim.ini").c_str());
  EXPECT_EQ(ini.GetDouble("SimulationConfigure", "Slippage", 0.5), 0.5);
  EXPECT_EQ(Listing(dir), "");
  ASSERT_EQ(ini.WriteInt("SimulationConfigure", "Position", 2), 1);
  ASSERT_EQ(ini.WriteDouble("SimulationConfigure", "Slippage", 0.05), 1);
  ASSERT_EQ(ini.WriteString("SimulationConfigure", "AlarmFileName", "ding.wav"), 1);
  CIniFile copy = ini;
  EXPECT_EQ(copy.GetInt("SimulationConfigure", "Position", 0), 2u);
  EXPECT_EQ(copy.GetDouble("SimulationConfigure", "Slippage", 0), 0.05);
  EXPECT_STREQ(copy.GetString("SimulationConfigure", "AlarmFileName", "").c_str(), "ding.wav");
  EXPECT_EQ(Listing(dir), "sim.ini ");
  copy.SetFileName((dir + "other.ini").c_str());
  EXPECT_EQ(copy.GetInt("SimulationConfigure", "Position", 0), 0u);
  CIniFile unnamed;
  EXPECT_EQ(unnamed.WriteInt("S", "k", 1), 0);
}

TEST(CMemFile, ReadsWritesAndSeeksWithinItsBytes) {
  CMemFile f;
  f.Write("hello", 5);
  f.Seek(-2, CMemFile::end);
  f.Write("LO!", 3);
  EXPECT_EQ(f.Content(), "helLO!");
  f.SeekToBegin();
  char buf[16] = {};
  EXPECT_EQ(f.Read(buf, sizeof buf), 6u);
  EXPECT_EQ(f.Read(buf, sizeof buf), 0u);
  EXPECT_EQ(f.Seek(-100, CMemFile::current), 0u);
  EXPECT_EQ(f.Seek(100, CMemFile::begin), 6u);
  f.SetLength(2);
  EXPECT_EQ(f.GetPosition(), 2u);
  EXPECT_EQ(f.Content(), "he");
}

}  // namespace

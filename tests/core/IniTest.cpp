// INI documents in memory and on disk, and the memory file they travel in.
#include "StorageTestUtil.h"

namespace {

// Values with outer blanks, a leading quote or control characters are
// written quoted, with backslash escapes.
TEST(CIniMemFile, TextIsPlainKeyValueLinesQuotedWhereNeededAndUnwritableNamesAreRefused) {
  const std::string values[] = {" leading", "trailing ", "two\nlines\r\n", "\"quoted\"", "back\\slash", "", "a=b"};
  CIniMemFile doc, back;
  doc.WriteInt("A", "x", 1);
  doc.WriteDouble("A", "y", 0.25, 0);
  doc.WriteInt("a", "X", 2);  // the same section and key
  for (auto [section, key] :
       {std::pair{"S", "a=b"}, {"S", " padded"}, {"S", "[x"}, {"S", ""}, {"S]", "k"}, {"S\n", "k"}})
    EXPECT_EQ(doc.WriteString(section, key, "v"), 0) << section << key;
  EXPECT_EQ(doc.GetText(), "[A]\nx=2\ny=0.25\n");
  for (size_t i = 0; i < std::size(values); ++i) doc.WriteString("Q", std::to_string(i).c_str(), values[i].c_str());
  back.SetText(doc.GetText());
  for (size_t i = 0; i < std::size(values); ++i)
    EXPECT_EQ(back.GetString("Q", std::to_string(i).c_str(), "?").str(), values[i]) << i;
  EXPECT_NE(doc.GetText().find("\n2=\"two\\nlines\\r\\n\"\n"), std::string::npos);
  EXPECT_NE(doc.GetText().find("\n6=a=b\n"), std::string::npos);
}

TEST(CIniMemFile, ForeignTextIsReadLenientlyItsOtherLinesKeptAndGarbageIsHarmless) {
  CIniMemFile doc, garbage, again;
  doc.SetText(
      "top=1\r\n; a comment\r\n  [ Main ]  \r\n  key  =  spaced value  \r\nkey=second\r\n"
      "no equals sign\r\n=novalue\r\n[broken\r\n# hash\r\n[Other]\r\nn=5\r\n");
  EXPECT_EQ(static_cast<int>(doc.GetInt("", "top", 0)), 1);
  EXPECT_STREQ(doc.GetString("main", "KEY", "").c_str(), "spaced value");  // the first one counts
  EXPECT_EQ(doc.GetInt("Other", "n", 0), 5u);
  EXPECT_EQ(doc.GetText(),
            "top=1\n; a comment\n\n[Main]\nkey=spaced value\nkey=second\nno equals sign\n=novalue\n[broken\n"
            "# hash\n\n[Other]\nn=5\n");
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>((i * 7919) % 256);
  garbage.SetText(bytes);
  again.SetText(garbage.GetText());
  EXPECT_EQ(again.GetText(), garbage.GetText());
}

// Files are read as UTF-8 (with or without a byte order mark) or code page
// 949, and saved as UTF-8 when the text converts cleanly, else as bytes.
TEST(CIniMemFile, ValuesRoundTripThroughFilesOfBothEncodingsAndTheMemoryFile) {
  std::string dir = TestDir(), section = Ko("알람설정"), key = Ko("개수");
  WriteBytes(dir + "utf8.ini", "\xEF\xBB\xBF[알람설정]\n개수=3\n");
  WriteBytes(dir + "cp949.ini", Ko("[알람설정]\n개수=4\n"));
  CIniMemFile utf8((dir + "utf8.ini").c_str(), 1), doc((dir + "cp949.ini").c_str(), 1), fromMem;
  CMemFile mem;
  EXPECT_EQ(utf8.GetInt(section.c_str(), key.c_str(), 0), 3u);
  ASSERT_EQ(doc.SaveIniFile((dir + "saved.ini").c_str()), 1);
  EXPECT_EQ(ReadBytes(dir + "saved.ini"), "[알람설정]\n개수=4\n");
  doc.WriteDouble("Sim", "Big", 1234567.891, 0);
  doc.WriteString("S", "raw", "\x80\x80");  // no code page 949 text: the file keeps the bytes
  ASSERT_EQ(doc.SaveIniFile((dir + "saved.ini").c_str()), 1);
  EXPECT_EQ(doc.IsModified(), 1);  // saved elsewhere than its own file
  ASSERT_EQ(CIniMemFile((dir + "saved.ini").c_str(), 0).GetMemFile(&mem), 1);
  ASSERT_EQ(fromMem.LoadIniFile(&mem, 1), 1);
  EXPECT_EQ(fromMem.GetDouble("sim", "BIG", 0), 1234567.891);
  EXPECT_EQ(fromMem.GetString("S", "raw", "").str() + fromMem.GetString(section.c_str(), key.c_str(), "").str(),
            "\x80\x80"
            "4");
}

TEST(CIniMemFile, BoundDocumentWritesItselfBackOnlyAfterAChangeAndNeverOverAnUnreadableFile) {
  std::string dir = TestDir(), path = dir + "alarmset.ini", huge = dir + "huge.ini";
  CIniMemFile(path.c_str(), 1);
  EXPECT_EQ(Listing(dir), "");                               // reading creates nothing
  CIniMemFile(path.c_str(), 1).WriteInt("0", "Price", 100);  // written back as it goes
  CIniMemFile(path.c_str(), 0).WriteInt("0", "Price", 5);    // unbound: never written
  EXPECT_EQ(ReadBytes(path), "[0]\nPrice=100\n");
  WriteBytes(huge, "[S]\nk=1\n");
  std::filesystem::resize_file(huge, kMaxIniBytes + 1);  // sparse: costs no disk
  EXPECT_EQ(CIniMemFile(huge.c_str(), 1).GetInt("S", "k", 7), 7u);
  CIniMemFile(huge.c_str(), 1).WriteInt("S", "k", 2);
  EXPECT_EQ(CIniFile(huge.c_str()).WriteInt("S", "k", 3), 0);
  EXPECT_EQ(std::filesystem::file_size(huge), kMaxIniBytes + 1);
  EXPECT_EQ(Listing(dir), "alarmset.ini huge.ini ");
}

TEST(CIniFile, SingleValuesAreReadAndWrittenThroughTheFile) {
  std::string dir = TestDir();
  CIniFile ini((dir + "sim.ini").c_str()), unnamed;
  EXPECT_EQ(ini.GetDouble("Sim", "Slippage", 0.5), 0.5);
  EXPECT_EQ(Listing(dir), "");
  EXPECT_EQ((std::vector<int>{ini.WriteInt("Sim", "Position", 2), ini.WriteDouble("Sim", "Slippage", 0.05),
                              ini.WriteString("Sim", "Alarm", "ding.wav"), ini.WriteString("Sim", "a=b", "x"),
                              unnamed.WriteInt("S", "k", 1)}),
            (std::vector<int>{1, 1, 1, 0, 0}));
  CIniFile copy = ini;
  EXPECT_EQ(copy.GetInt("Sim", "Position", 0), 2u);
  EXPECT_EQ(copy.GetDouble("Sim", "Slippage", 0), 0.05);
  EXPECT_STREQ(copy.GetString("Sim", "Alarm", "").c_str(), "ding.wav");
  EXPECT_EQ(Listing(dir), "sim.ini ");
}

TEST(CMemFile, ReadsWritesAndSeeksWithinItsBytes) {
  CMemFile f;
  char buf[16] = {};
  f.Write("hello", 5);
  f.Seek(-2, CMemFile::end);
  f.Write("LO!", 3);
  f.SeekToBegin();
  EXPECT_EQ((std::vector<unsigned long long>{f.Read(buf, sizeof buf), f.Read(buf, sizeof buf),
                                             f.Seek(-100, CMemFile::current), f.Seek(100, CMemFile::begin)}),
            (std::vector<unsigned long long>{6, 0, 0, 6}));
  EXPECT_STREQ(buf, "helLO!");
  f.SetLength(2);
  EXPECT_EQ(std::pair(f.GetPosition(), std::string(f.Content())), std::pair(2ull, std::string("he")));
}

}  // namespace

#include <gtest/gtest.h>

#include <afx.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "devinfo/SubtypeInfo.h"

namespace {

namespace fs = std::filesystem;
using log_def::LOGSUBTYPE_LINK_DOWN;
using log_def::LOGTYPE_ALARM;
using log_def::LOGTYPE_TRAP;

// A subtype file in a directory of its own, removed at the end.
class SubtypeFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("omlib-subtype-" + std::to_string(::getpid()) +
            "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
    path_ = (dir_ / "SubtypeInfo.ini").string();
  }
  void TearDown() override { fs::remove_all(dir_); }

  void write(const std::string& bytes) {
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    out << bytes;
  }
  // Loads `bytes` through the file; fails the test when reload fails.
  void load(const std::string& bytes) {
    write(bytes);
    ASSERT_TRUE(info_.reload(tstring(path_)));
  }

  fs::path dir_;
  std::string path_;
  SubtypeInfo info_;
};

// Opens the protected parts.
class SubtypeProbe : public SubtypeInfo {
 public:
  using SubtypeInfo::add;
  using SubtypeInfo::analyzeLine;
  using SubtypeInfo::find_;
};

std::vector<int> subtypes(const SubtypeInfo& info) {
  std::vector<int> out;
  for (const SubtypeInfo::element* e : info.getContainer()) out.push_back(e->getSubtype());
  return out;
}

TEST_F(SubtypeFile, CommentsAndBlankLinesLoadNothing) {
  load("; subtype table\n\n;12, 3, LinkDown, Link, port\n\r\n;\n");
  EXPECT_TRUE(info_.empty());
  EXPECT_TRUE(info_.getContainer().empty());
  const SubtypeInfo::element missing = info_.find(12);
  EXPECT_TRUE(missing.empty());
  EXPECT_EQ(missing.toString(), "empty! <Subtype Information Element>");
  EXPECT_EQ(info_.find("LinkDown").toString(), "empty! <Subtype Information Element>");
  EXPECT_TRUE(info_.enumSubtype(3).empty());
}

TEST_F(SubtypeFile, QuotedTextsSplitAtBlanksAndExtraTokensAreDropped) {
  load("12, 3, LinkDown, Link, \"port link down\"\n");
  ASSERT_EQ(info_.getContainer().size(), 1u);
  const SubtypeInfo::element e = info_.find(LOGSUBTYPE_LINK_DOWN + 4);
  EXPECT_EQ(e.getSubtype(), 12);
  EXPECT_EQ(e.getType(), 3);
  EXPECT_EQ(e.getName(), "LinkDown");
  EXPECT_EQ(e.getQualifier(), "Link");
  EXPECT_EQ(e.getDescription(), "port");
  EXPECT_EQ(e.toString(), "12(3), LinkDown(Link), port");
  EXPECT_EQ(info_.find("LinkDown").toString(), "12(3), LinkDown(Link), port");
}

TEST_F(SubtypeFile, ShortLinesAreIgnoredAndMissingTextsAreEmpty) {
  load("7 2\n"
       "8\n"
       "9 4 OnlyName\n"
       "10\t4\tNamed\tQual\n"
       "\"11\",\"4\",\"Quoted\",\"Q\",\"D\"\n"
       "   \t \n");
  EXPECT_EQ(subtypes(info_), (std::vector<int>{9, 10, 11}));
  EXPECT_TRUE(info_.find(7).empty());
  EXPECT_EQ(info_.find(9).toString(), "9(4), OnlyName(), ");
  EXPECT_EQ(info_.find(10).toString(), "10(4), Named(Qual), ");
  EXPECT_EQ(info_.find("Quoted").toString(), "11(4), Quoted(Q), D");
}

TEST_F(SubtypeFile, DuplicateNumbersAndNamesAreRefused) {
  load("8, 3, LinkDown, Link, first\n"
       "8, 2, Other, X, second\n"      // same number: refused
       "9, 3, LinkDown, Link, third\n"  // same name: refused
       "9, 3, LinkUp, Link, fourth\n"
       "10, 3, linkdown, Link, fifth\n");  // names are case-sensitive
  EXPECT_EQ(subtypes(info_), (std::vector<int>{8, 9, 10}));
  EXPECT_EQ(info_.find(8).getDescription(), "first");
  EXPECT_EQ(info_.find("LinkDown").getSubtype(), 8);
  EXPECT_TRUE(info_.find("Other").empty());
  EXPECT_EQ(info_.find(9).getName(), "LinkUp");
  EXPECT_EQ(info_.find("linkdown").getSubtype(), 10);
}

TEST_F(SubtypeFile, NumbersReadLikeAtoi) {
  load("abc 3 NotANumber\n"
       "-5 x Negative\n"
       "12abc 3z Trailing\n"
       "  ; 4 Indented\n");  // only a ';' in the first column makes a comment
  EXPECT_EQ(info_.find("NotANumber").toString(), "0(3), NotANumber(), ");
  EXPECT_EQ(info_.find("Negative").toString(), "-5(0), Negative(), ");
  EXPECT_EQ(info_.find("Trailing").toString(), "12(3), Trailing(), ");
  // ";" reads as 0, which NotANumber holds already: refused.
  EXPECT_TRUE(info_.find("Indented").empty());
  EXPECT_EQ(info_.getContainer().size(), 3u);
}

TEST_F(SubtypeFile, LineEndsAndBufferBoundaries) {
  // CR LF, lone CR, LF, and no end on the last line.
  load("1 1 A\r\n2 1 B\r3 1 C\n4 1 D");
  EXPECT_EQ(subtypes(info_), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(info_.find(2).getName(), "B");

  // A line longer than the archive's 4096-byte buffer, and enough lines that
  // CR LF pairs straddle the buffer's edges.
  const std::string longText(5000, 'x');
  std::string text = "1 1 Long Q " + longText + "\r\n";
  for (int i = 2; i <= 1500; ++i) text += std::to_string(i) + " 2 N" + std::to_string(i) + "\r\n";
  load(text);
  ASSERT_EQ(info_.getContainer().size(), 1500u);
  EXPECT_EQ(info_.find(1).getDescription(), longText);
  for (int i = 2; i <= 1500; ++i) {
    ASSERT_EQ(info_.find(i).getName(), "N" + std::to_string(i)) << i;
  }
  EXPECT_EQ(info_.getNumOfSubtypes(2), 1499);
}

TEST_F(SubtypeFile, Cp932TextsAreKeptAsBytes) {
  // "リンクダウン" and "表" (0x95 0x5C) in code page 932.
  const std::string linkDown = "\x83\x8A\x83\x93\x83\x4E\x83\x5F\x83\x45\x83\x93";
  load("8, 3, " + linkDown + ", \x95\x5C, \"\x83\x7C\x81\x5B\x83\x67\"\n");
  const SubtypeInfo::element e = info_.find(linkDown);
  EXPECT_EQ(e.getSubtype(), 8);
  EXPECT_EQ(e.getQualifier(), "\x95\x5C");
  EXPECT_EQ(e.toString(), "8(3), " + linkDown + "(\x95\x5C), \x83\x7C\x81\x5B\x83\x67");
}

TEST_F(SubtypeFile, TypesListTheirSubtypesInFileOrder) {
  load("20 3 T20\n5 2 A5\n9 3 T9\n3 3 T3\n7 2 A7\n");
  EXPECT_EQ(info_.enumSubtype(LOGTYPE_TRAP), (std::vector<int>{20, 9, 3}));
  EXPECT_EQ(info_.enumSubtype(2), (std::vector<int>{5, 7}));
  EXPECT_TRUE(info_.enumSubtype(1).empty());
  EXPECT_EQ(info_.getNumOfSubtypes(LOGTYPE_TRAP), 3);
  EXPECT_EQ(info_.getNumOfSubtypes(LOGTYPE_ALARM), 2);
  EXPECT_TRUE(info_.isMemberOf(9, 3));
  EXPECT_FALSE(info_.isMemberOf(9, 2));
  EXPECT_FALSE(info_.isMemberOf(6, 3));
  EXPECT_TRUE(info_.isMemberOf(static_cast<log_def::tagLOGSUBTYPE>(7), LOGTYPE_ALARM));
}

TEST_F(SubtypeFile, ReloadReplacesTheTableAndFailsOnAMissingFile) {
  load("1 1 A\n2 1 B\n");
  load("3 1 C\n");
  EXPECT_EQ(subtypes(info_), (std::vector<int>{3}));
  EXPECT_TRUE(info_.find("A").empty());

  EXPECT_FALSE(info_.reload(tstring((dir_ / "missing.ini").string())));
  EXPECT_TRUE(info_.empty());
  EXPECT_TRUE(info_.find(3).empty());
}

TEST_F(SubtypeFile, OpeningDeniesWritersAndIsRefusedWhileOneWrites) {
  write("1 1 A\n");
  // A writer holds the file open: an open that denies writing must fail.
  CFile writer;
  ASSERT_TRUE(writer.Open(path_.c_str(), CFile::modeWrite | CFile::shareDenyNone));
  EXPECT_FALSE(info_.reload(tstring(path_)));
  writer.Close();
  // Readers that let others read are fine.
  CFile reader;
  ASSERT_TRUE(reader.Open(path_.c_str(), CFile::modeRead | CFile::shareDenyNone));
  EXPECT_TRUE(info_.reload(tstring(path_)));
  EXPECT_EQ(info_.find(1).getName(), "A");
}

TEST(SubtypeInfo, ReloadsFromAnOpenFileWhereItStands) {
  const std::string text = "skip this\n5 2 Five\n6 2 Six\n";
  CMemFile file(reinterpret_cast<BYTE*>(const_cast<char*>(text.data())),
                static_cast<UINT>(text.size()));
  file.Seek(10, CFile::begin);
  SubtypeInfo info;
  ASSERT_TRUE(info.reload(file));
  EXPECT_EQ(subtypes(info), (std::vector<int>{5, 6}));
  // A file that cannot be read gives false.
  CFile closed;
  EXPECT_FALSE(info.reload(closed));
  EXPECT_TRUE(info.empty());
}

TEST(SubtypeInfo, AnalyzeLineAndAddReportWhatTheyDid) {
  SubtypeProbe info;
  EXPECT_TRUE(info.analyzeLine(""));
  EXPECT_TRUE(info.analyzeLine("; 1 1 X"));
  EXPECT_TRUE(info.analyzeLine("1 1"));
  EXPECT_TRUE(info.analyzeLine("1 1 X"));
  EXPECT_FALSE(info.analyzeLine("1 2 Y"));  // refused: number taken
  EXPECT_FALSE(info.analyzeLine("2 2 X"));  // refused: name taken
  EXPECT_TRUE(info.add(SubtypeInfo::element(2, 2, "Y", "", "")));
  EXPECT_FALSE(info.add(SubtypeInfo::element(2, 9, "Z", "", "")));
  ASSERT_NE(info.find_(2), nullptr);
  EXPECT_EQ(info.find_(2), info.find_(tstring("Y")));
  EXPECT_EQ(info.find_(3), nullptr);
  EXPECT_EQ(info.find_(tstring("Z")), nullptr);
}

TEST(SubtypeInfo, CopiesAreDeepAndIndependent) {
  SubtypeProbe original;
  original.analyzeLine("1 1 A a first");
  original.analyzeLine("2 3 B b second");
  SubtypeInfo copy(original);
  ASSERT_EQ(copy.getContainer().size(), 2u);
  EXPECT_NE(copy.getContainer()[0], original.getContainer()[0]);
  original.clear();
  EXPECT_EQ(copy.find("B").toString(), "2(3), B(b), second");
  EXPECT_TRUE(copy.isMemberOf(2, 3));

  SubtypeInfo assigned;
  assigned = copy;
  copy.clear();
  EXPECT_EQ(assigned.find(1).toString(), "1(1), A(a), first");
  const SubtypeInfo& same = assigned;
  assigned = same;  // self-assignment keeps the table
  EXPECT_EQ(assigned.getContainer().size(), 2u);
}

}  // namespace

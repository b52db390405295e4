#include <gtest/gtest.h>

#include <om/codepage.h>

#include <random>

#include "model/NetworkPath.h"

namespace {

typedef std::vector<std::string> Names;

// Double-byte characters of code page 932 whose trail byte is 0x5C, the
// separator: "表" (95 5C), "ソ" (83 5C), "能" (94 5C).
const std::string kHyo = "\x95\x5C";
const std::string kSo = "\x83\x5C";
const std::string kNo = "\x94\x5C";

Names parsed(const std::string& text) { return CNetworkPath(text).getVector(); }

// Opens the protected helpers.
class PathProbe : public CNetworkPath {
 public:
  using CNetworkPath::isSJIS;
  using CNetworkPath::parse;
};

TEST(CNetworkPath, RootNamesAreTheirCp932Bytes) {
  EXPECT_EQ(CNetworkPath::getRootMark(), "\\");
  EXPECT_EQ(CNetworkPath::getSeparator(), "\\");
  EXPECT_EQ(CNetworkPath::getPhysicalRootName(), std::string("\x95\xA8\x97\x9D"));
  EXPECT_EQ(CNetworkPath::getLogicalRootName(), std::string("\x98\x5F\x97\x9D"));
  EXPECT_EQ(CNetworkPath::getTaskRootName(), std::string("\x83\x5E\x83\x58\x83\x4E"));
  EXPECT_EQ(om::cp932ToUtf8(CNetworkPath::getPhysicalRootName()), "物理");
  EXPECT_EQ(om::cp932ToUtf8(CNetworkPath::getLogicalRootName()), "論理");
  EXPECT_EQ(om::cp932ToUtf8(CNetworkPath::getTaskRootName()), "タスク");
}

TEST(CNetworkPath, TrailByteBackslashStaysInItsName) {
  EXPECT_EQ(parsed("\\" + kHyo + "\\A"), (Names{kHyo, "A"}));
  EXPECT_EQ(parsed("\\" + kSo + kNo + "\\" + kHyo), (Names{kSo + kNo, kHyo}));
  // A name ending in such a character, followed by a real separator.
  EXPECT_EQ(parsed("\\x" + kHyo + "\\y"), (Names{"x" + kHyo, "y"}));
  // A double-byte character followed by a doubled separator.
  EXPECT_EQ(parsed("A" + kNo + "\\\\B"), (Names{"A" + kNo, "B"}));
  // The logical root name has 0x5F, not 0x5C, as trail byte, but the whole
  // logical path must survive with a 0x5C character below it.
  const std::string logical = CNetworkPath::getLogicalRootName();
  EXPECT_EQ(parsed("\\" + logical + "\\" + kHyo + kSo), (Names{logical, kHyo + kSo}));
  // 0xFD-0xFF are not lead bytes: the backslash after them separates.
  EXPECT_EQ(parsed("\xFD\\A"), (Names{"\xFD", "A"}));
  EXPECT_EQ(parsed("\xFF\\A"), (Names{"\xFF", "A"}));
  // Half-width katakana (0xA1-0xDF) are single bytes.
  EXPECT_EQ(parsed("\xB1\\\xB2"), (Names{"\xB1", "\xB2"}));
}

TEST(CNetworkPath, SeparatorRunsAndEmptyTextsGiveNoEmptyNames) {
  EXPECT_TRUE(parsed("").empty());
  EXPECT_TRUE(parsed("\\").empty());
  EXPECT_TRUE(parsed("\\\\\\\\").empty());
  EXPECT_EQ(parsed("\\\\A\\\\B\\"), (Names{"A", "B"}));
  EXPECT_EQ(parsed("A\\B"), (Names{"A", "B"}));
  EXPECT_EQ(parsed("\\A\\B"), (Names{"A", "B"}));
  EXPECT_EQ(parsed("A"), (Names{"A"}));
  EXPECT_EQ(parsed("A\\\\\\"), (Names{"A"}));
  EXPECT_EQ(parsed(" \\ "), (Names{" ", " "}));
  EXPECT_EQ(CNetworkPath().getPath(), "");
  EXPECT_EQ(CNetworkPath("\\\\").getPath(), "");
}

TEST(CNetworkPath, LoneLeadByteAtTheEndStaysInTheLastName) {
  EXPECT_EQ(parsed("\\A\\\x95"), (Names{"A", "\x95"}));
  EXPECT_EQ(parsed("\\A\x95"), (Names{"A\x95"}));
  EXPECT_EQ(parsed("\x81"), (Names{"\x81"}));
  // The lead byte eats the separator after it.
  EXPECT_EQ(parsed("\\A\x95\\"), (Names{"A\x95\\"}));
  // Embedded NUL bytes are ordinary bytes.
  EXPECT_EQ(parsed(std::string("a\0b\\c", 5)), (Names{std::string("a\0b", 3), "c"}));
}

TEST(CNetworkPath, WellFormedTextsRoundTrip) {
  const std::string physical = CNetworkPath::getPhysicalRootName();
  for (const std::string& text : Names{"\\A", "\\A\\B\\C", "\\" + physical + "\\" + kHyo,
                                 "\\" + CNetworkPath::getTaskRootName() + "\\" + kSo + "x\\y" + kNo}) {
    CNetworkPath path;
    path.set(text);
    EXPECT_EQ(path.getPath(), text);
  }

  // Names built from single-byte characters and double-byte characters,
  // many of them with 0x5C as trail byte.
  const std::vector<std::string> pieces = {"a", "Z", "0", "-", " ", ".", "\xB1", kHyo, kSo,
                                           kNo, "\x95\xA8", "\xE0\x40", "\xFC\xFC", "\x81\x5C"};
  std::mt19937 rng(20240605);
  for (int round = 0; round < 500; ++round) {
    Names names(1 + rng() % 5);
    std::string text;
    for (std::string& name : names) {
      const size_t length = 1 + rng() % 4;
      for (size_t i = 0; i < length; ++i) name += pieces[rng() % pieces.size()];
      text += "\\" + name;
    }
    const CNetworkPath path(text);
    ASSERT_EQ(path.getVector(), names) << "round " << round;
    ASSERT_EQ(path.getPath(), text) << "round " << round;
    ASSERT_EQ(CNetworkPath(names).getPath(), text);
  }
}

TEST(CNetworkPath, NamesParentsAndEditing) {
  const std::string physical = CNetworkPath::getPhysicalRootName();
  CNetworkPath path("\\" + physical + "\\A");
  EXPECT_EQ(path.rootName(), physical);
  EXPECT_EQ(path.name(), "A");
  EXPECT_EQ(path.parentName(), physical);
  EXPECT_EQ(path.parentPath(), "\\" + physical);

  path.addChild("port" + kHyo);
  EXPECT_EQ(path.getPath(), "\\" + physical + "\\A\\port" + kHyo);
  EXPECT_EQ(path.parentPath(), "\\" + physical + "\\A");
  EXPECT_EQ(path.parentName(), "A");
  EXPECT_EQ(path.name(), "port" + kHyo);

  path.addParent("top");
  EXPECT_EQ(path.rootName(), "top");
  EXPECT_EQ(path.getVector().size(), 4u);

  const CNetworkPath one("\\only");
  EXPECT_EQ(one.parentPath() + one.parentName(), "");
  EXPECT_EQ(one.rootName() + one.name(), "onlyonly");
  const CNetworkPath none;
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.rootName() + none.name() + none.parentPath(), "");

  // Names given as a list are taken as they are, separators included.
  const CNetworkPath raw(Names{"a\\b", ""});
  EXPECT_EQ(raw.getVector(), (Names{"a\\b", ""}));
  EXPECT_EQ(raw.getPath(), "\\a\\b\\");
}

TEST(CNetworkPath, HasNameAndDuplicates) {
  const std::string physical = CNetworkPath::getPhysicalRootName();
  const CNetworkPath dup(Names{physical, "A", "A"});
  const CNetworkPath distinct(Names{physical, "A", "B"});
  EXPECT_TRUE(dup.isDuplicated());
  EXPECT_FALSE(distinct.isDuplicated());
  EXPECT_FALSE(CNetworkPath().isDuplicated());
  EXPECT_TRUE(CNetworkPath(Names{"x", "y", "x"}).isDuplicated());

  EXPECT_TRUE(distinct.hasName(physical));
  EXPECT_TRUE(distinct.hasName("B"));
  EXPECT_FALSE(distinct.hasName("b"));
  EXPECT_FALSE(distinct.hasName(""));
}

TEST(CNetworkPath, IsSJISTestsTheFirstByte) {
  EXPECT_TRUE(PathProbe::isSJIS("\x81"));
  EXPECT_TRUE(PathProbe::isSJIS("\x9F" "a"));
  EXPECT_TRUE(PathProbe::isSJIS("\xE0"));
  EXPECT_TRUE(PathProbe::isSJIS("\xFE"));  // wider than the lead bytes of 932
  EXPECT_FALSE(PathProbe::isSJIS("\xFF"));
  EXPECT_FALSE(PathProbe::isSJIS("\x80"));
  EXPECT_FALSE(PathProbe::isSJIS("\xA0"));
  EXPECT_FALSE(PathProbe::isSJIS("\xDF"));
  EXPECT_FALSE(PathProbe::isSJIS("a\x81"));
  EXPECT_FALSE(PathProbe::isSJIS(""));
  EXPECT_EQ(PathProbe::parse("\\a\\b"), (Names{"a", "b"}));
}

}  // namespace

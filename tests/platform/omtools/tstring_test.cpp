#include <gtest/gtest.h>

#include <om/codepage.h>
#include <omtools/tstring.h>
#include <omtools/auto_ptrex.h>

namespace {

TEST(Tstring, FormatHasNoLengthLimit) {
  tstring s;
  EXPECT_EQ(s.format("%s=\"%d\"", "Task.Id", 12), "Task.Id=\"12\"");
  const std::string big(100000, 'x');
  EXPECT_EQ(s.format("[%s]", big.c_str()).size(), 100002u);
  EXPECT_EQ(s.format("%s", ""), "");
}

TEST(Tstring, LoadString) {
  tstring s("keep");
  EXPECT_FALSE(s.loadString(1));
  EXPECT_EQ(s, "keep");
  EXPECT_TRUE(s.loadString(7085));
  EXPECT_EQ(s, "WQL");
  EXPECT_TRUE(s.loadString(25004));
  EXPECT_EQ(s, om::utf8ToCp932("その他"));
}

TEST(Tstring, CompareNoCase) {
  EXPECT_EQ(tstring("LogSaveLevel").compareNoCase("logsavelevel"), 0);
  EXPECT_LT(tstring("abc").compareNoCase("ABD"), 0);
  EXPECT_GT(tstring("abcd").compareNoCase("ABC"), 0);
  EXPECT_LT(tstring("").compareNoCase("a"), 0);
  EXPECT_EQ(tstring("TRUE").compareNoCase(nullptr), 1);
  // The trail byte of "ｃ"-like double-byte characters is not case-folded:
  // 0x82 0x60 ("Ａ") and 0x82 0x81 ("ａ") differ.
  EXPECT_NE(tstring("\x82\x60").compareNoCase("\x82\x81"), 0);
  // Trail bytes in the ASCII letter range are not folded either: 0x83 0x41 vs 0x83 0x61.
  EXPECT_NE(tstring("\x83\x41").compareNoCase("\x83\x61"), 0);
}

TEST(AutoPtrex, OwnsAndReleases) {
  static int deleted = 0;
  struct Counted {
    ~Counted() { ++deleted; }
  };
  {
    std::auto_ptrex<Counted> p(new Counted);
    p.reset(new Counted);
    EXPECT_EQ(deleted, 1);
    Counted* raw = p.release();
    EXPECT_EQ(p.get(), nullptr);
    p.reset(raw);
  }
  EXPECT_EQ(deleted, 2);
}

}  // namespace

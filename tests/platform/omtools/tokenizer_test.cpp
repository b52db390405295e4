#include <gtest/gtest.h>

#include <omtools/StringTokenizer.h>

namespace {

std::vector<std::string> tokens(const std::string& text, const std::string& delims) {
  StringTokenizer t(text, delims);
  std::vector<std::string> out;
  const int count = t.countTokens();
  while (t.hasMoreTokens()) out.push_back(t.nextToken());
  EXPECT_EQ(static_cast<int>(out.size()), count);
  EXPECT_EQ(t.nextToken(), "");
  EXPECT_EQ(t.countTokens(), 0);
  return out;
}

TEST(StringTokenizer, SplitsAtAnyDelimiterSkippingEmptyTokens) {
  const std::string seps = " \t\r\n\",";
  EXPECT_EQ(tokens("12, 3, LinkDown, Link, \"port link down\"", seps),
            (std::vector<std::string>{"12", "3", "LinkDown", "Link", "port", "link", "down"}));
  EXPECT_EQ(tokens(",,a,,b,,", ","), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(tokens("", ",").empty());
  EXPECT_TRUE(tokens(" \t ", " \t").empty());
  EXPECT_EQ(tokens("abc", ""), (std::vector<std::string>{"abc"}));
}

TEST(StringTokenizer, DoubleByteTrailBytesAreNotDelimiters) {
  // "表" is 0x95 0x5C: splitting at backslashes must keep it whole.
  EXPECT_EQ(tokens("a\\\x95\x5C\\b", "\\"), (std::vector<std::string>{"a", "\x95\x5C", "b"}));
  // 0x83 0x40 ("ァ"): trail byte '@' stays.
  EXPECT_EQ(tokens("x@\x83\x40@y", "@"), (std::vector<std::string>{"x", "\x83\x40", "y"}));
}

TEST(StringTokenizer, CountTracksWhatIsLeft) {
  StringTokenizer t("a b c", " ");
  EXPECT_EQ(t.countTokens(), 3);
  EXPECT_EQ(t.nextToken(), "a");
  EXPECT_EQ(t.countTokens(), 2);
}

}  // namespace

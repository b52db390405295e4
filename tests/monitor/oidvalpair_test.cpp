#include <gtest/gtest.h>

#include <thread>

#include "monitor/OidValPair.h"

namespace {

typedef OidValPair::StringPair StringPair;

// Restores the process-wide separator when a test ends.
class SeparatorGuard {
 public:
  SeparatorGuard() : saved_(OidValPair::getSeparator()) {}
  ~SeparatorGuard() { OidValPair::setSeparator(saved_); }

 private:
  char saved_;
};

TEST(OidValPair, SeparateAndConcat) {
  EXPECT_EQ(OidValPair::getSeparator(), ':');
  EXPECT_EQ(OidValPair::separate("1.3.6.1:abc:def"), StringPair("1.3.6.1", "abc:def"));
  EXPECT_EQ(OidValPair::separate("abc"), StringPair("", "abc"));
  EXPECT_EQ(OidValPair::separate(":v"), StringPair("", "v"));
  EXPECT_EQ(OidValPair::separate("o:"), StringPair("o", ""));
  EXPECT_EQ(OidValPair::separate(""), StringPair("", ""));
  EXPECT_EQ(OidValPair::concat("", "x"), "x");
  EXPECT_EQ(OidValPair::concat("1.3", "x"), "1.3:x");
  EXPECT_EQ(OidValPair::concat("1.3", ""), "1.3:");
  EXPECT_EQ(OidValPair::concat(StringPair("a", "b")), "a:b");
  EXPECT_TRUE(OidValPair::hasSeparator("a:b"));
  EXPECT_FALSE(OidValPair::hasSeparator("ab"));

  // A text splits and joins back to itself when its first part is not empty.
  for (const std::string text : {"1.3.6.1.2.1.1.1.0:Linux box", "a::b", "x:"}) {
    EXPECT_EQ(OidValPair(text).concat(), text);
  }
}

TEST(OidValPair, ConstructorsAndAccessors) {
  const OidValPair fromText("1.3.6.1.2.1.1.5.0:host");
  EXPECT_EQ(fromText.getOid(), "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(fromText.getValue(), "host");
  EXPECT_TRUE(fromText.hasOid());
  const OidValPair noOid("sysDescr.0");
  EXPECT_FALSE(noOid.hasOid());
  EXPECT_EQ(noOid.getVariable(), "sysDescr.0");
  EXPECT_EQ(noOid.getMibName(), "sysDescr");
  EXPECT_EQ(OidValPair("o", "plain").getMibName(), "plain");
  EXPECT_EQ(OidValPair("o", "").getMibName(), "");

  OidValPair pair(StringPair("a", "b"));
  pair.setOid("c");
  pair.setValue("d");
  EXPECT_EQ(pair.concat(), "c:d");
  pair.setVariable("e");
  EXPECT_EQ(pair.getValue(), "e");
  pair.clear();
  EXPECT_FALSE(pair.hasOid());
  EXPECT_EQ(pair.getValue(), "");
  EXPECT_EQ(OidValPair().concat(), "");
}

TEST(OidValPair, SeparatorIsProcessWideAndStepsOverDoubleByteCharacters) {
  SeparatorGuard guard;
  OidValPair::setSeparator('=');
  const OidValPair pair("a", "b");
  EXPECT_EQ(pair.concat(), "a=b");
  // Another thread sees the same setting.
  std::string fromThread;
  std::thread([&] { fromThread = OidValPair::concat("x", "y"); }).join();
  EXPECT_EQ(fromThread, "x=y");
  EXPECT_EQ(OidValPair::separate("a:b=c"), StringPair("a:b", "c"));

  // With a backslash as separator, the trail byte 0x5C of a double-byte
  // character is not taken for it.
  OidValPair::setSeparator('\\');
  const std::string so = "\x83\x5C";  // one character of code page 932
  EXPECT_FALSE(OidValPair::hasSeparator(so + "abc"));
  EXPECT_EQ(OidValPair::separate(so + "\\" + so), StringPair(so, so));
  EXPECT_EQ(OidValPair::separate("a\\b"), StringPair("a", "b"));
  // A lead byte at the very end is a character of its own.
  EXPECT_EQ(OidValPair::separate("\x83"), StringPair("", "\x83"));
}

}  // namespace

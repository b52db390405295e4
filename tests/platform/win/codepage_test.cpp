#include <gtest/gtest.h>

#include <om/codepage.h>
#include <windows.h>

namespace {

// "表" is 0x95 0x5C in code page 932: its trail byte is a backslash.
const std::string kHyou = "\x95\x5C";
const std::string kSoftware = "\x83\x5C\x83\x74\x83\x67";  // "ソフト": trail bytes 0x5C, 0x74, 0x67

TEST(CodePage, LeadByteRanges) {
  for (int c = 0; c < 256; ++c) {
    const bool lead = (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
    EXPECT_EQ(IsDBCSLeadByte(static_cast<BYTE>(c)) != 0, lead) << c;
    EXPECT_EQ(IsDBCSLeadByteEx(932, static_cast<BYTE>(c)) != 0, lead) << c;
    EXPECT_EQ(IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(c)) != 0, lead) << c;
    EXPECT_FALSE(IsDBCSLeadByteEx(CP_UTF8, static_cast<BYTE>(c)));
  }
}

TEST(CodePage, TrailByteBackslashSurvivesRoundTrips) {
  EXPECT_EQ(om::cp932ToUtf16(kHyou), u"表");
  EXPECT_EQ(om::cp932ToUtf8(kSoftware), "ソフト");
  EXPECT_EQ(om::utf8ToCp932("表\\ソフト"), kHyou + "\\" + kSoftware);
  const std::string mixed = "A" + kHyou + "\\b" + kSoftware + "~";
  EXPECT_EQ(om::utf16ToCp932(om::cp932ToUtf16(mixed)), mixed);
  EXPECT_EQ(om::utf8ToCp932(om::cp932ToUtf8(mixed)), mixed);
  // Single-byte katakana and the ASCII range map one to one.
  EXPECT_EQ(om::cp932ToUtf16("\xB1\x5C\x7E"), u"ｱ\\~");
}

TEST(CodePage, Utf8AndUtf16) {
  EXPECT_EQ(om::utf8ToUtf16("ネットワーク"), u"ネットワーク");
  EXPECT_EQ(om::utf16ToUtf8(u"ネットワーク"), "ネットワーク");
  EXPECT_EQ(om::utf16ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");  // surrogate pair
  EXPECT_EQ(om::cp932ToUtf8(""), "");
}

TEST(CodePage, BadInputIsReplacedNotDropped) {
  // A lone lead byte at the end, and an unmappable character on the way back.
  EXPECT_EQ(om::cp932ToUtf16("a\x95"), u"a\u30FB");
  // As on Windows, each half of a surrogate pair becomes one '?'.
  EXPECT_EQ(om::utf16ToCp932(u"x\U0001F600y"), "x??y");
  EXPECT_EQ(om::utf8ToUtf16("a\xFFz"), u"a\uFFFDz");
}

TEST(CodePage, MultiByteToWideCharContract) {
  // Size query, including the terminator when the length is -1.
  EXPECT_EQ(MultiByteToWideChar(932, 0, kHyou.c_str(), -1, nullptr, 0), 2);
  WCHAR out[8] = {};
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, kHyou.c_str(), -1, out, 8), 2);
  EXPECT_EQ(out[0], u'表');
  EXPECT_EQ(out[1], 0);
  // Too small a buffer fails with ERROR_INSUFFICIENT_BUFFER.
  EXPECT_EQ(MultiByteToWideChar(932, 0, "abc", 3, out, 2), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  // Invalid input fails only when asked to.
  EXPECT_EQ(MultiByteToWideChar(932, MB_ERR_INVALID_CHARS, "a\x95", 2, out, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
  EXPECT_EQ(MultiByteToWideChar(932, 0, "a\x95", 2, out, 8), 2);
  // Unknown code page.
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "a", 1, out, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(CodePage, WideCharToMultiByteContract) {
  const WCHAR text[] = u"表X";
  EXPECT_EQ(WideCharToMultiByte(932, 0, text, -1, nullptr, 0, nullptr, nullptr), 4);
  char out[8] = {};
  BOOL usedDefault = TRUE;
  EXPECT_EQ(WideCharToMultiByte(932, 0, text, 2, out, 8, nullptr, &usedDefault), 3);
  EXPECT_EQ(std::string(out, 3), kHyou + "X");
  EXPECT_FALSE(usedDefault);
  // The caller's default character replaces what 932 cannot hold.
  const WCHAR emoji[] = u"a\U0001F600b";
  EXPECT_EQ(WideCharToMultiByte(932, 0, emoji, 4, out, 8, "#", &usedDefault), 4);
  EXPECT_EQ(std::string(out, 4), "a##b");
  EXPECT_TRUE(usedDefault);
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, text, 2, out, 8, nullptr, nullptr), 4);
  EXPECT_EQ(std::string(out, 4), "表X");
}

}  // namespace

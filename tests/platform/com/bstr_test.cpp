#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include <atlbase.h>
#include <oleauto.h>

#include <om/codepage.h>
#include <omtools/tstring.h>

namespace {

// The 32-bit prefix stored just before the characters.
uint32_t prefixOf(BSTR text) {
  uint32_t bytes;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - 4, sizeof bytes);
  return bytes;
}

TEST(Bstr, LengthPrefixEmbeddedNulsAndTerminator) {
  const OLECHAR text[] = {u'a', u'\0', u'b', u'c'};
  BSTR b = SysAllocStringLen(text, 4);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysStringLen(b), 4u);
  EXPECT_EQ(SysStringByteLen(b), 8u);
  EXPECT_EQ(prefixOf(b), 8u);
  EXPECT_EQ(std::u16string(b, 4), std::u16string(text, 4));
  EXPECT_EQ(b[4], u'\0');
  SysFreeString(b);

  // SysAllocString stops at the first NUL; a null source gives a null BSTR.
  b = SysAllocString(text);
  EXPECT_EQ(SysStringLen(b), 1u);
  SysFreeString(b);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);

  // An empty BSTR is not null but has length 0.
  b = SysAllocString(u"");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysStringLen(b), 0u);
  EXPECT_EQ(b[0], u'\0');
  SysFreeString(b);

  // Without a source the characters are zeroed.
  b = SysAllocStringLen(nullptr, 3);
  EXPECT_EQ(std::u16string(b, 3), std::u16string(3, u'\0'));
  SysFreeString(b);
}

TEST(Bstr, ByteLengthsAndReallocation) {
  BSTR odd = SysAllocStringByteLen("abc", 3);
  EXPECT_EQ(SysStringByteLen(odd), 3u);
  EXPECT_EQ(SysStringLen(odd), 1u);  // whole characters only
  EXPECT_EQ(std::memcmp(odd, "abc\0\0", 5), 0);  // followed by a NUL character
  SysFreeString(odd);

  BSTR b = SysAllocString(u"hello world");
  // The new value may come from the old string itself.
  ASSERT_TRUE(SysReAllocString(&b, b + 6));
  EXPECT_EQ(std::u16string(b), u"world");
  ASSERT_TRUE(SysReAllocStringLen(&b, b, 3));
  EXPECT_EQ(std::u16string(b, SysStringLen(b)), u"wor");
  ASSERT_TRUE(SysReAllocString(&b, nullptr));
  EXPECT_EQ(b, nullptr);
  EXPECT_FALSE(SysReAllocString(nullptr, u"x"));
}

TEST(CComBSTR, CopiesAppendsAndCompares) {
  CComBSTR empty;
  EXPECT_EQ(empty.m_str, nullptr);
  EXPECT_EQ(empty.Length(), 0u);
  EXPECT_TRUE(empty == u"");  // null equals ""
  EXPECT_TRUE(empty == nullptr);

  CComBSTR a(u"Velmoran");
  a.Append(u'\\');
  a += u"Orva";
  a.Append("Manager");
  EXPECT_EQ(a.Length(), 20u);
  EXPECT_TRUE(a == u"Velmoran\\OrvaManager");
  EXPECT_TRUE(a == "Velmoran\\OrvaManager");

  // Copies keep embedded NULs and the whole length.
  const OLECHAR raw[] = {u'x', u'\0', u'y'};
  CComBSTR nul(3, raw);
  CComBSTR copy = nul;
  EXPECT_EQ(copy.Length(), 3u);
  EXPECT_NE(copy.m_str, nul.m_str);
  EXPECT_TRUE(copy == nul);
  EXPECT_FALSE(copy == u"x");
  BSTR out = nullptr;
  ASSERT_EQ(copy.CopyTo(&out), S_OK);
  EXPECT_EQ(SysStringLen(out), 3u);
  SysFreeString(out);

  // Appending part of itself.
  CComBSTR twice(u"ab");
  twice.Append(twice.m_str, 2);
  EXPECT_TRUE(twice == u"abab");
  EXPECT_TRUE(CComBSTR(u"abc") < CComBSTR(u"abd"));
  EXPECT_TRUE(CComBSTR(u"ab") < CComBSTR(u"abc"));

  BSTR taken = twice.Detach();
  EXPECT_EQ(twice.m_str, nullptr);
  twice.Attach(taken);
  EXPECT_EQ(twice.m_str, taken);
  twice.Empty();
  EXPECT_EQ(twice.m_str, nullptr);
}

TEST(CComBSTR, CodePage932Text) {
  // "サーバ" in code page 932.
  const char sjis[] = "\x83\x54\x81\x5B\x83\x6F";
  CComBSTR server(sjis);
  EXPECT_EQ(server.Length(), 3u);
  EXPECT_TRUE(server == u"サーバ");
  EXPECT_TRUE(server == sjis);
  CComBSTR path(u"root\\");
  path.Append(sjis);
  EXPECT_TRUE(path == u"root\\サーバ");
}

TEST(TstringBstr, JapaneseRoundTrip) {
  const tstring text(om::utf8ToCp932("サーバとの通信に失敗しました。(code=0x80041003)"));
  BSTR b = text.toBSTR();
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(std::u16string(b, SysStringLen(b)), u"サーバとの通信に失敗しました。(code=0x80041003)");
  tstring back;
  back.fromBSTR(b);
  EXPECT_EQ(back, text);
  EXPECT_EQ(tstring(static_cast<const OLECHAR*>(b)), text);
  SysFreeString(b);

  // The whole BSTR is read, embedded NULs included; the constructor stops at a NUL.
  const OLECHAR raw[] = {u'表', u'\0', u'A'};
  BSTR nul = SysAllocStringLen(raw, 3);
  EXPECT_EQ(back.fromBSTR(nul), std::string("\x95\x5C\0A", 4));
  EXPECT_EQ(tstring(static_cast<const OLECHAR*>(nul)), "\x95\x5C");
  SysFreeString(nul);

  EXPECT_EQ(back.fromBSTR(nullptr), "");
  EXPECT_EQ(tstring(static_cast<const OLECHAR*>(nullptr)), "");
  BSTR empty = tstring().toBSTR();
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(SysStringLen(empty), 0u);
  SysFreeString(empty);
}

}  // namespace

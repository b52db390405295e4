#include <gtest/gtest.h>

#include <afx.h>
#include <om/codepage.h>

namespace {

// "ソ" (0x83 0x5C) ends in the byte of '\', and "ャ" (0x83 0x61) in the
// byte of 'a': neither trail byte may be taken for that character.
const char kSo[] = "\x83\x5C";
const char kSmallYa[] = "\x83\x61";

TEST(CString, ConstructionComparisonAndConversion) {
  const CString empty;
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(CString(static_cast<LPCSTR>(nullptr)), empty);
  const CString abc("abc");
  EXPECT_EQ(abc.GetLength(), 3);
  EXPECT_STREQ(static_cast<LPCTSTR>(abc), "abc");
  EXPECT_EQ(CString("abcdef", 2), "ab");
  EXPECT_EQ(CString('x', 3), "xxx");
  EXPECT_EQ(CString(u"テスト"), CString(om::utf8ToCp932("テスト").c_str()));

  EXPECT_TRUE(abc == "abc");
  EXPECT_TRUE("abc" == abc);
  EXPECT_TRUE(abc != "abd");
  EXPECT_TRUE(abc < "abd");
  EXPECT_TRUE("abb" < abc);
  EXPECT_TRUE(CString("\x82\xA0") > CString("z"));  // bytes compare unsigned
  EXPECT_LT(abc.Compare("abd"), 0);
  EXPECT_EQ(abc.Compare("abc"), 0);
  EXPECT_GT(abc.Compare("ab"), 0);
  EXPECT_EQ(CString("Hello").CompareNoCase("hELLO"), 0);
  EXPECT_LT(CString("apple").CompareNoCase("Banana"), 0);
  EXPECT_NE(CString(kSmallYa).CompareNoCase("\x83\x41"), 0);  // trail bytes compare exactly

  CString s = abc + "-" + CString("d") + 'e';
  s += 'f';
  s += CString("g");
  EXPECT_EQ(s, "abc-defg");
  EXPECT_EQ('>' + s, ">abc-defg");
  EXPECT_EQ(s[3], '-');
  s.SetAt(3, '+');
  EXPECT_EQ(s.GetAt(3), '+');
}

TEST(CString, SubstringsClampTheirArguments) {
  const CString s("0123456789");
  EXPECT_EQ(s.Mid(3), "3456789");
  EXPECT_EQ(s.Mid(3, 2), "34");
  EXPECT_EQ(s.Mid(8, 10), "89");
  EXPECT_EQ(s.Mid(-2, 3), "012");
  EXPECT_EQ(s.Mid(20), "");
  EXPECT_EQ(s.Mid(2, -1), "");
  EXPECT_EQ(s.Left(4), "0123");
  EXPECT_EQ(s.Left(40), s);
  EXPECT_EQ(s.Left(-1), "");
  EXPECT_EQ(s.Right(3), "789");
  EXPECT_EQ(s.Right(30), s);
}

TEST(CString, SearchingStepsOverDoubleByteCharacters) {
  const CString path = CString(kSo) + "\\dir\\" + kSo;
  EXPECT_EQ(path.Find('\\'), 2);
  EXPECT_EQ(path.Find('\\', 3), 6);
  EXPECT_EQ(path.ReverseFind('\\'), 6);
  EXPECT_EQ(path.Find("dir"), 3);
  EXPECT_EQ(path.Find("\\"), 2);
  EXPECT_EQ(path.Find("x"), -1);
  EXPECT_EQ(path.Find("dir", 4), -1);
  EXPECT_EQ(path.FindOneOf("\\/"), 2);
  EXPECT_EQ(CString(kSmallYa).Find('a'), -1);
  EXPECT_EQ(CString("abcabc").Find("ca"), 2);
  EXPECT_EQ(CString("abc").Find('c', 5), -1);
}

TEST(CString, CaseChangesAndEditing) {
  CString s = CString("abc") + kSmallYa + "xyz";
  s.MakeUpper();
  EXPECT_EQ(s, CString("ABC") + kSmallYa + "XYZ");
  s.MakeLower();
  EXPECT_EQ(s, CString("abc") + kSmallYa + "xyz");

  CString t("  \t padded \r\n");
  EXPECT_EQ(t.Trim(), "padded");
  CString u("xxvaluexx");
  EXPECT_EQ(u.TrimLeft('x'), "valuexx");
  EXPECT_EQ(u.TrimRight('x'), "value");
  CString dbcs = CString("  ") + kSo;  // a trail byte 0x5C is not trimmed
  EXPECT_EQ(dbcs.TrimRight('\\'), CString("  ") + kSo);

  CString r("a,b,,c");
  EXPECT_EQ(r.Replace(',', ';'), 3);
  EXPECT_EQ(r, "a;b;;c");
  EXPECT_EQ(r.Replace(";;", "--"), 1);
  EXPECT_EQ(r, "a;b--c");
  EXPECT_EQ(r.Remove('-'), 2);
  EXPECT_EQ(r, "a;bc");
  EXPECT_EQ(r.Insert(1, "XY"), 6);
  EXPECT_EQ(r, "aXY;bc");
  EXPECT_EQ(r.Insert(100, '!'), 7);
  EXPECT_EQ(r.Delete(1, 2), 5);
  EXPECT_EQ(r, "a;bc!");
  CString so(kSo);
  EXPECT_EQ(so.Replace('\\', '/'), 0);
  EXPECT_EQ(so.Remove('\\'), 0);
}

TEST(CString, FormatLoadStringAndBuffers) {
  CString s;
  s.Format("%s=%d (%05.1f)", "value", -12, 3.14159);
  EXPECT_EQ(s, "value=-12 (003.1)");
  s.AppendFormat("%c%x", '!', 255);
  EXPECT_EQ(s, "value=-12 (003.1)!ff");
  CString longText;
  longText.Format("%s", std::string(10000, 'w').c_str());
  EXPECT_EQ(longText.GetLength(), 10000);

  CString text("keep");
  EXPECT_TRUE(text.LoadString(7023));
  EXPECT_EQ(std::string(text.GetString()), om::utf8ToCp932("エラーログ"));
  EXPECT_FALSE(text.LoadString(1));
  EXPECT_EQ(std::string(text.GetString()), om::utf8ToCp932("エラーログ"));

  CString b;
  char* p = b.GetBuffer(16);
  std::strcpy(p, "direct");
  b.ReleaseBuffer();
  EXPECT_EQ(b, "direct");
  EXPECT_EQ(b.GetLength(), 6);
  std::memcpy(b.GetBufferSetLength(3), "xyz", 3);
  EXPECT_EQ(b, "xyz");
}

TEST(CTimeSpan, PartsArithmeticAndFormat) {
  const CTimeSpan span(2, 3, 4, 5);
  EXPECT_EQ(span.GetTotalSeconds(), ((2 * 24 + 3) * 60 + 4) * 60 + 5);
  EXPECT_EQ(span.GetDays(), 2);
  EXPECT_EQ(span.GetHours(), 3);
  EXPECT_EQ(span.GetMinutes(), 4);
  EXPECT_EQ(span.GetSeconds(), 5);
  EXPECT_EQ(span.GetTotalHours(), 51);
  EXPECT_EQ(span.Format("%D days %H:%M:%S %%"), "2 days 03:04:05 %");

  const CTime t(1000000);
  EXPECT_EQ((t + span).GetTime(), 1000000 + span.GetTotalSeconds());
  EXPECT_EQ((t + span) - t, span);
  EXPECT_EQ((t - CTimeSpan(10)).GetTime(), 999990);
  CTime u = t;
  u += CTimeSpan(5);
  u -= CTimeSpan(2);
  EXPECT_EQ(u.GetTime(), 1000003);
  EXPECT_TRUE(t < u);
  EXPECT_TRUE(u >= t);
  EXPECT_TRUE(CTimeSpan(-1) < CTimeSpan());
  const CTime now = CTime::GetCurrentTime();
  EXPECT_GT(now.GetTime(), 1700000000);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdlib>

#include "ArchiveTestUtil.h"

namespace {

using mfctest::ByteList;
using mfctest::Bytes;
using mfctest::bytesOf;
using mfctest::causeOf;

std::string pattern(size_t length) {
  std::string s(length, ' ');
  for (size_t i = 0; i < length; ++i) s[i] = static_cast<char>('a' + i % 26);
  return s;
}

TEST(ArchiveString, EachLengthPrefixFormAtItsBoundaries) {
  struct Case {
    size_t length;
    Bytes prefix;
  };
  const Case cases[] = {
      {0, bytesOf({0x00})},
      {1, bytesOf({0x01})},
      {254, bytesOf({0xFE})},
      {255, bytesOf({0xFF, 0xFF, 0x00})},
      {300, bytesOf({0xFF, 0x2C, 0x01})},
      {65533, bytesOf({0xFF, 0xFD, 0xFF})},
      {65534, bytesOf({0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00})},
      {70000, bytesOf({0xFF, 0xFF, 0xFF, 0x70, 0x11, 0x01, 0x00})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.length);
    const std::string text = pattern(c.length);
    const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << CString(text.c_str()); });
    ByteList expected;
    for (BYTE b : c.prefix) expected << b;
    expected << text;
    EXPECT_EQ(bytes, expected.bytes());
    mfctest::load(bytes, [&](CArchive& ar) {
      CString s("not empty");
      ar >> s;
      EXPECT_EQ(s.GetLength(), static_cast<int>(c.length));
      EXPECT_EQ(std::string(s.GetString()), text);
    });
  }
}

TEST(ArchiveString, CodePage932BytesAreWrittenAsTheyAre) {
  // "エラー" in code page 932.
  const std::string text = "\x83\x47\x83\x89\x81\x5B";
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << CString(text.c_str()) << CString(); });
  EXPECT_EQ(bytes, bytesOf({0x06, 0x83, 0x47, 0x83, 0x89, 0x81, 0x5B, 0x00}));
}

TEST(ArchiveString, SixtyFourBitLengthFormIsRead) {
  ByteList bytes;
  bytes << 0xFF << 0xFF << 0xFF << 0xFF << 0xFF << 0xFF << 0xFF;
  bytes << 3 << 0 << 0 << 0 << 0 << 0 << 0 << 0 << "abc";
  mfctest::load(bytes.bytes(), [](CArchive& ar) {
    CString s;
    ar >> s;
    EXPECT_EQ(s, "abc");
  });
}

TEST(ArchiveString, UnicodeMarkedStringIsConvertedToCodePage932) {
  // 0xFF 0xFFFE, then a 1-byte length of 4 UTF-16 units: "Aテスト".
  const Bytes bytes = bytesOf({0xFF, 0xFE, 0xFF, 0x04, 0x41, 0x00, 0xC6, 0x30, 0xB9, 0x30, 0xC8, 0x30, 0x07});
  mfctest::load(bytes, [](CArchive& ar) {
    CString s;
    BYTE after = 0;
    ar >> s >> after;
    EXPECT_EQ(std::string(s.GetString()), "A\x83\x65\x83\x58\x83\x67");
    EXPECT_EQ(after, 0x07);
  });

  // A marked string with a WORD length: 300 units.
  ByteList longer;
  longer << 0xFF << 0xFE << 0xFF << 0xFF << 0x2C << 0x01;
  for (int i = 0; i < 300; ++i) longer << 'q' << 0;
  mfctest::load(longer.bytes(), [](CArchive& ar) {
    CString s;
    ar >> s;
    EXPECT_EQ(std::string(s.GetString()), std::string(300, 'q'));
  });
}

TEST(ArchiveString, LengthsBeyondTheDataRaiseEndOfFile) {
  const Bytes cases[] = {
      bytesOf({0x05, 'a', 'b', 'c', 'd'}),                                // one byte short
      bytesOf({0xFF, 0x2C, 0x01, 'a'}),                                   // WORD length
      bytesOf({0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0xFF, 'a'}),           // DWORD length
      bytesOf({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,                  // 64-bit length near
               0xF0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'a'}),     //   2^64
      bytesOf({0xFF, 0xFE, 0xFF, 0x03, 'a', 0, 'b', 0, 'c'}),             // UTF-16, half a unit short
      bytesOf({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF,                        // UTF-16, 2^31 units
               0x00, 0x00, 0x00, 0x80, 'a', 0}),
      bytesOf({0xFF, 0xFE}),                                              // prefix cut short
  };
  for (const Bytes& bytes : cases) {
    mfctest::load(bytes, [](CArchive& ar) {
      CString s;
      EXPECT_EQ(causeOf([&] { ar >> s; }), CArchiveException::endOfFile);
    });
  }
  // Exactly the bytes left is fine, also when they are past the buffer.
  ByteList exact;
  exact << 0xFF << 0x58 << 0x02;  // 600
  exact.repeat('z', 600);
  mfctest::load(
      exact.bytes(),
      [](CArchive& ar) {
        CString s;
        ar >> s;
        EXPECT_EQ(s.GetLength(), 600);
      },
      128);
}

// Runs the test body with the local time zone set to UTC+9.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    const char* old = std::getenv("TZ");
    if (old != nullptr) saved_ = old;
    hadOld_ = old != nullptr;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (hadOld_) {
      setenv("TZ", saved_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::string saved_;
  bool hadOld_ = false;
};

TEST(ArchiveTime, CTimeIsEightBytesOfSecondsAndFieldsAreLocalTime) {
  ScopedTimeZone tz("JST-9");
  const CTime t(2024, 1, 2, 3, 4, 5);
  EXPECT_EQ(t.GetTime(), 1704132245);  // 2024-01-01 18:04:05 UTC
  EXPECT_EQ(t.GetYear(), 2024);
  EXPECT_EQ(t.GetMonth(), 1);
  EXPECT_EQ(t.GetDay(), 2);
  EXPECT_EQ(t.GetHour(), 3);
  EXPECT_EQ(t.GetMinute(), 4);
  EXPECT_EQ(t.GetSecond(), 5);
  EXPECT_EQ(t.GetDayOfWeek(), 3);  // Tuesday
  EXPECT_EQ(t.Format("%Y/%m/%d %H:%M:%S"), "2024/01/02 03:04:05");
  EXPECT_EQ(t.FormatGmt("%Y%m%d%H%M%S"), "20240101180405");

  const CTime far(static_cast<time_t>(0x123456789A));
  const CTimeSpan span(1, 2, 3, 4);
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << t << far << span; });
  EXPECT_EQ(bytes, bytesOf({0x95, 0xFE, 0x92, 0x65, 0x00, 0x00, 0x00, 0x00,    //
                            0x9A, 0x78, 0x56, 0x34, 0x12, 0x00, 0x00, 0x00,    //
                            0x58, 0x6E, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00}));  // 93784 s
  mfctest::load(bytes, [&](CArchive& ar) {
    CTime a, b;
    CTimeSpan s;
    ar >> a >> b >> s;
    EXPECT_EQ(a, t);
    EXPECT_EQ(b, far);
    EXPECT_EQ(s, span);
  });
}

TEST(ArchiveText, ReadStringSplitsCrLfLfAndLastLineWithoutEnd) {
  const std::string text = "first\r\nsecond\n\r\nlone\rcr\nthird";
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar.WriteString(text.c_str()); });
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text);  // written as it is

  mfctest::load(bytes, [](CArchive& ar) {
    CString line;
    std::vector<std::string> lines;
    while (ar.ReadString(line)) lines.push_back(line.GetString());
    EXPECT_EQ(lines, (std::vector<std::string>{"first", "second", "", "lone", "cr", "third"}));
    EXPECT_FALSE(ar.ReadString(line));
    EXPECT_TRUE(line.IsEmpty());
  });
}

TEST(ArchiveText, ReadStringAcrossBufferBoundaries) {
  // A CR LF split by the 128-byte buffer, and a line longer than the buffer.
  const std::string first(127, 'x');
  const std::string second(1000, 'y');
  const std::string text = first + "\r\n" + second + "\n";
  mfctest::load(
      Bytes(text.begin(), text.end()),
      [&](CArchive& ar) {
        CString line;
        ASSERT_TRUE(ar.ReadString(line));
        EXPECT_EQ(std::string(line.GetString()), first);
        ASSERT_TRUE(ar.ReadString(line));
        EXPECT_EQ(std::string(line.GetString()), second);
        EXPECT_FALSE(ar.ReadString(line));
      },
      128);
}

TEST(ArchiveText, ReadStringIntoABufferStopsAtNMaxMinusOne) {
  const std::string text = "hello world\nabcde\nxy";
  mfctest::load(Bytes(text.begin(), text.end()), [](CArchive& ar) {
    char buffer[6];
    std::vector<std::string> pieces;
    while (ar.ReadString(buffer, sizeof buffer) != nullptr) pieces.push_back(buffer);
    // A line that fills the buffer exactly takes its line end with it.
    EXPECT_EQ(pieces, (std::vector<std::string>{"hello", " worl", "d", "abcde", "xy"}));
  });
}

}  // namespace

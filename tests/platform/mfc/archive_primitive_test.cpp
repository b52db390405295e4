#include <gtest/gtest.h>

#include <numeric>

#include "ArchiveTestUtil.h"

namespace {

using mfctest::Bytes;
using mfctest::bytesOf;
using mfctest::causeOf;

TEST(ArchivePrimitives, GoldenBytesOfEachWidth) {
  const Bytes bytes = mfctest::store([](CArchive& ar) {
    ar << static_cast<BYTE>(0x12) << static_cast<WORD>(0x3456) << static_cast<LONG>(-2)
       << static_cast<DWORD>(0x89ABCDEF) << static_cast<LONGLONG>(-3) << static_cast<ULONGLONG>(0x0102030405060708)
       << static_cast<short>(-4) << 'z' << true << false << 1.5f << -2.25 << 7 << 8u;
  });
  EXPECT_EQ(bytes, bytesOf({0x12,                                            // BYTE
                            0x56, 0x34,                                      // WORD
                            0xFE, 0xFF, 0xFF, 0xFF,                          // LONG
                            0xEF, 0xCD, 0xAB, 0x89,                          // DWORD
                            0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,  // LONGLONG
                            0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01,  // ULONGLONG
                            0xFC, 0xFF,                                      // short
                            0x7A,                                            // char
                            0x01, 0x00,                                      // bool
                            0x00, 0x00, 0xC0, 0x3F,                          // float 1.5
                            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0xC0,  // double -2.25
                            0x07, 0x00, 0x00, 0x00,                          // int
                            0x08, 0x00, 0x00, 0x00}));                       // unsigned

  mfctest::load(bytes, [](CArchive& ar) {
    BYTE by = 0;
    WORD w = 0;
    LONG l = 0;
    DWORD dw = 0;
    LONGLONG ll = 0;
    ULONGLONG ull = 0;
    short s = 0;
    char ch = 0;
    bool t = false, f = true;
    float fl = 0;
    double d = 0;
    int i = 0;
    unsigned u = 0;
    ar >> by >> w >> l >> dw >> ll >> ull >> s >> ch >> t >> f >> fl >> d >> i >> u;
    EXPECT_EQ(by, 0x12);
    EXPECT_EQ(w, 0x3456);
    EXPECT_EQ(l, -2);
    EXPECT_EQ(dw, 0x89ABCDEFu);
    EXPECT_EQ(ll, -3);
    EXPECT_EQ(ull, 0x0102030405060708u);
    EXPECT_EQ(s, -4);
    EXPECT_EQ(ch, 'z');
    EXPECT_TRUE(t);
    EXPECT_FALSE(f);
    EXPECT_EQ(fl, 1.5f);
    EXPECT_EQ(d, -2.25);
    EXPECT_EQ(i, 7);
    EXPECT_EQ(u, 8u);
    EXPECT_EQ(causeOf([&] { ar >> by; }), CArchiveException::endOfFile);
  });
}

TEST(ArchivePrimitives, LongTypesKeepTheirWindowsWidth) {
  const long l = -5;
  const unsigned long ul = 6;
  const long long ll = -7;
  const unsigned long long ull = 8;
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << l << ul << ll << ull; });
  // long is its own 4-byte type unless LONGLONG is long itself.
  const size_t longWidth = std::is_same_v<long, LONGLONG> ? 8 : 4;
  ASSERT_EQ(bytes.size(), 2 * longWidth + 16);
  EXPECT_EQ(bytes[0], 0xFB);
  EXPECT_EQ(bytes[longWidth - 1], 0xFF);
  EXPECT_EQ(bytes[longWidth], 6);
  EXPECT_EQ(bytes[2 * longWidth], 0xF9);
  EXPECT_EQ(bytes[2 * longWidth + 7], 0xFF);
  EXPECT_EQ(bytes[2 * longWidth + 8], 8);

  mfctest::load(bytes, [&](CArchive& ar) {
    long l2 = 0;
    unsigned long ul2 = 0;
    long long ll2 = 0;
    unsigned long long ull2 = 0;
    ar >> l2 >> ul2 >> ll2 >> ull2;
    EXPECT_EQ(l2, l);
    EXPECT_EQ(ul2, ul);
    EXPECT_EQ(ll2, ll);
    EXPECT_EQ(ull2, ull);
  });
}

TEST(ArchivePrimitives, BoolReadsAnyNonZeroByteAsTrue) {
  mfctest::load(bytesOf({0x02, 0x00, 0xFF}), [](CArchive& ar) {
    bool a = false, b = true, c = false;
    ar >> a >> b >> c;
    EXPECT_TRUE(a);
    EXPECT_FALSE(b);
    EXPECT_TRUE(c);
  });
}

TEST(ArchivePrimitives, DirectionErrors) {
  mfctest::load(bytesOf({1, 2, 3, 4}), [](CArchive& ar) {
    EXPECT_TRUE(ar.IsLoading());
    EXPECT_FALSE(ar.IsStoring());
    EXPECT_EQ(causeOf([&] { ar << static_cast<DWORD>(1); }), CArchiveException::readOnly);
    EXPECT_EQ(causeOf([&] { ar.Write("x", 1); }), CArchiveException::readOnly);
    EXPECT_EQ(causeOf([&] { ar << CString("x"); }), CArchiveException::readOnly);
    EXPECT_EQ(causeOf([&] { ar.WriteObject(nullptr); }), CArchiveException::readOnly);
    DWORD dw = 0;
    ar >> dw;  // nothing was consumed by the failed writes
    EXPECT_EQ(dw, 0x04030201u);
  });
  mfctest::store([](CArchive& ar) {
    EXPECT_TRUE(ar.IsStoring());
    BYTE by = 0;
    char buffer[4];
    CString s;
    EXPECT_EQ(causeOf([&] { ar >> by; }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { ar.Read(buffer, 1); }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { ar >> s; }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { ar.ReadString(s); }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::writeOnly);
  });
}

// A memory file that records the size of every read and write it is asked for.
class RecordingMemFile : public CMemFile {
 public:
  UINT Read(void* lpBuf, UINT nCount) override {
    reads.push_back(nCount);
    return CMemFile::Read(lpBuf, nCount);
  }
  void Write(const void* lpBuf, UINT nCount) override {
    writes.push_back(nCount);
    CMemFile::Write(lpBuf, nCount);
  }
  std::vector<UINT> reads;
  std::vector<UINT> writes;
};

TEST(ArchiveBuffer, StoresAndLoadsThroughABufferOfTheGivenSize) {
  RecordingMemFile file;
  {
    CArchive ar(&file, CArchive::store, 512);
    for (WORD i = 0; i < 1000; ++i) ar << i;  // 2000 bytes
    EXPECT_EQ(file.writes, (std::vector<UINT>{512, 512, 512}));
    Bytes big(3000, 0xAB);
    ar.Write(big.data(), 3000);  // fills the buffer, then goes straight to the file
    ar << static_cast<BYTE>(1);
    ar.Close();
  }
  EXPECT_EQ(file.writes, (std::vector<UINT>{512, 512, 512, 512, 2952, 1}));
  EXPECT_EQ(file.GetLength(), 5001u);

  file.SeekToBegin();
  {
    CArchive ar(&file, CArchive::load, 512);
    WORD w = 0;
    for (WORD i = 0; i < 1000; ++i) {
      ar >> w;
      ASSERT_EQ(w, i);
    }
    Bytes big(3000);
    EXPECT_EQ(ar.Read(big.data(), 3000), 3000u);
    EXPECT_EQ(big, Bytes(3000, 0xAB));
    BYTE last = 0;
    ar >> last;
    EXPECT_EQ(last, 1);
  }
  for (UINT n : file.reads) EXPECT_LE(n, 3000u);
  EXPECT_EQ(file.reads.front(), 512u);
}

TEST(ArchiveBuffer, SmallBuffersAreRaisedTo128Bytes) {
  RecordingMemFile file;
  {
    CArchive ar(&file, CArchive::store, 4);
    for (int i = 0; i < 64; ++i) ar << i;
  }
  EXPECT_EQ(file.writes, (std::vector<UINT>{128, 128}));
}

TEST(ArchiveBuffer, FlushOfALoadingArchiveGivesUnreadBytesBackToTheFile) {
  CMemFile file;
  const Bytes data = bytesOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  file.Write(data.data(), 10);
  file.SeekToBegin();
  {
    CArchive ar(&file, CArchive::load);
    WORD w = 0;
    BYTE b = 0;
    ar >> w >> b;
    EXPECT_EQ(ar.GetFile(), &file);
    ar.Flush();
    EXPECT_EQ(file.GetPosition(), 3u);
    ar >> b;
    EXPECT_EQ(b, 4);
  }
  EXPECT_EQ(file.GetPosition(), 4u);
}

TEST(ArchiveBuffer, RawReadStopsAtTheEndWithoutThrowing) {
  Bytes data(300);
  std::iota(data.begin(), data.end(), 0);
  mfctest::load(
      data,
      [&](CArchive& ar) {
        Bytes head(10);
        EXPECT_EQ(ar.Read(head.data(), 10), 10u);
        EXPECT_EQ(head, Bytes(data.begin(), data.begin() + 10));
        Bytes rest(1000);
        EXPECT_EQ(ar.Read(rest.data(), 1000), 290u);
        EXPECT_EQ(Bytes(rest.begin(), rest.begin() + 290), Bytes(data.begin() + 10, data.end()));
        EXPECT_EQ(ar.Read(rest.data(), 1), 0u);
      },
      128);
}

TEST(ArchiveBuffer, UserBufferIsUsedAndDestructorFlushesUnlessAskedNotTo) {
  BYTE buffer[256];
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store, sizeof buffer, buffer);
    ar << static_cast<DWORD>(0xA1B2C3D4);
    EXPECT_EQ(buffer[0], 0xD4);
    EXPECT_EQ(file.GetLength(), 0u);
  }
  EXPECT_EQ(mfctest::contents(file), bytesOf({0xD4, 0xC3, 0xB2, 0xA1}));

  CMemFile other;
  {
    CArchive ar(&other, CArchive::store | CArchive::bNoFlushOnDelete);
    ar << static_cast<DWORD>(1);
  }
  EXPECT_EQ(other.GetLength(), 0u);
}

}  // namespace

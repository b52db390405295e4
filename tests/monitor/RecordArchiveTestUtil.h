// Helpers for the archive tests of the monitoring records: golden bytes with
// little-endian words, storing and loading one record through Serialize or
// through CObject pointers, and the check that every truncation of an
// archive ends in the archive's end-of-file exception.
#ifndef OM_TESTS_MONITOR_RECORDARCHIVETESTUTIL_H_
#define OM_TESTS_MONITOR_RECORDARCHIVETESTUTIL_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "../platform/mfc/ArchiveTestUtil.h"

namespace recordtest {

using mfctest::ByteList;
using mfctest::Bytes;

// Appends a 32-bit word, low byte first.
inline ByteList& dword(ByteList& list, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) list << static_cast<int>((value >> shift) & 0xFF);
  return list;
}

// Appends a 64-bit word, low byte first.
inline ByteList& qword(ByteList& list, uint64_t value) {
  dword(list, static_cast<uint32_t>(value));
  return dword(list, static_cast<uint32_t>(value >> 32));
}

// Appends a text shorter than 255 bytes in its archived form: one length
// byte, then the bytes.
inline ByteList& text(ByteList& list, const std::string& s) {
  return list << static_cast<int>(s.size()) << s;
}

// The bytes that record.Serialize stores (the record itself is left alone).
template <class T>
Bytes storeRecord(const T& record) {
  T copy(record);
  return mfctest::store([&](CArchive& ar) { copy.Serialize(ar); });
}

// Loads `bytes` into `record` with Serialize.
template <class T>
void loadRecord(const Bytes& bytes, T& record, int bufferSize = 4096) {
  mfctest::load(bytes, [&](CArchive& ar) { record.Serialize(ar); }, bufferSize);
}

// Writes the record through a CObject pointer (class tag, then the record)
// and reads it back with ReadObject; returns the bytes written.
template <class T>
Bytes roundTripThroughObject(const T& record, std::unique_ptr<T>& loaded) {
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << static_cast<const CObject*>(&record); });
  mfctest::load(bytes, [&](CArchive& ar) {
    loaded.reset(static_cast<T*>(ar.ReadObject(T::GetThisClass())));
  });
  return bytes;
}

// Every proper prefix of `bytes`, read with `read(ar)`, must raise
// CArchiveException with cause endOfFile. A small buffer makes the reads
// cross buffer edges too.
template <class Read>
void expectEveryTruncationIsEndOfFile(const Bytes& bytes, Read read) {
  for (size_t length = 0; length < bytes.size(); ++length) {
    const Bytes prefix(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    for (int bufferSize : {128, 4096}) {
      const int cause = mfctest::causeOf([&] { mfctest::load(prefix, read, bufferSize); });
      EXPECT_EQ(cause, CArchiveException::endOfFile) << "length " << length << " of " << bytes.size();
    }
  }
}

// The same for a record loaded with Serialize into a fresh object.
template <class T>
void expectEveryTruncationOfRecordIsEndOfFile(const Bytes& bytes) {
  expectEveryTruncationIsEndOfFile(bytes, [](CArchive& ar) {
    T record;
    record.Serialize(ar);
  });
}

}  // namespace recordtest

#endif  // OM_TESTS_MONITOR_RECORDARCHIVETESTUTIL_H_

// Helpers for the MFC tests: archives over memory files, expected bytes, and
// catching MFC's pointer exceptions.
#ifndef OM_TESTS_PLATFORM_MFC_ARCHIVETESTUTIL_H_
#define OM_TESTS_PLATFORM_MFC_ARCHIVETESTUTIL_H_

#include <initializer_list>
#include <string>
#include <vector>

#include <afx.h>

namespace mfctest {

using Bytes = std::vector<BYTE>;

// Bytes from a list of values 0-255 and strings, in order.
class ByteList {
 public:
  ByteList& operator<<(int b) {
    bytes_.push_back(static_cast<BYTE>(b));
    return *this;
  }
  ByteList& operator<<(const std::string& s) {
    bytes_.insert(bytes_.end(), s.begin(), s.end());
    return *this;
  }
  ByteList& repeat(BYTE b, size_t n) {
    bytes_.insert(bytes_.end(), n, b);
    return *this;
  }
  const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

inline Bytes bytesOf(std::initializer_list<int> values) {
  ByteList list;
  for (int v : values) list << v;
  return list.bytes();
}

inline Bytes contents(CMemFile& file) {
  const auto length = static_cast<size_t>(file.GetLength());
  Bytes bytes(length);
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(length));
  return bytes;
}

// What `write(ar)` stores into a fresh memory file.
template <class Write>
Bytes store(Write write, int bufferSize = 4096) {
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store, bufferSize);
    write(ar);
    ar.Close();
  }
  return contents(file);
}

// Runs `read(ar)` over an archive that loads `bytes`.
template <class Read>
void load(const Bytes& bytes, Read read, int bufferSize = 4096) {
  CMemFile file;
  if (!bytes.empty()) file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
  file.SeekToBegin();
  CArchive ar(&file, CArchive::load, bufferSize);
  read(ar);
}

// The m_cause of the exception E* that `f` throws (deleted here), or -1 when
// it throws nothing.
template <class E = CArchiveException, class F>
int causeOf(F f) {
  try {
    f();
  } catch (E* e) {
    const int cause = e->m_cause;
    e->Delete();
    return cause;
  }
  return -1;
}

}  // namespace mfctest

#endif  // OM_TESTS_PLATFORM_MFC_ARCHIVETESTUTIL_H_

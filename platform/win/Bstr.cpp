// BSTR allocation. A BSTR block is an 8-byte header whose last 4 bytes hold
// the length in bytes, then the characters, then a NUL character; the BSTR
// points at the characters, so the length sits just before them.
#include <oleauto.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kTerminator = sizeof(OLECHAR);

unsigned char* blockOf(BSTR bstr) { return reinterpret_cast<unsigned char*>(bstr) - kHeader; }

// A new BSTR of `bytes` bytes copied from `source` (zero-filled when null).
BSTR allocateBytes(const void* source, size_t bytes) {
  if (bytes > std::numeric_limits<uint32_t>::max() - kHeader - kTerminator) return nullptr;
  auto* block = static_cast<unsigned char*>(std::malloc(kHeader + bytes + kTerminator));
  if (block == nullptr) return nullptr;
  const uint32_t length = static_cast<uint32_t>(bytes);
  std::memset(block, 0, kHeader - sizeof length);
  std::memcpy(block + kHeader - sizeof length, &length, sizeof length);
  unsigned char* text = block + kHeader;
  if (source != nullptr) {
    std::memcpy(text, source, bytes);
  } else {
    std::memset(text, 0, bytes);
  }
  std::memset(text + bytes, 0, kTerminator);
  return reinterpret_cast<BSTR>(text);
}

size_t lengthOf(const OLECHAR* text) {
  size_t n = 0;
  while (text[n] != 0) ++n;
  return n;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* psz) {
  if (psz == nullptr) return nullptr;
  return allocateBytes(psz, lengthOf(psz) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
  return allocateBytes(strIn, static_cast<size_t>(ui) * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) { return allocateBytes(psz, len); }

INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len) {
  if (pbstr == nullptr) return FALSE;
  // Allocate first: psz may point into the old string.
  BSTR fresh = SysAllocStringLen(psz, len);
  if (fresh == nullptr) return FALSE;
  SysFreeString(*pbstr);
  *pbstr = fresh;
  return TRUE;
}

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
  if (pbstr == nullptr) return FALSE;
  if (psz == nullptr) {
    SysFreeString(*pbstr);
    *pbstr = nullptr;
    return TRUE;
  }
  return SysReAllocStringLen(pbstr, psz, static_cast<UINT>(lengthOf(psz)));
}

void SysFreeString(BSTR bstrString) {
  if (bstrString != nullptr) std::free(blockOf(bstrString));
}

UINT SysStringByteLen(BSTR bstr) {
  if (bstr == nullptr) return 0;
  uint32_t length;
  std::memcpy(&length, blockOf(bstr) + kHeader - sizeof length, sizeof length);
  return length;
}

UINT SysStringLen(BSTR pbstr) { return SysStringByteLen(pbstr) / sizeof(OLECHAR); }

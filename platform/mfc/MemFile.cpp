// CMemFile: a CFile in memory.
#include <afx.h>

#include <algorithm>
#include <cstdlib>

IMPLEMENT_DYNAMIC(CMemFile, CFile)

CMemFile::CMemFile(UINT nGrowBytes) : m_nGrowBytes(nGrowBytes) {}

CMemFile::CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes) : m_nGrowBytes(nGrowBytes) {
  Attach(lpBuffer, nBufferSize, nGrowBytes);
}

CMemFile::~CMemFile() { release(); }

void CMemFile::Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes) {
  release();
  m_lpBuffer = lpBuffer;
  m_nBufferSize = nBufferSize;
  m_nFileSize = nGrowBytes == 0 ? nBufferSize : 0;
  m_nGrowBytes = nGrowBytes;
  m_nPosition = 0;
  m_bAutoDelete = FALSE;
}

BYTE* CMemFile::Detach() {
  BYTE* buffer = m_lpBuffer;
  m_lpBuffer = nullptr;
  m_nBufferSize = m_nFileSize = m_nPosition = 0;
  m_bAutoDelete = TRUE;
  return buffer;
}

UINT CMemFile::Read(void* lpBuf, UINT nCount) {
  if (m_nPosition >= m_nFileSize) return 0;
  const SIZE_T n = std::min<SIZE_T>(nCount, m_nFileSize - m_nPosition);
  std::memcpy(lpBuf, m_lpBuffer + m_nPosition, n);
  m_nPosition += n;
  return static_cast<UINT>(n);
}

void CMemFile::Write(const void* lpBuf, UINT nCount) {
  if (nCount == 0) return;
  const SIZE_T end = m_nPosition + nCount;
  if (end > m_nBufferSize) growTo(end);
  // A write after a seek past the end leaves zeros in between.
  if (m_nPosition > m_nFileSize) std::memset(m_lpBuffer + m_nFileSize, 0, m_nPosition - m_nFileSize);
  std::memcpy(m_lpBuffer + m_nPosition, lpBuf, nCount);
  m_nPosition = end;
  m_nFileSize = std::max(m_nFileSize, end);
}

ULONGLONG CMemFile::Seek(LONGLONG lOff, UINT nFrom) {
  LONGLONG base = 0;
  if (nFrom == current) base = static_cast<LONGLONG>(m_nPosition);
  if (nFrom == end) base = static_cast<LONGLONG>(m_nFileSize);
  if (nFrom > end || lOff < -base) AfxThrowFileException(CFileException::badSeek);
  m_nPosition = static_cast<SIZE_T>(base + lOff);
  return m_nPosition;
}

void CMemFile::SetLength(ULONGLONG dwNewLen) {
  const SIZE_T length = static_cast<SIZE_T>(dwNewLen);
  if (length > m_nBufferSize) growTo(length);
  if (length > m_nFileSize) std::memset(m_lpBuffer + m_nFileSize, 0, length - m_nFileSize);
  m_nFileSize = length;
  m_nPosition = std::min(m_nPosition, length);
}

void CMemFile::Close() {
  release();
  m_nGrowBytes = 0;
}

// Grows geometrically (at least doubling, in steps of the grow size) so that
// long runs of small writes cost linear time.
void CMemFile::growTo(SIZE_T nNewSize) {
  if (m_nGrowBytes == 0) AfxThrowMemoryException();
  SIZE_T size = std::max(nNewSize, m_nBufferSize * 2);
  size = (size + m_nGrowBytes - 1) / m_nGrowBytes * m_nGrowBytes;
  BYTE* buffer = nullptr;
  if (m_bAutoDelete) {
    buffer = static_cast<BYTE*>(std::realloc(m_lpBuffer, size));
  } else {
    buffer = static_cast<BYTE*>(std::malloc(size));
    if (buffer != nullptr && m_nFileSize > 0) std::memcpy(buffer, m_lpBuffer, m_nFileSize);
  }
  if (buffer == nullptr) AfxThrowMemoryException();
  m_lpBuffer = buffer;
  m_nBufferSize = size;
  m_bAutoDelete = TRUE;
}

void CMemFile::release() {
  if (m_bAutoDelete) std::free(m_lpBuffer);
  m_lpBuffer = nullptr;
  m_nBufferSize = m_nFileSize = m_nPosition = 0;
  m_bAutoDelete = TRUE;
}

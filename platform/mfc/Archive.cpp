// CArchive: the buffer, raw bytes, text lines, strings and times.
#include <afx.h>

#include <algorithm>
#include <climits>
#include <string>

#include <om/codepage.h>

#include "ObjectMaps.h"

namespace {

constexpr int kMinBufferSize = 128;

// String length prefixes.
constexpr BYTE kByteLengthEscape = 0xFF;
constexpr WORD kUnicodeMarker = 0xFFFE;
constexpr WORD kWordLengthEscape = 0xFFFF;
constexpr DWORD kDwordLengthEscape = 0xFFFFFFFF;

bool isLineEnd(BYTE c) { return c == '\n' || c == '\r'; }

}  // namespace

CArchive::CArchive(CFile* pFile, UINT nMode, int nBufSize, void* lpBuf)
    : m_strFileName(pFile->GetFilePath()),
      m_pFile(pFile),
      m_nMode(nMode),
      m_nBufSize(std::max(nBufSize, kMinBufferSize)) {
  if (lpBuf != nullptr && nBufSize >= kMinBufferSize) {
    m_lpBufStart = static_cast<BYTE*>(lpBuf);
  } else {
    m_ownBuffer = std::make_unique<BYTE[]>(static_cast<size_t>(m_nBufSize));
    m_lpBufStart = m_ownBuffer.get();
  }
  m_lpBufCur = m_lpBufStart;
  m_lpBufMax = IsLoading() ? m_lpBufStart : m_lpBufStart + m_nBufSize;
}

CArchive::~CArchive() {
  if (m_pFile == nullptr || (m_nMode & bNoFlushOnDelete)) return;
  try {
    Close();
  } catch (CException* e) {
    e->Delete();
  }
}

void CArchive::Flush() {
  if (m_pFile == nullptr) return;
  if (IsStoring()) {
    flushBuffer();
    return;
  }
  // Hand the bytes read ahead back to the file.
  const ptrdiff_t unread = m_lpBufMax - m_lpBufCur;
  m_lpBufCur = m_lpBufMax = m_lpBufStart;
  if (unread > 0) m_pFile->Seek(-unread, CFile::current);
}

void CArchive::Close() {
  Flush();
  m_pFile = nullptr;
}

void CArchive::Abort() {
  m_pFile = nullptr;
  m_lpBufCur = m_lpBufStart;
  if (IsLoading()) m_lpBufMax = m_lpBufStart;
}

void CArchive::throwCause(int cause) const { AfxThrowArchiveException(cause, m_strFileName); }

void CArchive::flushBuffer() {
  if (m_pFile == nullptr) throwCause(CArchiveException::genericException);
  const auto count = static_cast<UINT>(m_lpBufCur - m_lpBufStart);
  m_lpBufCur = m_lpBufStart;
  if (count > 0) m_pFile->Write(m_lpBufStart, count);
}

bool CArchive::fillSome() {
  if (m_pFile == nullptr) throwCause(CArchiveException::genericException);
  const ptrdiff_t unread = m_lpBufMax - m_lpBufCur;
  std::memmove(m_lpBufStart, m_lpBufCur, static_cast<size_t>(unread));
  m_lpBufCur = m_lpBufStart;
  m_lpBufMax = m_lpBufStart + unread;
  const UINT n = m_pFile->Read(m_lpBufMax, static_cast<UINT>(m_nBufSize - unread));
  m_lpBufMax += n;
  return n > 0;
}

void CArchive::fillBuffer(UINT nBytesNeeded) {
  while (m_lpBufMax - m_lpBufCur < static_cast<ptrdiff_t>(nBytesNeeded)) {
    if (!fillSome()) throwCause(CArchiveException::endOfFile);
  }
}

ULONGLONG CArchive::bytesLeft() const {
  const ULONGLONG length = m_pFile->GetLength();
  const ULONGLONG position = m_pFile->GetPosition();
  return static_cast<ULONGLONG>(m_lpBufMax - m_lpBufCur) + (length > position ? length - position : 0);
}

UINT CArchive::Read(void* lpBuf, UINT nMax) {
  if (!IsLoading()) throwCause(CArchiveException::writeOnly);
  BYTE* out = static_cast<BYTE*>(lpBuf);
  UINT left = nMax;
  while (left > 0) {
    if (m_lpBufCur == m_lpBufMax) {
      if (m_pFile == nullptr) throwCause(CArchiveException::genericException);
      // Large reads go straight to the caller's memory.
      if (left >= static_cast<UINT>(m_nBufSize)) {
        const UINT n = m_pFile->Read(out, left);
        if (n == 0) break;
        out += n;
        left -= n;
        continue;
      }
      if (!fillSome()) break;
    }
    const UINT n = std::min(left, static_cast<UINT>(m_lpBufMax - m_lpBufCur));
    std::memcpy(out, m_lpBufCur, n);
    m_lpBufCur += n;
    out += n;
    left -= n;
  }
  return nMax - left;
}

void CArchive::Write(const void* lpBuf, UINT nMax) {
  if (!IsStoring()) throwCause(CArchiveException::readOnly);
  const BYTE* in = static_cast<const BYTE*>(lpBuf);
  while (nMax > 0) {
    if (m_lpBufCur == m_lpBufMax) flushBuffer();
    // Large writes go straight to the file once the buffer is empty.
    if (m_lpBufCur == m_lpBufStart && nMax >= static_cast<UINT>(m_nBufSize)) {
      if (m_pFile == nullptr) throwCause(CArchiveException::genericException);
      m_pFile->Write(in, nMax);
      return;
    }
    const UINT n = std::min(nMax, static_cast<UINT>(m_lpBufMax - m_lpBufCur));
    std::memcpy(m_lpBufCur, in, n);
    m_lpBufCur += n;
    in += n;
    nMax -= n;
  }
}

void CArchive::readExactly(void* lpBuf, SIZE_T nCount) {
  BYTE* out = static_cast<BYTE*>(lpBuf);
  while (nCount > 0) {
    const UINT chunk = static_cast<UINT>(std::min<SIZE_T>(nCount, UINT_MAX));
    if (Read(out, chunk) != chunk) throwCause(CArchiveException::endOfFile);
    out += chunk;
    nCount -= chunk;
  }
}

void CArchive::WriteString(LPCTSTR lpsz) {
  if (lpsz != nullptr) Write(lpsz, static_cast<UINT>(std::strlen(lpsz)));
}

bool CArchive::readLine(std::string& line, size_t limit) {
  if (!IsLoading()) throwCause(CArchiveException::writeOnly);
  line.clear();
  bool readAny = false;
  while (m_lpBufCur < m_lpBufMax || fillSome()) {
    readAny = true;
    if (isLineEnd(*m_lpBufCur)) {
      const bool cr = *m_lpBufCur++ == '\r';
      if (cr && (m_lpBufCur < m_lpBufMax || fillSome()) && *m_lpBufCur == '\n') ++m_lpBufCur;
      return true;
    }
    if (line.size() == limit) return true;
    const size_t room = std::min(static_cast<size_t>(m_lpBufMax - m_lpBufCur), limit - line.size());
    BYTE* end = std::find_if(m_lpBufCur, m_lpBufCur + room, isLineEnd);
    line.append(reinterpret_cast<const char*>(m_lpBufCur), static_cast<size_t>(end - m_lpBufCur));
    m_lpBufCur = end;
  }
  return readAny;
}

BOOL CArchive::ReadString(CString& rString) {
  std::string line;
  const bool read = readLine(line, std::string::npos);
  rString = CString(line.data(), static_cast<int>(line.size()));
  return read;
}

LPTSTR CArchive::ReadString(LPTSTR lpsz, UINT nMax) {
  if (nMax < 2) {
    if (nMax == 1) *lpsz = '\0';
    return nullptr;
  }
  std::string line;
  if (!readLine(line, nMax - 1)) return nullptr;
  std::memcpy(lpsz, line.data(), line.size());
  lpsz[line.size()] = '\0';
  return lpsz;
}

CArchive& CArchive::operator>>(bool& b) {
  BYTE by = 0;
  get(by);
  b = by != 0;
  return *this;
}

ULONGLONG CArchive::readStringLength(int& nCharSize) {
  nCharSize = 1;
  BYTE bLength = 0;
  *this >> bLength;
  if (bLength < kByteLengthEscape) return bLength;
  WORD wLength = 0;
  *this >> wLength;
  if (wLength == kUnicodeMarker) {
    // UTF-16 text follows, with a length prefix of its own.
    nCharSize = 2;
    *this >> bLength;
    if (bLength < kByteLengthEscape) return bLength;
    *this >> wLength;
  }
  if (wLength < kWordLengthEscape) return wLength;
  DWORD dwLength = 0;
  *this >> dwLength;
  if (dwLength < kDwordLengthEscape) return dwLength;
  ULONGLONG qwLength = 0;
  *this >> qwLength;
  return qwLength;
}

void CArchive::writeStringLength(ULONGLONG nLength) {
  if (nLength < kByteLengthEscape) {
    *this << static_cast<BYTE>(nLength);
    return;
  }
  *this << kByteLengthEscape;
  if (nLength < kUnicodeMarker) {
    *this << static_cast<WORD>(nLength);
    return;
  }
  *this << kWordLengthEscape;
  if (nLength < kDwordLengthEscape) {
    *this << static_cast<DWORD>(nLength);
    return;
  }
  *this << kDwordLengthEscape << static_cast<ULONGLONG>(nLength);
}

CString CArchive::readCString() {
  if (!IsLoading()) throwCause(CArchiveException::writeOnly);
  int nCharSize = 1;
  const ULONGLONG nLength = readStringLength(nCharSize);
  // Ask the file only when the text runs past the buffer.
  const auto buffered = static_cast<ULONGLONG>(m_lpBufMax - m_lpBufCur);
  if (nLength > buffered / nCharSize && nLength > bytesLeft() / nCharSize) {
    throwCause(CArchiveException::endOfFile);
  }
  if (nLength > INT_MAX) throwCause(CArchiveException::genericException);
  CString result;
  if (nCharSize == 1) {
    readExactly(result.GetBufferSetLength(static_cast<int>(nLength)), nLength);
    return result;
  }
  std::u16string wide(nLength, u'\0');
  readExactly(wide.data(), nLength * 2);
  const std::string narrow = om::utf16ToCp932(wide);
  return CString(narrow.data(), static_cast<int>(narrow.size()));
}

CArchive& AFXAPI operator<<(CArchive& ar, const CString& string) {
  ar.writeStringLength(static_cast<ULONGLONG>(string.GetLength()));
  ar.Write(string.GetString(), static_cast<UINT>(string.GetLength()));
  return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, CString& string) {
  string = ar.readCString();
  return ar;
}

CArchive& AFXAPI operator<<(CArchive& ar, CTime time) { return ar << static_cast<LONGLONG>(time.GetTime()); }

CArchive& AFXAPI operator>>(CArchive& ar, CTime& rtime) {
  LONGLONG seconds = 0;
  ar >> seconds;
  rtime = CTime(static_cast<time_t>(seconds));
  return ar;
}

CArchive& AFXAPI operator<<(CArchive& ar, CTimeSpan span) {
  return ar << static_cast<LONGLONG>(span.GetTimeSpan());
}

CArchive& AFXAPI operator>>(CArchive& ar, CTimeSpan& rspan) {
  LONGLONG seconds = 0;
  ar >> seconds;
  rspan = CTimeSpan(static_cast<time_t>(seconds));
  return ar;
}

CArchive& AFXAPI operator<<(CArchive& ar, const CObject* pOb) {
  ar.WriteObject(pOb);
  return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, CObject*& pOb) {
  pOb = ar.ReadObject(nullptr);
  return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, const CObject*& pOb) {
  pOb = ar.ReadObject(nullptr);
  return ar;
}

// The exception classes and the Afx functions that throw them.
#include <afx.h>

#include <cstdio>

#include "OsError.h"

namespace {

// Copies `text` into the caller's buffer, cut to fit; FALSE when there is no
// room at all.
BOOL copyMessage(const CString& text, LPTSTR lpszError, UINT nMaxError) {
  if (lpszError == nullptr || nMaxError == 0) return FALSE;
  std::snprintf(lpszError, nMaxError, "%s", text.GetString());
  return TRUE;
}

const char* const kFileCauses[] = {
    "no error",          "unspecified error",    "file not found",   "bad path",
    "too many open files", "access denied",      "invalid file",     "cannot remove the current directory",
    "directory full",    "bad seek",             "hardware I/O error", "sharing violation",
    "lock violation",    "disk full",            "end of file",
};

const char* const kArchiveCauses[] = {
    "no error",       "unspecified error",   "written to an archive opened for loading",
    "end of file",    "read from an archive opened for storing",
    "bad object or class index", "unknown or unexpected class", "unsupported schema",
};

template <size_t N>
const char* causeText(const char* const (&texts)[N], int cause) {
  return cause >= 0 && static_cast<size_t>(cause) < N ? texts[cause] : "unknown error";
}

CString describe(const char* what, const char* cause, const CString& fileName) {
  CString text;
  text.Format("%s: %s", what, cause);
  if (!fileName.IsEmpty()) text.AppendFormat(" (%s)", fileName.GetString());
  return text;
}

}  // namespace

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CNotSupportedException, CException)
IMPLEMENT_DYNAMIC(CMemoryException, CException)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CArchiveException, CException)

void CException::Delete() {
  if (m_bAutoDelete) delete this;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
  if (pnHelpContext != nullptr) *pnHelpContext = 0;
  return copyMessage(GetRuntimeClass()->m_lpszClassName, lpszError, nMaxError);
}

BOOL CFileException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
  if (pnHelpContext != nullptr) *pnHelpContext = 0;
  return copyMessage(describe("File error", causeText(kFileCauses, m_cause), m_strFileName), lpszError,
                     nMaxError);
}

BOOL CArchiveException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
  if (pnHelpContext != nullptr) *pnHelpContext = 0;
  return copyMessage(describe("Archive error", causeText(kArchiveCauses, m_cause), m_strFileName),
                     lpszError, nMaxError);
}

int PASCAL CFileException::OsErrorToException(LONG lOsError) {
  return om::fileCauseFromWin32Error(lOsError);
}

void PASCAL CFileException::ThrowOsError(LONG lOsError, LPCTSTR lpszFileName) {
  throw new CFileException(OsErrorToException(lOsError), lOsError, lpszFileName);
}

void AFXAPI AfxThrowNotSupportedException() { throw new CNotSupportedException; }

void AFXAPI AfxThrowMemoryException() { throw new CMemoryException; }

void AFXAPI AfxThrowArchiveException(int cause, LPCTSTR lpszArchiveName) {
  throw new CArchiveException(cause, lpszArchiveName);
}

void AFXAPI AfxThrowFileException(int cause, LONG lOsError, LPCTSTR lpszFileName) {
  throw new CFileException(cause, lOsError, lpszFileName);
}

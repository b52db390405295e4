// CFile over a POSIX file descriptor.
#include <afx.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include <om/codepage.h>

#include "OsError.h"
#include "ShareMode.h"

namespace {

constexpr UINT kAccessMask = 0x3;
constexpr UINT kShareMask = 0x70;

om::ShareRequest shareRequest(UINT nOpenFlags) {
  om::ShareRequest request;
  const UINT access = nOpenFlags & kAccessMask;
  request.read = access != CFile::modeWrite;
  request.write = access != CFile::modeRead;
  switch (nOpenFlags & kShareMask) {
    case CFile::shareDenyNone: break;
    case CFile::shareDenyRead: request.denyRead = true; break;
    case CFile::shareDenyWrite: request.denyWrite = true; break;
    default:  // shareExclusive and shareCompat
      request.denyRead = request.denyWrite = true;
  }
  return request;
}

// Opens read-write where writing is asked for, so that the descriptor can
// carry share marks; write-only when the file may not be read.
int openDescriptor(LPCTSTR name, UINT nOpenFlags) {
  const std::string fsPath = om::fileSystemPath(name);
  const char* path = fsPath.c_str();
  int flags = O_CLOEXEC;
  if (nOpenFlags & CFile::modeCreate) flags |= O_CREAT;
  if ((nOpenFlags & kAccessMask) == CFile::modeRead) return open(path, flags | O_RDONLY, 0666);
  const int fd = open(path, flags | O_RDWR, 0666);
  if (fd >= 0 || errno != EACCES || (nOpenFlags & kAccessMask) == CFile::modeReadWrite) return fd;
  return open(path, flags | O_WRONLY, 0666);
}

bool isDirectory(int fd) {
  struct stat st;
  return fstat(fd, &st) == 0 && S_ISDIR(st.st_mode);
}

// The Win32 error for a failed open: a missing file is ERROR_FILE_NOT_FOUND,
// a missing directory on the way to it ERROR_PATH_NOT_FOUND.
LONG openError(LPCTSTR path, int error) {
  if (error == ENOENT) {
    std::string dir(path);
    const size_t slash = dir.find_last_of('/');
    dir = slash == std::string::npos ? "." : dir.substr(0, std::max<size_t>(slash, 1));
    struct stat st;
    if (stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return ERROR_PATH_NOT_FOUND;
  }
  return om::win32ErrorFromErrno(error);
}

void closeKeepingErrno(int fd) {
  const int saved = errno;
  close(fd);
  errno = saved;
}

}  // namespace

IMPLEMENT_DYNAMIC(CFile, CObject)

CFile::CFile() = default;

CFile::CFile(LPCTSTR lpszFileName, UINT nOpenFlags) {
  CFileException error;
  if (!Open(lpszFileName, nOpenFlags, &error)) {
    throw new CFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
  }
}

CFile::~CFile() { closeDescriptor(); }

BOOL CFile::Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError) {
  closeDescriptor();
  const auto fail = [&](LONG win32Error) {
    if (pError != nullptr) {
      pError->m_cause = CFileException::OsErrorToException(win32Error);
      pError->m_lOsError = win32Error;
      pError->m_strFileName = lpszFileName;
    }
    return FALSE;
  };
  if (lpszFileName == nullptr || *lpszFileName == '\0') return fail(ERROR_PATH_NOT_FOUND);
  const int fd = openDescriptor(lpszFileName, nOpenFlags);
  if (fd < 0) return fail(openError(lpszFileName, errno));
  if (isDirectory(fd)) {
    close(fd);
    return fail(ERROR_ACCESS_DENIED);
  }
  if (!om::acquireShareMode(fd, shareRequest(nOpenFlags))) {
    close(fd);
    return fail(om::kErrorSharingViolation);
  }
  // Truncate only once the share check has let this open in.
  const bool truncate = (nOpenFlags & modeCreate) && !(nOpenFlags & modeNoTruncate);
  if (truncate && ftruncate(fd, 0) != 0) {
    closeKeepingErrno(fd);
    return fail(om::win32ErrorFromErrno(errno));
  }
  m_fd = fd;
  m_nOpenFlags = nOpenFlags;
  m_strFileName = lpszFileName;
  return TRUE;
}

UINT CFile::Read(void* lpBuf, UINT nCount) {
  if (IsOpen() && (m_nOpenFlags & kAccessMask) == modeWrite) {
    CFileException::ThrowOsError(ERROR_ACCESS_DENIED, m_strFileName);
  }
  UINT done = 0;
  while (done < nCount) {
    const ssize_t n = read(m_fd, static_cast<char*>(lpBuf) + done, nCount - done);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      throwErrno();
    }
    done += static_cast<UINT>(n);
  }
  return done;
}

void CFile::Write(const void* lpBuf, UINT nCount) {
  if (IsOpen() && (m_nOpenFlags & kAccessMask) == modeRead) {
    CFileException::ThrowOsError(ERROR_ACCESS_DENIED, m_strFileName);
  }
  UINT done = 0;
  while (done < nCount) {
    const ssize_t n = write(m_fd, static_cast<const char*>(lpBuf) + done, nCount - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      throwErrno();
    }
    done += static_cast<UINT>(n);
  }
}

ULONGLONG CFile::Seek(LONGLONG lOff, UINT nFrom) {
  static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (nFrom > end) CFileException::ThrowOsError(ERROR_INVALID_PARAMETER, m_strFileName);
  const off_t position = lseek(m_fd, static_cast<off_t>(lOff), kWhence[nFrom]);
  if (position < 0) throwErrno();
  return static_cast<ULONGLONG>(position);
}

ULONGLONG CFile::GetPosition() const {
  const off_t position = lseek(m_fd, 0, SEEK_CUR);
  if (position < 0) throwErrno();
  return static_cast<ULONGLONG>(position);
}

ULONGLONG CFile::GetLength() const {
  struct stat st;
  if (fstat(m_fd, &st) != 0) throwErrno();
  return static_cast<ULONGLONG>(st.st_size);
}

void CFile::SetLength(ULONGLONG dwNewLen) {
  if (ftruncate(m_fd, static_cast<off_t>(dwNewLen)) != 0) throwErrno();
}

void CFile::Flush() {
  if (IsOpen() && fsync(m_fd) != 0 && errno != EINVAL) throwErrno();
}

void CFile::Close() {
  const int fd = m_fd;
  m_fd = -1;
  m_strFileName.Empty();
  if (fd >= 0 && close(fd) != 0 && errno != EINTR) throwErrno();
}

void CFile::Abort() { closeDescriptor(); }

CString CFile::GetFileName() const {
  const int slash = std::max(m_strFileName.ReverseFind('/'), m_strFileName.ReverseFind('\\'));
  return m_strFileName.Mid(slash + 1);
}

void PASCAL CFile::Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName) {
  if (std::rename(om::fileSystemPath(lpszOldName).c_str(), om::fileSystemPath(lpszNewName).c_str()) != 0) {
    CFileException::ThrowOsError(om::win32ErrorFromErrno(errno), lpszOldName);
  }
}

void PASCAL CFile::Remove(LPCTSTR lpszFileName) {
  if (unlink(om::fileSystemPath(lpszFileName).c_str()) != 0) CFileException::ThrowOsError(om::win32ErrorFromErrno(errno), lpszFileName);
}

void CFile::throwErrno() const { CFileException::ThrowOsError(om::win32ErrorFromErrno(errno), m_strFileName); }

void CFile::closeDescriptor() {
  if (m_fd >= 0) close(m_fd);
  m_fd = -1;
  m_strFileName.Empty();
}

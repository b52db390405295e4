#include "OsError.h"

#include <cerrno>

namespace om {
namespace {

struct ErrorMapping {
  int errnoValue;  // 0 where no errno leads to the code
  LONG win32Error;
  int cause;
};

// Win32 codes with the cause MFC gives them, and the errno values that mean
// the same on Linux. The first row for an errno value is its translation.
const ErrorMapping kErrors[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND, CFileException::fileNotFound},
    {ENOTDIR, ERROR_PATH_NOT_FOUND, CFileException::badPath},
    {EMFILE, 4 /* ERROR_TOO_MANY_OPEN_FILES */, CFileException::tooManyOpenFiles},
    {ENFILE, 4, CFileException::tooManyOpenFiles},
    {EACCES, ERROR_ACCESS_DENIED, CFileException::accessDenied},
    {EPERM, ERROR_ACCESS_DENIED, CFileException::accessDenied},
    {EISDIR, ERROR_ACCESS_DENIED, CFileException::accessDenied},
    {EROFS, 19 /* ERROR_WRITE_PROTECT */, CFileException::accessDenied},
    {EBADF, ERROR_INVALID_HANDLE, CFileException::invalidFile},
    {EIO, 1117 /* ERROR_IO_DEVICE */, CFileException::hardIO},
    {0, 23 /* ERROR_CRC */, CFileException::hardIO},
    {ETXTBSY, kErrorSharingViolation, CFileException::sharingViolation},
    {EWOULDBLOCK, 33 /* ERROR_LOCK_VIOLATION */, CFileException::lockViolation},
    {0, ERROR_HANDLE_EOF, CFileException::endOfFile},
    {ENOSPC, 112 /* ERROR_DISK_FULL */, CFileException::diskFull},
    {EDQUOT, 112, CFileException::diskFull},
    {EFBIG, 112, CFileException::diskFull},
    {0, 39 /* ERROR_HANDLE_DISK_FULL */, CFileException::diskFull},
    {EEXIST, 80 /* ERROR_FILE_EXISTS */, CFileException::accessDenied},
    {0, ERROR_ALREADY_EXISTS, CFileException::accessDenied},
    {EBUSY, 170 /* ERROR_BUSY */, CFileException::accessDenied},
    {ENAMETOOLONG, 206 /* ERROR_FILENAME_EXCED_RANGE */, CFileException::badPath},
    {ELOOP, 123 /* ERROR_INVALID_NAME */, CFileException::badPath},
    {EINVAL, kErrorNegativeSeek, CFileException::badSeek},
    {ESPIPE, 132 /* ERROR_SEEK_ON_DEVICE */, CFileException::badSeek},
    {ENOTEMPTY, 145 /* ERROR_DIR_NOT_EMPTY */, CFileException::removeCurrentDir},
    {0, 16 /* ERROR_CURRENT_DIRECTORY */, CFileException::removeCurrentDir},
};

}  // namespace

LONG win32ErrorFromErrno(int error) {
  for (const ErrorMapping& m : kErrors) {
    if (m.errnoValue == error && error != 0) return m.win32Error;
  }
  return ERROR_INVALID_FUNCTION;
}

int fileCauseFromWin32Error(LONG win32Error) {
  if (win32Error == NO_ERROR) return CFileException::none;
  for (const ErrorMapping& m : kErrors) {
    if (m.win32Error == win32Error) return m.cause;
  }
  return CFileException::genericException;
}

}  // namespace om

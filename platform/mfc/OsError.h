// Operating-system errors as MFC reports them: POSIX errno values translated
// to Win32 error codes (CFileException::m_lOsError) and to the file
// exception's causes. Internal to platform/mfc.
#ifndef OM_PLATFORM_MFC_OSERROR_H_
#define OM_PLATFORM_MFC_OSERROR_H_

#include <afx.h>

namespace om {

constexpr LONG kErrorSharingViolation = 32;
constexpr LONG kErrorNegativeSeek = 131;

// The Win32 error code for errno value `error` (ERROR_INVALID_FUNCTION when
// there is no better one).
LONG win32ErrorFromErrno(int error);

// The CFileException cause for a Win32 error code.
int fileCauseFromWin32Error(LONG win32Error);

}  // namespace om

#endif  // OM_PLATFORM_MFC_OSERROR_H_

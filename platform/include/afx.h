// The MFC core classes that the library uses, with MFC's names and behaviour:
// run-time classes and serialisation (CObject, CRuntimeClass and the
// DECLARE_/IMPLEMENT_ macros), files (CFile, CMemFile), archives (CArchive,
// byte for byte what MFC writes), the exceptions MFC throws (as pointers,
// released with Delete()), CString (narrow, code page 932), CTime and
// CTimeSpan. Implemented in platform/mfc (target om_mfc).
#ifndef OM_PLATFORM_AFX_H_
#define OM_PLATFORM_AFX_H_

#include <bit>
#include <compare>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <type_traits>

#include <windows.h>

static_assert(std::endian::native == std::endian::little,
              "archives are little-endian and written from memory as they are");

#define AFXAPI
#define PASCAL
#define AFX_CDECL
#define AFX_NOVTABLE

typedef unsigned int* PUINT;

class CArchive;
class CObject;
class CString;

// ---- Run-time classes ----------------------------------------------------------

// Schema flag of IMPLEMENT_SERIAL: the class reads every schema; its Serialize
// asks CArchive::GetObjectSchema which one it is reading.
#define VERSIONABLE_SCHEMA (0x80000000)

// The description of a class that derives from CObject. Instances are
// constant data made by the IMPLEMENT_ macros; classes made with
// IMPLEMENT_SERIAL are also registered by name, which is how ReadObject finds
// the class named in an archive.
struct CRuntimeClass {
  LPCSTR m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;  // 0xFFFF for classes that cannot be serialised
  CObject* (*m_pfnCreateObject)();
  CRuntimeClass* m_pBaseClass;

  // A new object of the class (owned by the caller), or null when the class
  // has no dynamic creation.
  CObject* CreateObject() const;
  BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;

  // The registered class of that name (case-sensitive), or null.
  static CRuntimeClass* PASCAL FromName(LPCSTR lpszClassName);

  // Archive form of a class: schema WORD, name length WORD, the name.
  void Store(CArchive& ar) const;
  // Reads that form and returns the registered class, or null for a name of 64
  // characters or more or an unknown name; *pwSchemaNum receives the schema.
  static CRuntimeClass* PASCAL Load(CArchive& ar, UINT* pwSchemaNum);
};

// Registers a serialisable class by name; made by IMPLEMENT_SERIAL as a static
// object in the class's own source file.
struct AFX_CLASSINIT {
  explicit AFX_CLASSINIT(CRuntimeClass* pNewClass);
};

#define RUNTIME_CLASS(class_name) (const_cast<CRuntimeClass*>(&class_name::class##class_name))

// GetRuntimeClass is declared without `override`, as in MFC, so that classes
// written either way compile without clang's consistency warning.
#if defined(__clang__)
#define OM_AFX_ANY_OVERRIDE_STYLE(declaration)                                    \
  _Pragma("clang diagnostic push")                                                \
  _Pragma("clang diagnostic ignored \"-Winconsistent-missing-override\"") declaration \
  _Pragma("clang diagnostic pop")
#else
#define OM_AFX_ANY_OVERRIDE_STYLE(declaration) declaration
#endif

#define DECLARE_DYNAMIC(class_name)             \
 public:                                        \
  static const CRuntimeClass class##class_name; \
  static CRuntimeClass* PASCAL GetThisClass();  \
  OM_AFX_ANY_OVERRIDE_STYLE(virtual CRuntimeClass* GetRuntimeClass() const;)

#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject* PASCAL CreateObject();

#define DECLARE_SERIAL(class_name)  \
  DECLARE_DYNCREATE(class_name)     \
  friend CArchive& AFXAPI operator>>(CArchive& ar, class_name*& pOb);

#define IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, pfnNew)                 \
  const CRuntimeClass class_name::class##class_name = {                                      \
      #class_name, sizeof(class class_name), wSchema, pfnNew, RUNTIME_CLASS(base_class_name)}; \
  CRuntimeClass* PASCAL class_name::GetThisClass() {                                         \
    return const_cast<CRuntimeClass*>(&class_name::class##class_name);                       \
  }                                                                                          \
  CRuntimeClass* class_name::GetRuntimeClass() const { return GetThisClass(); }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) \
  IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                  \
  CObject* PASCAL class_name::CreateObject() { return new class_name; } \
  IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_class_name, wSchema)                           \
  CObject* PASCAL class_name::CreateObject() { return new class_name; }                \
  IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, class_name::CreateObject) \
  static const AFX_CLASSINIT _init_##class_name(RUNTIME_CLASS(class_name));              \
  CArchive& AFXAPI operator>>(CArchive& ar, class_name*& pOb) {                          \
    pOb = static_cast<class_name*>(ar.ReadObject(RUNTIME_CLASS(class_name)));            \
    return ar;                                                                           \
  }

// The root of the MFC class tree: run-time class information and Serialize.
// Objects are not copyable through CObject; derived classes that need copies
// define their own copy constructor and assignment.
class CObject {
 public:
  virtual ~CObject() = default;
  CObject(const CObject&) = delete;
  CObject& operator=(const CObject&) = delete;

  static const CRuntimeClass classCObject;
  static CRuntimeClass* PASCAL GetThisClass();
  virtual CRuntimeClass* GetRuntimeClass() const;

  BOOL IsKindOf(const CRuntimeClass* pClass) const;
  BOOL IsSerializable() const;
  // Stores or loads the object's own data; CObject has none.
  virtual void Serialize(CArchive& ar);
  virtual void AssertValid() const {}

 protected:
  CObject() = default;
};

// ---- Exceptions ----------------------------------------------------------------

// Base of the exceptions that MFC code throws as pointers:
//   catch (CArchiveException* e) { ...; e->Delete(); }
// Delete() frees an exception made with new (the default, m_bAutoDelete).
class CException : public CObject {
  DECLARE_DYNAMIC(CException)
 public:
  explicit CException(BOOL bAutoDelete = TRUE) : m_bAutoDelete(bAutoDelete) {}
  void Delete();
  // Copies a description of the error, cut to nMaxError - 1 bytes.
  virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const;

  BOOL m_bAutoDelete;
};

class CNotSupportedException : public CException {
  DECLARE_DYNAMIC(CNotSupportedException)
 public:
  CNotSupportedException() = default;
};

class CMemoryException : public CException {
  DECLARE_DYNAMIC(CMemoryException)
 public:
  CMemoryException() = default;
};

class CFileException;
class CArchiveException;

[[noreturn]] void AFXAPI AfxThrowNotSupportedException();
[[noreturn]] void AFXAPI AfxThrowMemoryException();
[[noreturn]] void AFXAPI AfxThrowArchiveException(int cause, LPCTSTR lpszArchiveName = nullptr);
[[noreturn]] void AFXAPI AfxThrowFileException(int cause, LONG lOsError = -1,
                                               LPCTSTR lpszFileName = nullptr);

// ---- CString -------------------------------------------------------------------

// MFC's narrow string: bytes of code page 932. Searching, case changes and
// case-insensitive comparison step over double-byte characters, so a trail
// byte is never taken for an ASCII character; Mid, Left and Right count bytes.
// Pass it to printf-style functions as (LPCTSTR)s or s.GetString().
class CString {
 public:
  CString() = default;
  CString(const CString&) = default;
  CString(CString&&) noexcept = default;
  CString(LPCSTR psz);  // null reads as empty
  CString(LPCSTR pch, int nLength);
  CString(LPCWSTR pwsz);  // UTF-16, converted to code page 932
  explicit CString(char ch, int nRepeat = 1);
  CString& operator=(const CString&) = default;
  CString& operator=(CString&&) noexcept = default;
  CString& operator=(LPCSTR psz);
  CString& operator=(char ch);

  int GetLength() const { return static_cast<int>(m_str.size()); }
  BOOL IsEmpty() const { return m_str.empty(); }
  void Empty() { m_str.clear(); }
  char GetAt(int nIndex) const { return m_str[static_cast<size_t>(nIndex)]; }
  char operator[](int nIndex) const { return GetAt(nIndex); }
  void SetAt(int nIndex, char ch) { m_str[static_cast<size_t>(nIndex)] = ch; }
  operator LPCTSTR() const { return m_str.c_str(); }
  LPCTSTR GetString() const { return m_str.c_str(); }

  CString& operator+=(const CString& s);
  CString& operator+=(LPCSTR psz);
  CString& operator+=(char ch);
  void Append(LPCSTR pch, int nLength) { m_str.append(pch, static_cast<size_t>(nLength)); }

  // Byte order (strcmp); negative, zero or positive.
  int Compare(LPCTSTR psz) const;
  // As Compare, with ASCII letters compared as lower case.
  int CompareNoCase(LPCTSTR psz) const;

  CString Mid(int nFirst) const;
  CString Mid(int nFirst, int nCount) const;
  CString Left(int nCount) const;
  CString Right(int nCount) const;

  // Byte index of the first match at or after nStart, or -1.
  int Find(char ch, int nStart = 0) const;
  int Find(LPCTSTR pszSub, int nStart = 0) const;
  int ReverseFind(char ch) const;
  int FindOneOf(LPCTSTR pszCharSet) const;

  CString& MakeUpper();
  CString& MakeLower();
  CString& Trim();
  CString& TrimLeft();
  CString& TrimRight();
  CString& Trim(char chTarget);
  CString& TrimLeft(char chTarget);
  CString& TrimRight(char chTarget);
  // Number of replacements / removals.
  int Replace(char chOld, char chNew);
  int Replace(LPCTSTR pszOld, LPCTSTR pszNew);
  int Remove(char ch);
  // New length.
  int Insert(int nIndex, char ch);
  int Insert(int nIndex, LPCTSTR psz);
  int Delete(int nIndex, int nCount = 1);

  void Format(LPCTSTR pszFormat, ...) __attribute__((format(printf, 2, 3)));
  void AppendFormat(LPCTSTR pszFormat, ...) __attribute__((format(printf, 2, 3)));
  void FormatV(LPCTSTR pszFormat, va_list args) __attribute__((format(printf, 2, 0)));

  // The text of string resource nID; FALSE (and the string unchanged) when
  // the string table has no such id.
  BOOL LoadString(UINT nID);

  // Direct access: a writable buffer of at least nMinBufLength characters plus
  // a terminator, valid until the next call on the string; ReleaseBuffer sets
  // the length (-1: up to the first NUL).
  LPTSTR GetBuffer(int nMinBufLength);
  LPTSTR GetBuffer() { return GetBuffer(0); }
  LPTSTR GetBufferSetLength(int nNewLength);
  void ReleaseBuffer(int nNewLength = -1);

  friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
  friend bool operator==(const CString& a, LPCTSTR b) { return a.Compare(b) == 0; }
  friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
    return a.Compare(b.m_str.c_str()) <=> 0;
  }
  friend std::strong_ordering operator<=>(const CString& a, LPCTSTR b) { return a.Compare(b) <=> 0; }

 private:
  std::string m_str;
};

typedef CString CStringA;

CString AFXAPI operator+(const CString& a, const CString& b);
CString AFXAPI operator+(const CString& a, LPCTSTR b);
CString AFXAPI operator+(LPCTSTR a, const CString& b);
CString AFXAPI operator+(const CString& a, char b);
CString AFXAPI operator+(char a, const CString& b);

// ---- CTime and CTimeSpan -----------------------------------------------------------

// A signed span of whole seconds (64-bit).
class CTimeSpan {
 public:
  CTimeSpan() = default;
  CTimeSpan(time_t seconds) : m_timeSpan(seconds) {}
  CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs);

  LONGLONG GetDays() const { return m_timeSpan / 86400; }
  LONGLONG GetTotalHours() const { return m_timeSpan / 3600; }
  LONGLONG GetTotalMinutes() const { return m_timeSpan / 60; }
  LONGLONG GetTotalSeconds() const { return m_timeSpan; }
  LONG GetHours() const { return static_cast<LONG>(GetTotalHours() - GetDays() * 24); }
  LONG GetMinutes() const { return static_cast<LONG>(GetTotalMinutes() - GetTotalHours() * 60); }
  LONG GetSeconds() const { return static_cast<LONG>(GetTotalSeconds() - GetTotalMinutes() * 60); }
  time_t GetTimeSpan() const { return m_timeSpan; }

  // %D days, %H hours (00-23), %M minutes, %S seconds, %% a percent sign;
  // other characters are copied.
  CString Format(LPCTSTR pszFormat) const;

  CTimeSpan operator+(CTimeSpan s) const { return m_timeSpan + s.m_timeSpan; }
  CTimeSpan operator-(CTimeSpan s) const { return m_timeSpan - s.m_timeSpan; }
  CTimeSpan& operator+=(CTimeSpan s) { m_timeSpan += s.m_timeSpan; return *this; }
  CTimeSpan& operator-=(CTimeSpan s) { m_timeSpan -= s.m_timeSpan; return *this; }
  CTimeSpan operator-() const { return -m_timeSpan; }
  friend bool operator==(CTimeSpan a, CTimeSpan b) = default;
  friend auto operator<=>(CTimeSpan a, CTimeSpan b) = default;

 private:
  time_t m_timeSpan = 0;
};

// A calendar time: seconds since 1970-01-01 UTC (64-bit). The calendar
// fields, the field constructor and Format use local time.
class CTime {
 public:
  CTime() = default;
  CTime(time_t time) : m_time(time) {}
  // Local time; nDST -1 lets the C library decide whether daylight saving
  // applies. Fields out of range are normalised as mktime does.
  CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST = -1);

  static CTime PASCAL GetCurrentTime();

  time_t GetTime() const { return m_time; }
  // Fill *ptm (or a per-thread buffer when null) and return it; null when
  // the time cannot be represented.
  struct tm* GetLocalTm(struct tm* ptm = nullptr) const;
  struct tm* GetGmtTm(struct tm* ptm = nullptr) const;
  int GetYear() const;
  int GetMonth() const;      // 1-12
  int GetDay() const;        // 1-31
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;  // 1 = Sunday

  // strftime formats, in local time or UTC.
  CString Format(LPCTSTR pszFormat) const;
  CString FormatGmt(LPCTSTR pszFormat) const;

  // The archive form: 8 bytes of seconds.
  CArchive& Serialize64(CArchive& ar);

  CTimeSpan operator-(CTime t) const { return m_time - t.m_time; }
  CTime operator+(CTimeSpan s) const { return m_time + s.GetTimeSpan(); }
  CTime operator-(CTimeSpan s) const { return m_time - s.GetTimeSpan(); }
  CTime& operator+=(CTimeSpan s) { m_time += s.GetTimeSpan(); return *this; }
  CTime& operator-=(CTimeSpan s) { m_time -= s.GetTimeSpan(); return *this; }
  friend bool operator==(CTime a, CTime b) = default;
  friend auto operator<=>(CTime a, CTime b) = default;

 private:
  int localField(int tm::*field) const;

  time_t m_time = 0;
};

// ---- Files ---------------------------------------------------------------------

// A file on disk, opened with MFC's mode flags. Errors throw CFileException*
// (except Open, which reports through its optional CFileException).
//
// Share modes are kept between every CFile of the system, in this and other
// processes, with advisory locks on the file: an open fails with
// sharingViolation when it asks for access that an earlier open denies, or
// denies access that an earlier open holds, as on Windows. shareCompat is
// shareExclusive, as in MFC. Programs that do not use CFile are not held off.
// Descriptors are not inherited by child processes.
class CFile : public CObject {
  DECLARE_DYNAMIC(CFile)
 public:
  enum OpenFlags {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    shareCompat = 0x0000,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030,
    shareDenyNone = 0x0040,
    modeNoInherit = 0x0080,
    modeCreate = 0x1000,
    modeNoTruncate = 0x2000,
    typeText = 0x4000,
    typeBinary = 0x8000,
    osNoBuffer = 0x10000,
    osWriteThrough = 0x20000,
    osRandomAccess = 0x40000,
    osSequentialScan = 0x80000,
  };
  enum SeekPosition { begin = 0x0, current = 0x1, end = 0x2 };

  CFile();
  // Opens or throws CFileException*.
  CFile(LPCTSTR lpszFileName, UINT nOpenFlags);
  ~CFile() override;

  // FALSE on failure, with the cause in *pError when given.
  virtual BOOL Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);
  virtual UINT Read(void* lpBuf, UINT nCount);
  virtual void Write(const void* lpBuf, UINT nCount);
  virtual ULONGLONG Seek(LONGLONG lOff, UINT nFrom);
  void SeekToBegin() { Seek(0, begin); }
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  virtual ULONGLONG GetPosition() const;
  virtual ULONGLONG GetLength() const;
  virtual void SetLength(ULONGLONG dwNewLen);
  // Writes the system's buffers to the disk.
  virtual void Flush();
  virtual void Close();
  // Closes without reporting errors.
  virtual void Abort();

  BOOL IsOpen() const { return m_fd >= 0; }
  CString GetFilePath() const { return m_strFileName; }
  CString GetFileName() const;

  static void PASCAL Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName);
  static void PASCAL Remove(LPCTSTR lpszFileName);

 protected:
  // Throws the CFileException for the current errno.
  [[noreturn]] void throwErrno() const;

  CString m_strFileName;

 private:
  void closeDescriptor();

  int m_fd = -1;
  UINT m_nOpenFlags = 0;
};

// A file in memory that grows as it is written. The memory is owned by the
// CMemFile unless attached; Detach hands it (malloc'd) to the caller.
class CMemFile : public CFile {
  DECLARE_DYNAMIC(CMemFile)
 public:
  explicit CMemFile(UINT nGrowBytes = 1024);
  // Uses lpBuffer (not owned) as the file. With nGrowBytes 0 the file holds
  // the nBufferSize bytes of the buffer and writing past them throws
  // CMemoryException*; otherwise the file starts empty and, when it outgrows
  // the buffer, moves to memory of its own (the caller's buffer is left as it
  // is).
  CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
  ~CMemFile() override;

  void Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
  // Returns the contents and empties the file; the caller frees the memory
  // with free() when the file owned it.
  BYTE* Detach();

  UINT Read(void* lpBuf, UINT nCount) override;
  void Write(const void* lpBuf, UINT nCount) override;
  ULONGLONG Seek(LONGLONG lOff, UINT nFrom) override;
  ULONGLONG GetPosition() const override { return m_nPosition; }
  ULONGLONG GetLength() const override { return m_nFileSize; }
  void SetLength(ULONGLONG dwNewLen) override;
  void Flush() override {}
  void Close() override;
  void Abort() override { Close(); }

 private:
  void growTo(SIZE_T nNewSize);
  void release();

  UINT m_nGrowBytes;
  SIZE_T m_nPosition = 0;
  SIZE_T m_nBufferSize = 0;
  SIZE_T m_nFileSize = 0;
  BYTE* m_lpBuffer = nullptr;
  BOOL m_bAutoDelete = TRUE;  // the buffer is ours to free
};

// ---- Exception classes with causes ---------------------------------------------

class CFileException : public CException {
  DECLARE_DYNAMIC(CFileException)
 public:
  enum {
    none,
    genericException,
    fileNotFound,
    badPath,
    tooManyOpenFiles,
    accessDenied,
    invalidFile,
    removeCurrentDir,
    directoryFull,
    badSeek,
    hardIO,
    sharingViolation,
    lockViolation,
    diskFull,
    endOfFile,
  };

  explicit CFileException(int cause = none, LONG lOsError = -1, LPCTSTR lpszArchiveName = nullptr)
      : m_cause(cause), m_lOsError(lOsError), m_strFileName(lpszArchiveName) {}
  BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const override;

  // The cause for a Win32 error code.
  static int PASCAL OsErrorToException(LONG lOsError);
  [[noreturn]] static void PASCAL ThrowOsError(LONG lOsError, LPCTSTR lpszFileName = nullptr);

  int m_cause;
  LONG m_lOsError;  // the Win32 error code, or -1
  CString m_strFileName;
};

class CArchiveException : public CException {
  DECLARE_DYNAMIC(CArchiveException)
 public:
  enum {
    none,
    genericException,
    readOnly,    // written to an archive that is loading
    endOfFile,
    writeOnly,   // read from an archive that is storing
    badIndex,
    badClass,
    badSchema,
  };

  explicit CArchiveException(int cause = none, LPCTSTR lpszArchiveName = nullptr)
      : m_cause(cause), m_strFileName(lpszArchiveName) {}
  BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const override;

  int m_cause;
  CString m_strFileName;
};

// ---- CArchive --------------------------------------------------------------------

namespace om {

// The integer types that CArchive archives through a template: long,
// unsigned long, long long and unsigned long long, less the one of them that
// LONGLONG / ULONGLONG already is.
template <class T>
inline constexpr bool kArchiveOtherInteger =
    (std::is_same_v<T, long> || std::is_same_v<T, unsigned long> || std::is_same_v<T, long long> ||
     std::is_same_v<T, unsigned long long>) &&
    !std::is_same_v<T, LONGLONG> && !std::is_same_v<T, ULONGLONG>;

// Their width on Windows: 4 bytes for long, 8 for long long.
template <class T>
using ArchiveWidth =
    std::conditional_t<std::is_same_v<T, long> || std::is_same_v<T, unsigned long>,
                       std::conditional_t<std::is_signed_v<T>, LONG, DWORD>,
                       std::conditional_t<std::is_signed_v<T>, LONGLONG, ULONGLONG>>;

}  // namespace om

// A buffered binary stream over a CFile that loads or stores, in MFC's format:
// little-endian integers, 1-byte bool, MFC's string length prefixes, 8-byte
// CTime, and MFC's tags for objects and classes. The file is not owned and
// must not be used directly while the archive is open.
//
// Widths: BYTE, char and bool 1 byte; WORD and short 2; LONG (= int), DWORD
// (= unsigned) and float 4; LONGLONG, ULONGLONG and double 8. `long` and
// `unsigned long` are 32 bits on Windows, where archives are written: when they
// are types of their own here they are archived as 4 bytes; where LONGLONG is
// itself `long` (as with int64_t on 64-bit Linux), that 8-byte overload takes
// them.
//
// Failures throw CArchiveException* (and CFileException* from the file).
// Reading never trusts a length in the data: strings longer than the bytes
// left raise endOfFile before anything is allocated.
class CArchive {
 public:
  enum Mode { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };

  // nBufSize is raised to at least 128 bytes; lpBuf (optional, not owned)
  // is a buffer of nBufSize bytes to use.
  CArchive(CFile* pFile, UINT nMode, int nBufSize = 4096, void* lpBuf = nullptr);
  // Flushes a storing archive unless bNoFlushOnDelete; errors are dropped
  // there, so call Close to see them.
  ~CArchive();
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  BOOL IsLoading() const { return (m_nMode & load) != 0; }
  BOOL IsStoring() const { return (m_nMode & load) == 0; }
  BOOL IsByteSwapping() const { return FALSE; }
  BOOL IsBufferEmpty() const { return m_lpBufCur == m_lpBufMax; }
  CFile* GetFile() const { return m_pFile; }

  // Storing: writes the buffer to the file. Loading: moves the file back to
  // the first byte not yet read and empties the buffer.
  void Flush();
  // Flushes and detaches from the file.
  void Close();
  // Detaches without flushing.
  void Abort();

  // Raw bytes. Read returns how many were read (fewer at the end of the file).
  UINT Read(void* lpBuf, UINT nMax);
  void Write(const void* lpBuf, UINT nMax);

  // Text lines: WriteString writes the text as it is. ReadString reads up to
  // LF, CR LF or a lone CR (or the end of the file), without the line end;
  // FALSE / null at the end of the file. The buffer form stops after
  // nMax - 1 characters (a longer line comes in pieces) and NUL-terminates;
  // nMax must be at least 2.
  void WriteString(LPCTSTR lpsz);
  BOOL ReadString(CString& rString);
  LPTSTR ReadString(LPTSTR lpsz, UINT nMax);

  CArchive& operator<<(BYTE by) { return put(by); }
  CArchive& operator<<(WORD w) { return put(w); }
  CArchive& operator<<(LONG l) { return put(l); }
  CArchive& operator<<(DWORD dw) { return put(dw); }
  CArchive& operator<<(LONGLONG ll) { return put(ll); }
  CArchive& operator<<(ULONGLONG ull) { return put(ull); }
  CArchive& operator<<(float f) { return put(f); }
  CArchive& operator<<(double d) { return put(d); }
  CArchive& operator<<(short s) { return put(s); }
  CArchive& operator<<(char ch) { return put(ch); }
  CArchive& operator<<(bool b) { return put(static_cast<BYTE>(b ? 1 : 0)); }
  template <class T>
    requires om::kArchiveOtherInteger<T>
  CArchive& operator<<(T v) { return put(static_cast<om::ArchiveWidth<T>>(v)); }
  // Without these a string literal would be archived as a bool.
  CArchive& operator<<(const char*) = delete;
  CArchive& operator<<(const WCHAR*) = delete;

  CArchive& operator>>(BYTE& by) { return get(by); }
  CArchive& operator>>(WORD& w) { return get(w); }
  CArchive& operator>>(LONG& l) { return get(l); }
  CArchive& operator>>(DWORD& dw) { return get(dw); }
  CArchive& operator>>(LONGLONG& ll) { return get(ll); }
  CArchive& operator>>(ULONGLONG& ull) { return get(ull); }
  CArchive& operator>>(float& f) { return get(f); }
  CArchive& operator>>(double& d) { return get(d); }
  CArchive& operator>>(short& s) { return get(s); }
  CArchive& operator>>(char& ch) { return get(ch); }
  CArchive& operator>>(bool& b);
  template <class T>
    requires om::kArchiveOtherInteger<T>
  CArchive& operator>>(T& v) {
    om::ArchiveWidth<T> w;
    get(w);
    v = w;
    return *this;
  }

  // Objects through CObject pointers, with MFC's tags: 0x0000 null; 0xFFFF, the
  // schema WORD, the name length WORD and the name for a class seen the first
  // time; 0x8000|index for a class seen before; the index of an object seen
  // before; 0x7FFF and a DWORD (index, or 0x80000000|class index) for indexes
  // from 0x7FFF on. Classes and objects share one index counter from 1.
  void WriteObject(const CObject* pOb);
  // Returns the object (owned by the caller; the same pointer again for an
  // object read before), or null. With pClassRefRequested, an object of
  // another class raises badClass. If an object's Serialize throws, that
  // object is deleted before the exception leaves ReadObject.
  CObject* ReadObject(const CRuntimeClass* pClassRefRequested);
  void WriteClass(const CRuntimeClass* pClassRef);
  // Reads a class tag. For an object back-reference, stores the index in
  // *pObTag and returns null (badIndex when pObTag is null). The schema read
  // goes to *pSchema, or to GetObjectSchema when pSchema is null.
  CRuntimeClass* ReadClass(const CRuntimeClass* pClassRefRequested = nullptr, UINT* pSchema = nullptr,
                           DWORD* pObTag = nullptr);
  // WriteClass when storing, ReadClass when loading.
  void SerializeClass(const CRuntimeClass* pClassRef);
  // Gives an object an index without writing it, so that what follows can
  // refer to it.
  void MapObject(const CObject* pOb);

  // The schema of the object being loaded, once: later calls return
  // (UINT)-1 until the next object or SetObjectSchema.
  UINT GetObjectSchema();
  void SetObjectSchema(UINT nSchema) { m_nObjectSchema = nSchema; }

  CString m_strFileName;

 private:
  struct ObjectMaps;

  template <class T>
  CArchive& put(T v) {
    if (!IsStoring()) throwCause(CArchiveException::readOnly);
    if (m_lpBufMax - m_lpBufCur < static_cast<ptrdiff_t>(sizeof(T))) flushBuffer();
    std::memcpy(m_lpBufCur, &v, sizeof(T));
    m_lpBufCur += sizeof(T);
    return *this;
  }
  template <class T>
  CArchive& get(T& v) {
    if (!IsLoading()) throwCause(CArchiveException::writeOnly);
    if (m_lpBufMax - m_lpBufCur < static_cast<ptrdiff_t>(sizeof(T))) fillBuffer(sizeof(T));
    std::memcpy(&v, m_lpBufCur, sizeof(T));
    m_lpBufCur += sizeof(T);
    return *this;
  }

  [[noreturn]] void throwCause(int cause) const;
  // Writes the buffered bytes to the file.
  void flushBuffer();
  // Reads more of the file into the buffer; false at the end of the file.
  bool fillSome();
  // Makes at least nBytesNeeded unread bytes buffered, or throws endOfFile.
  void fillBuffer(UINT nBytesNeeded);
  // Unread bytes: those buffered plus what the file has after its position.
  ULONGLONG bytesLeft() const;
  void readExactly(void* lpBuf, SIZE_T nCount);
  // Reads a line of at most `limit` bytes; false at the end of the file.
  bool readLine(std::string& line, size_t limit);
  ULONGLONG readStringLength(int& nCharSize);
  void writeStringLength(ULONGLONG nLength);
  CString readCString();
  ObjectMaps& maps();
  void checkCount();
  void writeTag(DWORD nIndex, DWORD dwBigFlag, WORD wFlag);

  friend CArchive& AFXAPI operator<<(CArchive& ar, const CString& string);
  friend CArchive& AFXAPI operator>>(CArchive& ar, CString& string);

  CFile* m_pFile;
  UINT m_nMode;
  UINT m_nObjectSchema = static_cast<UINT>(-1);
  int m_nBufSize;
  std::unique_ptr<BYTE[]> m_ownBuffer;
  BYTE* m_lpBufStart;
  BYTE* m_lpBufCur;
  BYTE* m_lpBufMax;  // storing: end of the buffer; loading: end of the bytes read
  std::unique_ptr<ObjectMaps> m_maps;
};

CArchive& AFXAPI operator<<(CArchive& ar, const CObject* pOb);
CArchive& AFXAPI operator>>(CArchive& ar, CObject*& pOb);
CArchive& AFXAPI operator>>(CArchive& ar, const CObject*& pOb);

// Strings: MFC's length prefix in characters, then the bytes. Below 255 one
// byte; below 0xFFFE 0xFF and a WORD; below 0xFFFFFFFF 0xFF 0xFFFF and a
// DWORD; else 0xFF 0xFFFF 0xFFFFFFFF and a 64-bit length. Loading also takes
// the Unicode marker 0xFF 0xFFFE, after which a prefix of the same forms
// counts UTF-16 units of UTF-16LE text, converted to code page 932.
CArchive& AFXAPI operator<<(CArchive& ar, const CString& string);
CArchive& AFXAPI operator>>(CArchive& ar, CString& string);

CArchive& AFXAPI operator<<(CArchive& ar, CTime time);
CArchive& AFXAPI operator>>(CArchive& ar, CTime& rtime);
CArchive& AFXAPI operator<<(CArchive& ar, CTimeSpan span);
CArchive& AFXAPI operator>>(CArchive& ar, CTimeSpan& rspan);

#endif  // OM_PLATFORM_AFX_H_

// MFC's synchronisation classes over the platform's kernel objects: CMutex and
// CEvent wrap the Win32 handles of windows.h, CCriticalSection is an
// in-process recursive lock, and CSingleLock holds one of them for a scope.
#ifndef OM_PLATFORM_AFXMT_H_
#define OM_PLATFORM_AFXMT_H_

#include <mutex>

#include <afx.h>

// Something a thread can wait for and hold. m_hObject is the kernel handle
// (null for CCriticalSection), owned and closed by the object.
class CSyncObject : public CObject {
  DECLARE_DYNAMIC(CSyncObject)
 public:
  explicit CSyncObject(LPCTSTR pstrName);
  ~CSyncObject() override;

  operator HANDLE() const { return m_hObject; }

  // TRUE when the object was acquired (also when a mutex was abandoned by a
  // thread that ended holding it), FALSE on time-out.
  virtual BOOL Lock(DWORD dwTimeout = INFINITE);
  virtual BOOL Unlock() = 0;
  virtual BOOL Unlock(LONG /*lCount*/, LPLONG /*lpPrevCount*/ = nullptr) { return TRUE; }

  HANDLE m_hObject = nullptr;
};

// A recursive mutex, shared by name within the process when named.
class CMutex : public CSyncObject {
  DECLARE_DYNAMIC(CMutex)
 public:
  explicit CMutex(BOOL bInitiallyOwn = FALSE, LPCTSTR lpszName = nullptr,
                  LPSECURITY_ATTRIBUTES lpsaAttribute = nullptr);
  BOOL Unlock() override;
  using CSyncObject::Unlock;
};

// A manual- or auto-reset event. Lock waits for it to be set.
class CEvent : public CSyncObject {
  DECLARE_DYNAMIC(CEvent)
 public:
  explicit CEvent(BOOL bInitiallyOwn = FALSE, BOOL bManualReset = FALSE, LPCTSTR lpszName = nullptr,
                  LPSECURITY_ATTRIBUTES lpsaAttribute = nullptr);
  BOOL SetEvent();
  BOOL ResetEvent();
  BOOL Unlock() override { return TRUE; }
  using CSyncObject::Unlock;
};

// A recursive lock for the threads of one process; Lock with a time-out
// gives up after that many milliseconds.
class CCriticalSection : public CSyncObject {
  DECLARE_DYNAMIC(CCriticalSection)
 public:
  CCriticalSection();
  BOOL Lock() { return Lock(INFINITE); }
  BOOL Lock(DWORD dwTimeout) override;
  BOOL Unlock() override;
  using CSyncObject::Unlock;

 private:
  std::recursive_timed_mutex m_sect;
};

// Holds one synchronisation object for its lifetime: acquired by Lock (or
// at construction with bInitialLock), released by Unlock or the destructor.
// The object is not owned.
class CSingleLock {
 public:
  explicit CSingleLock(CSyncObject* pObject, BOOL bInitialLock = FALSE);
  ~CSingleLock() { Unlock(); }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;

  BOOL Lock(DWORD dwTimeOut = INFINITE);
  // TRUE when the lock is no longer held.
  BOOL Unlock();
  BOOL Unlock(LONG lCount, LPLONG lPrevCount = nullptr);
  BOOL IsLocked() const { return m_bAcquired; }

 protected:
  CSyncObject* m_pObject;
  HANDLE m_hObject;
  BOOL m_bAcquired = FALSE;
};

#endif  // OM_PLATFORM_AFXMT_H_

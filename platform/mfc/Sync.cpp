// The synchronisation classes of afxmt.h.
#include <afxmt.h>

#include <chrono>

IMPLEMENT_DYNAMIC(CSyncObject, CObject)
IMPLEMENT_DYNAMIC(CMutex, CSyncObject)
IMPLEMENT_DYNAMIC(CEvent, CSyncObject)
IMPLEMENT_DYNAMIC(CCriticalSection, CSyncObject)

CSyncObject::CSyncObject(LPCTSTR) {}

CSyncObject::~CSyncObject() {
  if (m_hObject != nullptr) CloseHandle(m_hObject);
}

BOOL CSyncObject::Lock(DWORD dwTimeout) {
  const DWORD result = WaitForSingleObject(m_hObject, dwTimeout);
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

CMutex::CMutex(BOOL bInitiallyOwn, LPCTSTR lpszName, LPSECURITY_ATTRIBUTES lpsaAttribute)
    : CSyncObject(lpszName) {
  m_hObject = CreateMutex(lpsaAttribute, bInitiallyOwn, lpszName);
  if (m_hObject == nullptr) AfxThrowNotSupportedException();
}

BOOL CMutex::Unlock() { return ReleaseMutex(m_hObject); }

CEvent::CEvent(BOOL bInitiallyOwn, BOOL bManualReset, LPCTSTR lpszName, LPSECURITY_ATTRIBUTES lpsaAttribute)
    : CSyncObject(lpszName) {
  m_hObject = CreateEvent(lpsaAttribute, bManualReset, bInitiallyOwn, lpszName);
  if (m_hObject == nullptr) AfxThrowNotSupportedException();
}

BOOL CEvent::SetEvent() { return ::SetEvent(m_hObject); }

BOOL CEvent::ResetEvent() { return ::ResetEvent(m_hObject); }

CCriticalSection::CCriticalSection() : CSyncObject(nullptr) {}

BOOL CCriticalSection::Lock(DWORD dwTimeout) {
  if (dwTimeout == INFINITE) {
    m_sect.lock();
    return TRUE;
  }
  return m_sect.try_lock_for(std::chrono::milliseconds(dwTimeout));
}

BOOL CCriticalSection::Unlock() {
  m_sect.unlock();
  return TRUE;
}

CSingleLock::CSingleLock(CSyncObject* pObject, BOOL bInitialLock)
    : m_pObject(pObject), m_hObject(pObject->m_hObject) {
  if (bInitialLock) Lock();
}

BOOL CSingleLock::Lock(DWORD dwTimeOut) {
  if (!m_bAcquired) m_bAcquired = m_pObject->Lock(dwTimeOut);
  return m_bAcquired;
}

BOOL CSingleLock::Unlock() {
  if (m_bAcquired) m_bAcquired = !m_pObject->Unlock();
  return !m_bAcquired;
}

BOOL CSingleLock::Unlock(LONG lCount, LPLONG lPrevCount) {
  if (m_bAcquired) m_bAcquired = !m_pObject->Unlock(lCount, lPrevCount);
  return !m_bAcquired;
}

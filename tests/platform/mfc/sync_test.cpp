#include <gtest/gtest.h>

#include <thread>

#include <afxmt.h>

namespace {

// Whether another thread can take `object` within `ms` milliseconds (and
// then gives it back).
bool otherThreadCanLock(CSyncObject* object, DWORD ms) {
  bool locked = false;
  std::thread other([&] {
    CSingleLock lock(object);
    locked = lock.Lock(ms);
  });
  other.join();
  return locked;
}

TEST(SingleLock, HoldsAMutexForItsScope) {
  CMutex mutex;
  ASSERT_NE(mutex.m_hObject, nullptr);
  {
    CSingleLock lock(&mutex, TRUE);
    EXPECT_TRUE(lock.IsLocked());
    EXPECT_TRUE(lock.Lock(0));  // already held: no second acquisition
    EXPECT_FALSE(otherThreadCanLock(&mutex, 20));
    EXPECT_TRUE(lock.Unlock());
    EXPECT_FALSE(lock.IsLocked());
    EXPECT_TRUE(otherThreadCanLock(&mutex, 1000));
    EXPECT_TRUE(lock.Lock());
  }
  EXPECT_TRUE(otherThreadCanLock(&mutex, 1000));  // released by the destructor
}

TEST(SingleLock, NamedMutexesAreOneMutex) {
  CMutex first(FALSE, "om_mfc_test_named");
  CMutex second(FALSE, "om_mfc_test_named");
  CSingleLock lock(&first, TRUE);
  EXPECT_FALSE(otherThreadCanLock(&second, 20));
  lock.Unlock();
  EXPECT_TRUE(otherThreadCanLock(&second, 1000));
}

TEST(SingleLock, InitiallyOwnedMutexIsOwnedByItsCreator) {
  CMutex mutex(TRUE);
  EXPECT_FALSE(otherThreadCanLock(&mutex, 20));
  EXPECT_TRUE(mutex.Unlock());
  EXPECT_TRUE(otherThreadCanLock(&mutex, 1000));
}

TEST(SingleLock, CriticalSectionWithTimeOut) {
  CCriticalSection section;
  CSingleLock lock(&section);
  EXPECT_TRUE(lock.Lock(100));
  EXPECT_TRUE(section.Lock());  // recursive for its owner
  section.Unlock();
  EXPECT_FALSE(otherThreadCanLock(&section, 20));
  lock.Unlock();
  EXPECT_TRUE(otherThreadCanLock(&section, 1000));
}

TEST(SingleLock, EventsWaitUntilSet) {
  CEvent autoReset;
  EXPECT_FALSE(otherThreadCanLock(&autoReset, 0));
  EXPECT_TRUE(autoReset.SetEvent());
  EXPECT_TRUE(otherThreadCanLock(&autoReset, 1000));
  EXPECT_FALSE(otherThreadCanLock(&autoReset, 0));  // reset by the wait

  CEvent manual(TRUE, TRUE);
  EXPECT_TRUE(otherThreadCanLock(&manual, 0));
  EXPECT_TRUE(otherThreadCanLock(&manual, 0));
  EXPECT_TRUE(manual.ResetEvent());
  EXPECT_FALSE(otherThreadCanLock(&manual, 0));

  CEvent later;
  std::thread setter([&] {
    Sleep(20);
    later.SetEvent();
  });
  CSingleLock wait(&later);
  EXPECT_TRUE(wait.Lock(5000));
  setter.join();
}

}  // namespace

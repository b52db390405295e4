// Serialisable classes for the archive tests.
#ifndef OM_TESTS_PLATFORM_MFC_TESTOBJECTS_H_
#define OM_TESTS_PLATFORM_MFC_TESTOBJECTS_H_

#include <afx.h>

// A LONG and a string.
class CTestRecord : public CObject {
  DECLARE_SERIAL(CTestRecord)
 public:
  CTestRecord() = default;
  CTestRecord(LONG id, LPCTSTR name) : m_id(id), m_name(name) {}
  void Serialize(CArchive& ar) override;

  LONG m_id = 0;
  CString m_name;
};

class CTestSpecialRecord : public CTestRecord {
  DECLARE_SERIAL(CTestSpecialRecord)
};

// An owned child object and a reference to an object it does not own.
class CTestHolder : public CObject {
  DECLARE_SERIAL(CTestHolder)
 public:
  ~CTestHolder() override { delete m_child; }
  void Serialize(CArchive& ar) override;

  CObject* m_child = nullptr;
  CObject* m_peer = nullptr;
};

// Schema 2, reading schema 1 too: schema 1 has no note.
class CTestVersioned : public CObject {
  DECLARE_SERIAL(CTestVersioned)
 public:
  void Serialize(CArchive& ar) override;

  UINT m_schemaRead = 0;
  LONG m_value = 0;
  CString m_note;
};

// Has run-time class information but cannot be serialised.
class CTestDynamic : public CObject {
  DECLARE_DYNAMIC(CTestDynamic)
};

#endif  // OM_TESTS_PLATFORM_MFC_TESTOBJECTS_H_

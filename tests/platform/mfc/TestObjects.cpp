#include "TestObjects.h"

IMPLEMENT_SERIAL(CTestRecord, CObject, 1)
IMPLEMENT_SERIAL(CTestSpecialRecord, CTestRecord, 1)
IMPLEMENT_SERIAL(CTestHolder, CObject, 1)
IMPLEMENT_SERIAL(CTestVersioned, CObject, VERSIONABLE_SCHEMA | 2)
IMPLEMENT_DYNAMIC(CTestDynamic, CObject)

void CTestRecord::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << m_id << m_name;
  } else {
    ar >> m_id >> m_name;
  }
}

void CTestHolder::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << m_child << m_peer;
  } else {
    ar >> m_child >> m_peer;
  }
}

void CTestVersioned::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << m_value << m_note;
    return;
  }
  m_schemaRead = ar.GetObjectSchema();
  ar >> m_value;
  if (m_schemaRead >= 2) ar >> m_note;
}

// CArchive: objects and classes through CObject pointers, with MFC's tags
// and index maps.
#include <afx.h>

#include "ObjectMaps.h"

namespace {

constexpr WORD kNullTag = 0x0000;
constexpr WORD kNewClassTag = 0xFFFF;
constexpr WORD kClassTag = 0x8000;
constexpr DWORD kBigClassTag = 0x80000000;
constexpr WORD kBigObjectTag = 0x7FFF;
constexpr DWORD kMaxMapCount = 0x3FFFFFFE;
constexpr UINT kNotSerializable = 0xFFFF;

// Objects whose Serialize reads objects nest; deeper than this a damaged
// archive would only exhaust the stack.
constexpr int kMaxObjectDepth = 1024;

}  // namespace

CArchive::ObjectMaps& CArchive::maps() {
  if (m_maps == nullptr) {
    m_maps = std::make_unique<ObjectMaps>();
    if (IsLoading()) m_maps->loaded.push_back({ObjectMaps::kNull, nullptr, nullptr});
  }
  return *m_maps;
}

void CArchive::checkCount() {
  if (maps().count >= kMaxMapCount) throwCause(CArchiveException::badIndex);
}

void CArchive::writeTag(DWORD nIndex, DWORD dwBigFlag, WORD wFlag) {
  if (nIndex < kBigObjectTag) {
    *this << static_cast<WORD>(wFlag | nIndex);
  } else {
    *this << kBigObjectTag << static_cast<DWORD>(dwBigFlag | nIndex);
  }
}

void CArchive::MapObject(const CObject* pOb) {
  ObjectMaps& m = maps();
  if (pOb == nullptr) return;
  checkCount();
  if (IsStoring()) {
    m.stored[pOb] = m.count++;
  } else {
    m.loaded.push_back({ObjectMaps::kObject, const_cast<CObject*>(pOb), nullptr});
    ++m.count;
  }
}

UINT CArchive::GetObjectSchema() {
  const UINT nSchema = m_nObjectSchema;
  m_nObjectSchema = static_cast<UINT>(-1);
  return nSchema;
}

void CArchive::WriteClass(const CRuntimeClass* pClassRef) {
  if (!IsStoring()) throwCause(CArchiveException::readOnly);
  if (pClassRef->m_wSchema == kNotSerializable) AfxThrowNotSupportedException();
  ObjectMaps& m = maps();
  const auto it = m.stored.find(pClassRef);
  if (it != m.stored.end()) {
    writeTag(it->second, kBigClassTag, kClassTag);
    return;
  }
  *this << kNewClassTag;
  pClassRef->Store(*this);
  checkCount();
  m.stored[pClassRef] = m.count++;
}

void CArchive::WriteObject(const CObject* pOb) {
  if (!IsStoring()) throwCause(CArchiveException::readOnly);
  ObjectMaps& m = maps();
  if (pOb == nullptr) {
    *this << kNullTag;
    return;
  }
  const auto it = m.stored.find(pOb);
  if (it != m.stored.end()) {
    writeTag(it->second, 0, 0);
    return;
  }
  // The class takes its index before the object.
  WriteClass(pOb->GetRuntimeClass());
  checkCount();
  m.stored[pOb] = m.count++;
  const_cast<CObject*>(pOb)->Serialize(*this);
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* pClassRefRequested, UINT* pSchema, DWORD* pObTag) {
  if (!IsLoading()) throwCause(CArchiveException::writeOnly);
  if (pClassRefRequested != nullptr && pClassRefRequested->m_wSchema == kNotSerializable) {
    AfxThrowNotSupportedException();
  }
  ObjectMaps& m = maps();
  WORD wTag = 0;
  *this >> wTag;
  DWORD obTag = 0;
  if (wTag == kBigObjectTag) {
    *this >> obTag;
  } else {
    obTag = (static_cast<DWORD>(wTag & kClassTag) << 16) | (wTag & ~kClassTag);
  }
  if (!(obTag & kBigClassTag)) {
    if (pObTag == nullptr) throwCause(CArchiveException::badIndex);
    *pObTag = obTag;
    return nullptr;
  }

  CRuntimeClass* pClassRef = nullptr;
  UINT nSchema = 0;
  if (wTag == kNewClassTag) {
    pClassRef = CRuntimeClass::Load(*this, &nSchema);
    if (pClassRef == nullptr) throwCause(CArchiveException::badClass);
    if ((pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA) != nSchema) {
      if (!(pClassRef->m_wSchema & VERSIONABLE_SCHEMA)) throwCause(CArchiveException::badSchema);
      m.schemas[pClassRef] = nSchema;
    }
    checkCount();
    m.loaded.push_back({ObjectMaps::kClass, nullptr, pClassRef});
    ++m.count;
  } else {
    const DWORD nClassIndex = obTag & ~kBigClassTag;
    if (nClassIndex >= m.loaded.size() || m.loaded[nClassIndex].kind != ObjectMaps::kClass) {
      throwCause(CArchiveException::badIndex);
    }
    pClassRef = m.loaded[nClassIndex].runtimeClass;
    const auto it = m.schemas.find(pClassRef);
    nSchema = it != m.schemas.end() ? it->second : (pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA);
  }

  if (pClassRefRequested != nullptr && !pClassRef->IsDerivedFrom(pClassRefRequested)) {
    throwCause(CArchiveException::badClass);
  }
  if (pSchema != nullptr) {
    *pSchema = nSchema;
  } else {
    m_nObjectSchema = nSchema;
  }
  if (pObTag != nullptr) *pObTag = obTag;
  return pClassRef;
}

void CArchive::SerializeClass(const CRuntimeClass* pClassRef) {
  if (IsStoring()) {
    WriteClass(pClassRef);
  } else {
    ReadClass(pClassRef);
  }
}

CObject* CArchive::ReadObject(const CRuntimeClass* pClassRefRequested) {
  if (!IsLoading()) throwCause(CArchiveException::writeOnly);
  UINT nSchema = 0;
  DWORD obTag = 0;
  CRuntimeClass* pClassRef = ReadClass(pClassRefRequested, &nSchema, &obTag);
  ObjectMaps& m = maps();

  if (pClassRef == nullptr) {
    // An object read before (or the null object).
    if (obTag >= m.loaded.size()) throwCause(CArchiveException::badIndex);
    const ObjectMaps::Entry& entry = m.loaded[obTag];
    if (entry.kind != ObjectMaps::kNull && entry.kind != ObjectMaps::kObject) {
      throwCause(CArchiveException::badIndex);
    }
    if (entry.object != nullptr && pClassRefRequested != nullptr && !entry.object->IsKindOf(pClassRefRequested)) {
      throwCause(CArchiveException::badClass);
    }
    return entry.object;
  }

  if (m.depth >= kMaxObjectDepth) throwCause(CArchiveException::genericException);
  checkCount();
  std::unique_ptr<CObject> pOb(pClassRef->CreateObject());
  if (pOb == nullptr) AfxThrowMemoryException();
  // Entered before it is read, so that what it contains can refer back to it.
  const size_t index = m.loaded.size();
  m.loaded.push_back({ObjectMaps::kObject, pOb.get(), nullptr});
  ++m.count;

  const UINT nSchemaSave = m_nObjectSchema;
  m_nObjectSchema = nSchema;
  ++m.depth;
  try {
    pOb->Serialize(*this);
  } catch (...) {
    --m.depth;
    m_nObjectSchema = nSchemaSave;
    m.loaded[index] = {ObjectMaps::kGone, nullptr, nullptr};
    throw;
  }
  --m.depth;
  m_nObjectSchema = nSchemaSave;
  return pOb.release();
}

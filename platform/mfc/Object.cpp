// CObject, CRuntimeClass and the registry of serialisable classes by name.
#include <afx.h>

#include <map>
#include <mutex>
#include <string>

namespace {

// Serialisable classes by name. Filled by static AFX_CLASSINIT objects, so it
// is made on first use and never destroyed.
class ClassRegistry {
 public:
  static ClassRegistry& instance() {
    static ClassRegistry* registry = new ClassRegistry;
    return *registry;
  }

  void add(CRuntimeClass* pClass) {
    std::lock_guard<std::mutex> lock(mu_);
    classes_.emplace(pClass->m_lpszClassName, pClass);
  }

  CRuntimeClass* find(LPCSTR name) const {
    std::lock_guard<std::mutex> lock(mu_);
    const auto it = classes_.find(name);
    return it == classes_.end() ? nullptr : it->second;
  }

 private:
  mutable std::mutex mu_;
  std::map<std::string, CRuntimeClass*, std::less<>> classes_;
};

// Longest class name an archive may carry, plus one.
constexpr WORD kClassNameLimit = 64;

}  // namespace

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* pNewClass) { ClassRegistry::instance().add(pNewClass); }

CObject* CRuntimeClass::CreateObject() const {
  return m_pfnCreateObject == nullptr ? nullptr : m_pfnCreateObject();
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const {
  for (const CRuntimeClass* c = this; c != nullptr; c = c->m_pBaseClass) {
    if (c == pBaseClass) return TRUE;
  }
  return FALSE;
}

CRuntimeClass* PASCAL CRuntimeClass::FromName(LPCSTR lpszClassName) {
  return lpszClassName == nullptr ? nullptr : ClassRegistry::instance().find(lpszClassName);
}

void CRuntimeClass::Store(CArchive& ar) const {
  const WORD nLen = static_cast<WORD>(std::strlen(m_lpszClassName));
  ar << static_cast<WORD>(m_wSchema) << nLen;
  ar.Write(m_lpszClassName, nLen);
}

CRuntimeClass* PASCAL CRuntimeClass::Load(CArchive& ar, UINT* pwSchemaNum) {
  WORD wSchema = 0;
  WORD nLen = 0;
  ar >> wSchema >> nLen;
  *pwSchemaNum = wSchema;
  if (nLen >= kClassNameLimit) return nullptr;
  char szClassName[kClassNameLimit];
  // A name cut short by the end of the file is the end of the file, not a
  // bad class.
  if (ar.Read(szClassName, nLen) != nLen) AfxThrowArchiveException(CArchiveException::endOfFile, ar.m_strFileName);
  szClassName[nLen] = '\0';
  return FromName(szClassName);
}

const CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, nullptr, nullptr};

CRuntimeClass* PASCAL CObject::GetThisClass() { return RUNTIME_CLASS(CObject); }

CRuntimeClass* CObject::GetRuntimeClass() const { return RUNTIME_CLASS(CObject); }

BOOL CObject::IsKindOf(const CRuntimeClass* pClass) const { return GetRuntimeClass()->IsDerivedFrom(pClass); }

BOOL CObject::IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }

void CObject::Serialize(CArchive&) {}

// libFuzzer target for MFC archive loading: the input is an archive whose
// bytes also choose what is read next (objects, classes, strings, numbers,
// times, text lines, raw bytes). Every failure must be a CException; objects
// are counted so that nothing is left alive or freed twice.
#include <cstddef>
#include <cstdint>
#include <set>

#include <afx.h>

// Base of the fuzzed classes: keeps every live instance so the harness can
// delete what the archive handed out (objects refer to each other without
// owning).
class CFuzzObject : public CObject {
  DECLARE_DYNAMIC(CFuzzObject)
 public:
  CFuzzObject() { live().insert(this); }
  ~CFuzzObject() override { live().erase(this); }
  static std::set<CFuzzObject*>& live() {
    static std::set<CFuzzObject*> objects;
    return objects;
  }
};

// Numbers, a string and two links to other objects.
class CFuzzNode : public CFuzzObject {
  DECLARE_SERIAL(CFuzzNode)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) return;
    ar >> m_id >> m_name >> m_flag >> m_first >> m_second;
  }
  LONG m_id = 0;
  CString m_name;
  bool m_flag = false;
  CObject* m_first = nullptr;
  CObject* m_second = nullptr;
};

// Reads as many strings as its schema says.
class CFuzzVersioned : public CFuzzObject {
  DECLARE_SERIAL(CFuzzVersioned)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) return;
    const UINT schema = ar.GetObjectSchema();
    for (UINT i = 0; i < schema % 4; ++i) ar >> m_text;
  }
  CString m_text;
};

class CFuzzLeaf : public CFuzzObject {
  DECLARE_SERIAL(CFuzzLeaf)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) return;
    ar >> m_time >> m_value;
  }
  CTime m_time;
  double m_value = 0;
};

IMPLEMENT_DYNAMIC(CFuzzObject, CObject)
IMPLEMENT_SERIAL(CFuzzNode, CFuzzObject, 1)
IMPLEMENT_SERIAL(CFuzzVersioned, CFuzzObject, VERSIONABLE_SCHEMA | 3)
IMPLEMENT_SERIAL(CFuzzLeaf, CFuzzObject, 2)

namespace {

// Reads one item of the kind named by the next byte; false to stop.
bool readOne(CArchive& ar) {
  BYTE op = 0;
  ar >> op;
  switch (op % 15) {
    case 0: ar.ReadObject(nullptr); break;
    case 1: ar.ReadObject(RUNTIME_CLASS(CFuzzNode)); break;
    case 13: ar.ReadObject(RUNTIME_CLASS(CFuzzLeaf)); break;
    case 2: ar.ReadObject(RUNTIME_CLASS(CFuzzVersioned)); break;
    case 3: {
      CString s;
      ar >> s;
      break;
    }
    case 4: {
      WORD w;
      DWORD dw;
      ULONGLONG ull;
      bool b;
      float f;
      ar >> w >> dw >> ull >> b >> f;
      break;
    }
    case 5: {
      CTime t;
      CTimeSpan span;
      ar >> t >> span;
      break;
    }
    case 6: {
      UINT schema = 0;
      DWORD tag = 0;
      ar.ReadClass(nullptr, &schema, &tag);
      break;
    }
    case 7: ar.SerializeClass(RUNTIME_CLASS(CFuzzNode)); break;
    case 8: {
      CString line;
      return ar.ReadString(line) != FALSE;
    }
    case 9: {
      char buffer[17];
      return ar.ReadString(buffer, sizeof buffer) != nullptr;
    }
    case 10: {
      BYTE count = 0;
      ar >> count;
      BYTE raw[255];
      return ar.Read(raw, count) == count;
    }
    case 11: ar.GetObjectSchema(); break;
    case 12: ar.Flush(); break;
    default: {
      CObject* o = nullptr;
      ar >> o;
      break;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the buffer size, so that reads cross buffer edges
  // in different places.
  const int bufferSize = 128 + data[0] * 16;
  CMemFile file(const_cast<BYTE*>(data + 1), static_cast<UINT>(size - 1));
  {
    CArchive ar(&file, CArchive::load, bufferSize);
    try {
      while (readOne(ar)) {
      }
    } catch (CArchiveException* e) {
      e->Delete();
    }
  }
  // What the archive handed out belongs to us now.
  while (!CFuzzObject::live().empty()) delete *CFuzzObject::live().begin();
  return 0;
}

// The index maps of a CArchive for objects and classes. Internal to
// platform/mfc.
#ifndef OM_PLATFORM_MFC_OBJECTMAPS_H_
#define OM_PLATFORM_MFC_OBJECTMAPS_H_

#include <afx.h>

#include <unordered_map>
#include <vector>

// The indexes given to classes and objects. Storing maps pointers to
// indexes; loading maps indexes back to what they stand for. Index 0 is the
// null object; the next index is `count` on both sides.
struct CArchive::ObjectMaps {
  enum Kind { kNull, kObject, kClass, kGone };
  struct Entry {
    Kind kind;
    CObject* object;
    CRuntimeClass* runtimeClass;
  };

  std::unordered_map<const void*, DWORD> stored;
  std::vector<Entry> loaded;
  // Classes read with a schema other than their own (VERSIONABLE_SCHEMA).
  std::unordered_map<const CRuntimeClass*, UINT> schemas;
  DWORD count = 1;
  int depth = 0;
};

#endif  // OM_PLATFORM_MFC_OBJECTMAPS_H_

// libFuzzer target for loading log objects, action filters and the
// persistent twins of the model (network objects, subnets, the network,
// action commands) from arbitrary bytes. The first byte picks the record
// class, or reading through ReadObject by class tags, and the archive's
// buffer size. Every failure must be a CArchiveException; a record that
// loads must store and load again to the same bytes.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <afx.h>

#include "model/SerializableAC.h"
#include "model/SerializableNetObj.h"
#include "model/SerializableOMNetwork.h"
#include "model/SerializableSubnet.h"
#include "monitor/ActionFilter.h"
#include "monitor/log.h"

namespace {

using Bytes = std::vector<BYTE>;

template <class T>
Bytes store(T& record) {
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store);
    record.Serialize(ar);
    ar.Close();
  }
  Bytes bytes(static_cast<size_t>(file.GetLength()));
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

// Loads one T from the archive; when that succeeds, what it stores must load
// (without an exception) into a record that stores the same bytes again.
template <class T>
void loadDirect(CArchive& ar) {
  T record;
  record.Serialize(ar);
  Bytes first = store(record);
  T again;
  {
    CMemFile file(first.data(), static_cast<UINT>(first.size()));
    CArchive in(&file, CArchive::load);
    again.Serialize(in);
  }
  if (store(again) != first) {
    std::fprintf(stderr, "record changed on its second round trip\n");
    abort();
  }
}

// Reads tagged objects until the archive ends; each distinct object is
// deleted once (back-references give the same pointer again).
void loadObjects(CArchive& ar) {
  std::set<CObject*> seen;
  std::vector<std::unique_ptr<CObject>> owned;
  for (int i = 0; i < 64; ++i) {
    CObject* object = ar.ReadObject(nullptr);
    if (object != nullptr && seen.insert(object).second) owned.emplace_back(object);
  }
}

// Keeps the configuration that a new subnet record reads in a directory of
// its own, removed at exit.
struct Home {
  Home() {
    char dir[] = "/tmp/omlib-records-fuzz-XXXXXX";
    if (mkdtemp(dir) == nullptr) abort();
    path = dir;
    setenv("OMLIB_HOME", dir, 1);
    setenv("OMLIB_USER_HOME", dir, 1);
  }
  ~Home() { std::filesystem::remove_all(path); }
  std::string path;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static Home home;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const BYTE selector = data[0];
  CMemFile file(const_cast<BYTE*>(data + 1), static_cast<UINT>(size - 1));
  CArchive ar(&file, CArchive::load, 128 + (selector >> 3) * 32);
  try {
    switch (selector % 7) {
      case 0: loadDirect<CLogObject>(ar); break;
      case 1: loadDirect<ActionFilter>(ar); break;
      case 2: loadDirect<SerializableNetObj>(ar); break;
      case 3: loadDirect<SerializableSubnet>(ar); break;
      case 4: loadDirect<SerializableOMNetwork>(ar); break;
      case 5: loadDirect<SerializableActionCommand>(ar); break;
      default: loadObjects(ar); break;
    }
  } catch (CArchiveException* e) {
    e->Delete();
  }
  return 0;
}

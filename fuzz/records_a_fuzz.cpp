// libFuzzer target for loading the polling task, task data record, MIB node
// and command result records from arbitrary bytes: one record kind read
// directly again and again, or tagged objects through ReadObject, until the
// archive ends. The only failure allowed is CArchiveException. Each record
// loaded must store the same bytes after one more load, and the text form of
// OidValPair must split and join back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include <afx.h>

#include "monitor/OidValPair.h"
#include "monitor/TaskDataRecord.h"
#include "monitor/TaskObject.h"
#include "monitor/mibnode.h"
#include "wbem/CommandResult.h"

namespace {

std::vector<BYTE> storeBytes(CObject& record) {
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store);
    record.Serialize(ar);
    ar.Close();
  }
  std::vector<BYTE> bytes(static_cast<size_t>(file.GetLength()));
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

// Storing what was loaded, loading that again and storing once more gives
// the same bytes.
template <class T>
void checkStable(T& loaded) {
  const std::vector<BYTE> first = storeBytes(loaded);
  CMemFile file(const_cast<BYTE*>(first.data()), static_cast<UINT>(first.size()));
  T again;
  {
    CArchive ar(&file, CArchive::load);
    again.Serialize(ar);
  }
  if (storeBytes(again) != first) std::abort();
}

// Reads records of one kind until the archive ends.
template <class T, class Load>
void readAll(Load load) {
  for (;;) {
    T record;
    load(record);
    checkStable(record);
  }
}

void readTagged(CArchive& ar) {
  std::set<CObject*> owned;
  try {
    for (;;) owned.insert(ar.ReadObject(nullptr));
  } catch (CArchiveException*) {
    for (CObject* o : owned) delete o;
    throw;
  }
}

void checkPair(const uint8_t* data, size_t size) {
  if (size < 2) return;
  OidValPair::setSeparator(static_cast<char>(data[0]));
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const OidValPair pair(text);
  if (pair.hasOid() && pair.concat() != text) std::abort();
  OidValPair::setSeparator(':');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const int kind = data[0] % 8;
  const int bufferSize = 128 + data[1] * 8;
  if (kind == 7) {
    checkPair(data + 1, size - 1);
    return 0;
  }
  CMemFile file(const_cast<BYTE*>(data + 2), static_cast<UINT>(size - 2));
  CArchive ar(&file, CArchive::load, bufferSize);
  try {
    switch (kind) {
      case 0:
      case 1:
      case 2: {
        const int version = kind;  // the three loading rules of snmpVersion
        readAll<CTaskObject>([&](CTaskObject& t) { t.SerializeEx(ar, version); });
        break;
      }
      case 3: readAll<CTaskDataRecord>([&](CTaskDataRecord& r) { r.Serialize(ar); }); break;
      case 4: readAll<CMibNode>([&](CMibNode& n) { n.Serialize(ar); }); break;
      case 5: readAll<CommandResult>([&](CommandResult& r) { r.Serialize(ar); }); break;
      default: readTagged(ar); break;
    }
  } catch (CArchiveException* e) {
    e->Delete();
  }
  return 0;
}

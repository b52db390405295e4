#include "server/store/ArchiveTransfer.h"

#include <cstdio>
#include <memory>

#include "model/CStringUtil.h"
#include "model/SerializableAC.h"
#include "model/SerializableNetObj.h"
#include "model/SerializableSubnet.h"
#include "monitor/ActionFilter.h"
#include "monitor/TaskDataRecord.h"
#include "monitor/TaskObject.h"
#include "monitor/log.h"
#include "server/store/DurableStores.h"
#include "server/store/NetworkTree.h"
#include "server/store/RecordBytes.h"

namespace om::server {
namespace {

// A store that moves: its table and the class of its records in the file.
struct Kind {
  const char* name;
  DataStore::Table table;
  CRuntimeClass* recordClass;
  bool placed;  // each record preceded by where it belongs
};

const Kind kKinds[] = {
    {"tree", DataStore::kObjects, RUNTIME_CLASS(SerializableNetObj), true},
    {"subnets", DataStore::kSubnets, RUNTIME_CLASS(SerializableSubnet), false},
    {"tasks", DataStore::kTasks, RUNTIME_CLASS(CTaskObject), false},
    {"samples", DataStore::kTaskRecords, RUNTIME_CLASS(CTaskDataRecord), true},
    {"logs", DataStore::kLogs, RUNTIME_CLASS(CLogObject), false},
    {"commands", DataStore::kCommands, RUNTIME_CLASS(SerializableActionCommand), false},
    {"filters", DataStore::kFilters, RUNTIME_CLASS(ActionFilter), false},
};

const Kind* kindNamed(const std::string& name, std::string& error) {
  for (const Kind& kind : kKinds) {
    if (name == kind.name) return &kind;
  }
  error = "no store is called '" + name + "'";
  return nullptr;
}

// A record of the file and where it belongs. Every record stays alive while
// the archive is open: MFC writes an address met before as a reference.
struct Placed {
  std::string place;
  std::unique_ptr<CObject> record;
};

std::string describe(CException* e) {
  char text[256] = "";
  e->GetErrorMessage(text, sizeof(text));
  e->Delete();
  return text;
}

// The tree's listings, parents first: each under the path of its parent.
void walkTree(const std::map<std::string, TreeEntry>& entries, const CNetworkPath& path, std::vector<Placed>& out) {
  const auto found = entries.find(path.name());
  if (found == entries.end()) return;
  for (const std::string& child : found->second.children) {
    const auto entry = entries.find(child);
    if (entry == entries.end()) continue;
    out.push_back({path.getPath(), std::make_unique<SerializableNetObj>(entry->second.object)});
    CNetworkPath childPath(path);
    childPath.addChild(child);
    walkTree(entries, childPath, out);
  }
}

std::vector<Placed> recordsOf(const DataStore& data, const Kind& kind) {
  std::vector<Placed> out;
  if (kind.table == DataStore::kObjects) {
    const std::map<std::string, TreeEntry> entries = keptTree(data);
    for (const std::string& root : {CNetworkPath::getPhysicalRootName(), CNetworkPath::getLogicalRootName()}) {
      walkTree(entries, CNetworkPath(std::vector<std::string>{root}), out);
    }
    return out;
  }
  data.read().scan(kind.table, {}, false, [&](std::string_view key, std::string_view bytes) {
    std::unique_ptr<CObject> record(kind.recordClass->CreateObject());
    if (!readArchiveBytes(bytes, *record)) {
      data.reportDamaged(kind.table, key);
      return true;
    }
    // A sample's key begins with its task's name.
    out.push_back({kind.placed ? std::string(key.substr(0, key.find('\0'))) : std::string(), std::move(record)});
    return true;
  });
  return out;
}

bool writeFile(const std::string& file, const std::vector<Placed>& records, std::string& error) {
  // Written beside the file and renamed over it, so that a failure leaves
  // the old file whole.
  const std::string partial = file + ".partial";
  try {
    CFile out(partial.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive archive(&out, CArchive::store);
    for (const Placed& placed : records) {
      if (!placed.place.empty()) archive << toCString(placed.place);
      archive.WriteObject(placed.record.get());
    }
    archive.Close();
    out.Close();
  } catch (CException* e) {
    error = "cannot write " + partial + ": " + describe(e);
    std::remove(partial.c_str());
    return false;
  }
  if (std::rename(partial.c_str(), file.c_str()) != 0) {
    error = "cannot replace " + file;
    std::remove(partial.c_str());
    return false;
  }
  return true;
}

bool readFile(const std::string& file, const Kind& kind, std::vector<Placed>& records, std::string& error) {
  try {
    CFile in(file.c_str(), CFile::modeRead | CFile::shareDenyWrite);
    CArchive archive(&in, CArchive::load);
    for (;;) {
      archive.Flush();  // the file now stands at the next unread byte
      if (in.GetPosition() >= in.GetLength()) return true;
      Placed placed;
      if (kind.placed) {
        CString place;
        archive >> place;
        placed.place = toStdString(place);
      }
      placed.record.reset(archive.ReadObject(kind.recordClass));
      if (placed.record == nullptr) {
        error = file + ": record " + std::to_string(records.size() + 1) + " is empty";
        return false;
      }
      records.push_back(std::move(placed));
    }
  } catch (CException* e) {
    error = file + ": record " + std::to_string(records.size() + 1) + ": " + describe(e);
    return false;
  }
}

// Adds the records to the store of their kind through its own interface,
// which keeps its keys, counts and orders.
bool addRecords(DataStore& data, const Kind& kind, const Retention& retention, const std::vector<Placed>& records,
                std::string& error) {
  NetworkTree tree;
  DurableTreeStore treeStore(data);
  if (kind.table == DataStore::kObjects && !tree.attach(&treeStore)) {
    error = "the data store holds no network tree this server can read";
    return false;
  }
  for (const Placed& placed : records) {
    CObject* record = placed.record.get();
    switch (kind.table) {
      case DataStore::kObjects: {
        NetworkObjectBase object;
        static_cast<SerializableNetObj*>(record)->getObject(object);
        if (!tree.add(placed.place, object)) {
          error = "the tree has no place at " + placed.place + " for " + object.getName();
          return false;
        }
        break;
      }
      case DataStore::kSubnets: {
        SubnetBase subnet;
        static_cast<SerializableSubnet*>(record)->getSubnet(subnet);
        DurableSubnetStore(data).put(subnet);
        break;
      }
      case DataStore::kTasks: {
        const CTaskObject& task = *static_cast<CTaskObject*>(record);
        DurableTaskStore tasks(data);
        if (!tasks.update(task.getName(), [&](CTaskObject& kept) { kept = task; })) tasks.add(task);
        break;
      }
      case DataStore::kTaskRecords:
        DurableTaskRecordStore(data, retention).put(placed.place, *static_cast<CTaskDataRecord*>(record));
        break;
      case DataStore::kLogs:
        DurableLogStore(data, retention).put(*static_cast<CLogObject*>(record), nullptr);
        break;
      case DataStore::kCommands: {
        CActionCommand command;
        static_cast<SerializableActionCommand*>(record)->copyTo(command);
        DurableActionStore(data).putCommand(command);
        break;
      }
      default:
        DurableActionStore(data).putFilter(*static_cast<ActionFilter*>(record));
        break;
    }
  }
  return true;
}

}  // namespace

const std::vector<std::string>& transferableStores() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> out;
    for (const Kind& kind : kKinds) out.emplace_back(kind.name);
    return out;
  }();
  return names;
}

long exportStore(const DataStore& data, const std::string& store, const std::string& file, std::string& error) {
  const Kind* kind = kindNamed(store, error);
  if (kind == nullptr) return -1;
  const std::vector<Placed> records = recordsOf(data, *kind);
  return writeFile(file, records, error) ? static_cast<long>(records.size()) : -1;
}

long importStore(DataStore& data, const std::string& store, const std::string& file, const Retention& retention,
                 std::string& error) {
  const Kind* kind = kindNamed(store, error);
  if (kind == nullptr) return -1;
  std::vector<Placed> records;
  if (!readFile(file, *kind, records, error) || !addRecords(data, *kind, retention, records, error)) return -1;
  return static_cast<long>(records.size());
}

}  // namespace om::server

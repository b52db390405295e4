// omconsole archive: reads a file of records kept in an MFC archive and prints
// each record's fields, or checks that writing them again gives the same bytes.
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <afx.h>
#include <om/codepage.h>
#include <wmi/ServerAddress.h>

#include "Command.h"
#include "JsonText.h"
#include "model/SerializableAC.h"
#include "model/SerializableNetObj.h"
#include "model/SerializableOMNetwork.h"
#include "model/SerializableSubnet.h"
#include "monitor/ActionFilter.h"
#include "monitor/TaskDataRecord.h"
#include "monitor/TaskObject.h"
#include "monitor/log.h"
#include "monitor/mibnode.h"
#include "server/NetworkServer.h"
#include "server/store/ArchiveTransfer.h"
#include "wbem/CommandResult.h"

namespace omconsole {
namespace {

typedef std::vector<std::pair<std::string, std::string>> Fields;

// A record class the console knows: its run-time class and how to list its
// fields. Naming every class here also keeps its registration linked in.
struct RecordKind {
  CRuntimeClass* runtimeClass;
  Fields (*describe)(const CObject* record);
};

template <class T>
Fields describe(const CObject* record) {
  return static_cast<const T*>(record)->describeFields();
}

const RecordKind kKinds[] = {
    {RUNTIME_CLASS(SerializableNetObj), describe<SerializableNetObj>},
    {RUNTIME_CLASS(SerializableSubnet), describe<SerializableSubnet>},
    {RUNTIME_CLASS(SerializableOMNetwork), describe<SerializableOMNetwork>},
    {RUNTIME_CLASS(SerializableActionCommand), describe<SerializableActionCommand>},
    {RUNTIME_CLASS(CTaskObject), describe<CTaskObject>},
    {RUNTIME_CLASS(CTaskDataRecord), describe<CTaskDataRecord>},
    {RUNTIME_CLASS(CLogObject), describe<CLogObject>},
    {RUNTIME_CLASS(ActionFilter), describe<ActionFilter>},
    {RUNTIME_CLASS(CMibNode), describe<CMibNode>},
    {RUNTIME_CLASS(CommandResult), describe<CommandResult>},
};

const RecordKind* kindOf(const CRuntimeClass* cls) {
  for (const RecordKind& k : kKinds) {
    if (k.runtimeClass == cls) return &k;
  }
  return nullptr;
}

const RecordKind* kindNamed(const std::string& name) {
  for (const RecordKind& k : kKinds) {
    if (name == k.runtimeClass->m_lpszClassName) return &k;
  }
  return nullptr;
}

const char* causeName(int cause) {
  static const char* const kNames[] = {"none",       "generic error", "read only", "end of file",
                                       "write only", "bad index",     "bad class", "bad schema"};
  return cause >= 0 && cause < 8 ? kNames[cause] : "unknown cause";
}

// One record read from the file and where it started.
struct Record {
  const RecordKind* kind;
  CObject* object;  // owned by the Reader (one object may be read twice)
  ULONGLONG offset;
};

// Reads every record of a file: through CObject pointers (MFC class tags), or
// with `direct` one Serialize of that class after another.
class Reader {
 public:
  Reader(CFile& file, const RecordKind* direct) : file_(file), archive_(&file, CArchive::load), direct_(direct) {}
  ~Reader() {
    for (CObject* o : owned_) delete o;
  }

  // Reads all records; false when reading stopped early, with `stop` saying
  // where and why.
  bool readAll(std::vector<Record>& records, std::string& stop) {
    for (;;) {
      archive_.Flush();  // the file now stands at the next unread byte
      const ULONGLONG offset = file_.GetPosition();
      if (offset >= file_.GetLength()) return true;
      try {
        records.push_back(readOne(offset));
      } catch (CArchiveException* e) {
        stop = "record " + std::to_string(records.size() + 1) + " at byte " + std::to_string(offset) +
               ": " + causeName(e->m_cause) + " (cause " + std::to_string(e->m_cause) + ")";
        e->Delete();
        return false;
      } catch (CFileException* e) {
        stop = "record " + std::to_string(records.size() + 1) + " at byte " + std::to_string(offset) +
               ": file error " + std::to_string(e->m_cause);
        e->Delete();
        return false;
      }
    }
  }

 private:
  Record readOne(ULONGLONG offset) {
    if (direct_ != nullptr) {
      std::unique_ptr<CObject> object(direct_->runtimeClass->CreateObject());
      object->Serialize(archive_);
      owned_.insert(object.get());
      return {direct_, object.release(), offset};
    }
    CObject* object = archive_.ReadObject(nullptr);
    if (object == nullptr) return {nullptr, nullptr, offset};
    owned_.insert(object);
    const RecordKind* kind = kindOf(object->GetRuntimeClass());
    if (kind == nullptr) throw new CArchiveException(CArchiveException::badClass, archive_.m_strFileName);
    return {kind, object, offset};
  }

  CFile& file_;
  CArchive archive_;
  const RecordKind* direct_;
  std::set<CObject*> owned_;
};

void printText(const std::vector<Record>& records) {
  for (const Record& r : records) {
    if (r.object == nullptr) {
      std::cout << "@" << r.offset << " (null)\n";
      continue;
    }
    std::cout << "@" << r.offset << " " << r.kind->runtimeClass->m_lpszClassName << "\n";
    for (const auto& [name, value] : r.kind->describe(r.object)) {
      std::cout << "  " << name << " = " << om::cp932ToUtf8(value) << "\n";
    }
  }
}

void printJson(const std::vector<Record>& records, const std::string& stop) {
  std::cout << "{\"records\": [";
  for (size_t i = 0; i < records.size(); ++i) {
    const Record& r = records[i];
    std::cout << (i ? ",\n  " : "\n  ") << "{\"offset\": " << r.offset << ", \"class\": ";
    if (r.object == nullptr) {
      std::cout << "null}";
      continue;
    }
    std::cout << jsonText(r.kind->runtimeClass->m_lpszClassName) << ", \"fields\": {";
    const Fields fields = r.kind->describe(r.object);
    for (size_t f = 0; f < fields.size(); ++f) {
      std::cout << (f ? ", " : "") << jsonText(fields[f].first) << ": " << jsonText(fields[f].second);
    }
    std::cout << "}}";
  }
  std::cout << "\n], \"stopped\": " << (stop.empty() ? "null" : jsonText(stop)) << "}\n";
}

// The records written again into memory, as the reader's mode wrote them.
std::string rewrite(const std::vector<Record>& records, bool direct) {
  CMemFile memory;
  {
    CArchive out(&memory, CArchive::store);
    for (const Record& r : records) {
      if (direct) {
        r.object->Serialize(out);
      } else {
        out.WriteObject(r.object);
      }
    }
    out.Close();
  }
  const ULONGLONG length = memory.GetLength();
  std::string bytes(static_cast<size_t>(length), '\0');
  memory.SeekToBegin();
  memory.Read(bytes.data(), static_cast<UINT>(length));
  return bytes;
}

std::string fileBytes(CFile& file) {
  std::string bytes(static_cast<size_t>(file.GetLength()), '\0');
  file.SeekToBegin();
  file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

struct Options {
  std::string file;
  const RecordKind* direct = nullptr;
  bool json = false;
};

// Parses FILE [--class NAME] [--json]; false after saying why.
bool parseOptions(const Args& args, bool allowJson, Options& options) {
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--class" && i + 1 < args.size()) {
      options.direct = kindNamed(args[++i]);
      if (options.direct == nullptr) {
        fail("unknown record class '" + args[i] + "'", 2);
        return false;
      }
    } else if (args[i] == "--json" && allowJson) {
      options.json = true;
    } else if (options.file.empty() && args[i].compare(0, 2, "--") != 0) {
      options.file = args[i];
    } else {
      fail("usage: omconsole archive dump FILE [--class NAME] [--json] | verify FILE [--class NAME]", 2);
      return false;
    }
  }
  if (options.file.empty()) {
    fail("usage: omconsole archive dump FILE [--class NAME] [--json] | verify FILE [--class NAME]", 2);
    return false;
  }
  return true;
}

int dumpOrVerify(const Options& options, bool verify) {
  CFile file;
  CFileException error;
  const std::string name = om::utf8ToCp932(options.file);
  if (!file.Open(name.c_str(), CFile::modeRead | CFile::shareDenyWrite, &error)) {
    return fail("cannot open " + options.file);
  }
  std::vector<Record> records;
  std::string stop;
  Reader reader(file, options.direct);
  const bool complete = reader.readAll(records, stop);
  if (!verify) {
    if (options.json) {
      printJson(records, stop);
    } else {
      printText(records);
    }
    return complete ? 0 : fail(options.file + ": reading stopped: " + stop);
  }
  if (!complete) return fail(options.file + ": reading stopped: " + stop);
  const bool same = rewrite(records, options.direct != nullptr) == fileBytes(file);
  std::cout << options.file << ": " << records.size() << " records; written again they are "
            << (same ? "identical" : "different") << "\n";
  return same ? 0 : 1;
}

// Moves a store of the server's data to or from an archive file. An import
// goes into the data of a server that is not running: a running one would
// not see it and would write over it.
int transfer(const std::string& sub, const std::string& store, const std::string& file) {
  if (sub == "import" && om::wmi::localServerRunning()) {
    return fail("the server is running: stop it before importing into its data");
  }
  std::string error;
  std::unique_ptr<om::server::DataStore> data = om::server::DataStore::open(NetworkServer::dataDirectory(), error);
  if (data == nullptr) return fail(error);
  const std::string name = om::utf8ToCp932(file);
  const long count = sub == "export" ? om::server::exportStore(*data, store, name, error)
                                     : om::server::importStore(*data, store, name,
                                                               NetworkServer::configuredRetention(), error);
  if (count < 0) return fail(error);
  std::cout << (sub == "export" ? "exported " : "imported ") << count << " records of " << store
            << (sub == "export" ? " to " : " from ") << file << "\n";
  return 0;
}

}  // namespace

int runArchive(const Args& args) {
  const std::string sub = args.empty() ? "" : args[0];
  if (sub == "export" || sub == "import") {
    if (args.size() != 3) return fail("usage: omconsole archive " + sub + " STORE FILE", 2);
    return transfer(sub, args[1], args[2]);
  }
  Options options;
  if ((sub == "dump" || sub == "verify") && parseOptions(Args(args.begin() + 1, args.end()), sub == "dump", options)) {
    return dumpOrVerify(options, sub == "verify");
  }
  if (sub == "dump" || sub == "verify") return 2;
  return fail("usage: omconsole archive dump FILE [--class NAME] [--json] | verify FILE [--class NAME]", 2);
}

}  // namespace omconsole

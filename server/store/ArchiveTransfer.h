// Moving a durable store to and from a plain MFC archive file, for backups
// and for carrying data from one server to another.
//
// The file holds the store's records written through CObject pointers (each
// with its MFC class tag), in the store's order: SerializableNetObj for the
// tree, SerializableSubnet, CTaskObject, CTaskDataRecord, CLogObject,
// SerializableActionCommand and ActionFilter. A record of the tree is
// preceded by the path of the object it is listed under, a task sample by
// its task's name (each an MFC string); the tree lists an object once per
// parent, parents first.
#ifndef OM_SERVER_STORE_ARCHIVETRANSFER_H_
#define OM_SERVER_STORE_ARCHIVETRANSFER_H_

#include <string>
#include <vector>

#include "server/store/DataStore.h"
#include "server/store/DurableStores.h"

namespace om::server {

// The stores that move: "tree", "subnets", "tasks", "samples", "logs",
// "commands", "filters".
const std::vector<std::string>& transferableStores();

// Writes the store of that name to `file` (replacing it); how many records,
// or -1 with the reason in `error`.
long exportStore(const DataStore& data, const std::string& store, const std::string& file, std::string& error);

// Reads the whole of `file`, then adds its records to the store of that name
// under `retention`; a record whose key the store knows replaces it. How
// many records, or -1 with the reason in `error`; a file that cannot be read
// whole changes nothing.
long importStore(DataStore& data, const std::string& store, const std::string& file, const Retention& retention,
                 std::string& error);

}  // namespace om::server

#endif  // OM_SERVER_STORE_ARCHIVETRANSFER_H_

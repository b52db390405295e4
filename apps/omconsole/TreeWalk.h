// The network tree read object by object through GetChildren, depth first,
// for the commands that print it.
#ifndef OM_APPS_OMCONSOLE_TREEWALK_H_
#define OM_APPS_OMCONSOLE_TREEWALK_H_

#include <functional>

#include "model/NetworkObjectBase.h"
#include "model/NetworkPath.h"
#include "wbem/WbemNetworkObjectClient.h"

namespace omconsole {

// Hands each object under `path` to `visit` with its depth (1 for the
// objects right under `path`), and walks the objects under it when `visit`
// returns true. False when a GetChildren call failed (the client's error
// code says why).
bool walkTree(WbemNetworkObjectClient& client, const CNetworkPath& path,
              const std::function<bool(const NetworkObjectBase& object, int depth)>& visit, int depth = 1);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_TREEWALK_H_

// WbemNetworkObjectClient: the console's calls of the methods of
// "NetworkObject". Each call puts its in-parameters, runs the method and,
// when no sink is given, reads the out-parameter; with a sink it returns
// true once the method has started and the result goes to the sink.
// A false result leaves the HRESULT in getErrorCode().
#ifndef OMLIB_WBEM_WBEMNETWORKOBJECTCLIENT_H_
#define OMLIB_WBEM_WBEMNETWORKOBJECTCLIENT_H_

#include <string>
#include <vector>

#include "wbem/WbemNetworkObject.h"

class WbemNetworkObjectClient : public WbemNetworkObject {
 public:
  explicit WbemNetworkObjectClient(IWbemServices* services) : WbemNetworkObject(services) {}
  WbemNetworkObjectClient(const NetworkObjectBase& object, IWbemServices const* services)
      : WbemNetworkObject(object, services) {}

  using WbemNetworkObject::getObject;
  bool getObject(const tstring& path, bool silent) { return get(path, silent); }
  // Reads the instance at `path` and, on success, copies it into `out`.
  bool getObject(const tstring& path, NetworkObjectBase& out, bool silent);

  // The forms without a name use this object's name.
  bool autoAddPort(const tstring& objectName, IWbemObjectSink* sink = nullptr);
  bool autoAddPort(IWbemObjectSink* sink = nullptr) { return autoAddPort(getName(), sink); }
  bool isExistObject(const tstring& objectName, IWbemObjectSink* sink = nullptr);
  bool isExistObject(IWbemObjectSink* sink = nullptr) { return isExistObject(getName(), sink); }
  bool forcePolling(const tstring& objectName, IWbemObjectSink* sink = nullptr);
  bool forcePolling(IWbemObjectSink* sink = nullptr) { return forcePolling(getName(), sink); }
  bool getPathNames(const tstring& objectName, std::vector<std::string>& pathNames, IWbemObjectSink* sink = nullptr);
  bool getPathNames(std::vector<std::string>& pathNames, IWbemObjectSink* sink = nullptr) {
    return getPathNames(getName(), pathNames, sink);
  }
  // The children of the object at `pathName`, appended to `children`; a
  // failed read keeps the children read before it. Always synchronous.
  bool getChildren(const tstring& pathName, std::vector<NetworkObjectBase>& children);
  bool getSnmpInfo(const tstring& target, const std::vector<tstring>& variables, std::vector<std::string>& results);
  bool deleteObject(const tstring& objectName, IWbemObjectSink* sink = nullptr);
  bool deleteObject(IWbemObjectSink* sink = nullptr) { return deleteObject(getName(), sink); }
  // Moves this object from one parent to another.
  bool moveObject(const tstring& srcParent, const tstring& destParent, IWbemObjectSink* sink = nullptr);
  // Renames this object.
  bool renameObject(const tstring& newName, IWbemObjectSink* sink = nullptr);
  // Sets an SNMP variable of this object.
  bool setSnmpInfo(const tstring& variable, const tstring& value, IWbemObjectSink* sink = nullptr);
  bool hasChildren(const tstring& pathName, IWbemObjectSink* sink = nullptr);
};

#endif  // OMLIB_WBEM_WBEMNETWORKOBJECTCLIENT_H_

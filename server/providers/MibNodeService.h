// MibNodeService: the provider of the class "MibNode" over the MIB store.
//
// The context value "NodeTypeKind" of reads and enumerations selects nodes:
// 0 (or none) takes every node; otherwise a node's type must equal its low
// half when that is not 0, and the node's kind flags must include every flag
// of its high half. An enumeration with the context value "NodeName" gives
// that node's children in the order of its child names; without one, every
// node. Writing adds or replaces a node, deleting removes one.
//
// "DoMibWalk" walks the agent "HostName" (a node of the tree by name or
// address, reached as the node is, or else a host reached with the
// settings) from "StartVariable" (a MIB name, a node name or a dotted OID)
// with "ReadCommunityName" (empty: the node's or the settings'), and writes
// one line for each variable, "OID <tab> name <tab> type <tab> value". The
// file is replaced as a whole or not at all. "ReturnValue":
//   0 done; 1 the file exists and "OverwriteFlag" is 0; 2 "StartVariable"
//   unknown; 3 no "HostName"; 4 the file cannot be written; 5 the agent did
//   not answer or answered with an error.
// "GetAllTraps" and "GetAllNotifications" list the trap and notification
// nodes of a module ("" for every module) in tree order, with "ReturnValue"
// 0; 1 and no list when no node belongs to the module.
#ifndef OM_SERVER_PROVIDERS_MIBNODESERVICE_H_
#define OM_SERVER_PROVIDERS_MIBNODESERVICE_H_

#include <string>
#include <vector>

#include <afx.h>

#include "server/providers/ServerProvider.h"
#include "server/snmp/SnmpTypes.h"

class CMibNode;

class MibNodeService : public ServerProvider {
 public:
  enum WalkResult : int { kWalked = 0, kFileExists = 1, kNoStartVariable = 2, kNoHost = 3, kNotWritten = 4,
                          kNoAnswer = 5 };

  using ServerProvider::ServerProvider;

  // Path MibNode.NodeName="name".
  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

  // Whether `node` is of the kind a "NodeTypeKind" value asks for.
  static bool isOfKind(const CMibNode& node, int kind);

 private:
  WalkResult walk(const std::string& fileName, const std::string& hostName, const std::string& startVariable,
                  const std::string& community, bool overwrite);
  bool startOid(const std::string& startVariable, om::snmp::Oid& root) const;
  // The trap or notification nodes of `module`; false when no node belongs
  // to it.
  bool listModule(const std::string& module, bool traps, std::vector<CString>& names);
};

#endif  // OM_SERVER_PROVIDERS_MIBNODESERVICE_H_

// The server side of "NetworkObject": WbemNetworkObjectProvider, and one
// class per method of the class. A provider's ExecMethodAsync builds the
// method object from the call, then runs execInit, getInParams, its own work
// and indicate, and ends with setStatus:
//
//   GetChildrenMethod method(services, inParams, sink);
//   HRESULT hr = method.execInit(context);
//   tstring path;
//   if (SUCCEEDED(hr)) hr = method.getInParams(path);
//   if (SUCCEEDED(hr)) hr = method.indicate(childrenOf(path));
//   return method.setStatus(hr);
#ifndef OMLIB_WBEM_WBEMNETWORKOBJECTPROVIDER_H_
#define OMLIB_WBEM_WBEMNETWORKOBJECTPROVIDER_H_

#include <vector>

#include "model/SerializableNetObj.h"
#include "wbem/WbemNetworkObject.h"
#include "wbem/WbemProvider.h"

// A network object on the provider side. It caches the class definition and
// the out-parameter signature of its method on the first execInit.
class WbemNetworkObjectProvider : public WbemProviderOf<WbemNetworkObject> {
 public:
  using WbemProviderOf::WbemProviderOf;
  explicit WbemNetworkObjectProvider(IWbemServices* services) : WbemProviderOf(services, nullptr, nullptr) {}
};

// Declares a method class taking the call's services, in-parameters and sink.
#define OM_NETWORK_OBJECT_METHOD(Class, method) OM_WBEM_METHOD(Class, WbemNetworkObjectProvider, method)

class AutoAddPortMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(AutoAddPortMethod, "AutoAddPort")
  HRESULT getInParams(tstring& objectName) { return getParamString("ObjectName", objectName); }
};

class IsExistMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(IsExistMethod, "isExist")
  HRESULT getInParams(tstring& objectName) { return getParamString("ObjectName", objectName); }
};

class ForcePollingMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(ForcePollingMethod, "ForcePolling")
  HRESULT getInParams(tstring& objectName) { return getParamString("ObjectName", objectName); }
};

class GetPathNamesMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(GetPathNamesMethod, "GetPathNames")
  HRESULT getInParams(tstring& objectName) { return getParamString("ObjectName", objectName); }
  // Delivers "PathNames".
  HRESULT indicate(std::vector<tstring>& pathNames) { return indicateOutput("PathNames", pathNames); }
};

class GetChildrenMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(GetChildrenMethod, "GetChildren")
  HRESULT getInParams(tstring& pathName) { return getParamString("PathName", pathName); }
  // Delivers the children as embedded "NetworkObject" instances in
  // "Objects", in order. Each child passes through this object on its way.
  // The children stay the caller's.
  HRESULT indicate(std::vector<SerializableNetObj*>& children);
};

class GetSnmpInfoMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(GetSnmpInfoMethod, "GetSnmpInfo")
  // "Target", then the string array "Variables".
  HRESULT getInParams(tstring& target, std::vector<tstring>& variables);
  // Delivers "Results".
  HRESULT indicate(std::vector<tstring>& results) { return indicateOutput("Results", results); }
};

class DeleteMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(DeleteMethod, "Delete")
  HRESULT getInParams(tstring& objectName) { return getParamString("ObjectName", objectName); }
};

class MoveMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(MoveMethod, "Move")
  // Stops at the first parameter that cannot be read.
  HRESULT getInParams(tstring& objectName, tstring& srcParent, tstring& destParent);
  HRESULT getInParam_ObjectName(tstring& value) { return getParamString("ObjectName", value); }
  HRESULT getInParam_SrcParent(tstring& value) { return getParamString("SrcParent", value); }
  HRESULT getInParam_DestParent(tstring& value) { return getParamString("DestParent", value); }
};

class RenameMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(RenameMethod, "Rename")
  HRESULT getInParams(tstring& oldName, tstring& newName);
  HRESULT getInParam_OldName(tstring& value) { return getParamString("OldName", value); }
  HRESULT getInParam_NewName(tstring& value) { return getParamString("NewName", value); }
};

class SetSnmpInfoMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(SetSnmpInfoMethod, "SetSnmpInfo")
  HRESULT getInParams(tstring& target, tstring& variable, tstring& value);
  HRESULT getInParam_Target(tstring& value) { return getParamString("Target", value); }
  HRESULT getInParam_Variable(tstring& value) { return getParamString("Variable", value); }
  HRESULT getInParam_Value(tstring& value) { return getParamString("Value", value); }
};

class HasChildrenMethod : public WbemNetworkObjectProvider {
 public:
  OM_NETWORK_OBJECT_METHOD(HasChildrenMethod, "HasChildren")
  HRESULT getInParams(tstring& pathName) { return getParamString("PathName", pathName); }
};

#undef OM_NETWORK_OBJECT_METHOD

#endif  // OMLIB_WBEM_WBEMNETWORKOBJECTPROVIDER_H_

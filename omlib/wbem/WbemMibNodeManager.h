// The server side of "MibNode": WbemMibNodeManager, the base of the MIB
// methods (the WbemManager pattern), and one class per method.
#ifndef OMLIB_WBEM_WBEMMIBNODEMANAGER_H_
#define OMLIB_WBEM_WBEMMIBNODEMANAGER_H_

#include <vector>

#include <afx.h>

#include "wbem/WbemManager.h"
#include "wbem/WbemMibNode.h"

class WbemMibNodeManager : public WbemManager<WbemMibNode> {
 public:
  using WbemManager::WbemManager;

 protected:
  // Puts `names` as the string array `output` and "ReturnValue" 0 into the
  // out-parameter instance and delivers it.
  HRESULT indicateList(const char* output, const std::vector<CString>& names);
};

class CDoMibWalk : public WbemMibNodeManager {
 public:
  OM_WBEM_METHOD(CDoMibWalk, WbemMibNodeManager, "DoMibWalk")
  // The five in-parameters in order; stops at the first failure.
  HRESULT getInParams(CString& fileName, CString& hostName, CString& startVariable, CString& readCommunityName,
                      long& overwriteFlag);
};

class CGetAllTraps : public WbemMibNodeManager {
 public:
  OM_WBEM_METHOD(CGetAllTraps, WbemMibNodeManager, "GetAllTraps")
  HRESULT getInParams(CString& moduleName) { return getInParamStrValue("ModuleName", moduleName); }
  using WbemMibNodeManager::indicate;
  // Delivers "Traps" with "ReturnValue" 0.
  HRESULT indicate(const std::vector<CString>& traps) { return indicateList("Traps", traps); }
};

class CGetAllNotifications : public WbemMibNodeManager {
 public:
  OM_WBEM_METHOD(CGetAllNotifications, WbemMibNodeManager, "GetAllNotifications")
  HRESULT getInParams(CString& moduleName) { return getInParamStrValue("ModuleName", moduleName); }
  using WbemMibNodeManager::indicate;
  // Delivers "Notifications" with "ReturnValue" 0.
  HRESULT indicate(const std::vector<CString>& notifications) { return indicateList("Notifications", notifications); }
};

#endif  // OMLIB_WBEM_WBEMMIBNODEMANAGER_H_

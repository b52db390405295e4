#include "wbem/WbemTaskManager.h"

HRESULT CSetDisplayName::getInParams(CString& taskName, CString& displayName) {
  const HRESULT hr = getInParamTaskName(taskName);
  return FAILED(hr) ? hr : getInParamStrValue("DisplayName", displayName);
}

HRESULT WbemTaskManager::indicateTasks(const std::vector<CTaskObject>& tasks) {
  CComVariant array;
  HRESULT hr = embeddedArray(m_pClassDef, *this, tasks.size(), [&](size_t i) {
    setObject(tasks[i]);
    return true;
  }, array);
  if (SUCCEEDED(hr)) hr = putOutput("taskObjects", array);
  return FAILED(hr) ? hr : deliverOutput();
}

HRESULT CGetTaskObject::indicate(CTaskObject& task) { return indicateTasks({task}); }

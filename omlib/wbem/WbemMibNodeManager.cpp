#include "wbem/WbemMibNodeManager.h"

#include <string>

HRESULT WbemMibNodeManager::indicateList(const char* output, const std::vector<CString>& names) {
  std::vector<std::string> texts;
  for (const CString& name : names) texts.emplace_back(name.GetString());
  CComVariant list;
  if (!createStringSafeArray(texts, list)) return WBEM_E_OUT_OF_MEMORY;
  HRESULT hr = putOutput(output, list);
  if (SUCCEEDED(hr)) hr = putOutput("ReturnValue", CComVariant(0));
  return FAILED(hr) ? hr : deliverOutput();
}

HRESULT CDoMibWalk::getInParams(CString& fileName, CString& hostName, CString& startVariable,
                                CString& readCommunityName, long& overwriteFlag) {
  HRESULT hr = getInParamStrValue("FileName", fileName);
  if (SUCCEEDED(hr)) hr = getInParamStrValue("HostName", hostName);
  if (SUCCEEDED(hr)) hr = getInParamStrValue("StartVariable", startVariable);
  if (SUCCEEDED(hr)) hr = getInParamStrValue("ReadCommunityName", readCommunityName);
  if (SUCCEEDED(hr)) hr = getInParamIntValue("OverwriteFlag", overwriteFlag);
  return hr;
}

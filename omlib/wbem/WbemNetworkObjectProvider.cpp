#include "wbem/WbemNetworkObjectProvider.h"

HRESULT GetChildrenMethod::indicate(std::vector<SerializableNetObj*>& children) {
  CComVariant objects;
  const HRESULT hr = embeddedArray(m_pClassDef, *this, children.size(), [&](size_t i) {
    if (children[i] == nullptr) return false;
    children[i]->getObject(getObject());
    return true;
  }, objects);
  return FAILED(hr) ? hr : indicateOutput("Objects", objects);
}

HRESULT GetSnmpInfoMethod::getInParams(tstring& target, std::vector<tstring>& variables) {
  const HRESULT hr = getParamString("Target", target);
  return FAILED(hr) ? hr : getParamStrings("Variables", variables);
}

HRESULT MoveMethod::getInParams(tstring& objectName, tstring& srcParent, tstring& destParent) {
  HRESULT hr = getInParam_ObjectName(objectName);
  if (SUCCEEDED(hr)) hr = getInParam_SrcParent(srcParent);
  if (SUCCEEDED(hr)) hr = getInParam_DestParent(destParent);
  return hr;
}

HRESULT RenameMethod::getInParams(tstring& oldName, tstring& newName) {
  const HRESULT hr = getInParam_OldName(oldName);
  return FAILED(hr) ? hr : getInParam_NewName(newName);
}

HRESULT SetSnmpInfoMethod::getInParams(tstring& target, tstring& variable, tstring& value) {
  HRESULT hr = getInParam_Target(target);
  if (SUCCEEDED(hr)) hr = getInParam_Variable(variable);
  if (SUCCEEDED(hr)) hr = getInParam_Value(value);
  return hr;
}

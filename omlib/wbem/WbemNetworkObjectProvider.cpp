#include "wbem/WbemNetworkObjectProvider.h"

HRESULT WbemNetworkObjectProvider::execInit(IWbemContext* ctx) {
  return initMethod(getServices(), ctx, getClassName());
}

HRESULT GetChildrenMethod::indicate(std::vector<SerializableNetObj*>& children) {
  if (m_pClassDef == nullptr) return WBEM_E_INVALID_OPERATION;
  SAFEARRAY* array = SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(children.size()));
  if (array == nullptr) return WBEM_E_OUT_OF_MEMORY;
  CComVariant objects;
  objects.vt = VT_ARRAY | VT_UNKNOWN;
  objects.parray = array;  // freed with `objects`
  LONG stored = 0;
  for (SerializableNetObj* child : children) {
    if (child == nullptr) continue;
    child->getObject(getObject());
    CComPtr<IWbemClassObject> instance;
    instance.Attach(spawnClass(m_pClassDef));
    if (instance == nullptr) return static_cast<HRESULT>(GetLastError());
    putToInstance(instance);
    const HRESULT hr = SafeArrayPutElement(array, &stored, static_cast<IUnknown*>(instance));
    if (FAILED(hr)) return hr;
    ++stored;
  }
  SAFEARRAYBOUND bound{static_cast<ULONG>(stored), 0};
  const HRESULT hr = SafeArrayRedim(array, &bound);
  if (FAILED(hr)) return hr;
  return indicateOutput("Objects", objects);
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

#include "wbem/WbemChild.h"

#include "wbem/WbemClient.h"
#include "wbem/wbemroot.h"

const char* const WbemChild::m_cszNamespace = "__Namespace";
const char* const WbemChild::m_cszNamespaceInParent = ":__NAMESPACE.Name=\"";
const char* const WbemChild::m_cszName = "Name";

using om::bstrOf;

WbemChild::WbemChild(const Wbem* parent) : WbemChild(parent, tstring()) {}

WbemChild::WbemChild(const Wbem* parent, const char* name) : WbemChild(parent, tstring(name == nullptr ? "" : name)) {}

WbemChild::WbemChild(const Wbem* parent, const tstring& name) : m_pParent(parent), m_tstrName(name) {
  updateFullpath();
}

void WbemChild::setName(const tstring& name) {
  m_tstrName = name;
  updateFullpath();
}

void WbemChild::setParent(const Wbem* parent) {
  m_pParent = parent;
  updateFullpath();
}

void WbemChild::updateFullpath() {
  m_tstrFullpath = (m_pParent == nullptr ? tstring() : m_pParent->getFullpath()) + "\\" + m_tstrName;
}

IWbemServices* WbemChild::getParentServices() const {
  return m_pParent == nullptr ? nullptr : m_pParent->getServices();
}

tstring WbemChild::getNamespaceInParent() const {
  const tstring parentPath = m_pParent == nullptr ? tstring() : m_pParent->getFullpath();
  return parentPath + m_cszNamespaceInParent + m_tstrName + "\"";
}

bool WbemChild::failWith(HRESULT hr) {
  setErrorCode(hr);
  return false;
}

bool WbemChild::connect() {
  IWbemServices* parent = getParentServices();
  if (parent == nullptr || m_tstrName.empty()) return failWith(WBEM_E_INVALID_PARAMETER);
  m_pServices.Release();
  const HRESULT hr = parent->OpenNamespace(bstrOf(m_tstrName), 0, nullptr, &m_pServices, nullptr);
  if (FAILED(hr)) return failWith(hr);
  WbemRoot::SetInterfaceSucurityIdentity(m_pServices);
  return true;
}

bool WbemChild::create() {
  IWbemServices* parent = getParentServices();
  if (parent == nullptr || m_tstrName.empty()) return failWith(WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> cls;
  HRESULT hr = parent->GetObject(bstrOf(m_cszNamespace), 0, nullptr, &cls, nullptr);
  CComPtr<IWbemClassObject> instance;
  if (SUCCEEDED(hr)) hr = cls->SpawnInstance(0, &instance);
  if (SUCCEEDED(hr)) {
    CComVariant name(m_tstrName.c_str());
    hr = instance->Put(bstrOf(m_cszName), 0, &name, 0);
  }
  if (SUCCEEDED(hr)) hr = parent->PutInstance(instance, 0, nullptr, nullptr);
  return SUCCEEDED(hr) || failWith(hr);
}

bool WbemChild::remove() {
  IWbemServices* parent = getParentServices();
  if (parent == nullptr || m_tstrName.empty()) return failWith(WBEM_E_INVALID_PARAMETER);
  const tstring path = tstring(m_cszNamespace) + ".Name=\"" + m_tstrName + "\"";
  const HRESULT hr = parent->DeleteInstance(bstrOf(path), 0, nullptr, nullptr);
  if (FAILED(hr)) return failWith(hr);
  m_pServices.Release();
  return true;
}

// WbemChild: a namespace below a parent connection or namespace. Opens the
// namespace through the parent's services, and creates or removes it as a
// "__Namespace" instance of the parent. Holds one reference to its own
// services; the parent must outlive it.
#ifndef OMLIB_WBEM_WBEMCHILD_H_
#define OMLIB_WBEM_WBEMCHILD_H_

#include <atlbase.h>
#include <atlcomcli.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

#include "wbem/wbem.h"

class WbemChild : public Wbem {
 public:
  static const char* const m_cszNamespace;
  static const char* const m_cszNamespaceInParent;
  static const char* const m_cszName;

  explicit WbemChild(const Wbem* parent);
  WbemChild(const Wbem* parent, const tstring& name);
  WbemChild(const Wbem* parent, const char* name);
  WbemChild(const WbemChild& other) = default;
  WbemChild& operator=(const WbemChild& other) = default;
  ~WbemChild() override = default;

  // Opens the namespace (OpenNamespace on the parent's services).
  bool connect() override;
  void disconnect() override { m_pServices.Release(); }
  // Creates the namespace in the parent, or removes it from there.
  bool create();
  bool remove();

  IWbemServices* getServices() const override { return m_pServices; }
  IWbemServices* getServices() override { return m_pServices; }
  IWbemServices* getParentServices() const;
  // Uses `services` (adding a reference) as this namespace's services.
  void attach(IWbemServices* services) { m_pServices = services; }

  void setName(const tstring& name) override;
  const tstring& getName() const override { return m_tstrName; }
  bool isConnected() const override { return m_pServices != nullptr; }
  void setParent(const Wbem* parent) override;
  const Wbem* getParent() const override { return m_pParent; }
  // The parent's full path, a backslash and the name.
  tstring getFullpath() const override { return m_tstrFullpath; }
  // The path of this namespace's "__NAMESPACE" instance in the parent.
  tstring getNamespaceInParent() const;

 private:
  void updateFullpath();
  bool failWith(HRESULT hr);

  const Wbem* m_pParent;
  CComPtr<IWbemServices> m_pServices;
  tstring m_tstrName;
  tstring m_tstrFullpath;
};

#endif  // OMLIB_WBEM_WBEMCHILD_H_

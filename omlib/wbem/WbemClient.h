// The client side of the WMI class wrappers: WbemClient, the base of every
// client wrapper, and WbemAccess, one read, write, enumeration, query or
// method call on one class; with the reading of the extended error object
// that WMI leaves on the thread after a failed call.
#ifndef OMLIB_WBEM_WBEMCLIENT_H_
#define OMLIB_WBEM_WBEMCLIENT_H_

#include <string>
#include <utility>
#include <vector>

#include <atlbase.h>
#include <atlcomcli.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

namespace om {
// A BSTR holding `text` (code page 932) as UTF-16.
CComBSTR bstrOf(const tstring& text);
}  // namespace om

// Base of every client wrapper: holds the services of a connection (not
// owned; the connection owns them) and converts between WMI values and the
// library's types. A wrapper supplies its class name and the two value
// transfers that WbemAccess uses around a put and after a get.
class WbemClient {
 public:
  // CIM datetime written with a fixed offset of +540 minutes.
  static const char* const m_tstrWbemTimeFormat;
  // Year, month, day, hour, minute, second as one 14-digit text.
  static const char* const m_tstrStrTimeFormat;

  explicit WbemClient(IWbemServices* services = nullptr) : m_pServices(services) {}
  WbemClient(const WbemClient& other) = default;
  WbemClient& operator=(const WbemClient& other) = default;
  virtual ~WbemClient() = default;

  virtual void attach(IWbemServices* services);
  virtual void dettach();
  virtual IWbemServices* getServices() const { return m_pServices; }

  // The WMI class this wrapper reads and writes.
  virtual tstring getClassName() const = 0;
  // Copy the wrapper's fields into `instance` before a put, and out of an
  // instance after a get; false stops the operation.
  virtual bool putToInstance(IWbemClassObject* instance) = 0;
  virtual bool getFromInstance(IWbemClassObject* instance) = 0;

  // A SAFEARRAY of BSTRs holding `items`, in `value`.
  static bool createStringSafeArray(const std::vector<tstring>& items, CComVariant& value);
  static bool createStringSafeArray(const std::vector<std::string>& items, CComVariant& value);
  // The strings of a SAFEARRAY of BSTRs; false for any other value (VT_NULL
  // gives an empty list and true).
  static bool getStringArray(const CComVariant& value, std::vector<tstring>& items);
  static bool getStringArray(const CComVariant& value, std::vector<std::string>& items);

 protected:
  friend class WbemAccess;

  // The class object, fetched from the services on first use (kept, one
  // reference); null with the HRESULT as last error on failure.
  virtual IWbemClassObject* getClass();
  // A new instance of `cls` (the caller releases it); null on failure.
  virtual IWbemClassObject* spawnClass(IWbemClassObject* cls);

 private:
  IWbemServices* m_pServices;
  CComPtr<IWbemClassObject> m_pClass;
};

// One operation on one class. Context values and method parameters are given
// to the next call and cleared by it. Every operation returns bool and leaves
// the HRESULT of a failure as the thread's last error.
class WbemAccess {
 public:
  // Takes the owner's services, class object and class name; the owner
  // supplies the value transfers and must outlive the access.
  explicit WbemAccess(WbemClient* owner);
  WbemAccess(IWbemServices* services, const tstring& className);
  WbemAccess(const WbemAccess& other) = default;
  WbemAccess& operator=(const WbemAccess& other) = default;

  // The left-hand side of a key binding, e.g. "NetworkObject.PathName".
  void setKeyPrefix(const tstring& prefix) { m_tstrKeyPrefix = prefix; }
  const tstring& getKeyPrefix() const { return m_tstrKeyPrefix; }
  const tstring& getClassName() const { return m_tstrClassName; }

  // A value for the provider, sent with the next call only.
  void putContext(const tstring& name, const CComVariant& value);

  // The instance at `path`, or at prefix="key" (quotes in the key escaped).
  bool get(const tstring& path);
  bool get(const char* key);
  bool get(int key);
  // Writes a new instance filled by the owner.
  bool put();
  bool remove(const tstring& path);
  bool remove(const char* key);
  bool remove(int key);
  // Start an enumeration of the class or a WQL query; read the objects with
  // the enumerator form of getOutput.
  bool enumerate();
  bool query(const tstring& wql);

  // In-parameters of the next execute().
  bool putParam(const tstring& name, const CComVariant& value);
  bool putParam(const tstring& name, const char* value);
  bool putParam(const tstring& name, const std::vector<tstring>& values);
  void clearInParam() { m_params.clear(); }
  // Runs a method of the class: synchronously (the out-parameters are kept
  // for getOutput) or, with a sink, asynchronously.
  bool execute(const tstring& method, IWbemObjectSink* sink = nullptr);

  bool getOutput(const tstring& name, CComVariant& value);
  bool getOutput(const tstring& name, bool& value);
  bool getOutput(const tstring& name, int& value);
  bool getOutput(const tstring& name, std::vector<tstring>& values);
  // An embedded object; the caller releases it.
  bool getOutput(const tstring& name, IWbemClassObject** object);
  // The next objects of the enumeration (the caller releases each one);
  // false at its end or on failure.
  bool getOutput(ULONG count, IWbemClassObject** objects, ULONG& returned);
  void clearOutParam() { m_pOutParams.Release(); }

  // The wait of each step of an enumeration, in milliseconds.
  void setTimeout(long timeout) { m_lTimeout = timeout; }

 private:
  bool fail(HRESULT hr);
  tstring keyPath(const tstring& key) const;
  IWbemClassObject* classObject();
  // The context of the next call (null when there are no values), and the
  // context list cleared; false when it could not be built.
  bool takeContext(CComPtr<IWbemContext>& context);
  bool buildInParams(const tstring& method, CComPtr<IWbemClassObject>& inParams);
  bool keepEnumerator(HRESULT hr, IEnumWbemClassObject* enumerator);

  WbemClient* m_pOwner = nullptr;
  IWbemServices* m_pServices = nullptr;
  CComPtr<IWbemClassObject> m_pClass;
  tstring m_tstrClassName;
  tstring m_tstrKeyPrefix;
  std::vector<std::pair<tstring, CComVariant>> m_context;
  std::vector<std::pair<tstring, CComVariant>> m_params;
  CComPtr<IWbemClassObject> m_pOutParams;
  CComPtr<IEnumWbemClassObject> m_pEnum;
  long m_lTimeout = WBEM_INFINITE;
};

// The WMI error object of the calling thread, read (and taken) after a
// failed call when it is a "__NotifyStatus" or "__ExtendedStatus".
struct WbemErrorInfo {
  tstring description;
  tstring operation;
  tstring parameterInfo;
  tstring providerName;
  HRESULT statusCode = 0;
  bool hasOrvaStatusCode = false;
  long orvaStatusCode = 0;
};
bool readWbemErrorInfo(WbemErrorInfo& info);

#endif  // OMLIB_WBEM_WBEMCLIENT_H_

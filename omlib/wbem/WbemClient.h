// The client side of the WMI class wrappers: WbemClient, the base of every
// client wrapper, and WbemAccess, one read, write, enumeration, query or
// method call on one class; with the reading of the extended error object
// that WMI leaves on the thread after a failed call.
#ifndef OMLIB_WBEM_WBEMCLIENT_H_
#define OMLIB_WBEM_WBEMCLIENT_H_

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <afx.h>
#include <atlbase.h>
#include <atlcomcli.h>
#include <omtools/tstring.h>
#include <wbemcli.h>

namespace om {
// A BSTR holding `text` (code page 932) as UTF-16.
CComBSTR bstrOf(const tstring& text);
}  // namespace om

class WbemAccess;

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

  // The HRESULT of the wrapper's last failed operation (0 after a success).
  unsigned long getErrorCode() const { return m_dwErrorCode; }
  void setErrorCode(unsigned long code) { m_dwErrorCode = static_cast<DWORD>(code); }

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
  static bool getStringArray(const VARIANT& value, std::vector<tstring>& items);
  static bool getStringArray(const VARIANT& value, std::vector<std::string>& items);
  // The narrow text of a string value, empty for any other value.
  static std::string textOf(const VARIANT& value);
  static std::string StringComVar(const VARIANT& value) { return textOf(value); }
  // A string value holding `text` (code page 932).
  static CComVariant ComVarString(const std::string& text) { return CComVariant(text.c_str()); }
  // A CIM datetime: the local time of `time` written with
  // m_tstrWbemTimeFormat, so always with the offset +540 whatever the time
  // zone.
  static CComVariant ComVarTime(const CTime& time);
  // The local time named by the first fourteen digits of a datetime text
  // (m_tstrStrTimeFormat); the offset is ignored. A value that is not a
  // string, is empty or does not start with those digits gives the null time.
  static CTime CTimeFromComVar(const VARIANT& value);

 protected:
  friend class WbemAccess;

  // The class object, fetched from the services on first use (kept, one
  // reference); null with the HRESULT as last error on failure.
  virtual IWbemClassObject* getClass();
  // A new instance of `cls` (the caller releases it); null on failure.
  virtual IWbemClassObject* spawnClass(IWbemClassObject* cls);

  // Writes this wrapper as a new instance of its class; keeps the outcome.
  bool putInstance();

  // Keeps the outcome of an operation: 0 for a success, the thread's last
  // error for a failure. Returns `ok`.
  bool keepResult(bool ok);

  // The end of a client method call: runs `method` through `access`, whose
  // in-parameters are put. With a sink, true once the method has started;
  // otherwise the out-parameter `output` is read into `out`. Keeps the
  // outcome in the error code.
  template <class Out>
  bool runMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink, const tstring& output, Out& out);
  // The same for a method whose result is the boolean "ReturnValue": false
  // also when that cannot be read or is false.
  bool runReturnValueMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink);
  // The same for a method whose result is the sint32 "ReturnValue", which
  // is 0 for success: false also when that cannot be read or is not 0.
  bool runZeroReturnMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink);
  // The same for a method whose sint32 "ReturnValue" is a count: the count,
  // 0 once the call has started with a sink, -1 when the call fails.
  int runCountMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink);
  // Runs `method` of this wrapper's class with string in-parameters, in
  // order, and reads its boolean "ReturnValue" as runReturnValueMethod does.
  bool callForBool(const char* method, std::initializer_list<std::pair<const char*, tstring>> params,
                   IWbemObjectSink* sink);

  // Reads, one at a time, the embedded objects of the out-parameter `name`
  // of the last method call of `access` (or, below, the objects of the
  // enumeration or query it started) into `reader` with its getFromInstance,
  // and calls `taken` after each. True once none is left; false, with the
  // HRESULT as last error, when one cannot be read: those read before it
  // stay taken.
  static bool readObjects(WbemAccess& access, const tstring& name, WbemClient& reader,
                          const std::function<void()>& taken);
  static bool readEnumeration(WbemAccess& access, WbemClient& reader, const std::function<void()>& taken);
  // Every instance of the class of `Wrapper`, each read into a fresh record
  // and appended to `records`; false when the enumeration cannot be started
  // or an instance cannot be read.
  template <class Wrapper, class Record>
  static bool enumerateAll(IWbemServices* services, std::vector<Record>& records);

  // The instance keyed by `key` in the form Class="key" (the class's one
  // key property), read into this wrapper or deleted.
  bool getByKey(int key);
  bool removeByKey(int key);

  // Property transfer for putToInstance and getFromInstance. A write
  // returns the HRESULT of the Put. A number or a boolean is read only when
  // the property holds exactly that type (sint32, boolean); otherwise the
  // value is left as it was and the result is false.
  static HRESULT putProperty(IWbemClassObject* instance, LPCWSTR name, const CComVariant& value);
  static HRESULT putProperty(IWbemClassObject* instance, LPCWSTR name, const std::string& text);
  static HRESULT putProperty(IWbemClassObject* instance, LPCWSTR name, const std::vector<std::string>& texts);
  static bool getProperty(IWbemClassObject* instance, LPCWSTR name, int& value);
  static bool getProperty(IWbemClassObject* instance, LPCWSTR name, bool& value);
  // The text of a string property; empty when it is missing, null or of
  // another type.
  static std::string getStringProperty(IWbemClassObject* instance, LPCWSTR name);
  // The strings of a string array property (none when it is missing, null
  // or of another type).
  static std::vector<std::string> getStringsProperty(IWbemClassObject* instance, LPCWSTR name);

 private:
  IWbemServices* m_pServices;
  DWORD m_dwErrorCode = 0;
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
  bool getOutput(const tstring& name, std::vector<std::string>& values);
  // An embedded object, or the elements of an array of them one per call:
  // the next element each time, and null (with true) once none is left or
  // the value is null. The caller releases each object it gets.
  bool getOutput(const tstring& name, IWbemClassObject** object);
  // The next objects of the enumeration (the caller releases each one);
  // false at its end or on failure.
  bool getOutput(ULONG count, IWbemClassObject** objects, ULONG& returned);
  void clearOutParam();

  // The wait of each step of an enumeration, in milliseconds.
  void setTimeout(long timeout) { m_lTimeout = timeout; }

 private:
  bool fail(HRESULT hr);
  template <class Text>
  bool getStrings(const tstring& name, std::vector<Text>& values);
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
  // The embedded value being read element by element, and where it stands.
  tstring m_tstrEmbeddedName;
  CComVariant m_embedded;
  LONG m_lEmbeddedIndex = 0;
  CComPtr<IEnumWbemClassObject> m_pEnum;
  long m_lTimeout = WBEM_INFINITE;
};

// The results of one WQL query, read one at a time into a wrapper: the record
// enumerations of the log and task record clients. Copies share the query.
class WbemQueryCursor {
 public:
  // Starts `query` with the context values given. False, with the HRESULT
  // as last error, when it cannot be started; the cursor is then empty.
  bool start(IWbemServices* services, const tstring& className, const tstring& query,
             const std::vector<std::pair<tstring, CComVariant>>& context);
  // Reads the next result into `reader`; false when none is left, the
  // cursor is empty or the result cannot be read.
  bool next(WbemClient& reader);
  // True while results may be left.
  bool isOpen() const { return m_bOpen; }
  void close();

 private:
  WbemAccess m_access{nullptr, tstring()};
  bool m_bOpen = false;
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

template <class Wrapper, class Record>
bool WbemClient::enumerateAll(IWbemServices* services, std::vector<Record>& records) {
  Wrapper reader(services);
  WbemAccess access(&reader);
  if (!access.enumerate()) return false;
  return readEnumeration(access, reader, [&] {
    records.push_back(reader.getObject());
    reader.setObject(Record());
  });
}

template <class Out>
bool WbemClient::runMethod(WbemAccess& access, const tstring& method, IWbemObjectSink* sink, const tstring& output,
                           Out& out) {
  if (!access.execute(method, sink)) return keepResult(false);
  return keepResult(sink != nullptr || access.getOutput(output, out));
}

#endif  // OMLIB_WBEM_WBEMCLIENT_H_

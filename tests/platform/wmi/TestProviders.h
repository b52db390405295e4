// Providers of the object manager's tests. Each implements the
// IWbemServices calls it serves; ProviderBase refuses the rest.
#ifndef OM_TESTS_PLATFORM_WMI_TESTPROVIDERS_H_
#define OM_TESTS_PLATFORM_WMI_TESTPROVIDERS_H_

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <atlbase.h>
#include <wbemcli.h>

#include <wmi/ProviderBase.h>

namespace wmitest {

// Serves "Device" from its own table and implements its methods:
// - Configure(Label, Force, Retries, Targets[], Template) returns Retries
//   embedded Devices in Results, the i-th named Targets[i % n], with Kind =
//   Retries and Address = Label + ("!" when Force) + ":" + Template.Name,
//   and ReturnValue = the number of targets;
// - Fail(Reason) fails with WBEM_E_ACCESS_DENIED and Reason as status text,
//   or, for Reason "own", with an __ExtendedStatus of its own;
// - Slow() keeps the call's sink without answering, for finishSlow().
// It records the context value "Tag" of the last call that had one. It does
// not answer ExecQueryAsync, so the manager enumerates and filters.
class DeviceProvider final : public om::wmi::ProviderBase {
 public:
  // The provider reads class definitions through `services`.
  explicit DeviceProvider(IWbemServices* services) : services_(services) {}

  HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, long flags, IWbemContext* ctx,
                                             IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, long flags, IWbemContext* ctx,
                                                IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method, long flags, IWbemContext* ctx,
                                            IWbemClassObject* in, IWbemObjectSink* sink) override;

  std::u16string lastTag();
  int enumerations();
  // Answers the pending Slow() call: `count` Indicate calls with an empty
  // out-parameters object each (their results), then SetStatus.
  std::vector<HRESULT> finishSlow(int count);
  bool hasSlowCall();

 private:
  void noteContext(IWbemContext* ctx);
  HRESULT configure(IWbemContext* ctx, IWbemClassObject* in, IWbemObjectSink* sink);
  HRESULT fail(IWbemContext* ctx, IWbemClassObject* in, IWbemObjectSink* sink);

  CComPtr<IWbemServices> services_;
  std::mutex mutex_;
  std::map<std::u16string, CComPtr<IWbemClassObject>> devices_;  // by lower-case name
  std::u16string lastTag_;
  int enumerations_ = 0;
  CComPtr<IWbemObjectSink> slowSink_;
};

// Serves "Sensor": ten sensors, Id 1..10, Level = Id, Zone "A" for odd
// Ids and "B" for even ones. It answers queries itself but ignores their
// conditions (a superset, as providers may), and counts what it was asked.
class SensorProvider final : public om::wmi::ProviderBase {
 public:
  explicit SensorProvider(IWbemServices* services) : services_(services) {}

  HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, long flags, IWbemContext* ctx,
                                                    IWbemObjectSink* sink) override;
  HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR language, const BSTR query, long flags, IWbemContext* ctx,
                                           IWbemObjectSink* sink) override;

  int queries();
  int enumerations();

 private:
  HRESULT sendAll(IWbemContext* ctx, IWbemObjectSink* sink);

  CComPtr<IWbemServices> services_;
  std::mutex mutex_;
  int queries_ = 0;
  int enumerations_ = 0;
};

}  // namespace wmitest

#endif  // OM_TESTS_PLATFORM_WMI_TESTPROVIDERS_H_

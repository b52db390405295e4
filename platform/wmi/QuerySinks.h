// Sinks the manager puts between providers and a call's sink:
// - Gather joins several sources (providers, the store) into one call that
//   ends when the last of them has;
// - FilterSink keeps what a WQL query selects, shaped by its SELECT list;
// - QueryProbe gives a provider's ExecQueryAsync a way out: a provider that
//   answers it with "not supported" before delivering anything is asked for
//   its instances instead (the fallback), whose results the manager filters.
// Each passes a second final SetStatus by without effect.
#ifndef OM_PLATFORM_WMI_QUERYSINKS_H_
#define OM_PLATFORM_WMI_QUERYSINKS_H_

#include <functional>
#include <memory>
#include <mutex>

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

#include "Wql.h"

namespace om::wmi {

class Gather {
 public:
  explicit Gather(IWbemObjectSink* target);

  // A sink for one more source.
  CComPtr<IWbemObjectSink> part();
  // No more parts will be made: the target's final status goes out once
  // every part has ended (at once if all have). The status is the first
  // failure of a part, else success.
  void seal();

 private:
  struct State;
  class Part;

  std::shared_ptr<State> state_;
};

class FilterSink final : public om::ComObject<IWbemObjectSink> {
 public:
  FilterSink(IWbemObjectSink* next, std::shared_ptr<const WqlQuery> query);

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override;
  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override;

 private:
  CComPtr<IWbemObjectSink> next_;
  std::shared_ptr<const WqlQuery> query_;
};

class QueryProbe final : public om::ComObject<IWbemObjectSink> {
 public:
  // `fallback` runs at most once, instead of passing the refusal on.
  QueryProbe(IWbemObjectSink* next, std::function<void()> fallback);

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override;
  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override;

  // What ExecQueryAsync returned: a refusal it did not report through the
  // sink starts the fallback too; another failure ends the call.
  void providerReturned(HRESULT hr);

 private:
  // True when the refusal was taken over by the fallback.
  bool fallBackOn(HRESULT hr);

  CComPtr<IWbemObjectSink> next_;
  std::function<void()> fallback_;
  std::mutex mutex_;
  bool delivered_ = false;
  bool ended_ = false;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_QUERYSINKS_H_

// The sink behind every synchronous and semisynchronous call: it collects
// the objects a call delivers and its final status, and lets readers wait for
// them (IEnumWbemClassObject::Next, IWbemCallResult, a waiting synchronous
// call).
#ifndef OM_PLATFORM_WMI_RESULTSINK_H_
#define OM_PLATFORM_WMI_RESULTSINK_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include <atlcomcli.h>
#include <wbemcli.h>

#include <om/ComObject.h>

namespace om::wmi {

// When a wait ends: never (nullopt) or at a time.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;
// WBEM_INFINITE waits for ever; other negative values are not time-outs and
// give nullopt too, so callers check them first.
Deadline deadlineAfter(long timeoutMs);

class ResultSink final : public om::ComObject<IWbemObjectSink> {
 public:
  // `keepAll`: objects stay after they were read (for Reset and Clone of a
  // bidirectional enumerator); otherwise each is released when taken.
  explicit ResultSink(bool keepAll) : keepAll_(keepAll) {}

  HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) override;
  HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                      IWbemClassObject* pObjParam) override;

  enum class Wait { kReady, kEnd, kTimedOut };
  // Waits until the object at `index` (counted from the first delivered) has
  // arrived, or the call has ended without it.
  Wait waitFor(std::size_t index, const Deadline& deadline);
  // The object at `index`, which waitFor found ready. Without keepAll only
  // the next object in order may be taken, and it is given up.
  CComPtr<IWbemClassObject> take(std::size_t index);

  // Waits for the final status; false on time-out.
  bool waitDone(const Deadline& deadline);
  HRESULT status() const;
  CComPtr<IWbemClassObject> statusObject() const;
  std::u16string statusText() const;

 private:
  const bool keepAll_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<CComPtr<IWbemClassObject>> objects_;
  std::size_t first_ = 0;  // index of objects_.front()
  bool done_ = false;
  HRESULT status_ = WBEM_S_NO_ERROR;
  CComPtr<IWbemClassObject> statusObject_;
  std::u16string statusText_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_RESULTSINK_H_

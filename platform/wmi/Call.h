// One operation of a caller on its way through the object manager: the
// namespace and context it was made in, and the sink that ends it (the
// manager's CallSink around the caller's sink).
#ifndef OM_PLATFORM_WMI_CALL_H_
#define OM_PLATFORM_WMI_CALL_H_

#include <memory>
#include <string>
#include <string_view>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CallSink.h"
#include "ExtendedStatus.h"

namespace om::wmi {

struct Call {
  std::u16string nameSpace;  // normalized ("root\Velmoran")
  long flags = 0;
  CComPtr<IWbemContext> context;
  CComPtr<CallSink> sink;
  // Read by the sink's error-object maker; set providerName before handing
  // the call to a provider.
  std::shared_ptr<CallInfo> info;

  // Ends the call; `description` becomes the Description of the error object.
  void fail(HRESULT hr, std::u16string_view description) const;
  // Ends the call successfully; `text` is the status text (a path written).
  void succeed(std::u16string_view text = {}) const;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CALL_H_

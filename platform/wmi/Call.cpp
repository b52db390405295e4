#include "Call.h"

#include "Text.h"

namespace om::wmi {

void Call::fail(HRESULT hr, std::u16string_view description) const {
  CComBSTR text;
  text.Attach(allocBstr(description));
  sink->SetStatus(WBEM_STATUS_COMPLETE, hr, text, nullptr);
}

void Call::succeed(std::u16string_view text) const {
  CComBSTR status;
  if (!text.empty()) status.Attach(allocBstr(text));
  sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, status, nullptr);
}

}  // namespace om::wmi

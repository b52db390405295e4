// What the client transport and the daemon's endpoint agree on beyond plain
// CIM-XML: how a call's context values travel, and the event queue that
// carries events to clients over their own connection.
//
// Context values: one parameter per value, named "__Context.<name>" (a dot
// never appears in a parameter name of a class), whose text is
// "i4:<decimal>", "bool:TRUE|FALSE" or "str:<text>".
//
// Error objects: a client that sends the header "OM-Error-Instances: 1"
// gets the manager's __ExtendedStatus object inside each CIM ERROR, so that
// the exact HRESULT, the operation and the provider cross the wire.
//
// Event queue: extrinsic methods of the class name "OM_EventQueue", which no
// repository holds and the endpoint answers itself:
//   Subscribe(QueryLanguage, Query) -> SubscriptionId (string)
//   Pull(SubscriptionId, Acknowledged uint64, WaitSeconds uint32)
//       -> Events (object array), Sequence (uint64: the number of the last
//          event in Events, or Acknowledged when there is none)
//   Unsubscribe(SubscriptionId)
// Events are numbered from 1 in the order they were fired. A Pull forgets
// the events up to Acknowledged and returns those after it, waiting up to
// WaitSeconds for one; a client that repeats a Pull whose reply it lost gets
// the same events again, so each reaches it once and in order.
#ifndef OM_PLATFORM_WMI_REMOTEPROTOCOL_H_
#define OM_PLATFORM_WMI_REMOTEPROTOCOL_H_

#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CimXml.h"

namespace om::wmi::remote {

inline constexpr std::u16string_view kEventQueueClass = u"OM_EventQueue";
inline constexpr std::u16string_view kContextPrefix = u"__Context.";
inline constexpr char kErrorInstancesHeader[] = "OM-Error-Instances";

// Appends the values of `context` (null: none) as parameters. VT_I4, VT_BOOL
// and VT_BSTR travel; a value of another type is WBEM_E_INVALID_CONTEXT.
HRESULT appendContext(IWbemContext* context, std::vector<cimxml::ParamValue>* params);
// Removes the context parameters from `params` and gives them as a new
// context (null when there were none); WBEM_E_INVALID_CONTEXT for a bad one.
HRESULT takeContext(std::vector<cimxml::ParamValue>* params, IWbemContext** context);

}  // namespace om::wmi::remote

#endif  // OM_PLATFORM_WMI_REMOTEPROTOCOL_H_

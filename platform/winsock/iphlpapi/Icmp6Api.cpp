// Icmp6CreateFile, Icmp6SendEcho2 and IcmpCloseHandle: handles, arguments,
// the reply record and the IP_STATUS codes over Echo6.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

#include <icmpapi.h>

#include "Echo6.h"

namespace {

// What an ICMP handle points to.
struct IcmpHandle {
  int unused = 0;
};

std::mutex g_mu;
std::set<const void*> g_handles;  // open handles; guarded by g_mu

bool isOpen(HANDLE handle) {
  std::lock_guard<std::mutex> lock(g_mu);
  return g_handles.count(handle) != 0;
}

DWORD statusOfErrno(int error) {
  switch (error) {
    case ENETUNREACH: return IP_DEST_NO_ROUTE;
    case EHOSTUNREACH: return IP_DEST_ADDR_UNREACHABLE;
    case EADDRNOTAVAIL: return IP_BAD_ROUTE;
    case EACCES: case EPERM: return ERROR_ACCESS_DENIED;
    case EAFNOSUPPORT: case EPROTONOSUPPORT: return ERROR_NOT_SUPPORTED;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENOMEM: case ENOBUFS: return IP_NO_RESOURCES;
    case EMSGSIZE: return IP_PACKET_TOO_BIG;
    default: return IP_GENERAL_FAILURE;
  }
}

// The status of an ICMPv6 error message.
ULONG statusOfError(uint8_t type, uint8_t code) {
  switch (type) {
    case 1:  // destination unreachable
      switch (code) {
        case 0: return IP_DEST_NO_ROUTE;
        case 1: case 5: case 6: return IP_DEST_PROHIBITED;
        case 2: return IP_DEST_SCOPE_MISMATCH;
        case 3: return IP_DEST_ADDR_UNREACHABLE;
        case 4: return IP_DEST_PORT_UNREACHABLE;
        default: return IP_DEST_UNREACHABLE;
      }
    case 2: return IP_PACKET_TOO_BIG;
    case 3: return code == 0 ? IP_HOP_LIMIT_EXCEEDED : IP_REASSEMBLY_TIME_EXCEEDED;
    case 4: return code == 1 ? IP_UNRECOGNIZED_NEXT_HEADER : IP_PARAMETER_PROBLEM;
    default: return IP_ICMP_ERROR;
  }
}

om::kernel::IpAddress addressOf(const sockaddr_in6& a) {
  om::kernel::IpAddress out;
  out.v6 = true;
  std::memcpy(out.bytes, &a.sin6_addr, 16);
  out.scope = a.sin6_scope_id;
  return out;
}

void setAddress(IPV6_ADDRESS_EX& out, const om::kernel::IpAddress& a) {
  std::memset(&out, 0, sizeof out);
  std::memcpy(out.sin6_addr, a.bytes, 16);
  out.sin6_scope_id = a.scope;
}

DWORD failWith(DWORD error) {
  SetLastError(error);
  return 0;
}

}  // namespace

HANDLE WINAPI Icmp6CreateFile() {
  if (om::kernel::checkIpv6() != 0) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return INVALID_HANDLE_VALUE;
  }
  auto* handle = new IcmpHandle;
  std::lock_guard<std::mutex> lock(g_mu);
  g_handles.insert(handle);
  return handle;
}

BOOL WINAPI IcmpCloseHandle(HANDLE icmpHandle) {
  {
    std::lock_guard<std::mutex> lock(g_mu);
    if (g_handles.erase(icmpHandle) == 0) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
  }
  delete static_cast<IcmpHandle*>(icmpHandle);
  return TRUE;
}

DWORD WINAPI Icmp6SendEcho2(HANDLE icmpHandle, HANDLE event, PIO_APC_ROUTINE apcRoutine, PVOID,
                            struct sockaddr_in6* source, struct sockaddr_in6* destination, LPVOID requestData,
                            WORD requestSize, PIP_OPTION_INFORMATION options, LPVOID replyBuffer, DWORD replySize,
                            DWORD timeout) {
  if (!isOpen(icmpHandle)) return failWith(ERROR_INVALID_HANDLE);
  if (event != nullptr || apcRoutine != nullptr) return failWith(ERROR_NOT_SUPPORTED);
  if (destination == nullptr || destination->sin6_family != AF_INET6 ||
      (source != nullptr && source->sin6_family != AF_INET6 && source->sin6_family != 0) ||
      (requestData == nullptr && requestSize > 0)) {
    return failWith(ERROR_INVALID_PARAMETER);
  }
  if (replyBuffer == nullptr || replySize < sizeof(ICMPV6_ECHO_REPLY) + requestSize + 8) {
    return failWith(IP_BUF_TOO_SMALL);
  }
  om::kernel::Echo6Request request;
  if (source != nullptr) request.source = addressOf(*source);
  request.destination = addressOf(*destination);
  request.data = requestData;
  request.size = requestSize;
  if (options != nullptr) {
    request.hopLimit = options->Ttl;
    request.trafficClass = options->Tos;
  }
  request.timeout = timeout;
  const om::kernel::Echo6Answer answer = om::kernel::sendEcho6(request);

  auto* reply = static_cast<ICMPV6_ECHO_REPLY*>(replyBuffer);
  std::memset(reply, 0, sizeof *reply);
  switch (answer.kind) {
    case om::kernel::Echo6Answer::kReply: {
      setAddress(reply->Address, answer.from);
      reply->Status = IP_SUCCESS;
      reply->RoundTripTime = answer.roundTrip;
      const size_t room = replySize - sizeof *reply;
      std::memcpy(reply + 1, answer.data.data(), std::min(room, answer.data.size()));
      return 1;
    }
    case om::kernel::Echo6Answer::kError:
      setAddress(reply->Address, answer.from);
      reply->Status = statusOfError(answer.type, answer.code);
      reply->RoundTripTime = answer.roundTrip;
      return 1;
    case om::kernel::Echo6Answer::kTimeout:
      reply->Status = IP_REQ_TIMED_OUT;
      return failWith(IP_REQ_TIMED_OUT);
    case om::kernel::Echo6Answer::kFailed:
      break;
  }
  return failWith(statusOfErrno(answer.error));
}

DWORD WINAPI OmIphlpapiGetLastError() { return GetLastError(); }

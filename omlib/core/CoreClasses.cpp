// The value classes that streams restore by class id, registered with
// ClassFactory when the program starts. This file is built as an object
// library that every program linking omlib_core takes in whole (see
// CMakeLists.txt), so the registrations are there even in a program that
// never names these classes; from a static archive the linker would drop
// them.
#include <omtools/ClassFactory.h>

#include "core/addr.h"
#include "core/addr6.h"
#include "core/sain6.h"

namespace {

const ClassRegistrar<mac_address> kMacAddressClass(mac_address::kClassId);
const ClassRegistrar<ip_address> kIpAddressClass(ip_address::kClassId);
const ClassRegistrar<ip6addr_t> kIp6AddrClass(ip6addr_t::kClassId);
const ClassRegistrar<sockaddr_in6_t> kSockaddrIn6Class(sockaddr_in6_t::kClassId);

}  // namespace

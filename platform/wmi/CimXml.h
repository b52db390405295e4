// The CIM-XML representation of CIM operations over HTTP: requests and
// responses of intrinsic methods (GetClass, GetInstance, EnumerateInstances,
// ExecQuery, ...) and extrinsic ones (METHODCALL), with classes, instances,
// instance names, embedded objects and arrays, turned into the object
// manager's own forms and back. One codec serves the daemon's endpoint and
// the client transport under the locator.
//
// Reading is bounded: no DTD or entity beyond XML's predefined ones is
// expanded, elements may nest only kMaxDepth deep, and embedded objects only
// kMaxEmbeddingDepth deep. Anything that is not well-formed CIM-XML of the
// forms below is a DecodeError, never a crash.
#ifndef OM_PLATFORM_WMI_CIMXML_H_
#define OM_PLATFORM_WMI_CIMXML_H_

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "CimClass.h"

namespace om::wmi::cimxml {

inline constexpr int kMaxDepth = 64;
inline constexpr int kMaxEmbeddingDepth = 8;

// The status codes of an ERROR (its CODE attribute).
enum CimStatus : int {
  CIM_ERR_FAILED = 1,
  CIM_ERR_ACCESS_DENIED = 2,
  CIM_ERR_INVALID_NAMESPACE = 3,
  CIM_ERR_INVALID_PARAMETER = 4,
  CIM_ERR_INVALID_CLASS = 5,
  CIM_ERR_NOT_FOUND = 6,
  CIM_ERR_NOT_SUPPORTED = 7,
  CIM_ERR_CLASS_HAS_CHILDREN = 8,
  CIM_ERR_CLASS_HAS_INSTANCES = 9,
  CIM_ERR_INVALID_SUPERCLASS = 10,
  CIM_ERR_ALREADY_EXISTS = 11,
  CIM_ERR_NO_SUCH_PROPERTY = 12,
  CIM_ERR_TYPE_MISMATCH = 13,
  CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
  CIM_ERR_INVALID_QUERY = 15,
  CIM_ERR_METHOD_NOT_AVAILABLE = 16,
  CIM_ERR_METHOD_NOT_FOUND = 17,
};

// The definition of a class by name (case-insensitive); null when unknown.
// Decoding an instance needs its class: the daemon resolves against its
// repository, a client against the classes it fetched from the server.
using ClassResolver = std::function<ClassPtr(std::u16string_view className)>;

// A named value of a call or a response: an IPARAMVALUE or PARAMVALUE, an
// out parameter, or a method's return value.
struct ParamValue {
  std::u16string name;
  // The CIM type, with CIM_FLAG_ARRAY for arrays. Instance names travel as
  // CIM_REFERENCE (the value is the WMI path text, relative or full),
  // instances and classes as CIM_OBJECT. CIM_EMPTY: a value whose type the
  // XML does not say (a KEYVALUE or an untyped VALUE), kept as VT_BSTR text.
  // An untyped PARAMVALUE of a METHODCALL takes the type of the method's
  // parameter when the resolver knows the class.
  CIMTYPE type = CIM_EMPTY;
  // The stored form of `type` (CimType.h); VT_NULL for a null value.
  CComVariant value;
};

struct Request {
  std::u16string id;         // MESSAGE ID
  std::u16string nameSpace;  // "root\Velmoran\OrvaManager"
  bool intrinsic = true;     // IMETHODCALL, or METHODCALL when false
  std::u16string method;     // "GetInstance", or the extrinsic method's name
  // Extrinsic calls: the class or instance the method is called on, as a
  // relative WMI path ("NetworkObject" or "NetworkObject.Path=\"...\"").
  std::u16string objectPath;
  std::vector<ParamValue> params;

  // The parameter named `name` (case-insensitive), or null.
  const ParamValue* param(std::u16string_view name) const;
};

// What an intrinsic method's IRETURNVALUE holds.
enum class ReturnKind {
  kNone,             // ModifyInstance, DeleteInstance, ...
  kClass,            // GetClass: one CLASS
  kInstance,         // GetInstance: one INSTANCE
  kNamedInstances,   // EnumerateInstances: VALUE.NAMEDINSTANCE*
  kObjectsWithPath,  // ExecQuery: VALUE.OBJECTWITHPATH*
  kClasses,          // EnumerateClasses: CLASS*
  kInstanceNames,    // EnumerateInstanceNames, CreateInstance: INSTANCENAME*
  kClassNames,       // EnumerateClassNames: CLASSNAME*
  kValue,            // one VALUE (or VALUE.ARRAY): `value`
};

struct Error {
  int code = 0;  // CIM status code (CIM_ERR_*)
  std::u16string description;
  // INSTANCE children of the ERROR: the manager's __ExtendedStatus object,
  // whose StatusCode keeps the exact HRESULT across the wire. Optional; on
  // decoding, an instance the resolver cannot build is left out.
  std::vector<CComPtr<IWbemClassObject>> instances;
};

struct Response {
  std::u16string id;
  bool intrinsic = true;
  std::u16string method;
  std::optional<Error> error;  // set: an ERROR, and nothing else is read

  // Intrinsic methods.
  ReturnKind kind = ReturnKind::kNone;
  // kClass, kInstance, kNamedInstances, kObjectsWithPath, kClasses. Named
  // instances and objects with path are written with the object's own path
  // (its __RELPATH, or __PATH for objects with path).
  std::vector<CComPtr<IWbemClassObject>> objects;
  // kInstanceNames: WMI relative paths; kClassNames: class names.
  std::vector<std::u16string> names;
  // kValue for intrinsic methods; for extrinsic ones the RETURNVALUE (its
  // name is ignored; CIM_EMPTY type when the method returns nothing).
  ParamValue value;

  // Extrinsic methods: the out parameters (PARAMVALUE after RETURNVALUE).
  std::vector<ParamValue> outParams;
};

// Why a message could not be read: what was wrong, for a CIM error's
// description or an HTTP 400 body. `badRequest` is true when the message is
// not CIM-XML at all (not well-formed, not a CIM/MESSAGE/SIMPLEREQ tree), as
// opposed to a well-formed request with a bad parameter (CIM_ERR_INVALID_PARAMETER)
// or an unknown class (CIM_ERR_INVALID_CLASS).
struct DecodeError {
  bool badRequest = true;
  int code = 0;  // CIM status code when !badRequest
  std::string message;
};

// Encoding. The texts are UTF-8 documents with the XML declaration.
std::string encodeRequest(const Request& request);
std::string encodeResponse(const Response& response);

// Decoding: true on success. Instances and embedded objects are built from
// the classes `resolve` gives; an instance of a class it does not know is a
// DecodeError with CIM_ERR_INVALID_CLASS. Classes (GetClass, EnumerateClasses)
// are built with their superclass from `resolve` when it knows it, so that
// inherited properties and methods are shared, else as root classes.
bool decodeRequest(std::string_view xml, const ClassResolver& resolve, Request* request, DecodeError* error);
bool decodeResponse(std::string_view xml, const ClassResolver& resolve, Response* response, DecodeError* error);

// The CIM status code for a WBEM HRESULT, and the HRESULT for a CIM status
// code (the published WBEM_E_* values: CIM_ERR_NOT_FOUND is
// WBEM_E_NOT_FOUND, CIM_ERR_ACCESS_DENIED WBEM_E_ACCESS_DENIED, ...; an
// HRESULT without a CIM equivalent is CIM_ERR_FAILED, and an unknown code
// WBEM_E_FAILED). A few more HRESULTs map to the nearest code
// (WBEM_E_INVALID_OBJECT_PATH to CIM_ERR_INVALID_PARAMETER, ...), one way
// only. Success is 0 both ways.
int cimStatusOf(HRESULT hr);
HRESULT hresultOf(int cimStatus);

}  // namespace om::wmi::cimxml

#endif  // OM_PLATFORM_WMI_CIMXML_H_

// The WMI client interfaces with their Windows methods, signatures and ids:
// IWbemClassObject, IWbemQualifierSet, IWbemServices, IWbemLocator,
// IWbemContext, IEnumWbemClassObject, IWbemObjectSink and IWbemCallResult;
// the CIM type numbers, the WBEM flags and the WBEMSTATUS codes with their
// published values. Implemented by the object manager in platform/wmi
// (target om_wmi).
//
// As on Windows, `long` in a signature is the interface's 32-bit integer;
// callers pass literals and `long` variables exactly as they would there.
#ifndef OM_PLATFORM_WBEMCLI_H_
#define OM_PLATFORM_WBEMCLI_H_

#include <oaidl.h>
#include <objbase.h>
#include <oleauto.h>

#include <om/WbemGuids.h>

// ---- Ids -----------------------------------------------------------------------------

// {DC12A681-737F-11CF-884D-00AA004B2E24}
DEFINE_GUID(IID_IWbemClassObject, 0xDC12A681, 0x737F, 0x11CF, 0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24);
// {DC12A680-737F-11CF-884D-00AA004B2E24}
DEFINE_GUID(IID_IWbemQualifierSet, 0xDC12A680, 0x737F, 0x11CF, 0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24);
// {9556DC99-828C-11CF-A37E-00AA003240C7}
DEFINE_GUID(IID_IWbemServices, 0x9556DC99, 0x828C, 0x11CF, 0xA3, 0x7E, 0x00, 0xAA, 0x00, 0x32, 0x40, 0xC7);
// {027947E1-D731-11CE-A357-000000000001}
DEFINE_GUID(IID_IEnumWbemClassObject, 0x027947E1, 0xD731, 0x11CE, 0xA3, 0x57, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01);
// {7C857801-7381-11CF-884D-00AA004B2E24}
DEFINE_GUID(IID_IWbemObjectSink, 0x7C857801, 0x7381, 0x11CF, 0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24);
// {44ACA675-E8FC-11D0-A07C-00C04FD8FDFF}
DEFINE_GUID(IID_IWbemCallResult, 0x44ACA675, 0xE8FC, 0x11D0, 0xA0, 0x7C, 0x00, 0xC0, 0x4F, 0xD8, 0xFD, 0xFF);
// {9A653086-174F-11D2-B5F9-00104B703EFD}
DEFINE_GUID(CLSID_WbemClassObject, 0x9A653086, 0x174F, 0x11D2, 0xB5, 0xF9, 0x00, 0x10, 0x4B, 0x70, 0x3E, 0xFD);

// ---- CIM types -----------------------------------------------------------------------

typedef long CIMTYPE;

typedef enum tag_CIMTYPE_ENUMERATION {
  CIM_ILLEGAL = 0xfff,
  CIM_EMPTY = 0,
  CIM_SINT8 = 16,
  CIM_UINT8 = 17,
  CIM_SINT16 = 2,
  CIM_UINT16 = 18,
  CIM_SINT32 = 3,
  CIM_UINT32 = 19,
  CIM_SINT64 = 20,
  CIM_UINT64 = 21,
  CIM_REAL32 = 4,
  CIM_REAL64 = 5,
  CIM_BOOLEAN = 11,
  CIM_STRING = 8,
  CIM_DATETIME = 101,
  CIM_REFERENCE = 102,
  CIM_CHAR16 = 103,
  CIM_OBJECT = 13,
  CIM_FLAG_ARRAY = 0x2000
} CIMTYPE_ENUMERATION;

// ---- Flags -----------------------------------------------------------------------------

typedef enum tag_WBEM_GENUS_TYPE { WBEM_GENUS_CLASS = 1, WBEM_GENUS_INSTANCE = 2 } WBEM_GENUS_TYPE;

typedef enum tag_WBEM_CHANGE_FLAG_TYPE {
  WBEM_FLAG_CREATE_OR_UPDATE = 0,
  WBEM_FLAG_UPDATE_ONLY = 0x1,
  WBEM_FLAG_CREATE_ONLY = 0x2,
  WBEM_FLAG_UPDATE_COMPATIBLE = 0,
  WBEM_FLAG_UPDATE_SAFE_MODE = 0x20,
  WBEM_FLAG_UPDATE_FORCE_MODE = 0x40,
  WBEM_MASK_UPDATE_MODE = 0x60,
  WBEM_FLAG_ADVISORY = 0x10000
} WBEM_CHANGE_FLAG_TYPE;

typedef enum tag_WBEM_GENERIC_FLAG_TYPE {
  WBEM_FLAG_RETURN_IMMEDIATELY = 0x10,
  WBEM_FLAG_RETURN_WBEM_COMPLETE = 0,
  WBEM_FLAG_BIDIRECTIONAL = 0,
  WBEM_FLAG_FORWARD_ONLY = 0x20,
  WBEM_FLAG_NO_ERROR_OBJECT = 0x40,
  WBEM_FLAG_RETURN_ERROR_OBJECT = 0,
  WBEM_FLAG_SEND_STATUS = 0x80,
  WBEM_FLAG_DONT_SEND_STATUS = 0,
  WBEM_FLAG_ENSURE_LOCATABLE = 0x100,
  WBEM_FLAG_DIRECT_READ = 0x200,
  WBEM_FLAG_SEND_ONLY_SELECTED = 0,
  WBEM_RETURN_WHEN_COMPLETE = 0,
  WBEM_RETURN_IMMEDIATELY = 0x10,
  WBEM_MASK_RESERVED_FLAGS = 0x1f000,
  WBEM_FLAG_USE_AMENDED_QUALIFIERS = 0x20000,
  WBEM_FLAG_STRONG_VALIDATION = 0x100000
} WBEM_GENERIC_FLAG_TYPE;

typedef enum tag_WBEM_STATUS_TYPE {
  WBEM_STATUS_COMPLETE = 0,
  WBEM_STATUS_REQUIREMENTS = 1,
  WBEM_STATUS_PROGRESS = 2
} WBEM_STATUS_TYPE;

// Time-outs of IEnumWbemClassObject::Next and IWbemCallResult, in
// milliseconds; WBEM_INFINITE waits for ever (it is -1 as a `long`).
typedef enum tag_WBEM_TIMEOUT_TYPE : LONG {
  WBEM_NO_WAIT = 0,
  WBEM_INFINITE = static_cast<LONG>(0xFFFFFFFF)
} WBEM_TIMEOUT_TYPE;

typedef enum tag_WBEM_CONDITION_FLAG_TYPE {
  WBEM_FLAG_ALWAYS = 0,
  WBEM_FLAG_ONLY_IF_TRUE = 0x1,
  WBEM_FLAG_ONLY_IF_FALSE = 0x2,
  WBEM_FLAG_ONLY_IF_IDENTICAL = 0x3,
  WBEM_MASK_PRIMARY_CONDITION = 0x3,
  WBEM_FLAG_KEYS_ONLY = 0x4,
  WBEM_FLAG_REFS_ONLY = 0x8,
  WBEM_FLAG_LOCAL_ONLY = 0x10,
  WBEM_FLAG_PROPAGATED_ONLY = 0x20,
  WBEM_FLAG_SYSTEM_ONLY = 0x30,
  WBEM_FLAG_NONSYSTEM_ONLY = 0x40,
  WBEM_MASK_CONDITION_ORIGIN = 0x70,
  WBEM_FLAG_CLASS_OVERRIDES_ONLY = 0x100,
  WBEM_FLAG_CLASS_LOCAL_AND_OVERRIDES = 0x200,
  WBEM_MASK_CLASS_CONDITION = 0x300
} WBEM_CONDITION_FLAG_TYPE;

typedef enum tag_WBEM_FLAVOR_TYPE {
  WBEM_FLAVOR_DONT_PROPAGATE = 0,
  WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE = 0x1,
  WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS = 0x2,
  WBEM_FLAVOR_MASK_PROPAGATION = 0xf,
  WBEM_FLAVOR_OVERRIDABLE = 0,
  WBEM_FLAVOR_NOT_OVERRIDABLE = 0x10,
  WBEM_FLAVOR_MASK_PERMISSIONS = 0x10,
  WBEM_FLAVOR_ORIGIN_LOCAL = 0,
  WBEM_FLAVOR_ORIGIN_PROPAGATED = 0x20,
  WBEM_FLAVOR_ORIGIN_SYSTEM = 0x40,
  WBEM_FLAVOR_MASK_ORIGIN = 0x60,
  WBEM_FLAVOR_NOT_AMENDED = 0,
  WBEM_FLAVOR_AMENDED = 0x80,
  WBEM_FLAVOR_MASK_AMENDED = 0x80
} WBEM_FLAVOR_TYPE;

typedef enum tag_WBEM_QUERY_FLAG_TYPE {
  WBEM_FLAG_DEEP = 0,
  WBEM_FLAG_SHALLOW = 1,
  WBEM_FLAG_PROTOTYPE = 2
} WBEM_QUERY_FLAG_TYPE;

typedef enum tag_WBEM_TEXT_FLAG_TYPE { WBEM_FLAG_NO_FLAVORS = 0x1 } WBEM_TEXT_FLAG_TYPE;

typedef enum tag_WBEM_COMPARISON_FLAG {
  WBEM_COMPARISON_INCLUDE_ALL = 0,
  WBEM_FLAG_IGNORE_QUALIFIERS = 0x1,
  WBEM_FLAG_IGNORE_OBJECT_SOURCE = 0x2,
  WBEM_FLAG_IGNORE_DEFAULT_VALUES = 0x4,
  WBEM_FLAG_IGNORE_CLASS = 0x8,
  WBEM_FLAG_IGNORE_CASE = 0x10,
  WBEM_FLAG_IGNORE_FLAVOR = 0x20
} WBEM_COMPARISON_FLAG;

typedef enum tag_WBEM_CONNECT_OPTIONS {
  WBEM_FLAG_CONNECT_REPOSITORY_ONLY = 0x40,
  WBEM_FLAG_CONNECT_USE_MAX_WAIT = 0x80,
  WBEM_FLAG_CONNECT_PROVIDERS = 0x100
} WBEM_CONNECT_OPTIONS;

typedef enum tag_WBEM_LIMITS {
  WBEM_MAX_IDENTIFIER = 0x1000,
  WBEM_MAX_QUERY = 0x4000,
  WBEM_MAX_PATH = 0x2000,
  WBEM_MAX_OBJECT_NESTING = 64,
  WBEM_MAX_USER_PROPERTIES = 1024
} WBEM_LIMITS;

// ---- Status codes ------------------------------------------------------------------------

// The published values; the error codes are negative HRESULTs, as they are
// on Windows, so `hr == WBEM_E_NOT_FOUND` and FAILED(WBEM_E_FAILED) hold.
#define OM_WBEM_CODE(value) static_cast<LONG>(value)
typedef enum tag_WBEMSTATUS : LONG {
  WBEM_NO_ERROR = 0,
  WBEM_S_NO_ERROR = 0,
  WBEM_S_SAME = 0,
  WBEM_S_FALSE = 1,
  WBEM_S_ALREADY_EXISTS = 0x40001,
  WBEM_S_RESET_TO_DEFAULT = 0x40002,
  WBEM_S_DIFFERENT = 0x40003,
  WBEM_S_TIMEDOUT = 0x40004,
  WBEM_S_NO_MORE_DATA = 0x40005,
  WBEM_S_OPERATION_CANCELLED = 0x40006,
  WBEM_S_PENDING = 0x40007,
  WBEM_S_DUPLICATE_OBJECTS = 0x40008,
  WBEM_S_ACCESS_DENIED = 0x40009,
  WBEM_S_PARTIAL_RESULTS = 0x40010,
  WBEM_S_SOURCE_NOT_AVAILABLE = 0x40017,
  WBEM_E_FAILED = OM_WBEM_CODE(0x80041001),
  WBEM_E_NOT_FOUND = OM_WBEM_CODE(0x80041002),
  WBEM_E_ACCESS_DENIED = OM_WBEM_CODE(0x80041003),
  WBEM_E_PROVIDER_FAILURE = OM_WBEM_CODE(0x80041004),
  WBEM_E_TYPE_MISMATCH = OM_WBEM_CODE(0x80041005),
  WBEM_E_OUT_OF_MEMORY = OM_WBEM_CODE(0x80041006),
  WBEM_E_INVALID_CONTEXT = OM_WBEM_CODE(0x80041007),
  WBEM_E_INVALID_PARAMETER = OM_WBEM_CODE(0x80041008),
  WBEM_E_NOT_AVAILABLE = OM_WBEM_CODE(0x80041009),
  WBEM_E_CRITICAL_ERROR = OM_WBEM_CODE(0x8004100A),
  WBEM_E_INVALID_STREAM = OM_WBEM_CODE(0x8004100B),
  WBEM_E_NOT_SUPPORTED = OM_WBEM_CODE(0x8004100C),
  WBEM_E_INVALID_SUPERCLASS = OM_WBEM_CODE(0x8004100D),
  WBEM_E_INVALID_NAMESPACE = OM_WBEM_CODE(0x8004100E),
  WBEM_E_INVALID_OBJECT = OM_WBEM_CODE(0x8004100F),
  WBEM_E_INVALID_CLASS = OM_WBEM_CODE(0x80041010),
  WBEM_E_PROVIDER_NOT_FOUND = OM_WBEM_CODE(0x80041011),
  WBEM_E_INVALID_PROVIDER_REGISTRATION = OM_WBEM_CODE(0x80041012),
  WBEM_E_PROVIDER_LOAD_FAILURE = OM_WBEM_CODE(0x80041013),
  WBEM_E_INITIALIZATION_FAILURE = OM_WBEM_CODE(0x80041014),
  WBEM_E_TRANSPORT_FAILURE = OM_WBEM_CODE(0x80041015),
  WBEM_E_INVALID_OPERATION = OM_WBEM_CODE(0x80041016),
  WBEM_E_INVALID_QUERY = OM_WBEM_CODE(0x80041017),
  WBEM_E_INVALID_QUERY_TYPE = OM_WBEM_CODE(0x80041018),
  WBEM_E_ALREADY_EXISTS = OM_WBEM_CODE(0x80041019),
  WBEM_E_OVERRIDE_NOT_ALLOWED = OM_WBEM_CODE(0x8004101A),
  WBEM_E_PROPAGATED_QUALIFIER = OM_WBEM_CODE(0x8004101B),
  WBEM_E_PROPAGATED_PROPERTY = OM_WBEM_CODE(0x8004101C),
  WBEM_E_UNEXPECTED = OM_WBEM_CODE(0x8004101D),
  WBEM_E_ILLEGAL_OPERATION = OM_WBEM_CODE(0x8004101E),
  WBEM_E_CANNOT_BE_KEY = OM_WBEM_CODE(0x8004101F),
  WBEM_E_INCOMPLETE_CLASS = OM_WBEM_CODE(0x80041020),
  WBEM_E_INVALID_SYNTAX = OM_WBEM_CODE(0x80041021),
  WBEM_E_NONDECORATED_OBJECT = OM_WBEM_CODE(0x80041022),
  WBEM_E_READ_ONLY = OM_WBEM_CODE(0x80041023),
  WBEM_E_PROVIDER_NOT_CAPABLE = OM_WBEM_CODE(0x80041024),
  WBEM_E_CLASS_HAS_CHILDREN = OM_WBEM_CODE(0x80041025),
  WBEM_E_CLASS_HAS_INSTANCES = OM_WBEM_CODE(0x80041026),
  WBEM_E_QUERY_NOT_IMPLEMENTED = OM_WBEM_CODE(0x80041027),
  WBEM_E_ILLEGAL_NULL = OM_WBEM_CODE(0x80041028),
  WBEM_E_INVALID_QUALIFIER_TYPE = OM_WBEM_CODE(0x80041029),
  WBEM_E_INVALID_PROPERTY_TYPE = OM_WBEM_CODE(0x8004102A),
  WBEM_E_VALUE_OUT_OF_RANGE = OM_WBEM_CODE(0x8004102B),
  WBEM_E_CANNOT_BE_SINGLETON = OM_WBEM_CODE(0x8004102C),
  WBEM_E_INVALID_CIM_TYPE = OM_WBEM_CODE(0x8004102D),
  WBEM_E_INVALID_METHOD = OM_WBEM_CODE(0x8004102E),
  WBEM_E_INVALID_METHOD_PARAMETERS = OM_WBEM_CODE(0x8004102F),
  WBEM_E_SYSTEM_PROPERTY = OM_WBEM_CODE(0x80041030),
  WBEM_E_INVALID_PROPERTY = OM_WBEM_CODE(0x80041031),
  WBEM_E_CALL_CANCELLED = OM_WBEM_CODE(0x80041032),
  WBEM_E_SHUTTING_DOWN = OM_WBEM_CODE(0x80041033),
  WBEM_E_PROPAGATED_METHOD = OM_WBEM_CODE(0x80041034),
  WBEM_E_UNSUPPORTED_PARAMETER = OM_WBEM_CODE(0x80041035),
  WBEM_E_MISSING_PARAMETER_ID = OM_WBEM_CODE(0x80041036),
  WBEM_E_INVALID_PARAMETER_ID = OM_WBEM_CODE(0x80041037),
  WBEM_E_NONCONSECUTIVE_PARAMETER_IDS = OM_WBEM_CODE(0x80041038),
  WBEM_E_PARAMETER_ID_ON_RETVAL = OM_WBEM_CODE(0x80041039),
  WBEM_E_INVALID_OBJECT_PATH = OM_WBEM_CODE(0x8004103A),
  WBEM_E_OUT_OF_DISK_SPACE = OM_WBEM_CODE(0x8004103B),
  WBEM_E_BUFFER_TOO_SMALL = OM_WBEM_CODE(0x8004103C),
  WBEM_E_UNSUPPORTED_PUT_EXTENSION = OM_WBEM_CODE(0x8004103D),
  WBEM_E_UNKNOWN_OBJECT_TYPE = OM_WBEM_CODE(0x8004103E),
  WBEM_E_UNKNOWN_PACKET_TYPE = OM_WBEM_CODE(0x8004103F),
  WBEM_E_MARSHAL_VERSION_MISMATCH = OM_WBEM_CODE(0x80041040),
  WBEM_E_MARSHAL_INVALID_SIGNATURE = OM_WBEM_CODE(0x80041041),
  WBEM_E_INVALID_QUALIFIER = OM_WBEM_CODE(0x80041042),
  WBEM_E_INVALID_DUPLICATE_PARAMETER = OM_WBEM_CODE(0x80041043),
  WBEM_E_TOO_MUCH_DATA = OM_WBEM_CODE(0x80041044),
  WBEM_E_SERVER_TOO_BUSY = OM_WBEM_CODE(0x80041045),
  WBEM_E_INVALID_FLAVOR = OM_WBEM_CODE(0x80041046),
  WBEM_E_CIRCULAR_REFERENCE = OM_WBEM_CODE(0x80041047),
  WBEM_E_UNSUPPORTED_CLASS_UPDATE = OM_WBEM_CODE(0x80041048),
  WBEM_E_CANNOT_CHANGE_KEY_INHERITANCE = OM_WBEM_CODE(0x80041049),
  WBEM_E_CANNOT_CHANGE_INDEX_INHERITANCE = OM_WBEM_CODE(0x80041050),
  WBEM_E_TOO_MANY_PROPERTIES = OM_WBEM_CODE(0x80041051),
  WBEM_E_UPDATE_TYPE_MISMATCH = OM_WBEM_CODE(0x80041052),
  WBEM_E_UPDATE_OVERRIDE_NOT_ALLOWED = OM_WBEM_CODE(0x80041053),
  WBEM_E_UPDATE_PROPAGATED_METHOD = OM_WBEM_CODE(0x80041054),
  WBEM_E_METHOD_NOT_IMPLEMENTED = OM_WBEM_CODE(0x80041055),
  WBEM_E_METHOD_DISABLED = OM_WBEM_CODE(0x80041056),
  WBEM_E_REFRESHER_BUSY = OM_WBEM_CODE(0x80041057),
  WBEM_E_UNPARSABLE_QUERY = OM_WBEM_CODE(0x80041058),
  WBEM_E_NOT_EVENT_CLASS = OM_WBEM_CODE(0x80041059),
  WBEM_E_MISSING_GROUP_WITHIN = OM_WBEM_CODE(0x8004105A),
  WBEM_E_MISSING_AGGREGATION_LIST = OM_WBEM_CODE(0x8004105B),
  WBEM_E_PROPERTY_NOT_AN_OBJECT = OM_WBEM_CODE(0x8004105C),
  WBEM_E_AGGREGATING_BY_OBJECT = OM_WBEM_CODE(0x8004105D),
  WBEM_E_UNINTERPRETABLE_PROVIDER_QUERY = OM_WBEM_CODE(0x8004105F),
  WBEM_E_BACKUP_RESTORE_WINMGMT_RUNNING = OM_WBEM_CODE(0x80041060),
  WBEM_E_QUEUE_OVERFLOW = OM_WBEM_CODE(0x80041061),
  WBEM_E_PRIVILEGE_NOT_HELD = OM_WBEM_CODE(0x80041062),
  WBEM_E_INVALID_OPERATOR = OM_WBEM_CODE(0x80041063),
  WBEM_E_LOCAL_CREDENTIALS = OM_WBEM_CODE(0x80041064),
  WBEM_E_CANNOT_BE_ABSTRACT = OM_WBEM_CODE(0x80041065),
  WBEM_E_AMENDED_OBJECT = OM_WBEM_CODE(0x80041066),
  WBEM_E_CLIENT_TOO_SLOW = OM_WBEM_CODE(0x80041067),
  WBEM_E_NULL_SECURITY_DESCRIPTOR = OM_WBEM_CODE(0x80041068),
  WBEM_E_TIMED_OUT = OM_WBEM_CODE(0x80041069),
  WBEM_E_INVALID_ASSOCIATION = OM_WBEM_CODE(0x8004106A),
  WBEM_E_AMBIGUOUS_OPERATION = OM_WBEM_CODE(0x8004106B),
  WBEM_E_QUOTA_VIOLATION = OM_WBEM_CODE(0x8004106C),
  WBEM_E_UNSUPPORTED_LOCALE = OM_WBEM_CODE(0x8004106F),
  WBEM_E_HANDLE_OUT_OF_DATE = OM_WBEM_CODE(0x80041070),
  WBEM_E_CONNECTION_FAILED = OM_WBEM_CODE(0x80041071),
  WBEM_E_INVALID_HANDLE_REQUEST = OM_WBEM_CODE(0x80041072),
  WBEM_E_PROPERTY_NAME_TOO_WIDE = OM_WBEM_CODE(0x80041073),
  WBEM_E_CLASS_NAME_TOO_WIDE = OM_WBEM_CODE(0x80041074),
  WBEM_E_METHOD_NAME_TOO_WIDE = OM_WBEM_CODE(0x80041075),
  WBEM_E_QUALIFIER_NAME_TOO_WIDE = OM_WBEM_CODE(0x80041076),
  WBEM_E_RERUN_COMMAND = OM_WBEM_CODE(0x80041077),
  WBEM_E_DATABASE_VER_MISMATCH = OM_WBEM_CODE(0x80041078),
  WBEM_E_VETO_DELETE = OM_WBEM_CODE(0x80041079),
  WBEM_E_VETO_PUT = OM_WBEM_CODE(0x8004107A),
  WBEM_E_INVALID_LOCALE = OM_WBEM_CODE(0x80041080),
  WBEM_E_PROVIDER_SUSPENDED = OM_WBEM_CODE(0x80041081),
  WBEM_E_SYNCHRONIZATION_REQUIRED = OM_WBEM_CODE(0x80041082),
  WBEM_E_NO_SCHEMA = OM_WBEM_CODE(0x80041083),
  WBEM_E_PROVIDER_ALREADY_REGISTERED = OM_WBEM_CODE(0x80041084),
  WBEM_E_PROVIDER_NOT_REGISTERED = OM_WBEM_CODE(0x80041085),
  WBEM_E_FATAL_TRANSPORT_ERROR = OM_WBEM_CODE(0x80041086),
  WBEM_E_ENCRYPTED_CONNECTION_REQUIRED = OM_WBEM_CODE(0x80041087),
  WBEM_E_PROVIDER_TIMED_OUT = OM_WBEM_CODE(0x80041088),
  WBEM_E_NO_KEY = OM_WBEM_CODE(0x80041089),
  WBEM_E_PROVIDER_DISABLED = OM_WBEM_CODE(0x8004108A),
  WBEMESS_E_REGISTRATION_TOO_BROAD = OM_WBEM_CODE(0x80042001),
  WBEMESS_E_REGISTRATION_TOO_PRECISE = OM_WBEM_CODE(0x80042002)
} WBEMSTATUS;
#undef OM_WBEM_CODE

// ---- Interfaces -----------------------------------------------------------------------------

struct IWbemClassObject;
struct IWbemServices;
struct IWbemContext;
struct IWbemCallResult;
struct IWbemObjectSink;
struct IEnumWbemClassObject;

// The qualifiers of a class, a property or a method: named values with
// flavors.
struct IWbemQualifierSet : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Get(LPCWSTR wszName, long lFlags, VARIANT* pVal, long* plFlavor) = 0;
  virtual HRESULT STDMETHODCALLTYPE Put(LPCWSTR wszName, VARIANT* pVal, long lFlavor) = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete(LPCWSTR wszName) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNames(long lFlags, SAFEARRAY** pNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE BeginEnumeration(long lFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* pstrName, VARIANT* pVal, long* plFlavor) = 0;
  virtual HRESULT STDMETHODCALLTYPE EndEnumeration() = 0;
};
OM_INTERFACE_ID(IWbemQualifierSet, IID_IWbemQualifierSet);

// A CIM class or instance: properties with CIM types, qualifiers, methods
// (classes) and the system properties (__CLASS, __PATH, ...).
struct IWbemClassObject : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** ppQualSet) = 0;
  virtual HRESULT STDMETHODCALLTYPE Get(LPCWSTR wszName, long lFlags, VARIANT* pVal, CIMTYPE* pType,
                                        long* plFlavor) = 0;
  virtual HRESULT STDMETHODCALLTYPE Put(LPCWSTR wszName, long lFlags, VARIANT* pVal, CIMTYPE Type) = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete(LPCWSTR wszName) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR wszQualifierName, long lFlags, VARIANT* pQualifierVal,
                                             SAFEARRAY** pNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE BeginEnumeration(long lEnumFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* strName, VARIANT* pVal, CIMTYPE* pType,
                                         long* plFlavor) = 0;
  virtual HRESULT STDMETHODCALLTYPE EndEnumeration() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR wszProperty, IWbemQualifierSet** ppQualSet) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** ppCopy) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetObjectText(long lFlags, BSTR* pstrObjectText) = 0;
  virtual HRESULT STDMETHODCALLTYPE SpawnDerivedClass(long lFlags, IWbemClassObject** ppNewClass) = 0;
  virtual HRESULT STDMETHODCALLTYPE SpawnInstance(long lFlags, IWbemClassObject** ppNewInstance) = 0;
  virtual HRESULT STDMETHODCALLTYPE CompareTo(long lFlags, IWbemClassObject* pCompareTo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR wszName, BSTR* pstrClassName) = 0;
  virtual HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR strAncestor) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR wszName, long lFlags, IWbemClassObject** ppInSignature,
                                              IWbemClassObject** ppOutSignature) = 0;
  virtual HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR wszName, long lFlags, IWbemClassObject* pInSignature,
                                              IWbemClassObject* pOutSignature) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR wszName) = 0;
  virtual HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(long lEnumFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE NextMethod(long lFlags, BSTR* pstrName, IWbemClassObject** ppInSignature,
                                               IWbemClassObject** ppOutSignature) = 0;
  virtual HRESULT STDMETHODCALLTYPE EndMethodEnumeration() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR wszMethod, IWbemQualifierSet** ppQualSet) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR wszMethodName, BSTR* pstrClassName) = 0;
};
OM_INTERFACE_ID(IWbemClassObject, IID_IWbemClassObject);

// Named values a caller sends with a call, for the provider to read.
struct IWbemContext : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Clone(IWbemContext** ppNewCopy) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNames(long lFlags, SAFEARRAY** pNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE BeginEnumeration(long lFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Next(long lFlags, BSTR* pstrName, VARIANT* pValue) = 0;
  virtual HRESULT STDMETHODCALLTYPE EndEnumeration() = 0;
  virtual HRESULT STDMETHODCALLTYPE SetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetValue(LPCWSTR wszName, long lFlags, VARIANT* pValue) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR wszName, long lFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteAll() = 0;
};
OM_INTERFACE_ID(IWbemContext, IID_IWbemContext);

// Receives the results of an asynchronous call: objects by Indicate, and the
// end of the call by SetStatus(WBEM_STATUS_COMPLETE, ...).
struct IWbemObjectSink : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Indicate(long lObjectCount, IWbemClassObject** apObjArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetStatus(long lFlags, HRESULT hResult, BSTR strParam,
                                              IWbemClassObject* pObjParam) = 0;
};
OM_INTERFACE_ID(IWbemObjectSink, IID_IWbemObjectSink);

// The objects of an enumeration or query, taken in order; Next waits up to
// lTimeout milliseconds (WBEM_INFINITE, WBEM_NO_WAIT).
struct IEnumWbemClassObject : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Next(long lTimeout, ULONG uCount, IWbemClassObject** apObjects,
                                         ULONG* puReturned) = 0;
  virtual HRESULT STDMETHODCALLTYPE NextAsync(ULONG uCount, IWbemObjectSink* pSink) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(long lTimeout, ULONG nCount) = 0;
};
OM_INTERFACE_ID(IEnumWbemClassObject, IID_IEnumWbemClassObject);

// The result of a semisynchronous call (WBEM_FLAG_RETURN_IMMEDIATELY).
struct IWbemCallResult : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetResultObject(long lTimeout, IWbemClassObject** ppResultObject) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetResultString(long lTimeout, BSTR* pstrResultString) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetResultServices(long lTimeout, IWbemServices** ppServices) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCallStatus(long lTimeout, long* plStatus) = 0;
};
OM_INTERFACE_ID(IWbemCallResult, IID_IWbemCallResult);

// One namespace of the object manager: classes, instances, queries, methods
// and events, each call synchronous or asynchronous (...Async, results to a
// sink).
struct IWbemServices : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR strNamespace, long lFlags, IWbemContext* pCtx,
                                                  IWbemServices** ppWorkingNamespace,
                                                  IWbemCallResult** ppResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink* pSink) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryObjectSink(long lFlags, IWbemObjectSink** ppResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetObject(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                              IWbemClassObject** ppObject, IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                                   IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                                             IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject* pObject, long lFlags, IWbemContext* pCtx,
                                                  IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR strClass, long lFlags, IWbemContext* pCtx,
                                                IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR strClass, long lFlags, IWbemContext* pCtx,
                                                     IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR strSuperclass, long lFlags, IWbemContext* pCtx,
                                                    IEnumWbemClassObject** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR strSuperclass, long lFlags,
                                                         IWbemContext* pCtx,
                                                         IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                                                IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* pInst, long lFlags, IWbemContext* pCtx,
                                                     IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR strObjectPath, long lFlags, IWbemContext* pCtx,
                                                   IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR strObjectPath, long lFlags,
                                                        IWbemContext* pCtx,
                                                        IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR strFilter, long lFlags, IWbemContext* pCtx,
                                                       IEnumWbemClassObject** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR strFilter, long lFlags,
                                                            IWbemContext* pCtx,
                                                            IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                              IWbemContext* pCtx, IEnumWbemClassObject** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery, long lFlags,
                                                   IWbemContext* pCtx, IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR strQueryLanguage, const BSTR strQuery,
                                                          long lFlags, IWbemContext* pCtx,
                                                          IEnumWbemClassObject** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR strQueryLanguage, const BSTR strQuery,
                                                               long lFlags, IWbemContext* pCtx,
                                                               IWbemObjectSink* pResponseHandler) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR strObjectPath, const BSTR strMethodName, long lFlags,
                                               IWbemContext* pCtx, IWbemClassObject* pInParams,
                                               IWbemClassObject** ppOutParams, IWbemCallResult** ppCallResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR strObjectPath, const BSTR strMethodName, long lFlags,
                                                    IWbemContext* pCtx, IWbemClassObject* pInParams,
                                                    IWbemObjectSink* pResponseHandler) = 0;
};
OM_INTERFACE_ID(IWbemServices, IID_IWbemServices);

// Connects to a namespace of the object manager on a server ("." or empty:
// this machine).
struct IWbemLocator : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR strNetworkResource, const BSTR strUser,
                                                  const BSTR strPassword, const BSTR strLocale, long lSecurityFlags,
                                                  const BSTR strAuthority, IWbemContext* pCtx,
                                                  IWbemServices** ppNamespace) = 0;
};
OM_INTERFACE_ID(IWbemLocator, IID_IWbemLocator);

#endif  // OM_PLATFORM_WBEMCLI_H_

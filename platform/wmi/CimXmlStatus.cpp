// The CIM status codes and the WBEM HRESULTs they stand for.
#include "CimXml.h"

namespace om::wmi::cimxml {

namespace {

struct StatusPair {
  int cim;
  HRESULT hr;
};

// Each CIM status and its HRESULT; both directions.
constexpr StatusPair kStatuses[] = {
    {CIM_ERR_FAILED, WBEM_E_FAILED},
    {CIM_ERR_ACCESS_DENIED, WBEM_E_ACCESS_DENIED},
    {CIM_ERR_INVALID_NAMESPACE, WBEM_E_INVALID_NAMESPACE},
    {CIM_ERR_INVALID_PARAMETER, WBEM_E_INVALID_PARAMETER},
    {CIM_ERR_INVALID_CLASS, WBEM_E_INVALID_CLASS},
    {CIM_ERR_NOT_FOUND, WBEM_E_NOT_FOUND},
    {CIM_ERR_NOT_SUPPORTED, WBEM_E_NOT_SUPPORTED},
    {CIM_ERR_CLASS_HAS_CHILDREN, WBEM_E_CLASS_HAS_CHILDREN},
    {CIM_ERR_CLASS_HAS_INSTANCES, WBEM_E_CLASS_HAS_INSTANCES},
    {CIM_ERR_INVALID_SUPERCLASS, WBEM_E_INVALID_SUPERCLASS},
    {CIM_ERR_ALREADY_EXISTS, WBEM_E_ALREADY_EXISTS},
    {CIM_ERR_NO_SUCH_PROPERTY, WBEM_E_INVALID_PROPERTY},
    {CIM_ERR_TYPE_MISMATCH, WBEM_E_TYPE_MISMATCH},
    {CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, WBEM_E_INVALID_QUERY_TYPE},
    {CIM_ERR_INVALID_QUERY, WBEM_E_INVALID_QUERY},
    {CIM_ERR_METHOD_NOT_AVAILABLE, WBEM_E_METHOD_NOT_IMPLEMENTED},
    {CIM_ERR_METHOD_NOT_FOUND, WBEM_E_INVALID_METHOD},
};

// Other HRESULTs with a CIM status that says the same; this direction only.
constexpr StatusPair kAlsoMapped[] = {
    {CIM_ERR_INVALID_PARAMETER, WBEM_E_INVALID_OBJECT_PATH},
    {CIM_ERR_INVALID_PARAMETER, WBEM_E_INVALID_METHOD_PARAMETERS},
    {CIM_ERR_INVALID_PARAMETER, WBEM_E_ILLEGAL_NULL},
    {CIM_ERR_INVALID_CLASS, WBEM_E_NOT_EVENT_CLASS},
    {CIM_ERR_NOT_SUPPORTED, WBEM_E_PROVIDER_NOT_CAPABLE},
    {CIM_ERR_NOT_SUPPORTED, WBEM_E_QUERY_NOT_IMPLEMENTED},
    {CIM_ERR_TYPE_MISMATCH, WBEM_E_INVALID_PROPERTY_TYPE},
    {CIM_ERR_INVALID_QUERY, WBEM_E_UNPARSABLE_QUERY},
    {CIM_ERR_METHOD_NOT_AVAILABLE, WBEM_E_METHOD_DISABLED},
};

}  // namespace

int cimStatusOf(HRESULT hr) {
  if (SUCCEEDED(hr)) return 0;
  for (const StatusPair& pair : kStatuses) {
    if (pair.hr == hr) return pair.cim;
  }
  for (const StatusPair& pair : kAlsoMapped) {
    if (pair.hr == hr) return pair.cim;
  }
  return CIM_ERR_FAILED;
}

HRESULT hresultOf(int cimStatus) {
  if (cimStatus == 0) return WBEM_S_NO_ERROR;
  for (const StatusPair& pair : kStatuses) {
    if (pair.cim == cimStatus) return pair.hr;
  }
  return WBEM_E_FAILED;
}

}  // namespace om::wmi::cimxml

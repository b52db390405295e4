// Rules for declaring properties and methods that every reader of class
// definitions follows (the MOF compiler and the CIM-XML reader), so that a
// class reads back the same whichever text it came from: which qualifiers
// make a property an embedded object, and how a method's parameter list
// becomes its "__PARAMETERS" signature classes.
#ifndef OM_PLATFORM_WMI_CLASSDECLARATIONS_H_
#define OM_PLATFORM_WMI_CLASSDECLARATIONS_H_

#include <cstddef>
#include <string>
#include <vector>

#include <wbemcli.h>

#include "CimClass.h"

namespace om::wmi {

// Applies [EmbeddedInstance("X")] (a string or object becomes an embedded
// instance of X) and [EmbeddedObject] (a string becomes an embedded object
// of any class) to the base type `*base` and class `*refClass` of a
// declaration. WBEM_E_INVALID_PROPERTY_TYPE when EmbeddedInstance is given
// to another type.
HRESULT applyEmbeddingQualifiers(const QualifierList& qualifiers, CIMTYPE* base, std::u16string* refClass);

// Fills method->in and method->out from `parameters` in declaration order:
// each parameter gets an ID qualifier of its position and goes to the in
// signature when [in] or not [out], to the out signature when [out]; the
// out signature starts with "ReturnValue" of `returnType` (none for
// CIM_EMPTY, a void method), and method->returnType is set. On failure
// *failed is the index of the parameter at fault:
// WBEM_E_PARAMETER_ID_ON_RETVAL for an [out] parameter named ReturnValue,
// WBEM_E_INVALID_DUPLICATE_PARAMETER for a name given twice.
HRESULT buildMethodSignature(CIMTYPE returnType, const std::u16string& returnClass, std::vector<PropertyDef> parameters,
                             MethodDef* method, size_t* failed);

// One parameter of a method as declared: its definition (owned by the
// method's signature classes) and its directions.
struct MethodParameter {
  const PropertyDef* def = nullptr;
  bool in = false;
  bool out = false;
};

// The parameters of `method`, [in] and [out] merged by name, in the order
// of their ID qualifiers (ReturnValue left out). The definitions stay valid
// while the method's signature classes do.
std::vector<MethodParameter> methodParameters(const MethodDef& method);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CLASSDECLARATIONS_H_

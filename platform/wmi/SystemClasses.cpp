#include "SystemClasses.h"

#include <memory>
#include <utility>

#include "CimType.h"

namespace om::wmi {

PropertyDef makeProperty(std::u16string name, CIMTYPE type, std::u16string refClass) {
  PropertyDef p;
  p.name = std::move(name);
  p.type = type;
  p.refClass = std::move(refClass);
  p.defaultValue.vt = VT_NULL;
  p.qualifiers.set(u"CIMTYPE", CComVariant(cimTypeQualifierText(type, p.refClass).c_str()));
  return p;
}

namespace {

CimClass makeClass(std::u16string name, const CimClass* superclass, bool isAbstract) {
  CimClass cls(std::move(name), superclass ? std::make_shared<const CimClass>(*superclass) : nullptr);
  if (isAbstract) cls.qualifiers().setFlag(u"abstract");
  return cls;
}

}  // namespace

std::vector<CimClass> buildSystemClasses() {
  std::vector<CimClass> classes;
  classes.push_back(makeClass(u"__SystemClass", nullptr, true));

  CimClass ns = makeClass(u"__NAMESPACE", &classes[0], false);
  PropertyDef name = makeProperty(u"Name", CIM_STRING);
  name.qualifiers.setFlag(u"key");
  ns.addProperty(std::move(name));
  classes.push_back(std::move(ns));

  classes.push_back(makeClass(u"__PARAMETERS", nullptr, false));

  CimClass notify = makeClass(u"__NotifyStatus", nullptr, true);
  notify.addProperty(makeProperty(u"StatusCode", CIM_UINT32));
  classes.push_back(notify);

  CimClass extended = makeClass(u"__ExtendedStatus", &notify, false);
  for (const char16_t* property : {u"Description", u"Operation", u"ParameterInfo", u"ProviderName"}) {
    extended.addProperty(makeProperty(property, CIM_STRING));
  }
  classes.push_back(std::move(extended));

  CimClass event = makeClass(u"__Event", nullptr, true);
  event.addProperty(makeProperty(u"SECURITY_DESCRIPTOR", CIM_UINT8 | CIM_FLAG_ARRAY));
  event.addProperty(makeProperty(u"TIME_CREATED", CIM_UINT64));
  classes.push_back(event);

  classes.push_back(makeClass(u"__ExtrinsicEvent", &event, true));
  return classes;
}

}  // namespace om::wmi

#include "wbem/WbemActionFilter.h"

#include "wbem/WbemProperties.h"

const char* const WbemActionFilter::m_tszClassName = "ActionFilter";
const char* const WbemActionFilter::m_tcszPropAvailables = "Availables";
const char* const WbemActionFilter::m_tcszPropIdentifier = "Identifier";
const char* const WbemActionFilter::m_tcszPropStartTime = "StartTime";
const char* const WbemActionFilter::m_tcszPropEndTime = "EndTime";
const char* const WbemActionFilter::m_tcszPropLogType = "LogType";
const char* const WbemActionFilter::m_tcszPropLogSubType = "LogSubType";
const char* const WbemActionFilter::m_tcszPropAddress = "Address";
const char* const WbemActionFilter::m_tcszPropSysObjectId = "SysObjectID";
const char* const WbemActionFilter::m_tcszPropActionId = "ActionID";
const char* const WbemActionFilter::m_tcszPropInternalName = "InternalName";

namespace {

using Filter = ActionFilter;

// The 10 properties of "ActionFilter", in the class's order.
constexpr om::WbemProperty<Filter> kProperties[] = {
    om::property<&Filter::getAvailables, &Filter::setAvailables>(u"Availables"),
    om::property<&Filter::getId, &Filter::setId>(u"Identifier"),
    om::property<&Filter::getStartTime, &Filter::setStartTime>(u"StartTime"),
    om::property<&Filter::getEndTime, &Filter::setEndTime>(u"EndTime"),
    om::property<&Filter::getLogType, &Filter::setLogType>(u"LogType"),
    om::property<&Filter::getLogSubType, &Filter::setLogSubType>(u"LogSubType"),
    om::property<&Filter::getAddress, &Filter::setAddress>(u"Address"),
    om::property<&Filter::getSysObjectId, &Filter::setSysObjectId>(u"SysObjectID"),
    om::property<&Filter::getActionId, &Filter::setActionId>(u"ActionID"),
    om::property<&Filter::getInternalName, &Filter::setInternalName>(u"InternalName"),
};

}  // namespace

WbemActionFilter::WbemActionFilter(const ActionFilter& filter, const IWbemServices* services)
    : ActionFilter(filter), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemActionFilter::get(int identifier) {
  setId(static_cast<ULONG>(identifier));
  return get();
}

bool WbemActionFilter::get() { return getByKey(static_cast<int>(getId())); }

bool WbemActionFilter::put() { return putInstance(); }

bool WbemActionFilter::remove() { return removeByKey(static_cast<int>(getId())); }

bool WbemActionFilter::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemActionFilter::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject());
}

bool WbemActionFilter::enumActionFilter(IWbemServices* services, std::vector<ActionFilter>& filters) {
  return enumerateAll<WbemActionFilter>(services, filters);
}

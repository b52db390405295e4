// WbemActionFilter: an action filter that reads and writes itself as an
// instance of the WMI class "ActionFilter", keyed by its identifier (the
// instance ActionFilter="<identifier>"). "Availables" and "Identifier"
// travel as sint32 with their bits unchanged; "StartTime" and "EndTime" are
// datetimes with the fixed offset +540, and a missing or null one reads as
// the zero time. The class has no methods.
#ifndef OMLIB_WBEM_WBEMACTIONFILTER_H_
#define OMLIB_WBEM_WBEMACTIONFILTER_H_

#include <vector>

#include "monitor/ActionFilter.h"
#include "wbem/WbemClient.h"

// Copies share the services pointer without a reference of their own.
class WbemActionFilter : public ActionFilter, public WbemClient {
 public:
  static const char* const m_tszClassName;
  static const char* const m_tcszPropAvailables;
  static const char* const m_tcszPropIdentifier;
  static const char* const m_tcszPropStartTime;
  static const char* const m_tcszPropEndTime;
  static const char* const m_tcszPropLogType;
  static const char* const m_tcszPropLogSubType;
  static const char* const m_tcszPropAddress;
  static const char* const m_tcszPropSysObjectId;
  static const char* const m_tcszPropActionId;
  static const char* const m_tcszPropInternalName;

  explicit WbemActionFilter(IWbemServices* services) : WbemClient(services) {}
  WbemActionFilter(const ActionFilter& filter, const IWbemServices* services);

  ActionFilter& getObject() { return *this; }
  const ActionFilter& getObject() const { return *this; }
  void setObject(const ActionFilter& filter) { ActionFilter::operator=(filter); }

  tstring getClassName() const override { return m_tszClassName; }
  // Reads the instance of `identifier` (kept in the record even when the read
  // fails) / of this record's identifier.
  bool get(int identifier);
  bool get();
  // Writes this record as an instance; deletes the instance of its
  // identifier.
  bool put();
  bool remove();
  // The 10 properties in the class's order (the order of the fields).
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;

  // Appends every action filter of the server; false when the enumeration
  // cannot be started.
  static bool enumActionFilter(IWbemServices* services, std::vector<ActionFilter>& filters);
};

#endif  // OMLIB_WBEM_WBEMACTIONFILTER_H_

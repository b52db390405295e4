// WbemActionCommand: an action command that reads and writes itself as an
// instance of the WMI class "ActionCommand", keyed by its identifier (the
// instance ActionCommand="<identifier>"). The class has no methods.
#ifndef OMLIB_WBEM_WBEMACTIONCOMMAND_H_
#define OMLIB_WBEM_WBEMACTIONCOMMAND_H_

#include <vector>

#include "monitor/ActionCmd.h"
#include "wbem/WbemClient.h"

// Copies share the services pointer without a reference of their own.
class WbemActionCommand : public CActionCommand, public WbemClient {
 public:
  static const char* const m_tszClassName;
  static const char* const m_tszPropIdentifier;
  static const char* const m_tszPropIsServerSide;
  static const char* const m_tszPropCommand;
  static const char* const m_tszPropParameter;
  static const char* const m_tszPropDescription;

  explicit WbemActionCommand(IWbemServices* services) : WbemClient(services) {}
  WbemActionCommand(const CActionCommand& command, const IWbemServices* services);

  CActionCommand& getObject() { return *this; }
  const CActionCommand& getObject() const { return *this; }
  void setObject(const CActionCommand& command) { CActionCommand::operator=(command); }

  tstring getClassName() const override { return m_tszClassName; }
  // Reads the instance of `identifier` (kept in the record even when the read
  // fails) / of this record's identifier.
  bool get(int identifier);
  bool get();
  // Writes this record as an instance; deletes the instance of its
  // identifier.
  bool put();
  bool remove();
  // The 5 properties in the class's order.
  bool putToInstance(IWbemClassObject* instance) override;
  bool getFromInstance(IWbemClassObject* instance) override;

  // Appends every action command of the server; false when the enumeration
  // cannot be started.
  static bool enumActionCommand(IWbemServices* services, std::vector<CActionCommand>& commands);
};

#endif  // OMLIB_WBEM_WBEMACTIONCOMMAND_H_

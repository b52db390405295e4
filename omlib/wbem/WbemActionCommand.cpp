#include "wbem/WbemActionCommand.h"

#include "wbem/WbemProperties.h"

const char* const WbemActionCommand::m_tszClassName = "ActionCommand";
const char* const WbemActionCommand::m_tszPropIdentifier = "Identifier";
const char* const WbemActionCommand::m_tszPropIsServerSide = "IsServerSide";
const char* const WbemActionCommand::m_tszPropCommand = "Command";
const char* const WbemActionCommand::m_tszPropParameter = "Parameter";
const char* const WbemActionCommand::m_tszPropDescription = "Description";

namespace {

using Command = CActionCommand;

// The 5 properties of "ActionCommand", in the class's order.
constexpr om::WbemProperty<Command> kProperties[] = {
    om::property<&Command::getId, &Command::setId>(u"Identifier"),
    om::property<&Command::isServerSide, &Command::setServerSide>(u"IsServerSide"),
    om::property<&Command::getCommandEntity, &Command::setCommandEntity>(u"Command"),
    om::property<&Command::getParam, &Command::setParam>(u"Parameter"),
    om::property<&Command::getDescription, &Command::setDescription>(u"Description"),
};

}  // namespace

WbemActionCommand::WbemActionCommand(const CActionCommand& command, const IWbemServices* services)
    : CActionCommand(command), WbemClient(const_cast<IWbemServices*>(services)) {}

bool WbemActionCommand::get(int identifier) {
  setId(identifier);
  return get();
}

bool WbemActionCommand::get() { return getByKey(getId()); }

bool WbemActionCommand::put() { return putInstance(); }

bool WbemActionCommand::remove() { return removeByKey(getId()); }

bool WbemActionCommand::putToInstance(IWbemClassObject* instance) {
  return om::writeProperties(instance, kProperties, getObject());
}

bool WbemActionCommand::getFromInstance(IWbemClassObject* instance) {
  return om::readProperties(instance, kProperties, getObject());
}

bool WbemActionCommand::enumActionCommand(IWbemServices* services, std::vector<CActionCommand>& commands) {
  return enumerateAll<WbemActionCommand>(services, commands);
}

#include "server/LogEvents.h"

#include <wmi/ObjectManager.h>

#include "server/ServerProviders.h"

LogEvents::LogEvents(IWbemServices* services, std::shared_ptr<NetworkServer> server)
    : services_(services), server_(std::move(server)), event_(services) {
  listener_ = server_->addLogListener([this](const CLogObject& record) { fire(record); });
}

LogEvents::~LogEvents() { server_->removeLogListener(listener_); }

void LogEvents::fire(const CLogObject& record) {
  if (eventClass_ == nullptr &&
      FAILED(services_->GetObject(om::bstrOf(event_.getClassName()), 0, nullptr, &eventClass_, nullptr))) {
    return;
  }
  CComPtr<IWbemClassObject> instance;
  if (FAILED(eventClass_->SpawnInstance(0, &instance))) return;
  event_.setObject(WbemLogObject(record, services_));
  if (event_.putToInstance(instance)) om::wmi::ObjectManager::instance().fireEvent(kOrvaManagerNamespace, instance);
}

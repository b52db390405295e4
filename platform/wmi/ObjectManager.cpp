#include <wmi/ObjectManager.h>

#include <atomic>

#include "ObjectManagerCore.h"
#include "Text.h"

namespace om::wmi {
namespace {

std::atomic<bool> g_hosted{false};

}  // namespace

ObjectManager& ObjectManager::instance() {
  // Never destroyed, like the core it fronts.
  static ObjectManager* manager = new ObjectManager;
  g_hosted = true;
  return *manager;
}

bool ObjectManager::isHosted() { return g_hosted; }

ObjectManager::ObjectManager() : core_(ManagerCore::instance()) {}

HRESULT ObjectManager::loadMof(const char* path) {
  return path == nullptr ? WBEM_E_INVALID_PARAMETER : core_.loadMof(path, nullptr);
}

HRESULT ObjectManager::loadMofText(const char* text) {
  return text == nullptr ? WBEM_E_INVALID_PARAMETER : core_.loadMof(nullptr, text);
}

HRESULT ObjectManager::registerProvider(LPCWSTR nameSpace, LPCWSTR className, IWbemServices* provider) {
  return core_.registerProvider(wideView(nameSpace), wideView(className), provider);
}

HRESULT ObjectManager::unregisterProvider(LPCWSTR nameSpace, LPCWSTR className) {
  return core_.unregisterProvider(wideView(nameSpace), wideView(className));
}

HRESULT ObjectManager::fireEvent(LPCWSTR nameSpace, IWbemClassObject* event) {
  return core_.fireEvent(wideView(nameSpace), event);
}

void ObjectManager::setEventQueueLimit(std::size_t limit) { core_.setEventQueueLimit(limit); }

std::uint64_t ObjectManager::droppedEventCount() const { return core_.droppedEventCount(); }

void ObjectManager::shutdown() { core_.shutdown(); }

}  // namespace om::wmi

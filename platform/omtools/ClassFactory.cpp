#include <omtools/ClassFactory.h>

ClassFactory& ClassFactory::instance() {
  static ClassFactory* factory = new ClassFactory;  // never destroyed: used by static objects
  return *factory;
}

bool ClassFactory::registerCreator(uint32_t id, Creator creator) {
  std::lock_guard<std::mutex> lock(mu_);
  return creator != nullptr && creators_.emplace(id, creator).second;
}

bool ClassFactory::unregisterCreator(uint32_t id) {
  std::lock_guard<std::mutex> lock(mu_);
  return creators_.erase(id) > 0;
}

bool ClassFactory::isRegistered(uint32_t id) const {
  std::lock_guard<std::mutex> lock(mu_);
  return creators_.count(id) > 0;
}

Persistable* ClassFactory::create(uint32_t id) const {
  Creator creator = nullptr;
  {
    std::lock_guard<std::mutex> lock(mu_);
    const auto it = creators_.find(id);
    if (it == creators_.end()) return nullptr;
    creator = it->second;
  }
  return creator();
}

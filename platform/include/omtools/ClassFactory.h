// ClassFactory: the process-wide registry of Persistable creators by class id,
// which Persistable::restore uses to make the object of a stored class.
#ifndef OM_PLATFORM_OMTOOLS_CLASSFACTORY_H_
#define OM_PLATFORM_OMTOOLS_CLASSFACTORY_H_

#include <cstdint>
#include <map>
#include <mutex>

class Persistable;

class ClassFactory {
 public:
  typedef Persistable* (*Creator)();

  static ClassFactory& instance();

  // False when `id` already has a creator.
  bool registerCreator(uint32_t id, Creator creator);
  bool unregisterCreator(uint32_t id);
  bool isRegistered(uint32_t id) const;

  // A new object of class `id`, owned by the caller; null for an unknown id.
  Persistable* create(uint32_t id) const;

 private:
  ClassFactory() = default;

  mutable std::mutex mu_;
  std::map<uint32_t, Creator> creators_;
};

// Registers T (default-constructible) under `id` when constructed; meant for
// a static object in the class's own source file.
template <class T>
class ClassRegistrar {
 public:
  explicit ClassRegistrar(uint32_t id) {
    ClassFactory::instance().registerCreator(id, []() -> Persistable* { return new T; });
  }
};

#endif  // OM_PLATFORM_OMTOOLS_CLASSFACTORY_H_

// Hosting the object manager in a process. A program that hosts providers
// (or a test) takes the process's manager with ObjectManager::instance(),
// loads its class definitions from MOF, registers its providers and fires its
// events; from then on IWbemLocator::ConnectServer on this machine ("." and
// its other spellings) reaches this manager, and everything else goes through
// the Windows interfaces (IWbemServices, IWbemClassObject, ...).
//
// The manager starts with the namespaces root, root\default, root\Velmoran
// and root\Velmoran\OrvaManager. Asynchronous calls and event deliveries run
// on worker threads that the manager starts when first needed.
#ifndef OM_PLATFORM_WMI_OBJECTMANAGER_H_
#define OM_PLATFORM_WMI_OBJECTMANAGER_H_

#include <cstddef>
#include <cstdint>

#include <wbemcli.h>

namespace om::wmi {

class ManagerCore;

class ObjectManager {
 public:
  // The process's manager, created on first use and never destroyed.
  static ObjectManager& instance();
  // True once instance() has been called in this process.
  static bool isHosted();

  ObjectManager(const ObjectManager&) = delete;
  ObjectManager& operator=(const ObjectManager&) = delete;

  // Compiles MOF (a file, or UTF-8 text) into the class repository and
  // stores its `instance of` declarations as PutInstance would (through the
  // class's provider when it has one). Text without a namespace pragma goes
  // to root\default. The MOF compiler's status on failure.
  HRESULT loadMof(const char* path);
  HRESULT loadMofText(const char* text);

  // Makes `provider` serve the instances and methods of the class, and of
  // its subclasses that have no provider of their own. The manager calls its
  // *Async methods and holds a reference until unregisterProvider or
  // shutdown. WBEM_E_INVALID_NAMESPACE, WBEM_E_INVALID_CLASS,
  // WBEM_E_INVALID_PARAMETER (null provider),
  // WBEM_E_PROVIDER_ALREADY_REGISTERED.
  HRESULT registerProvider(LPCWSTR nameSpace, LPCWSTR className, IWbemServices* provider);
  // WBEM_E_PROVIDER_NOT_REGISTERED when the class has no provider of its own.
  HRESULT unregisterProvider(LPCWSTR nameSpace, LPCWSTR className);

  // Delivers an extrinsic event (an instance of a class derived from
  // __Event) to every subscription of the namespace whose query selects it.
  // Never waits for a subscriber: each has its own queue, and when a queue is
  // full its oldest event is dropped and counted. The event is copied; the
  // caller keeps its object. WBEM_E_INVALID_NAMESPACE,
  // WBEM_E_INVALID_PARAMETER (null, or not an instance of this manager),
  // WBEM_E_INVALID_CLASS (its class is not one of the namespace),
  // WBEM_E_NOT_EVENT_CLASS.
  HRESULT fireEvent(LPCWSTR nameSpace, IWbemClassObject* event);

  // How many events one subscription may have waiting (1000 at start; at
  // least 1).
  void setEventQueueLimit(std::size_t limit);
  // Events dropped from full subscription queues since start or shutdown().
  std::uint64_t droppedEventCount() const;

  // Cancels every call and subscription under way (their sinks get
  // WBEM_E_CALL_CANCELLED), joins the worker threads, releases the providers,
  // and forgets every class, instance and namespace but the initial ones.
  // The manager can be used again afterwards. Must not be called from a
  // provider or a sink.
  void shutdown();

 private:
  ObjectManager();
  ~ObjectManager() = default;

  ManagerCore& core_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_OBJECTMANAGER_H_

// The object manager behind ObjectManager and IWbemServices: the class
// repository, the instance store, the providers, the event subscriptions,
// the calls under way and the worker threads, and the operations every
// IWbemServices call comes down to.
//
// Each operation takes a Call and ends it: it reports the outcome to the
// call's sink, or hands the sink to a provider, which reports it (and when
// the provider returns a failure without having done so, the operation
// reports that failure itself). Operations run on the caller's thread for
// synchronous calls and on a worker for asynchronous ones.
#ifndef OM_PLATFORM_WMI_OBJECTMANAGERCORE_H_
#define OM_PLATFORM_WMI_OBJECTMANAGERCORE_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <atlcomcli.h>
#include <wbemcli.h>

#include "Call.h"
#include "CallSink.h"
#include "ClassRepository.h"
#include "EventHub.h"
#include "InstanceStore.h"
#include "ObjectPath.h"
#include "ServiceOperations.h"
#include "WorkerPool.h"
#include "Wql.h"

namespace om::wmi {

// True for the names this machine goes by: ".", "localhost" and its host name
// (case-insensitive).
bool isLocalServer(std::u16string_view server);

// Splits a namespace path ("\\server\root\a", with either kind of slash)
// into its server (empty when the path names none) and namespace.
void splitNamespacePath(std::u16string_view text, std::u16string* server, std::u16string* nameSpace);

// Parses a WQL query of the call's namespace and finds the class it names;
// ends the call and returns null when the language, the text, the class or a
// property name is wrong.
std::shared_ptr<const WqlQuery> parseQueryFor(const Call& call, const ClassRepository& repository,
                                              const std::u16string& language, const std::u16string& text,
                                              ClassPtr* cls);

class ManagerCore final : public ServiceOperations {
 public:
  // The process's core, created on first use and never destroyed.
  static ManagerCore& instance();

  ManagerCore(const ManagerCore&) = delete;
  ManagerCore& operator=(const ManagerCore&) = delete;

  // ---- Hosting (see ObjectManager) ----
  HRESULT loadMof(const char* path, const char* text);
  HRESULT registerProvider(std::u16string_view nameSpace, std::u16string_view className, IWbemServices* provider);
  HRESULT unregisterProvider(std::u16string_view nameSpace, std::u16string_view className);
  HRESULT fireEvent(std::u16string_view nameSpace, IWbemClassObject* event);
  void setEventQueueLimit(std::size_t limit) { events_.setQueueLimit(limit); }
  std::size_t eventQueueLimit() const { return events_.queueLimit(); }
  std::uint64_t droppedEventCount() const { return events_.dropped(); }
  void countDroppedEvent() { events_.countDropped(); }
  void shutdown();

  // ---- Calls ----
  const ClassRepository& repository() const { return repository_; }
  // The namespace as stored ("root\Velmoran"), or empty when it does not
  // exist.
  std::u16string existingNamespace(std::u16string_view path) const;

  // A call in `nameSpace` whose results go to `target`. A `cancellable` call
  // is listed for CancelAsyncCall until it ends.
  Call newCall(std::u16string nameSpace, std::u16string operation, std::u16string parameterInfo, long flags,
               IWbemContext* context, IWbemObjectSink* target, bool cancellable);
  // Runs `operation` for the call on a worker. WBEM_E_SHUTTING_DOWN (and the
  // call ended so) when the workers are stopping.
  HRESULT runAsync(Call call, std::function<void(const Call&)> operation);
  // Runs a task on a worker; false while shutting down.
  bool post(std::function<void()> task) { return pool_.post(std::move(task)); }
  // Cancels the calls made with `sink`; WBEM_E_NOT_FOUND when none is under
  // way.
  HRESULT cancel(IWbemObjectSink* sink);

  // ---- Operations (ServiceOperations) ----
  HRESULT findNamespace(std::u16string_view path, std::u16string* stored) override;
  void getObject(const Call& call, const std::u16string& path) override;
  void putInstance(const Call& call, IWbemClassObject* instance) override;
  void deleteInstance(const Call& call, const std::u16string& path) override;
  void createInstanceEnum(const Call& call, const std::u16string& className) override;
  void execQuery(const Call& call, const std::u16string& language, const std::u16string& query) override;
  void execMethod(const Call& call, const std::u16string& path, const std::u16string& method,
                  IWbemClassObject* in) override;
  void execNotificationQuery(const Call& call, const std::u16string& language,
                             const std::u16string& query) override;
  void putClass(const Call& call, IWbemClassObject* object) override;
  void deleteClass(const Call& call, const std::u16string& className) override;
  void createClassEnum(const Call& call, const std::u16string& superclass) override;

 private:
  // Who serves the instances of a class.
  struct Source {
    enum class Kind { kStore, kNamespaces, kProvider };
    Kind kind = Kind::kStore;
    CComPtr<IWbemServices> provider;
    std::u16string providerClass;  // the class the provider is registered for
  };

  ManagerCore();
  ~ManagerCore() override = default;

  void createInitialNamespaces();
  Source sourceFor(std::u16string_view nameSpace, const CimClass& cls) const;
  // Resolves a path's server and namespace against the call's namespace,
  // finds its class (`missingClass` when there is none) and puts an instance
  // path in canonical form; ends the call and returns null on failure.
  ClassPtr resolvePath(const Call& call, const std::u16string& text, HRESULT missingClass, ObjectPath* path,
                       std::u16string* nameSpace) const;
  // The classes an enumeration of `cls` covers, grouped by source: each
  // provider once (with the topmost class it serves), the store and the
  // namespace list with every class they serve.
  struct EnumerationPart {
    Source source;
    std::vector<ClassPtr> classes;
  };
  std::vector<EnumerationPart> enumerationParts(std::u16string_view nameSpace, const ClassPtr& cls,
                                                bool deep) const;
  // Delivers the instances of a store or namespace-list part to `sink` and
  // ends it.
  void enumerateLocal(const EnumerationPart& part, std::u16string_view nameSpace, IWbemObjectSink* sink);
  void putNamespace(const Call& call, IWbemClassObject* instance);
  // The __NAMESPACE instances of the namespaces directly below `nameSpace`.
  std::vector<CComPtr<IWbemClassObject>> namespaceInstances(std::u16string_view nameSpace,
                                                            const ClassPtr& cls) const;
  // Deletes a class's store instances and those of its subclasses.
  void forgetInstances(std::u16string_view nameSpace, std::u16string_view className);

  ClassRepository repository_;
  InstanceStore store_;
  WorkerPool pool_;
  EventHub events_;
  CallTable calls_;
  std::atomic<bool> shuttingDown_{false};
  mutable std::mutex providersMutex_;
  // By "namespace:class", case-folded.
  std::map<std::u16string, Source> providers_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_OBJECTMANAGERCORE_H_

// A connection to another server's object manager through its CIM-XML
// endpoint: each IWbemServices operation becomes one CIM operation over
// HTTP (GetClass, GetInstance, EnumerateInstances, ExecQuery,
// CreateInstance, ModifyInstance, DeleteInstance, EnumerateClasses, a
// METHODCALL), and the reply is turned back into objects for the call's
// sink. Class definitions are fetched once per class and kept, placed on
// the server, so that instances read back with their class's keys, methods,
// qualifiers and paths.
//
// Context values (IWbemContext) travel as parameters named
// "__Context.<name>" holding "<type>:<text>" (i4, bool or str), which the
// endpoint turns back into a context for the server's providers.
//
// Events: an event query subscribes with the endpoint's event queue and
// then pulls the queue's events over the same connection (see
// EventQueue.h); each event reaches the sink once and in order. When the
// server cannot be reached for a pull, the call ends with that failure.
#ifndef OM_PLATFORM_WMI_REMOTECONNECTION_H_
#define OM_PLATFORM_WMI_REMOTECONNECTION_H_

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "CimXml.h"
#include "HttpClient.h"
#include "ServiceOperations.h"
#include "Text.h"

namespace om::wmi {

class RemoteConnection final : public ServiceOperations {
 public:
  // `serverName`: the server's name in the paths of the objects it sends
  // (__SERVER, __PATH).
  RemoteConnection(HttpTarget target, std::u16string serverName)
      : http_(std::move(target)), serverName_(std::move(serverName)) {}
  // Ends the event subscriptions and waits for their threads.
  ~RemoteConnection() override;

  // Checks that the server answers, accepts the credentials and has the
  // namespace (by fetching its __ExtendedStatus class, which every
  // namespace has and failures need). The HRESULT, with `error` saying what
  // happened.
  HRESULT open(std::u16string_view nameSpace, std::u16string* stored, std::u16string* error);

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
  struct Outcome {
    HRESULT hr = WBEM_S_NO_ERROR;
    std::u16string text;                  // what went wrong
    CComPtr<IWbemClassObject> status;     // the server's __ExtendedStatus, when it sent one
  };

  cimxml::Request newRequest(const Call& call, bool intrinsic, std::u16string method);
  // Sends the request and reads the reply; a failure of the transport, the
  // protocol or the server's operation is in the outcome.
  Outcome exchange(const cimxml::Request& request, cimxml::Response* response, long timeoutMs = 0);
  // exchange() with the call's context values added to the request.
  Outcome send(const Call& call, cimxml::Request* request, cimxml::Response* response);
  // Ends the call with the outcome's failure.
  static void fail(const Call& call, const Outcome& outcome);
  // Runs `request` and hands the objects of a successful reply to the sink.
  void deliver(const Call& call, cimxml::Request request);

  cimxml::ClassResolver resolverFor(std::u16string nameSpace);
  // The class's definition from the cache, or fetched with GetClass.
  Outcome fetchClass(const std::u16string& nameSpace, std::u16string_view className, ClassPtr* definition);
  // fetchClass, null on any failure.
  ClassPtr classOf(const std::u16string& nameSpace, std::u16string_view className);

  // One event query under way: shared by its puller and the call's cancel
  // handler, which ends the server's subscription at once (as a cancel of
  // a remote call reaches its server before it returns).
  struct Subscription {
    std::mutex mutex;
    RemoteConnection* connection;  // null once the puller has ended
    Call call;
    std::u16string id;
    bool cancelled = false;
  };

  // Pulls the subscription's events until the call is cancelled or the
  // connection closes.
  void pullEvents(const std::shared_ptr<Subscription>& subscription);
  void unsubscribe(const Call& call, const std::u16string& id);

  HttpClient http_;
  const std::u16string serverName_;
  std::atomic<unsigned> nextId_{1};
  std::mutex classesMutex_;
  // By "namespace:class", case-folded.
  std::unordered_map<std::u16string, ClassPtr> classes_;

  std::mutex eventsMutex_;
  std::condition_variable eventsChanged_;
  bool closing_ = false;
  std::vector<std::thread> pullers_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_REMOTECONNECTION_H_

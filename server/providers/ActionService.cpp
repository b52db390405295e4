#include "server/providers/ActionService.h"

#include <vector>

#include "wbem/WbemActionCommand.h"
#include "wbem/WbemActionFilter.h"

struct ActionCommandKind {
  using Wrapper = WbemActionCommand;
  using Record = CActionCommand;
  static int idOf(const Record& command) { return command.getId(); }
  static std::vector<Record> list(ActionStore& store) { return store.listCommands(); }
  static bool find(ActionStore& store, int id, Record& out) { return store.findCommand(id, out); }
  static void put(ActionStore& store, const Record& command) { store.putCommand(command); }
  static bool remove(ActionStore& store, int id) { return store.removeCommand(id); }
};

struct ActionFilterKind {
  using Wrapper = WbemActionFilter;
  using Record = ActionFilter;
  static int idOf(const Record& filter) { return static_cast<int>(filter.getId()); }
  static std::vector<Record> list(ActionStore& store) { return store.listFilters(); }
  static bool find(ActionStore& store, int id, Record& out) { return store.findFilter(static_cast<ULONG>(id), out); }
  static void put(ActionStore& store, const Record& filter) { store.putFilter(filter); }
  static bool remove(ActionStore& store, int id) { return store.removeFilter(static_cast<ULONG>(id)); }
};

template <class Kind>
HRESULT ActionService<Kind>::GetObjectAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  int id = 0;
  if (!integerKeyOfPath(path, id)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  typename Kind::Wrapper record(services_);
  if (!Kind::find(*server_->actions, id, record.getObject())) return finish(sink, WBEM_E_NOT_FOUND);
  return finish(sink, indicateInstance(services_, record, sink));
}

template <class Kind>
HRESULT ActionService<Kind>::PutInstanceAsync(IWbemClassObject* instance, long, IWbemContext*,
                                              IWbemObjectSink* sink) {
  typename Kind::Wrapper record(services_);
  if (!record.getFromInstance(instance) || Kind::idOf(record) == 0) return finish(sink, WBEM_E_INVALID_PARAMETER);
  Kind::put(*server_->actions, record);
  return finish(sink, WBEM_S_NO_ERROR);
}

template <class Kind>
HRESULT ActionService<Kind>::DeleteInstanceAsync(const BSTR path, long, IWbemContext*, IWbemObjectSink* sink) {
  int id = 0;
  if (!integerKeyOfPath(path, id)) return finish(sink, WBEM_E_INVALID_OBJECT_PATH);
  return finish(sink, Kind::remove(*server_->actions, id) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND);
}

template <class Kind>
HRESULT ActionService<Kind>::CreateInstanceEnumAsync(const BSTR, long, IWbemContext*, IWbemObjectSink* sink) {
  typename Kind::Wrapper record(services_);
  InstanceBatch batch(services_, record.getClassName(), sink);
  HRESULT hr = WBEM_S_NO_ERROR;
  for (const typename Kind::Record& each : Kind::list(*server_->actions)) {
    record.setObject(each);
    hr = batch.add(record);
    if (FAILED(hr)) break;
  }
  return batch.finish(hr);
}

template class ActionService<ActionCommandKind>;
template class ActionService<ActionFilterKind>;

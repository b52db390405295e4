#include "ObjectManagerCore.h"

#include <utility>

#include "CimObject.h"
#include "MofCompiler.h"
#include "SyncCall.h"
#include "Text.h"

namespace om::wmi {
namespace {

// The most worker threads the manager runs at once.
constexpr std::size_t kMaxWorkers = 16;

constexpr std::u16string_view kInitialNamespaces[] = {u"root\\default", u"root\\Velmoran\\OrvaManager"};

std::u16string providerKey(std::u16string_view nameSpace, std::u16string_view className) {
  return foldCase(nameSpace) + u":" + foldCase(className);
}

}  // namespace

bool isLocalServer(std::u16string_view server) {
  return server == u"." || equalsNoCase(server, u"localhost") || equalsNoCase(server, ClassRepository::serverName());
}

void splitNamespacePath(std::u16string_view text, std::u16string* server, std::u16string* nameSpace) {
  const auto isSlash = [](char16_t c) { return c == u'\\' || c == u'/'; };
  server->clear();
  if (text.size() >= 2 && isSlash(text[0]) && isSlash(text[1])) {
    text.remove_prefix(2);
    std::size_t end = 0;
    while (end < text.size() && !isSlash(text[end])) ++end;
    server->assign(text.substr(0, end));
    text.remove_prefix(end);
  }
  nameSpace->assign(text);
}

ManagerCore& ManagerCore::instance() {
  // Never destroyed: objects released late in the process's exit may still
  // call into it.
  static ManagerCore* core = new ManagerCore;
  return *core;
}

ManagerCore::ManagerCore() : pool_(kMaxWorkers), events_(pool_) { createInitialNamespaces(); }

void ManagerCore::createInitialNamespaces() {
  for (std::u16string_view path : kInitialNamespaces) repository_.createNamespace(path);
}

std::u16string ManagerCore::existingNamespace(std::u16string_view path) const {
  return repository_.namespaceName(ClassRepository::normalizeNamespace(path));
}

HRESULT ManagerCore::findNamespace(std::u16string_view path, std::u16string* stored) {
  *stored = existingNamespace(path);
  return stored->empty() ? WBEM_E_INVALID_NAMESPACE : WBEM_S_NO_ERROR;
}

// ---- Hosting ---------------------------------------------------------------------------

HRESULT ManagerCore::loadMof(const char* path, const char* text) {
  MofCompiler compiler(repository_);
  MofResult result;
  const HRESULT hr = path != nullptr ? compiler.compileFile(path, &result) : compiler.compile(text, &result);
  if (FAILED(hr)) return hr;
  for (const MofInstance& declared : result.instances) {
    SyncCall put(*this, existingNamespace(declared.nameSpace), u"PutInstance", u"", 0, nullptr);
    put.run([&](const Call& call) { putInstance(call, declared.object); });
    const HRESULT stored = put.done(nullptr);
    if (FAILED(stored)) return stored;
  }
  return WBEM_S_NO_ERROR;
}

HRESULT ManagerCore::registerProvider(std::u16string_view nameSpace, std::u16string_view className,
                                      IWbemServices* provider) {
  if (provider == nullptr) return WBEM_E_INVALID_PARAMETER;
  const std::u16string ns = existingNamespace(nameSpace);
  if (ns.empty()) return WBEM_E_INVALID_NAMESPACE;
  const ClassPtr cls = repository_.findClass(ns, className);
  if (cls == nullptr) return WBEM_E_INVALID_CLASS;
  Source source;
  source.kind = Source::Kind::kProvider;
  source.provider = provider;
  source.providerClass = cls->name();
  std::lock_guard<std::mutex> lock(providersMutex_);
  if (!providers_.emplace(providerKey(ns, cls->name()), source).second) return WBEM_E_PROVIDER_ALREADY_REGISTERED;
  return WBEM_S_NO_ERROR;
}

HRESULT ManagerCore::unregisterProvider(std::u16string_view nameSpace, std::u16string_view className) {
  Source removed;  // the provider is released after the lock
  std::lock_guard<std::mutex> lock(providersMutex_);
  const auto it = providers_.find(providerKey(ClassRepository::normalizeNamespace(nameSpace), className));
  if (it == providers_.end()) return WBEM_E_PROVIDER_NOT_REGISTERED;
  removed.provider.Attach(it->second.provider.Detach());
  providers_.erase(it);
  return WBEM_S_NO_ERROR;
}

HRESULT ManagerCore::fireEvent(std::u16string_view nameSpace, IWbemClassObject* event) {
  const std::u16string ns = existingNamespace(nameSpace);
  if (ns.empty()) return WBEM_E_INVALID_NAMESPACE;
  const CimObject* object = CimObject::from(event);
  if (object == nullptr || !object->isInstance()) return WBEM_E_INVALID_PARAMETER;
  const ClassPtr cls = object->definition();
  if (repository_.findClass(ns, cls->name()) == nullptr) return WBEM_E_INVALID_CLASS;
  if (!cls->isA(u"__Event")) return WBEM_E_NOT_EVENT_CLASS;
  // One copy for every subscriber: the provider may change its object as
  // soon as this returns.
  CComPtr<IWbemClassObject> snapshot;
  if (FAILED(event->Clone(&snapshot))) return WBEM_E_OUT_OF_MEMORY;
  events_.fire(ns, *cls, snapshot);
  return WBEM_S_NO_ERROR;
}

void ManagerCore::shutdown() {
  shuttingDown_ = true;
  calls_.cancelAll();
  pool_.stop();
  events_.clear();
  std::map<std::u16string, Source> providers;
  {
    std::lock_guard<std::mutex> lock(providersMutex_);
    providers.swap(providers_);
  }
  providers.clear();
  store_.clear();
  for (const std::u16string& child : repository_.childNamespaces(u"root")) {
    repository_.deleteNamespace(u"root\\" + child);
  }
  for (const ClassPtr& cls : repository_.subclasses(u"root", u"", false)) repository_.deleteClass(u"root", cls->name());
  createInitialNamespaces();
  shuttingDown_ = false;
}

// ---- Calls --------------------------------------------------------------------------------

Call ManagerCore::newCall(std::u16string nameSpace, std::u16string operation, std::u16string parameterInfo,
                          long flags, IWbemContext* context, IWbemObjectSink* target, bool cancellable) {
  Call call;
  call.nameSpace = std::move(nameSpace);
  call.flags = flags;
  call.context = context;
  call.info = std::make_shared<CallInfo>();
  call.info->operation = std::move(operation);
  call.info->parameterInfo = std::move(parameterInfo);
  call.info->providerName = std::u16string(kManagerName);
  auto describe = [this, ns = call.nameSpace, info = call.info](HRESULT hr, BSTR text) {
    return makeExtendedStatus(repository_, ns, *info, hr, bstrView(text));
  };
  call.sink.Attach(new CallSink(target, std::move(describe), cancellable ? &calls_ : nullptr));
  return call;
}

HRESULT ManagerCore::runAsync(Call call, std::function<void(const Call&)> operation) {
  const bool posted = !shuttingDown_ && pool_.post([call, operation = std::move(operation)] {
    if (call.sink->isOpen()) operation(call);
  });
  if (posted) return WBEM_S_NO_ERROR;
  call.fail(WBEM_E_SHUTTING_DOWN, u"The object manager is shutting down.");
  return WBEM_E_SHUTTING_DOWN;
}

HRESULT ManagerCore::cancel(IWbemObjectSink* sink) {
  if (sink == nullptr) return WBEM_E_INVALID_PARAMETER;
  return calls_.cancel(sink) ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND;
}

// ---- Sources --------------------------------------------------------------------------------

ManagerCore::Source ManagerCore::sourceFor(std::u16string_view nameSpace, const CimClass& cls) const {
  {
    std::lock_guard<std::mutex> lock(providersMutex_);
    for (const CimClass* c = &cls; c != nullptr; c = c->superclass().get()) {
      const auto it = providers_.find(providerKey(nameSpace, c->name()));
      if (it != providers_.end()) return it->second;
    }
  }
  Source source;
  source.kind = cls.isA(u"__NAMESPACE") ? Source::Kind::kNamespaces : Source::Kind::kStore;
  return source;
}

std::vector<ManagerCore::EnumerationPart> ManagerCore::enumerationParts(std::u16string_view nameSpace,
                                                                          const ClassPtr& cls, bool deep) const {
  std::vector<ClassPtr> classes{cls};
  if (deep) {
    for (const ClassPtr& sub : repository_.subclasses(nameSpace, cls->name(), true)) classes.push_back(sub);
  }
  std::vector<EnumerationPart> parts;
  for (const ClassPtr& c : classes) {
    Source source = sourceFor(nameSpace, *c);
    EnumerationPart* part = nullptr;
    for (EnumerationPart& p : parts) {
      const bool same = p.source.kind == source.kind &&
                        (source.kind != Source::Kind::kProvider || p.source.provider == source.provider.p);
      if (same) part = &p;
    }
    if (part == nullptr) {
      parts.push_back(EnumerationPart{source, {}});
      part = &parts.back();
    }
    part->classes.push_back(c);
  }
  return parts;
}

}  // namespace om::wmi

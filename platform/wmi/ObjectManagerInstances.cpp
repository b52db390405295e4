// The instance operations of the object manager: GetObject, PutInstance,
// DeleteInstance, CreateInstanceEnum and ExecQuery, each served by the
// class's provider, the instance store, or (for __NAMESPACE) the namespace
// tree.
#include <algorithm>
#include <memory>
#include <string>

#include "CimObject.h"
#include "ObjectManagerCore.h"
#include "QuerySinks.h"
#include "Text.h"
#include "Wql.h"

namespace om::wmi {
namespace {

// Objects handed to a sink in one Indicate at most.
constexpr std::size_t kBatch = 256;

void indicateAll(IWbemObjectSink* sink, const std::vector<CComPtr<IWbemClassObject>>& objects) {
  std::vector<IWbemClassObject*> batch;
  for (std::size_t i = 0; i < objects.size(); i += batch.size()) {
    batch.clear();
    for (std::size_t j = i; j < objects.size() && batch.size() < kBatch; ++j) batch.push_back(objects[j]);
    if (FAILED(sink->Indicate(static_cast<long>(batch.size()), batch.data()))) return;
  }
}

void indicateOne(IWbemObjectSink* sink, IWbemClassObject* object) { sink->Indicate(1, &object); }

void endWith(IWbemObjectSink* sink, HRESULT hr) { sink->SetStatus(WBEM_STATUS_COMPLETE, hr, nullptr, nullptr); }

// A provider that returned a failure may not have reported it.
void endOnFailure(IWbemObjectSink* sink, HRESULT hr) {
  if (FAILED(hr)) endWith(sink, hr);
}

CComBSTR bstrOf(std::u16string_view text) {
  CComBSTR out;
  out.Attach(allocBstr(text));
  return out;
}

// True when every property the query names (in its SELECT list and, for
// the first step of each path, in its WHERE clause) belongs to the class or
// is a system property.
bool namesKnownProperty(const CimClass& cls, std::u16string_view name) {
  return name.starts_with(u"__") || cls.property(name) != nullptr;
}

bool conditionNamesKnown(const CimClass& cls, const WqlCondition* condition, std::u16string* unknown) {
  if (condition == nullptr) return true;
  if (condition->kind != WqlCondition::Kind::Compare) {
    return std::all_of(condition->operands.begin(), condition->operands.end(),
                       [&](const auto& operand) { return conditionNamesKnown(cls, operand.get(), unknown); });
  }
  if (namesKnownProperty(cls, condition->property.front())) return true;
  *unknown = condition->property.front();
  return false;
}

}  // namespace

std::shared_ptr<const WqlQuery> parseQueryFor(const Call& call, const ClassRepository& repository,
                                              const std::u16string& language, const std::u16string& text,
                                              ClassPtr* cls) {
  if (!equalsNoCase(language, u"WQL")) {
    call.fail(WBEM_E_INVALID_QUERY_TYPE, u"The query language " + language + u" is not supported; use WQL.");
    return nullptr;
  }
  auto query = std::make_shared<WqlQuery>();
  WqlError error;
  if (!parseWql(text, query.get(), &error)) {
    call.fail(WBEM_E_INVALID_QUERY,
              u"The query is not valid WQL at offset " + toU16(std::to_string(error.position)) + u": " +
                  toU16(error.message) + u".");
    return nullptr;
  }
  *cls = repository.findClass(call.nameSpace, query->className);
  if (*cls == nullptr) {
    call.fail(WBEM_E_INVALID_CLASS, u"The class " + query->className + u" does not exist.");
    return nullptr;
  }
  std::u16string unknown;
  for (const std::u16string& name : query->properties) {
    if (!namesKnownProperty(**cls, name)) unknown = name;
  }
  if (unknown.empty()) conditionNamesKnown(**cls, query->where.get(), &unknown);
  if (!unknown.empty()) {
    call.fail(WBEM_E_INVALID_QUERY, u"The class " + (*cls)->name() + u" has no property " + unknown + u".");
    return nullptr;
  }
  return query;
}

ClassPtr ManagerCore::resolvePath(const Call& call, const std::u16string& text, HRESULT missingClass,
                                  ObjectPath* path, std::u16string* nameSpace) const {
  HRESULT hr = parseObjectPath(text, path);
  if (FAILED(hr)) {
    call.fail(hr, u"The object path " + text + u" is not valid.");
    return nullptr;
  }
  if (!path->server.empty() && !isLocalServer(path->server)) {
    call.fail(WBEM_E_TRANSPORT_FAILURE, u"The server " + path->server + u" cannot be reached.");
    return nullptr;
  }
  *nameSpace = path->nameSpace.empty() ? call.nameSpace : existingNamespace(path->nameSpace);
  if (nameSpace->empty()) {
    call.fail(WBEM_E_INVALID_NAMESPACE, u"The namespace " + path->nameSpace + u" does not exist.");
    return nullptr;
  }
  ClassPtr cls = repository_.findClass(*nameSpace, path->className);
  if (cls == nullptr) {
    call.fail(missingClass, u"The class " + path->className + u" does not exist.");
    return nullptr;
  }
  if (path->isInstancePath()) {
    hr = canonicalizeInstancePath(*cls, path);
    if (FAILED(hr)) {
      call.fail(hr, u"The object path " + text + u" does not match the keys of " + cls->name() + u".");
      return nullptr;
    }
  }
  return cls;
}

void ManagerCore::getObject(const Call& call, const std::u16string& text) {
  ObjectPath path;
  std::u16string ns;
  const ClassPtr cls = resolvePath(call, text, WBEM_E_NOT_FOUND, &path, &ns);
  if (cls == nullptr) return;
  if (path.isClassPath()) {
    indicateOne(call.sink, CimObject::newClass(cls));
    call.succeed();
    return;
  }
  const Source source = sourceFor(ns, *cls);
  if (source.kind == Source::Kind::kProvider) {
    call.info->providerName = source.providerClass;
    endOnFailure(call.sink, source.provider->GetObjectAsync(bstrOf(text), call.flags, call.context, call.sink));
    return;
  }
  CComPtr<IWbemClassObject> found;
  if (source.kind == Source::Kind::kNamespaces) {
    for (const CComPtr<IWbemClassObject>& child : namespaceInstances(ns, cls)) {
      const CimObject* object = CimObject::from(child);
      if (object != nullptr && equalsNoCase(object->relPath(), path.relPath())) found = child;
    }
  } else {
    // An instance of a subclass is found by the path of any of its classes.
    std::vector<ClassPtr> classes{cls};
    for (const ClassPtr& sub : repository_.subclasses(ns, cls->name(), true)) classes.push_back(sub);
    for (const ClassPtr& c : classes) {
      ObjectPath candidate = path;
      candidate.className = c->name();
      found.Attach(store_.get(ns, candidate).Detach());
      if (found != nullptr) break;
    }
  }
  if (found == nullptr) {
    call.fail(WBEM_E_NOT_FOUND, u"The instance " + path.relPath() + u" does not exist.");
    return;
  }
  indicateOne(call.sink, found);
  call.succeed();
}

void ManagerCore::putInstance(const Call& call, IWbemClassObject* instance) {
  const CimObject* object = CimObject::from(instance);
  if (object == nullptr || !object->isInstance()) {
    call.fail(WBEM_E_INVALID_PARAMETER, u"PutInstance needs an instance made by this object manager.");
    return;
  }
  if ((call.flags & (WBEM_FLAG_CREATE_ONLY | WBEM_FLAG_UPDATE_ONLY)) ==
      (WBEM_FLAG_CREATE_ONLY | WBEM_FLAG_UPDATE_ONLY)) {
    call.fail(WBEM_E_INVALID_PARAMETER, u"WBEM_FLAG_CREATE_ONLY and WBEM_FLAG_UPDATE_ONLY exclude each other.");
    return;
  }
  const ClassPtr cls = repository_.findClass(call.nameSpace, object->className());
  if (cls == nullptr) {
    call.fail(WBEM_E_INVALID_CLASS, u"The class " + object->className() + u" does not exist in " + call.nameSpace + u".");
    return;
  }
  if (cls->isAbstract()) {
    call.fail(WBEM_E_INVALID_OPERATION, u"The class " + cls->name() + u" is abstract.");
    return;
  }
  const Source source = sourceFor(call.nameSpace, *cls);
  if (source.kind == Source::Kind::kNamespaces) {
    putNamespace(call, instance);
    return;
  }
  // The provider or the store gets its own copy.
  CComPtr<IWbemClassObject> copy;
  if (FAILED(instance->Clone(&copy))) {
    call.fail(WBEM_E_OUT_OF_MEMORY, u"The instance cannot be copied.");
    return;
  }
  if (source.kind == Source::Kind::kProvider) {
    call.info->providerName = source.providerClass;
    endOnFailure(call.sink, source.provider->PutInstanceAsync(copy, call.flags, call.context, call.sink));
    return;
  }
  ObjectPath path;
  if (cls->isSingleton()) {
    path.className = cls->name();
    path.singleton = true;
  } else if (cls->keyIndexes().empty()) {
    call.fail(WBEM_E_NO_KEY, u"The class " + cls->name() + u" has no key; its instances cannot be stored.");
    return;
  } else if (!CimObject::from(copy)->keyPath(&path) || FAILED(canonicalizeInstancePath(*cls, &path))) {
    call.fail(WBEM_E_ILLEGAL_NULL, u"A key property of the " + cls->name() + u" instance is null.");
    return;
  }
  const HRESULT hr = store_.put(call.nameSpace, path, copy, call.flags);
  if (hr == WBEM_E_ALREADY_EXISTS) {
    call.fail(hr, u"The instance " + path.relPath() + u" exists already.");
  } else if (hr == WBEM_E_NOT_FOUND) {
    call.fail(hr, u"The instance " + path.relPath() + u" does not exist.");
  } else if (FAILED(hr)) {
    call.fail(hr, u"The instance " + path.relPath() + u" cannot be stored.");
  } else {
    call.succeed(path.relPath());
  }
}

void ManagerCore::putNamespace(const Call& call, IWbemClassObject* instance) {
  CComVariant name;
  instance->Get(u"Name", 0, &name, nullptr, nullptr);
  const std::u16string_view text = name.vt == VT_BSTR ? bstrView(name.bstrVal) : std::u16string_view();
  if (text.empty() || text.find_first_of(u"\\/:") != std::u16string_view::npos) {
    call.fail(WBEM_E_INVALID_PARAMETER, u"A namespace needs a simple name.");
    return;
  }
  const std::u16string child = call.nameSpace + u"\\" + std::u16string(text);
  const bool exists = repository_.namespaceExists(child);
  if (exists && (call.flags & WBEM_FLAG_CREATE_ONLY) != 0) {
    call.fail(WBEM_E_ALREADY_EXISTS, u"The namespace " + child + u" exists already.");
    return;
  }
  if (!exists && (call.flags & WBEM_FLAG_UPDATE_ONLY) != 0) {
    call.fail(WBEM_E_NOT_FOUND, u"The namespace " + child + u" does not exist.");
    return;
  }
  const HRESULT hr = repository_.createNamespace(child);
  if (FAILED(hr)) {
    call.fail(hr, u"The namespace " + child + u" cannot be created.");
    return;
  }
  call.succeed(u"__NAMESPACE.Name=" + quoteKeyValue(text));
}

void ManagerCore::deleteInstance(const Call& call, const std::u16string& text) {
  ObjectPath path;
  std::u16string ns;
  const ClassPtr cls = resolvePath(call, text, WBEM_E_INVALID_CLASS, &path, &ns);
  if (cls == nullptr) return;
  if (path.isClassPath()) {
    call.fail(WBEM_E_INVALID_OBJECT_PATH, u"DeleteInstance needs the path of an instance, not of a class.");
    return;
  }
  const Source source = sourceFor(ns, *cls);
  if (source.kind == Source::Kind::kProvider) {
    call.info->providerName = source.providerClass;
    endOnFailure(call.sink, source.provider->DeleteInstanceAsync(bstrOf(text), call.flags, call.context, call.sink));
    return;
  }
  if (source.kind == Source::Kind::kNamespaces) {
    const std::u16string child = ns + u"\\" + path.keys.front().value;
    if (FAILED(repository_.deleteNamespace(child))) {
      call.fail(WBEM_E_NOT_FOUND, u"The namespace " + child + u" does not exist.");
      return;
    }
    store_.removeNamespace(child);
    call.succeed();
    return;
  }
  if (FAILED(store_.remove(ns, path))) {
    call.fail(WBEM_E_NOT_FOUND, u"The instance " + path.relPath() + u" does not exist.");
    return;
  }
  call.succeed();
}

std::vector<CComPtr<IWbemClassObject>> ManagerCore::namespaceInstances(std::u16string_view nameSpace,
                                                                       const ClassPtr& cls) const {
  std::vector<CComPtr<IWbemClassObject>> instances;
  for (const std::u16string& child : repository_.childNamespaces(nameSpace)) {
    CComPtr<IWbemClassObject> instance = CimObject::newInstance(cls);
    CComVariant name(child.c_str());
    if (instance != nullptr && SUCCEEDED(instance->Put(u"Name", 0, &name, 0))) instances.push_back(instance);
  }
  return instances;
}

void ManagerCore::enumerateLocal(const EnumerationPart& part, std::u16string_view nameSpace, IWbemObjectSink* sink) {
  if (part.source.kind == Source::Kind::kNamespaces) {
    indicateAll(sink, namespaceInstances(nameSpace, part.classes.front()));
  } else {
    std::vector<std::u16string> names;
    for (const ClassPtr& c : part.classes) names.push_back(c->name());
    indicateAll(sink, store_.list(nameSpace, names));
  }
  endWith(sink, WBEM_S_NO_ERROR);
}

void ManagerCore::createInstanceEnum(const Call& call, const std::u16string& className) {
  const ClassPtr cls = repository_.findClass(call.nameSpace, className);
  if (cls == nullptr) {
    call.fail(WBEM_E_INVALID_CLASS, u"The class " + className + u" does not exist.");
    return;
  }
  Gather gather(call.sink);
  for (const EnumerationPart& part : enumerationParts(call.nameSpace, cls, (call.flags & WBEM_FLAG_SHALLOW) == 0)) {
    CComPtr<IWbemObjectSink> sink = gather.part();
    if (part.source.kind != Source::Kind::kProvider) {
      enumerateLocal(part, call.nameSpace, sink);
      continue;
    }
    call.info->providerName = part.source.providerClass;
    endOnFailure(sink, part.source.provider->CreateInstanceEnumAsync(bstrOf(part.classes.front()->name()), call.flags,
                                                                     call.context, sink));
  }
  gather.seal();
}

void ManagerCore::execQuery(const Call& call, const std::u16string& language, const std::u16string& text) {
  ClassPtr cls;
  const std::shared_ptr<const WqlQuery> query = parseQueryFor(call, repository_, language, text, &cls);
  if (query == nullptr) return;
  if (query->withinSeconds) {
    call.fail(WBEM_E_INVALID_QUERY, u"WITHIN belongs to event queries.");
    return;
  }
  Gather gather(call.sink);
  for (const EnumerationPart& part : enumerationParts(call.nameSpace, cls, true)) {
    CComPtr<IWbemObjectSink> filter;
    filter.Attach(new FilterSink(gather.part(), query));
    if (part.source.kind != Source::Kind::kProvider) {
      enumerateLocal(part, call.nameSpace, filter);
      continue;
    }
    call.info->providerName = part.source.providerClass;
    const CComPtr<IWbemServices> provider = part.source.provider;
    const CComBSTR topmost = bstrOf(part.classes.front()->name());
    if (part.classes.front() != cls) {
      // A subclass with a provider of its own: the query names another class.
      endOnFailure(filter, provider->CreateInstanceEnumAsync(topmost, 0, call.context, filter));
      continue;
    }
    // The provider may answer the query itself; the manager filters what it
    // returns all the same, and asks for every instance when it declines.
    CComPtr<QueryProbe> probe;
    probe.Attach(new QueryProbe(filter, [provider, topmost, context = call.context, filter] {
      endOnFailure(filter, provider->CreateInstanceEnumAsync(topmost, 0, context, filter));
    }));
    probe->providerReturned(
        provider->ExecQueryAsync(bstrOf(language), bstrOf(text), call.flags, call.context, probe));
  }
  gather.seal();
}

}  // namespace om::wmi

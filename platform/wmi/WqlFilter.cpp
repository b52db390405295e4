#include <wmi/WqlFilter.h>

#include <atlcomcli.h>

#include "Text.h"
#include "Wql.h"
#include "WqlEvaluator.h"

namespace om::wmi {
namespace {

std::u16string classNameOf(IWbemClassObject* cls) {
  CComVariant name;
  if (FAILED(cls->Get(u"__CLASS", 0, &name, nullptr, nullptr)) || name.vt != VT_BSTR) return std::u16string();
  return std::u16string(bstrView(name.bstrVal));
}

// The first property the condition names that the class lacks, or empty.
std::u16string unknownProperty(IWbemClassObject* cls, const WqlCondition* condition) {
  if (condition == nullptr) return std::u16string();
  if (condition->kind != WqlCondition::Kind::Compare) {
    for (const auto& operand : condition->operands) {
      std::u16string unknown = unknownProperty(cls, operand.get());
      if (!unknown.empty()) return unknown;
    }
    return std::u16string();
  }
  const std::u16string& name = condition->property.front();
  if (name.starts_with(u"__") || SUCCEEDED(cls->Get(name.c_str(), 0, nullptr, nullptr, nullptr))) {
    return std::u16string();
  }
  return name;
}

bool startsWithSelect(std::u16string_view text) {
  while (!text.empty() && (text.front() == u' ' || text.front() == u'\t')) text.remove_prefix(1);
  return text.size() >= 6 && equalsNoCase(text.substr(0, 6), u"SELECT");
}

}  // namespace

WqlFilter::WqlFilter() = default;
WqlFilter::~WqlFilter() = default;

bool WqlFilter::parse(IWbemClassObject* cls, const std::u16string& text, std::string* error) {
  query_.reset();
  const std::u16string className = cls == nullptr ? std::u16string() : classNameOf(cls);
  if (className.empty()) {
    *error = "no class to select from";
    return false;
  }
  const bool empty = text.find_first_not_of(u" \t") == std::u16string::npos;
  const std::u16string full = startsWithSelect(text) ? text
                              : empty               ? u"SELECT * FROM " + className
                                                    : u"SELECT * FROM " + className + u" WHERE " + text;
  auto query = std::make_unique<WqlQuery>();
  WqlError parseError;
  if (!parseWql(full, query.get(), &parseError)) {
    *error = "not valid WQL: " + parseError.message;
    return false;
  }
  if (!equalsNoCase(query->className, className)) {
    *error = "the query selects from " + toUtf8(query->className) + ", not " + toUtf8(className);
    return false;
  }
  const std::u16string unknown = unknownProperty(cls, query->where.get());
  if (!unknown.empty()) {
    *error = toUtf8(className) + " has no property " + toUtf8(unknown);
    return false;
  }
  query_ = std::move(query);
  return true;
}

bool WqlFilter::matches(IWbemClassObject* object) const {
  return query_ != nullptr && wqlMatches(query_->where.get(), object);
}

}  // namespace om::wmi

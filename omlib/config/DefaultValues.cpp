#include "config/DefaultValues.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include <afxmt.h>

const char* const DefaultValues::m_tcszOrvaManagerKey = "SOFTWARE\\Velmoran\\OrvaManager";

#define OM_SETTING(kind, name, constant, getter, setter) const char* const DefaultValues::constant = name;
#include "config/DefaultValuesSettings.inc"
#undef OM_SETTING

std::auto_ptrex<DefaultValues> DefaultValues::_instance;

namespace {

// The leading decimal number of `text` (0 when there is none), held at the
// int limits as a 32-bit conversion holds it.
int decimalOf(const tstring& text) {
  const long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

}  // namespace

DefaultValues::DefaultValues() {
  try {
    m_pRegistry = std::make_shared<CRegistry>(HKEY_LOCAL_MACHINE, tstring(m_tcszOrvaManagerKey));
  } catch (...) {
    // The accessor stays absent and valid() reports false.
  }
}

DefaultValues* DefaultValues::getDefault() {
  if (_instance.get() == nullptr) _instance.reset(new DefaultValues);
  return _instance.get();
}

bool DefaultValues::valid() { return m_pRegistry != nullptr && m_pRegistry->isOpen(); }

tstring DefaultValues::getString(const char* name) const {
  std::unique_ptr<CSingleLock> lock;
  if (m_pLock != nullptr) lock = std::make_unique<CSingleLock>(m_pLock.get(), TRUE);
  tstring value;
  if (m_pRegistry != nullptr) m_pRegistry->getValue(name, value);
  return value;
}

bool DefaultValues::setString(const tstring& name, const tstring& value) {
  // The lock only waits for a reader in progress; the write is outside it.
  if (m_pLock != nullptr) CSingleLock(m_pLock.get(), TRUE).Unlock();
  return m_pRegistry != nullptr && m_pRegistry->setValue(name, value);
}

int DefaultValues::getInt(const char* name) const { return decimalOf(getString(name)); }

bool DefaultValues::getBool(const char* name) const { return getString(name).compareNoCase("true") == 0; }

bool DefaultValues::setInt(const char* name, int value) { return setString(name, tstring().format("%d", value)); }

bool DefaultValues::setBool(const char* name, bool value) {
  return setString(name, tstring().format("%s", value ? "true" : "false"));
}

// Getters and setters by kind.
#define OM_GET_TEXT(getter, constant) \
  tstring DefaultValues::getter() { return getString(constant); }
#define OM_GET_CTEXT(getter, constant) \
  const tstring DefaultValues::getter() const { return getString(constant); }
#define OM_GET_INT(getter, constant) \
  int DefaultValues::getter() { return getInt(constant); }
#define OM_GET_BOOL(getter, constant) \
  bool DefaultValues::getter() { return getBool(constant); }
#define OM_GET_LEVEL(getter, constant)                                           \
  log_def::tagLOGLEVEL DefaultValues::getter() {                                 \
    if (getString(constant).empty()) return log_def::LOGLEVEL_USER;              \
    return static_cast<log_def::tagLOGLEVEL>(getInt(constant));                  \
  }
#define OM_GET_POLICY(getter, constant) \
  CCounterValue::CountPolicy DefaultValues::getter() { return static_cast<CCounterValue::CountPolicy>(getInt(constant)); }

#define OM_SET_TEXT(setter, constant) \
  bool DefaultValues::setter(const tstring& value) { return setString(constant, value); }
#define OM_SET_CTEXT OM_SET_TEXT
#define OM_SET_INT(setter, constant) \
  bool DefaultValues::setter(int value) { return setInt(constant, value); }
#define OM_SET_BOOL(setter, constant) \
  bool DefaultValues::setter(bool value) { return setBool(constant, value); }
#define OM_SET_LEVEL(setter, constant) \
  bool DefaultValues::setter(log_def::tagLOGLEVEL value) { return setInt(constant, value); }
#define OM_SET_POLICY(setter, constant) \
  bool DefaultValues::setter(CCounterValue::CountPolicy value) { return setInt(constant, value); }

#define OM_SETTING(kind, name, constant, getter, setter) \
  OM_GET_##kind(getter, constant) OM_SET_##kind(setter, constant)
#include "config/DefaultValuesSettings.inc"
#undef OM_SETTING

// The settings table: each kind's getter result as text, and its setter fed
// from text.
namespace {

typedef DefaultValues::Setting Setting;

tstring intText(int value) { return tstring().format("%d", value); }

#define OM_KIND_TEXT DefaultValues::kText
#define OM_KIND_CTEXT DefaultValues::kText
#define OM_KIND_INT DefaultValues::kInt
#define OM_KIND_LEVEL DefaultValues::kInt
#define OM_KIND_POLICY DefaultValues::kInt
#define OM_KIND_BOOL DefaultValues::kBool

#define OM_READ_TEXT(getter) tstring(d.getter())
#define OM_READ_CTEXT OM_READ_TEXT
#define OM_READ_INT(getter) intText(static_cast<int>(d.getter()))
#define OM_READ_LEVEL OM_READ_INT
#define OM_READ_POLICY OM_READ_INT
#define OM_READ_BOOL(getter) tstring(d.getter() ? "true" : "false")

#define OM_WRITE_TEXT(setter) d.setter(t)
#define OM_WRITE_CTEXT OM_WRITE_TEXT
#define OM_WRITE_INT(setter) d.setter(decimalOf(t))
#define OM_WRITE_LEVEL(setter) d.setter(static_cast<log_def::tagLOGLEVEL>(decimalOf(t)))
#define OM_WRITE_POLICY(setter) d.setter(static_cast<CCounterValue::CountPolicy>(decimalOf(t)))
#define OM_WRITE_BOOL(setter) d.setter(t.compareNoCase("true") == 0)

}  // namespace

const std::vector<DefaultValues::Setting>& DefaultValues::settings() {
#define OM_SETTING(kind, name, constant, getter, setter)                        \
  Setting{name, OM_KIND_##kind, [](DefaultValues& d) { return OM_READ_##kind(getter); }, \
          [](DefaultValues& d, const tstring& t) { return OM_WRITE_##kind(setter); }},
  static const std::vector<Setting> table = {
#include "config/DefaultValuesSettings.inc"
  };
#undef OM_SETTING
  return table;
}

const DefaultValues::Setting* DefaultValues::findSetting(const tstring& name) {
  for (const Setting& s : settings()) {
    if (name.compareNoCase(s.name) == 0) return &s;
  }
  return nullptr;
}

// omconsole config: the product's settings, by registry value name.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <om/codepage.h>
#include <omtools/Registry.h>

#include "Command.h"
#include "JsonText.h"
#include "config/DefaultValues.h"
#include "config/ResetValues.h"

namespace omconsole {
namespace {

const char kProductKeyName[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager";

const char* kindName(DefaultValues::Kind kind) {
  switch (kind) {
    case DefaultValues::kText: return "text";
    case DefaultValues::kInt: return "int";
    case DefaultValues::kBool: return "bool";
  }
  return "";
}

// A rejected value as a message quotes it: a long one is cut (at a
// character's start), so that the message stays one line.
std::string quoted(const std::string& text) {
  constexpr size_t kShown = 40;
  if (text.size() <= kShown) return "'" + text + "'";
  size_t cut = kShown;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return "'" + text.substr(0, cut) + "...' (" + std::to_string(text.size()) + " bytes)";
}

// Checks `text` (UTF-8 from the command line) for the setting's kind and
// gives the text to store (code page 932); false with a message otherwise.
bool checkedValue(const DefaultValues::Setting& s, const std::string& text, tstring& value, std::string& error) {
  switch (s.kind) {
    case DefaultValues::kText:
      value = om::utf8ToCp932(text);
      return true;
    case DefaultValues::kInt: {
      char* end = nullptr;
      errno = 0;
      const long n = std::strtol(text.c_str(), &end, 10);
      if (text.empty() || *end != '\0' || errno != 0 || n < INT_MIN || n > INT_MAX) {
        error = std::string(s.name) + " is an integer setting: " + quoted(text) + " is not an integer";
        return false;
      }
      value.format("%ld", n);
      return true;
    }
    case DefaultValues::kBool:
      if (text != "true" && text != "false") {
        error = std::string(s.name) + " is a boolean setting: use true or false, not " + quoted(text);
        return false;
      }
      value = text;
      return true;
  }
  return false;
}

// The product's key must exist before settings are read or written.
DefaultValues* openValues() {
  DefaultValues* values = DefaultValues::getDefault();
  if (!values->valid()) {
    fail(std::string("the key ") + kProductKeyName + " does not exist; create it with 'omconsole config reset'");
    return nullptr;
  }
  return values;
}

int show(bool json) {
  DefaultValues* values = openValues();
  if (values == nullptr) return 1;
  if (json) {
    std::cout << "[\n";
  } else {
    std::printf("%-30s %-5s %-24s %s\n", "NAME", "TYPE", "VALUE", "FACTORY");
  }
  const auto& settings = DefaultValues::settings();
  for (size_t i = 0; i < settings.size(); ++i) {
    const DefaultValues::Setting& s = settings[i];
    const std::string current = om::cp932ToUtf8(s.read(*values));
    const tstring* factory = ResetValues::factoryText(s.name);
    if (json) {
      std::cout << "  {\"name\": " << jsonString(s.name) << ", \"type\": \"" << kindName(s.kind)
                << "\", \"value\": " << jsonString(current)
                << ", \"set\": " << (values->isSet(s.name) ? "true" : "false")
                << ", \"factory\": " << (factory ? jsonString(om::cp932ToUtf8(*factory)) : "null") << "}"
                << (i + 1 < settings.size() ? ",\n" : "\n");
    } else {
      std::printf("%-30s %-5s %-24s %s\n", s.name, kindName(s.kind),
                  (values->isSet(s.name) ? current : current + " (unset)").c_str(),
                  factory ? om::cp932ToUtf8(*factory).c_str() : "-");
    }
  }
  if (json) std::cout << "]\n";
  return 0;
}

int get(const std::string& name) {
  const DefaultValues::Setting* s = DefaultValues::findSetting(om::utf8ToCp932(name));
  if (s == nullptr) return fail("unknown setting " + quoted(name));
  DefaultValues* values = openValues();
  if (values == nullptr) return 1;
  std::cout << om::cp932ToUtf8(s->read(*values)) << "\n";
  return 0;
}

int set(const std::string& name, const std::string& text) {
  const DefaultValues::Setting* s = DefaultValues::findSetting(om::utf8ToCp932(name));
  if (s == nullptr) return fail("unknown setting " + quoted(name));
  tstring value;
  std::string error;
  if (!checkedValue(*s, text, value, error)) return fail(error);
  DefaultValues* values = openValues();
  if (values == nullptr) return 1;
  if (!s->write(*values, value)) return fail(std::string("cannot write ") + s->name);
  return 0;
}

int reset(bool missingOnly) {
  if (!CRegistry::createKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Velmoran\\OrvaManager")) {
    return fail(std::string("cannot create the key ") + kProductKeyName);
  }
  DefaultValues* values = openValues();
  if (values == nullptr) return 1;
  if (!ResetValues::writeFactoryValues(*values, missingOnly)) return fail("some factory values could not be written");
  return 0;
}

}  // namespace

int runConfig(const Args& args) {
  const std::string sub = args.empty() ? "" : args[0];
  if (sub == "show" && args.size() <= 2) {
    if (args.size() == 2 && args[1] != "--json") return fail("usage: omconsole config show [--json]", 2);
    return show(args.size() == 2);
  }
  if (sub == "get" && args.size() == 2) return get(args[1]);
  if (sub == "set" && args.size() == 3) return set(args[1], args[2]);
  if (sub == "reset" && args.size() <= 2) {
    if (args.size() == 2 && args[1] != "--missing-only") return fail("usage: omconsole config reset [--missing-only]", 2);
    return reset(args.size() == 2);
  }
  if (sub == "export" && (args.size() == 2 || (args.size() == 3 && args[2] == "--regedit4"))) {
    return exportRegKey(kProductKeyName, args[1], args.size() == 3);
  }
  if (sub == "import" && args.size() == 2) return importRegFile(args[1], kProductKeyName);
  return fail("usage: omconsole config show [--json] | get NAME | set NAME VALUE | reset [--missing-only] | "
              "export FILE [--regedit4] | import FILE",
              2);
}

void configStatus() {
  DefaultValues* values = DefaultValues::getDefault();
  if (!values->valid()) return;
  int set = 0;
  for (const DefaultValues::Setting& s : DefaultValues::settings()) set += values->isSet(s.name) ? 1 : 0;
  std::printf("settings: %d of %zu set (omconsole config show)\n", set, DefaultValues::settings().size());
}

}  // namespace omconsole

#include "Records.h"

#include <iostream>
#include <mutex>

#include <om/codepage.h>

#include "JsonText.h"

namespace omconsole {
namespace {

std::string joined(const std::vector<std::string>& items, const char* separator) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : separator) + om::cp932ToUtf8(item);
  return text;
}

// A value as plain text in a line; "-" for nothing.
std::string plain(const Field::Value& value) {
  struct {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(const std::string& s) const { return s.empty() ? "-" : om::cp932ToUtf8(s); }
    std::string operator()(long long n) const { return std::to_string(n); }
    std::string operator()(bool b) const { return b ? "yes" : "no"; }
    std::string operator()(const std::vector<std::string>& v) const { return v.empty() ? "-" : joined(v, ","); }
    std::string operator()(const std::vector<Record>& v) const { return std::to_string(v.size()) + " records"; }
  } visitor;
  return std::visit(visitor, value);
}

std::string jsonObject(const Record& record, bool withNone);

std::string json(const Field::Value& value) {
  struct {
    std::string operator()(std::monostate) const { return "null"; }
    std::string operator()(const std::string& s) const { return jsonText(s); }
    std::string operator()(long long n) const { return std::to_string(n); }
    std::string operator()(bool b) const { return b ? "true" : "false"; }
    std::string operator()(const std::vector<std::string>& v) const {
      std::string text;
      for (const std::string& item : v) text += (text.empty() ? "" : ", ") + jsonText(item);
      return "[" + text + "]";
    }
    std::string operator()(const std::vector<Record>& v) const {
      std::string text;
      for (const Record& item : v) text += (text.empty() ? "" : ", ") + jsonObject(item, true);
      return "[" + text + "]";
    }
  } visitor;
  return std::visit(visitor, value);
}

bool isNone(const Field& field) { return std::holds_alternative<std::monostate>(field.value); }

std::string jsonObject(const Record& record, bool withNone) {
  std::string text;
  for (const Field& field : record) {
    if (!withNone && isNone(field)) continue;
    text += (text.empty() ? "" : ", ") + jsonText(field.name) + ": " + json(field.value);
  }
  return "{" + text + "}";
}

// A value as a show writes it after its name: texts as they are.
std::string shownValue(const Field::Value& value) {
  if (const auto* s = std::get_if<std::string>(&value)) return om::cp932ToUtf8(*s);
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) return joined(*texts, ",");
  return plain(value);
}

std::string textLines(const Record& record) {
  std::string text;
  for (const Field& field : record) {
    if (isNone(field)) continue;
    if (const auto* list = std::get_if<std::vector<Record>>(&field.value)) {
      text += field.name + ":\n";
      for (const Record& item : *list) text += "  " + listLine(item) + "\n";
      continue;
    }
    const std::string value = shownValue(field.value);
    text += field.name + ":" + (value.empty() ? "" : " " + value) + "\n";
  }
  return text;
}

}  // namespace

std::string listLine(const Record& record) {
  std::string line;
  for (const Field& field : record) line += (line.empty() ? "" : "  ") + plain(field.value);
  return line;
}

void printRecord(const Record& record, bool asJson) {
  emit(asJson ? jsonObject(record, false) + "\n" : textLines(record));
}

void printList(const std::vector<Record>& records, bool asJson) {
  std::string text;
  for (const Record& record : records) {
    text += asJson ? (text.empty() ? "[\n  " : ",\n  ") + jsonObject(record, true) : listLine(record) + "\n";
  }
  if (asJson) text = text.empty() ? "[]\n" : text + "\n]\n";
  emit(text);
}

std::string localTimeText(std::time_t time) {
  if (time == 0) return "";
  std::tm local{};
  char text[32];
  localtime_r(&time, &local);
  return std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local) == 0 ? "" : text;
}

void emit(const std::string& text) {
  static std::mutex mutex;
  std::lock_guard<std::mutex> lock(mutex);
  std::cout << text << std::flush;
}

}  // namespace omconsole

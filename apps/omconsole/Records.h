// What the session commands print: records of named fields, written as plain
// text for people (code page 932 texts converted to UTF-8) or as JSON for
// scripts. Everything goes to standard output in whole blocks, so that the
// lines of a background log follower never cut into a command's output.
#ifndef OM_APPS_OMCONSOLE_RECORDS_H_
#define OM_APPS_OMCONSOLE_RECORDS_H_

#include <ctime>
#include <string>
#include <variant>
#include <vector>

namespace omconsole {

struct Field;
using Record = std::vector<Field>;

// One named value. Texts are code page 932. A field with no value
// (std::monostate) is one not in force: a show leaves it out, a list prints
// "-" (null in JSON).
struct Field {
  using Value =
      std::variant<std::monostate, std::string, long long, bool, std::vector<std::string>, std::vector<Record>>;

  static Field text(std::string name, std::string cp932) { return {std::move(name), std::move(cp932)}; }
  static Field number(std::string name, long long value) { return {std::move(name), value}; }
  static Field flag(std::string name, bool value) { return {std::move(name), value}; }
  static Field texts(std::string name, std::vector<std::string> cp932) { return {std::move(name), std::move(cp932)}; }
  static Field records(std::string name, std::vector<Record> records) { return {std::move(name), std::move(records)}; }
  static Field none(std::string name) { return {std::move(name), std::monostate()}; }

  std::string name;
  Value value;
};

// One record: a "name: value" line per field (a list of records as indented
// lines under its name), or one JSON object.
void printRecord(const Record& record, bool json);
// A list of records: one line each, or a JSON array of objects.
void printList(const std::vector<Record>& records, bool json);
// The line printList writes for a record: the values apart by two blanks.
std::string listLine(const Record& record);
// A time as local time "YYYY-MM-DD HH:MM:SS"; "" for the null time (0).
std::string localTimeText(std::time_t time);
// Writes `text` to standard output as one block and flushes it.
void emit(const std::string& text);

}  // namespace omconsole

#endif  // OM_APPS_OMCONSOLE_RECORDS_H_

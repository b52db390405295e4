#include <gtest/gtest.h>

#include <map>
#include <tuple>

#include <om/RegFile.h>
#include <om/codepage.h>
#include <omtools/Registry.h>

#include "RegistryTestSupport.h"

namespace {

using om::RegFile;
using om::RegFormat;
using om::RegHive;
using om::RegKeyPath;
using om::RegOperation;
using om::RegTransaction;
using om::RegValue;

const RegKeyPath kProduct("SOFTWARE\\Velmoran\\OrvaManager");

class RegFileTest : public regtest::RegistryTest {
 protected:
  // The sample the golden files below hold.
  void writeSample() {
    RegTransaction txn(RegHive::kLocalMachine, RegTransaction::kWrite);
    ASSERT_EQ(txn.createKey(kProduct.child("Sub")), 0u);
    std::string blob;
    for (char b = 0; b < 30; ++b) blob += b;
    const std::pair<std::string, RegValue> values[] = {
        {"", RegValue::text("Orva")},
        {"Path", RegValue::text("C:\\Orva \"Manager\"")},
        {"Quote\"Name\\", RegValue::text("")},
        {"ServerPort", RegValue::dword(8080)},
        {"Blob", RegValue{REG_BINARY, blob}},
        {om::utf8ToCp932("データ"), RegValue{REG_BINARY, blob}},
        {"Expand", RegValue::text("%TEMP%", REG_EXPAND_SZ)},
        {"Multi", RegValue::multiString({"a", "b"})},
        {"Big", RegValue::qword(0x0102030405060708ULL)},
        {om::utf8ToCp932("設定"), RegValue::text(om::utf8ToCp932("値"))},
    };
    for (const auto& [name, value] : values) ASSERT_EQ(txn.setValue(kProduct, name, value), 0u);
    ASSERT_EQ(txn.setValue(kProduct.child("Sub"), "x", RegValue::text("y")), 0u);
    ASSERT_EQ(txn.commit(), 0u);
  }

  // Every key (with its case) and value of both hives.
  using Snapshot = std::map<std::tuple<int, std::string, std::string>, RegValue>;
  static Snapshot snapshot() {
    Snapshot all;
    for (RegHive hive : {RegHive::kLocalMachine, RegHive::kCurrentUser}) {
      RegTransaction txn(hive, RegTransaction::kRead);
      collect(txn, static_cast<int>(hive), RegKeyPath(), &all);
    }
    return all;
  }
  static void collect(const RegTransaction& txn, int hive, const RegKeyPath& key, Snapshot* all) {
    std::vector<om::RegNamedValue> values;
    std::vector<std::string> subkeys;
    ASSERT_EQ(txn.enumValues(key, &values), 0u);
    ASSERT_EQ(txn.enumSubkeys(key, &subkeys), 0u);
    (*all)[{hive, key.str(), "<key>"}] = RegValue();
    for (const auto& v : values) (*all)[{hive, key.str(), v.name}] = v.value;
    for (const auto& s : subkeys) collect(txn, hive, key.child(s), all);
  }

  static std::string exported(const RegKeyPath& key, RegFormat format) {
    std::string bytes;
    EXPECT_EQ(RegFile::exportKey(RegHive::kLocalMachine, key, format, &bytes), 0u);
    return bytes;
  }

  // Parses and applies `bytes`; the error text, empty on success.
  static std::string import(std::string_view bytes) {
    RegFile file;
    if (!file.parse(bytes)) return file.error();
    return file.apply() ? "" : file.error();
  }
};

// A version 5 file: UTF-16LE with a byte order mark, from UTF-8 text.
std::string utf16File(std::string_view utf8) {
  std::string out = "\xFF\xFE";
  for (char16_t c : om::utf8ToUtf16(utf8)) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

const char kGoldenVersion5[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
    "@=\"Orva\"\r\n"
    "\"Big\"=hex(b):08,07,06,05,04,03,02,01\r\n"
    "\"Blob\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
    "  16,17,18,19,1a,1b,1c,1d\r\n"
    "\"Expand\"=hex(2):25,00,54,00,45,00,4d,00,50,00,25,00,00,00\r\n"
    "\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
    "\"Path\"=\"C:\\\\Orva \\\"Manager\\\"\"\r\n"
    "\"Quote\\\"Name\\\\\"=\"\"\r\n"
    "\"ServerPort\"=dword:00001f90\r\n"
    "\"データ\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,\\\r\n"
    "  17,18,19,1a,1b,1c,1d\r\n"
    "\"設定\"=\"値\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
    "\"x\"=\"y\"\r\n"
    "\r\n";

const char kGoldenRegedit4[] =
    "REGEDIT4\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
    "@=\"Orva\"\r\n"
    "\"Big\"=hex(b):08,07,06,05,04,03,02,01\r\n"
    "\"Blob\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
    "  16,17,18,19,1a,1b,1c,1d\r\n"
    "\"Expand\"=hex(2):25,54,45,4d,50,25,00\r\n"
    "\"Multi\"=hex(7):61,00,62,00,00\r\n"
    "\"Path\"=\"C:\\\\Orva \\\"Manager\\\"\"\r\n"
    "\"Quote\\\"Name\\\\\"=\"\"\r\n"
    "\"ServerPort\"=dword:00001f90\r\n"
    "\"データ\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,\\\r\n"
    "  17,18,19,1a,1b,1c,1d\r\n"
    "\"設定\"=\"値\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
    "\"x\"=\"y\"\r\n"
    "\r\n";

TEST_F(RegFileTest, ExportsBothFormsByteForByte) {
  writeSample();
  // The key is found whatever the case it is asked with, and written with its own.
  EXPECT_EQ(exported(RegKeyPath("software\\VELMORAN\\orvamanager"), RegFormat::kVersion5),
            utf16File(kGoldenVersion5));
  EXPECT_EQ(exported(kProduct, RegFormat::kRegedit4), om::utf8ToCp932(kGoldenRegedit4));

  std::string bytes;
  EXPECT_EQ(RegFile::exportKey(RegHive::kLocalMachine, RegKeyPath("SOFTWARE\\None"), RegFormat::kVersion5, &bytes),
            static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_TRUE(bytes.empty());
}

TEST_F(RegFileTest, RoundTripsInBothForms) {
  writeSample();
  {
    // Texts that need care: trail bytes 0x5C ("表", "ソ"), line breaks
    // (written as hex(1)), an empty binary, a type of no name.
    RegTransaction txn(RegHive::kLocalMachine, RegTransaction::kWrite);
    const RegKeyPath odd = kProduct.child(om::utf8ToCp932("表\\ソ"));
    ASSERT_EQ(txn.createKey(odd), 0u);
    txn.setValue(odd, om::utf8ToCp932("表\\"), RegValue::text(om::utf8ToCp932("ソ\\\"表\"")));
    txn.setValue(odd, "lines", RegValue::text("one\r\ntwo"));
    txn.setValue(odd, "empty", RegValue{REG_BINARY, ""});
    txn.setValue(odd, "odd", RegValue{0x20000, "\x01\x02\x03"});
    txn.setValue(odd, "short", RegValue{REG_DWORD, "\x01"});
    ASSERT_EQ(txn.commit(), 0u);
  }
  const auto before = snapshot();
  for (RegFormat format : {RegFormat::kVersion5, RegFormat::kRegedit4}) {
    const std::string bytes = exported(RegKeyPath("SOFTWARE"), format);
    ASSERT_TRUE(CRegistry::deleteKey(HKEY_LOCAL_MACHINE, "SOFTWARE"));
    EXPECT_EQ(import(bytes), "");
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(exported(RegKeyPath("SOFTWARE"), format), bytes);
  }
}

TEST_F(RegFileTest, ImportReadsWhatPeopleWrite) {
  const std::string text =
      "REGEDIT4\n"
      "; a comment\n"
      "\n"
      "  [HKLM\\Software\\Test]  ; keys may be abbreviated\n"
      "@ = \"default\"\n"
      "\"Upper\"=DWORD:0000000A\n"
      "\"Long\"=hex:01, 02,\\\n"
      "   03,04 ,\\  \n"
      "  05\n"
      "\"Typed\"=hex(20000):ff\n"
      "\"Expand\"=hex(2):41,42,00\n"
      "\"Empty\"=hex:\n"
      "[hkey_current_user\\Software\\Orva]\n"
      "\"x\"=\"1\"\n";
  RegFile file;
  ASSERT_TRUE(file.parse(text)) << file.error();
  EXPECT_EQ(file.format(), RegFormat::kRegedit4);
  ASSERT_EQ(file.operations().size(), 9u);
  const RegOperation& longValue = file.operations()[3];
  EXPECT_EQ(longValue.kind, RegOperation::kSetValue);
  EXPECT_EQ(longValue.line, 7);
  EXPECT_EQ(longValue.value, (RegValue{REG_BINARY, "\x01\x02\x03\x04\x05"}));
  EXPECT_EQ(file.operations()[4].line, 10);
  EXPECT_EQ(file.operations()[7].hive, RegHive::kCurrentUser);
  ASSERT_TRUE(file.apply()) << file.error();

  CRegistry reg(HKEY_LOCAL_MACHINE, "SOFTWARE\\TEST");
  tstring value;
  EXPECT_TRUE(reg.getValue("", value));
  EXPECT_EQ(value, "default");
  EXPECT_TRUE(reg.getValue("upper", value));
  EXPECT_EQ(value, "10");
  EXPECT_TRUE(reg.getValue("Expand", value));
  EXPECT_EQ(value, "AB");  // the terminating NUL is not part of the text
  RegValue typed;
  EXPECT_EQ(RegTransaction(RegHive::kLocalMachine, RegTransaction::kRead)
                .getValue(RegKeyPath("SOFTWARE\\TEST"), "typed", &typed),
            0u);
  EXPECT_EQ(typed, (RegValue{0x20000, "\xff"}));
  EXPECT_TRUE(CRegistry(HKEY_CURRENT_USER, "Software\\Orva").getValue("x", value));
  EXPECT_EQ(value, "1");
}

TEST_F(RegFileTest, DeletionLines) {
  writeSample();
  const std::string text =
      "REGEDIT4\r\n\r\n"
      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Never\\There]\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
      "\"Path\"=-\r\n"
      "\"NotThere\"=-\r\n"
      "@=-\r\n";
  EXPECT_EQ(import(text), "");
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Velmoran\\OrvaManager\\Sub"));
  CRegistry reg(HKEY_LOCAL_MACHINE, kProduct.str());
  tstring value;
  EXPECT_FALSE(reg.getValue("Path", value));
  EXPECT_FALSE(reg.getValue("", value));
  EXPECT_TRUE(reg.getValue("ServerPort", value));
  EXPECT_EQ(import("REGEDIT4\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n"), "");
  EXPECT_FALSE(CRegistry::keyExists(HKEY_LOCAL_MACHINE, "SOFTWARE"));
}

TEST_F(RegFileTest, MalformedFilesNameTheirLine) {
  const std::string r4 = "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\T]\r\n";
  const std::pair<std::string, std::string> cases[] = {
      {"", "line 1: not a registry file"},
      {"REGEDIT5\r\n", "line 1: not a registry file"},
      {"Windows Registry Editor Version 5.00\r\n", "line 1: a version 5.00 file must be UTF-16LE"},
      {utf16File("REGEDIT4\r\n"), "line 1: expected \"Windows Registry Editor Version 5.00\""},
      {utf16File("Windows Registry Editor Version 5.00\r\n") + "x", "line 1: odd number of bytes"},
      {"REGEDIT4\r\n\"x\"=\"y\"\r\n", "line 2: value line before any key line"},
      {"REGEDIT4\r\n[-HKLM\\A]\r\n\"x\"=\"y\"\r\n", "line 3: value line under a deleted key"},
      {"REGEDIT4\r\n[HKEY_CLASSES_ROOT\\A]\r\n", "line 2: unknown hive 'HKEY_CLASSES_ROOT'"},
      {"REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\A\r\n", "line 2: missing ']'"},
      {"REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\A] x\r\n", "line 2: unexpected text after ']'"},
      {"REGEDIT4\r\n[-HKEY_CURRENT_USER]\r\n", "line 2: a hive cannot be deleted"},
      {"REGEDIT4\r\n[HKLM\\A\x01]\r\n", "line 2: control character"},
      {"REGEDIT4\r\nnonsense\r\n", "line 2: unrecognised line"},
      {r4 + "\"x\"=dword:0000001\r\n", "line 3: dword: needs exactly 8 hex digits"},
      {r4 + "\"x\"=dword:000000010\r\n", "line 3: dword: needs exactly 8 hex digits"},
      {r4 + "\"x\"=dword:0000000g\r\n", "line 3: dword: needs exactly 8 hex digits"},
      {r4 + "\"x\"=hex:01,2x\r\n", "line 3: bad hex byte '2x'"},
      {r4 + "\"x\"=hex:01,,02\r\n", "line 3: missing hex byte"},
      {r4 + "\"x\"=hex:01,\\\r\n 123\r\n", "line 4: bad hex byte '123'"},
      {r4 + "\"x\"=hex:01,\\\r\n", "line 3: continuation line missing"},
      {r4 + "\"x\"=hex(1:00\r\n", "line 3: malformed hex(type)"},
      {r4 + "\"x\"=hex(zz):00\r\n", "line 3: malformed hex(type)"},
      {r4 + "\"x\"=hex;00\r\n", "line 3: expected ':' after hex"},
      {r4 + "\"x\"=\"a\\tb\"\r\n", "line 3: unknown escape"},
      {r4 + "\"x\"=\"abc\r\n", "line 3: missing closing '\"'"},
      {r4 + "\"x\"=\"abc\" d\r\n", "line 3: unexpected text after the closing"},
      {r4 + "\"x\"\"abc\"\r\n", "line 3: expected '='"},
      {r4 + "\"x\"=- y\r\n", "line 3: unexpected text after '-'"},
      {r4 + "\"x\"=word:1\r\n", "line 3: unrecognised value data"},
      {r4 + std::string("\"a\0b\"=\"\"\r\n", 10), "line 3: NUL character in a value name"},
      {utf16File("Windows Registry Editor Version 5.00\r\n[HKLM\\A]\r\n\"x\"=hex(2):41,00,42\r\n"),
       "line 3: odd number of bytes in UTF-16 text"},
  };
  for (const auto& [text, error] : cases) {
    RegFile file;
    EXPECT_FALSE(file.parse(text)) << text;
    EXPECT_EQ(file.error().substr(0, error.size()), error) << text;
    EXPECT_TRUE(file.operations().empty());
  }
}

TEST_F(RegFileTest, FailedImportChangesNothing) {
  writeSample();
  ASSERT_TRUE(CRegistry::createKey(HKEY_CURRENT_USER, "Software\\Velmoran\\Orva Manager"));
  const auto before = snapshot();

  // A malformed line after good ones: nothing is applied.
  const std::string bad =
      "REGEDIT4\r\n"
      "\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
      "\"Path\"=\"changed\"\r\n"
      "\"ServerPort\"=-\r\n"
      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
      "[HKEY_CURRENT_USER\\Software\\New]\r\n"
      "\"a\"=dword:00000001\r\n"
      "\r\n"
      "; the next value is not a dword\r\n"
      "[HKEY_CURRENT_USER\\Software\\Velmoran\\Orva Manager]\r\n"
      "\"LoginHostName\"=dword:1\r\n"
      "\"LoginUserName\"=\"admin\"\r\n";
  EXPECT_EQ(import(bad), "line 12: dword: needs exactly 8 hex digits");
  EXPECT_EQ(snapshot(), before);

  // A file that parses but fails while being applied, after changes in both
  // hives: both transactions are dropped.
  const std::string failing =
      "REGEDIT4\r\n"
      "[HKEY_CURRENT_USER\\Software\\New]\r\n"
      "\"a\"=dword:00000001\r\n"
      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
      "\"Path\"=\"changed\"\r\n"
      "\"" + std::string(600, 'n') + "\"=\"too long a name\"\r\n";
  EXPECT_EQ(import(failing), "line 7: HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager: invalid or too long name");
  EXPECT_EQ(snapshot(), before);
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <om/codepage.h>

#include "RecordArchiveTestUtil.h"
#include "RecordSamples.h"
#include "monitor/ActionCmd.h"

namespace {

using recordtest::ByteList;
using recordtest::Bytes;
using recordtest::dword;
using recordtest::qword;
using recordtest::text;

// The new-class tag that WriteObject puts before an object of a class it has
// not written yet: 0xFFFF, the schema, the name length, the name.
ByteList& newClass(ByteList& list, const std::string& name, int schema) {
  return list << 0xFF << 0xFF << schema << 0 << static_cast<int>(name.size()) << 0 << name;
}

Bytes cat(const Bytes& a, const Bytes& b) {
  Bytes all = a;
  all.insert(all.end(), b.begin(), b.end());
  return all;
}

std::string sjis(const char* utf8) { return om::utf8ToCp932(utf8); }

// ---- CLogObject -------------------------------------------------------------

// "ソ" in code page 932 ends in 0x5C, the byte of a backslash.
const char kSo[] = "\x83\x5C";

}  // namespace

CLogObject recordtest::sampleLog() {
  CLogObject log;
  log.setIdentifier(0x01020304);
  log.setLevel(log_def::LOGLEVEL_PROGRESS);
  log.setTime(CTime(0x123456789A));
  log.setType(log_def::LOGTYPE_TRAP);
  log.setSubType(log_def::LOGSUBTYPE_LINK_DOWN);
  log.setTargetType(log_def::TARGETTYPE_PORT);
  log.setInternalName("sw01/3");
  log.setDisplayName(kSo);
  log.setAddress("10.0.0.1");
  log.setSysObjectId("1.3.6.1.4.1.9");
  log.setMessage("");
  log.setActionId(-2);
  return log;
}

namespace {

using recordtest::sampleFilter;
using recordtest::sampleLog;

Bytes sampleLogBytes() {
  ByteList b;
  dword(b, 0x01020304);  // identifier
  dword(b, 2);           // level
  qword(b, 0x123456789A);
  dword(b, 3);           // type
  dword(b, 8);           // subType: linkDown
  dword(b, 5);           // targetType: port
  text(b, "sw01/3");
  text(b, kSo);
  text(b, "10.0.0.1");
  text(b, "1.3.6.1.4.1.9");
  text(b, "");
  dword(b, 0xFFFFFFFE);  // actionId -2
  return b.bytes();
}

TEST(LogObject, DefaultRecordIsZeroAndEmpty) {
  // Two words, a time, three words, five empty texts, a word: all zero.
  EXPECT_EQ(recordtest::storeRecord(CLogObject()), Bytes(37, 0));
}

TEST(LogObject, ArchiveFormIsExactAndKeepsAllTwelveFields) {
  const CLogObject log = sampleLog();
  const Bytes golden = sampleLogBytes();
  EXPECT_EQ(recordtest::storeRecord(log), golden);

  CLogObject loaded;
  recordtest::loadRecord(golden, loaded);
  EXPECT_EQ(loaded.compare(log), 0);
  EXPECT_EQ(recordtest::storeRecord(loaded), golden);

  // Numbers outside the enumerations pass through unchanged.
  Bytes odd = golden;
  odd[4] = 0x07;   // level 7
  odd[16] = 0xFF;  // type 0x000000FF
  recordtest::loadRecord(odd, loaded);
  EXPECT_EQ(static_cast<int>(loaded.getLevel()), 7);
  EXPECT_EQ(static_cast<int>(loaded.getType()), 0xFF);
  EXPECT_EQ(recordtest::storeRecord(loaded), odd);
}

TEST(LogObject, WrittenThroughObjectPointerWithItsClassTag) {
  const CLogObject log = sampleLog();
  std::unique_ptr<CLogObject> loaded;
  const Bytes bytes = recordtest::roundTripThroughObject(log, loaded);
  ByteList tag;
  newClass(tag, "CLogObject", 1);
  EXPECT_EQ(bytes, cat(tag.bytes(), sampleLogBytes()));
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->GetRuntimeClass(), RUNTIME_CLASS(CLogObject));
  EXPECT_EQ(loaded->compare(log), 0);
  EXPECT_EQ(CRuntimeClass::FromName("CLogObject"), RUNTIME_CLASS(CLogObject));
  // Another schema is another layout: refused.
  ByteList other;
  newClass(other, "CLogObject", 2);
  EXPECT_EQ(mfctest::causeOf([&] {
              mfctest::load(cat(other.bytes(), sampleLogBytes()),
                            [](CArchive& ar) { delete ar.ReadObject(nullptr); });
            }),
            CArchiveException::badSchema);
}

TEST(LogObject, OrderComparesFieldByFieldWithActionIdBeforeMessage) {
  const CLogObject base = sampleLog();
  auto changed = [&](auto change) {
    CLogObject log = base;
    change(log);
    return log;
  };
  EXPECT_EQ(base.compare(base), 0);

  // Identifier: a 32-bit difference, which wraps.
  EXPECT_EQ(changed([](CLogObject& l) { l.setIdentifier(0x01020306); }).compare(base), 2);
  const CLogObject zero = changed([](CLogObject& l) { l.setIdentifier(0); });
  const CLogObject top = changed([](CLogObject& l) { l.setIdentifier(0xFFFFFFFF); });
  EXPECT_EQ(zero.compare(top), 1);
  // The identifier decides before everything else.
  EXPECT_LT(changed([](CLogObject& l) {
              l.setIdentifier(0x01020303);
              l.setLevel(log_def::LOGLEVEL_DEBUG);
            }).compare(base),
            0);

  EXPECT_EQ(changed([](CLogObject& l) { l.setLevel(log_def::LOGLEVEL_USER); }).compare(base), -1);

  // Time: the upper halves as signed numbers, then the lower halves unsigned.
  auto at = [&](LONGLONG t) { return changed([&](CLogObject& l) { l.setTime(CTime(t)); }); };
  EXPECT_EQ(at(-1).compare(at(0)), -1);
  EXPECT_EQ(at(0x100000000).compare(at(0xFFFFFFFF)), 1);
  EXPECT_EQ(at(0x80000000).compare(at(0x7FFFFFFF)), 1);
  EXPECT_EQ(at(0x7FFFFFFF).compare(at(0x80000000)), -1);
  EXPECT_LT(at(0x123456789A).compare(changed([](CLogObject& l) {
              l.setTime(CTime(0x123456789B));
              l.setType(log_def::LOGTYPE_ERROR);
            })),
            0);

  EXPECT_EQ(changed([](CLogObject& l) { l.setType(log_def::LOGTYPE_INFORMATION); }).compare(base), 1);
  EXPECT_EQ(changed([](CLogObject& l) { l.setSubType(log_def::LOGSUBTYPE_UP); }).compare(base), 12);
  EXPECT_EQ(changed([](CLogObject& l) { l.setTargetType(log_def::TARGETTYPE_NETWORK); }).compare(base), -5);

  // Texts in byte order, internal name first.
  EXPECT_GT(changed([](CLogObject& l) {
              l.setInternalName("sw02");
              l.setDisplayName("A");
            }).compare(base),
            0);
  EXPECT_LT(changed([](CLogObject& l) { l.setDisplayName("\x83\x5B"); }).compare(base), 0);
  EXPECT_GT(changed([](CLogObject& l) { l.setAddress("10.0.0.10"); }).compare(base), 0);
  EXPECT_LT(changed([](CLogObject& l) { l.setSysObjectId("1.3.6.1.4.1.10"); }).compare(base), 0);

  // Only the message differs: the message decides. When the action id
  // differs too, the action id decides.
  const CLogObject b = changed([](CLogObject& l) { l.setMessage("b"); });
  const CLogObject a = changed([](CLogObject& l) { l.setMessage("a"); });
  EXPECT_LT(a.compare(b), 0);
  EXPECT_GT(b.compare(a), 0);
  const CLogObject laterAction = changed([](CLogObject& l) {
    l.setMessage("a");
    l.setActionId(5);
  });
  EXPECT_EQ(laterAction.compare(b), 7);
  EXPECT_EQ(b.compare(laterAction), -7);
  // Extreme action ids wrap instead of overflowing.
  const CLogObject lowest = changed([](CLogObject& l) { l.setActionId(INT_MIN); });
  const CLogObject one = changed([](CLogObject& l) { l.setActionId(1); });
  EXPECT_EQ(lowest.compare(one), INT_MAX);

  // compare() sorts a list.
  std::vector<CLogObject> logs = {b, laterAction, a, base};
  std::sort(logs.begin(), logs.end(), [](const CLogObject& x, const CLogObject& y) { return x.compare(y) < 0; });
  EXPECT_STREQ(logs[0].getMessage(), "");
  EXPECT_STREQ(logs[1].getMessage(), "a");
  EXPECT_EQ(logs[1].getActionId(), -2);
  EXPECT_STREQ(logs[2].getMessage(), "b");
  EXPECT_EQ(logs[3].getActionId(), 5);
}

TEST(LogObject, LevelAndTypeTextsComeFromTheStringTable) {
  const std::string other = sjis("その他");
  EXPECT_EQ(CLogObject::getTypeString(log_def::LOGTYPE_ERROR), sjis("エラーログ"));
  EXPECT_EQ(CLogObject::getTypeString(log_def::LOGTYPE_ALARM), sjis("アラームログ"));
  EXPECT_EQ(CLogObject::getTypeString(log_def::LOGTYPE_TRAP), sjis("TRAPログ"));
  EXPECT_EQ(CLogObject::getTypeString(log_def::LOGTYPE_INFORMATION), sjis("情報ログ"));
  for (int type : {0, 5}) {
    EXPECT_EQ(CLogObject::getTypeString(static_cast<log_def::tagLOGTYPE>(type)), other) << type;
  }
  EXPECT_EQ(CLogObject::getLevelString(log_def::LOGLEVEL_USER), sjis("ユーザ"));
  EXPECT_EQ(CLogObject::getLevelString(log_def::LOGLEVEL_PROGRESS), sjis("経過表示"));
  EXPECT_EQ(CLogObject::getLevelString(log_def::LOGLEVEL_DEBUG), sjis("デバッグ"));
  for (int level : {0, 4}) {
    EXPECT_EQ(CLogObject::getLevelString(static_cast<log_def::tagLOGLEVEL>(level)), other) << level;
  }

  CLogObject log = sampleLog();
  EXPECT_STREQ(log.getTypeString(), sjis("TRAPログ").c_str());
  EXPECT_STREQ(log.getLevelString(), sjis("経過表示").c_str());
  log.setType(static_cast<log_def::tagLOGTYPE>(9));
  EXPECT_STREQ(log.getTypeString(), other.c_str());
}

// ---- CActionCommand ---------------------------------------------------------

TEST(ActionCommand, TypeTableForTypesZeroToEleven) {
  struct Row {
    const char* name;
    const char* description;
    bool serverSide;
  };
  const Row rows[] = {
      {"カスタムコマンド", "イベント発生時に、指定コマンドを実行します。", true},
      {"ポップアップ", "イベント発生時に、ポップアップ・ウィンドウに表示します。", false},
      {"ビープ", "イベント発生時に、ビープ音を鳴らします。", false},
      {"WAVEサウンド", "イベント発生時に、指定のWAVEファイルを鳴らします。", false},
      {"機器管理", "イベント発生時に、機器管理AP(OrvaView)を起動します。", false},
      {"MIBブラウザ起動", "イベント発生時に、MIBブラウザ(Lunet)を起動します。", false},
      {"TELNETコンソール起動", "イベント発生時に、TELNETコンソールを起動します。", false},
      {"TFTPクライアント起動", "イベント発生時に、TFTPクライアントAP(Tyfra)を起動します。", false},
      {"メール送信", "イベント発生時に、指定された内容のメールを送信します。", true},
      {"TRAP転送", "TRAP受信時に、そのTRAPを転送します。", true},
      {"経路テスト・コマンド", "イベント発生時に、経路テスト・コマンドを実行します。", true},
      {"", "", true},
  };
  for (int type = 0; type <= 11; ++type) {
    const Row& row = rows[type];
    EXPECT_EQ(CActionCommand::getDefaultActionName(type), sjis(row.name)) << type;
    EXPECT_EQ(CActionCommand::getDefaultDescription(type), sjis(row.description)) << type;
    EXPECT_EQ(CActionCommand::getDefaultServerSide(type), row.serverSide) << type;

    // A command set to the type: built-in types carry their number as text.
    CActionCommand command;
    command.setCommand("run.sh");
    command.setServerSide(!row.serverSide);
    command.setCommandType(type);
    EXPECT_EQ(command.isServerSide(), row.serverSide) << type;
    EXPECT_EQ(command.getCommandType(), type) << type;
    EXPECT_EQ(command.getCommandEntity(), type == 0 ? "run.sh" : std::to_string(type)) << type;
    EXPECT_EQ(command.getCommand(), type == 0 ? "run.sh" : "") << type;
    EXPECT_EQ(command.getActionName(), sjis(row.name)) << type;
    EXPECT_EQ(command.getDefaultDescription(), sjis(row.description)) << type;
  }
  // The web-browser texts (7021, 7022) belong to no type; numbers beyond the
  // table and negative ones have no texts and run on the server.
  for (int type : {-1, 12, 7021}) {
    EXPECT_EQ(CActionCommand::getDefaultActionName(type), "") << type;
    EXPECT_EQ(CActionCommand::getDefaultDescription(type), "") << type;
    EXPECT_TRUE(CActionCommand::getDefaultServerSide(type)) << type;
  }
}

TEST(ActionCommand, SwitchingTypesKeepsOrReplacesTheCommandText) {
  CActionCommand command;
  command.setCommand("notify.exe %s");
  command.setServerSide(true);
  EXPECT_EQ(command.getCommandType(), 0);
  command.setCommandType(4);
  EXPECT_EQ(command.getCommandEntity(), "4");
  EXPECT_FALSE(command.isServerSide());
  EXPECT_EQ(command.getCommand(), "");

  // Back to custom: the text stays, so the type read from it stays too.
  command.setCommandEntity("9");
  command.setServerSide(false);
  command.setCommandType(0);
  EXPECT_EQ(command.getCommandEntity(), "9");
  EXPECT_EQ(command.getCommandType(), 9);
  EXPECT_TRUE(command.isServerSide());

  // The type is the leading decimal number of the text, as atoi reads it.
  const std::pair<const char*, int> texts[] = {{"12abc", 12}, {"abc 3", 0}, {"-2", -2}, {"0x10", 0}};
  for (const auto& [text, type] : texts) {
    command.setCommand(text);
    EXPECT_EQ(command.getCommandType(), type) << text;
    EXPECT_EQ(command.getCommand(), type == 0 ? text : "") << text;
  }
}

TEST(ActionCommand, EmptyAndCompare) {
  CActionCommand command;
  EXPECT_TRUE(command.empty());
  EXPECT_EQ(command.getId(), 0);
  EXPECT_FALSE(command.isServerSide());
  command.setCommand("beep");
  EXPECT_TRUE(command.empty());  // id 0
  command.setId(3);
  EXPECT_FALSE(command.empty());
  command.setCommand("");
  EXPECT_TRUE(command.empty());

  CActionCommand a;
  CActionCommand b;
  a.setId(10);
  b.setId(3);
  EXPECT_EQ(a.compare(b), 7);
  EXPECT_EQ(b.compare(a), -7);
  a.setId(INT_MIN);
  b.setId(1);
  EXPECT_EQ(a.compare(b), INT_MAX);
}

// ---- ActionFilter -------------------------------------------------------------

}  // namespace

ActionFilter recordtest::sampleFilter() {
  ActionFilter filter;
  filter.setAvailables(ActionFilter::FLAG_LOG_TYPE | ActionFilter::FLAG_ADDRESS | ActionFilter::FLAG_INTERNAL_NAME);
  filter.setId(0x80000001);
  filter.setStartTime(CTime(1700000000));
  filter.setEndTime(CTime(-1));
  filter.setLogType(log_def::LOGTYPE_ALARM);
  filter.setLogSubType(log_def::LOGSUBTYPE_RISING_THRESHOLD);
  filter.setAddress("192.168.1.20");
  filter.setSysObjectId("1.3.6.1.4.1.99");
  filter.setActionId(12);
  filter.setInternalName(kSo);
  return filter;
}

namespace {

Bytes sampleFilterBytes() {
  ByteList b;
  dword(b, 0x128);  // availables: log type, address, internal name
  dword(b, 0x80000001);
  qword(b, 1700000000);
  qword(b, 0xFFFFFFFFFFFFFFFF);
  dword(b, 2);  // log type
  dword(b, 4);  // log subtype: rising threshold
  text(b, "192.168.1.20");
  text(b, "1.3.6.1.4.1.99");
  dword(b, 12);
  text(b, kSo);
  return b.bytes();
}

TEST(ActionFilter, FlagsAreSetAndClearedApartFromTheFields) {
  ActionFilter filter;
  EXPECT_EQ(filter.getAvailables(), 0u);
  EXPECT_EQ(recordtest::storeRecord(filter), Bytes(4 + 4 + 8 + 8 + 4 + 4 + 1 + 1 + 4 + 1, 0));

  filter.setAddress("10.1.1.1");
  filter.setId(5);
  EXPECT_FALSE(filter.isAddress());
  EXPECT_FALSE(filter.isIdentifier());

  using TestFn = bool (ActionFilter::*)() const;
  const std::pair<ULONG, TestFn> bits[] = {
      {1, &ActionFilter::isIdentifier},   {2, &ActionFilter::isStartTime},      {4, &ActionFilter::isEndTime},
      {8, &ActionFilter::isLogType},      {16, &ActionFilter::isLogSubType},    {32, &ActionFilter::isAddress},
      {64, &ActionFilter::isSysObjectId}, {128, &ActionFilter::isActionId},     {256, &ActionFilter::isInternalName},
  };
  for (const auto& [bit, test] : bits) {
    filter.setAvailables(0);
    filter.addAvailables(bit);
    EXPECT_EQ(filter.getAvailables(), bit);
    for (const auto& [other, otherTest] : bits) EXPECT_EQ((filter.*otherTest)(), other == bit) << bit << " " << other;
  }
  filter.setAvailables(0);
  filter.addFlags(0x0F);
  filter.addAvailables(0x100);
  EXPECT_EQ(filter.getAvailables(), 0x10Fu);
  filter.extractFlags(0x05);
  EXPECT_EQ(filter.getAvailables(), 0x10Au);
  filter.extractFlags(0x400);
  EXPECT_EQ(filter.getAvailables(), 0x10Au);

  filter = sampleFilter();
  filter.clear();
  EXPECT_EQ(filter.getAvailables(), 0u);
  EXPECT_EQ(filter.getId(), 0u);
  EXPECT_EQ(filter.getEndTime().GetTime(), 0);
  EXPECT_TRUE(filter.getInternalName().IsEmpty());
  EXPECT_EQ(filter.getActionId(), 0);
}

TEST(ActionFilter, OrderByIdentifierAndByTheFieldsInForce) {
  const ActionFilter base = sampleFilter();
  auto changed = [&](auto change) {
    ActionFilter f = base;
    change(f);
    return f;
  };
  // compare: the identifier alone, as a 32-bit difference.
  EXPECT_EQ(changed([](ActionFilter& f) { f.setId(0x80000004); }).compare(base), 3);
  EXPECT_EQ(changed([](ActionFilter& f) { f.setId(0); }).compare(base), 0x7FFFFFFF);
  EXPECT_EQ(changed([](ActionFilter& f) { f.setAddress("x"); }).compare(base), 0);

  // compareEntity: flags first.
  EXPECT_EQ(changed([](ActionFilter& f) { f.addFlags(ActionFilter::FLAG_IDENTIFIER); }).compareEntity(base), 1);
  EXPECT_LT(changed([](ActionFilter& f) {
              f.extractFlags(ActionFilter::FLAG_INTERNAL_NAME);
              f.setLogType(log_def::LOGTYPE_TRAP);
            }).compareEntity(base),
            0);

  // Only flag 8 with log type 3: other fields do not matter.
  ActionFilter a;
  ActionFilter b;
  a.setAvailables(ActionFilter::FLAG_LOG_TYPE);
  b.setAvailables(ActionFilter::FLAG_LOG_TYPE);
  a.setLogType(log_def::LOGTYPE_TRAP);
  b.setLogType(log_def::LOGTYPE_TRAP);
  a.setAddress("10.0.0.1");
  b.setAddress("10.0.0.2");
  b.setId(99);
  b.setActionId(4);
  b.setStartTime(CTime(5));
  EXPECT_EQ(a.compareEntity(b), 0);
  b.setLogType(log_def::LOGTYPE_INFORMATION);
  EXPECT_EQ(a.compareEntity(b), -1);

  // With every flag set but the identifier, each field in force decides in
  // turn: start, end, log type, subtype, internal name, address,
  // sysObjectId, action id.
  const ActionFilter all = changed([](ActionFilter& f) { f.setAvailables(0x1FE); });
  auto allChanged = [&](auto change) {
    ActionFilter f = all;
    change(f);
    return f.compareEntity(all);
  };
  EXPECT_EQ(allChanged([](ActionFilter& f) { f.setId(1); }), 0);
  EXPECT_EQ(allChanged([](ActionFilter& f) {
              f.setStartTime(CTime(1699999999));
              f.setEndTime(CTime(100));
            }),
            -1);
  EXPECT_EQ(allChanged([](ActionFilter& f) {
              f.setEndTime(CTime(0));
              f.setLogType(log_def::LOGTYPE_ERROR);
            }),
            1);  // -1 < 0 as signed 64-bit times
  EXPECT_EQ(allChanged([](ActionFilter& f) {
              f.setLogType(log_def::LOGTYPE_INFORMATION);
              f.setLogSubType(log_def::LOGSUBTYPE_UNDEFINED);
            }),
            2);
  EXPECT_EQ(allChanged([](ActionFilter& f) {
              f.setLogSubType(log_def::LOGSUBTYPE_FALLING_THRESHOLD);
              f.setInternalName("A");
            }),
            1);
  EXPECT_GT(allChanged([](ActionFilter& f) {
              f.setInternalName("\x83\x5D");
              f.setAddress("0");
            }),
            0);
  EXPECT_LT(allChanged([](ActionFilter& f) {
              f.setAddress("192.168.1.2");
              f.setSysObjectId("9");
            }),
            0);
  EXPECT_GT(allChanged([](ActionFilter& f) {
              f.setSysObjectId("1.3.6.1.4.1.990");
              f.setActionId(-100);
            }),
            0);
  EXPECT_EQ(allChanged([](ActionFilter& f) { f.setActionId(20); }), 8);

  // The same changes are ignored when their flags are not set.
  ActionFilter none = base;
  none.setAvailables(0);
  ActionFilter other = sampleFilter();
  other.setAvailables(0);
  other.setStartTime(CTime(1));
  other.setInternalName("zzz");
  other.setActionId(-1);
  EXPECT_EQ(none.compareEntity(other), 0);
}

TEST(ActionFilter, ArchiveFormInDeclaredOrder) {
  const ActionFilter filter = sampleFilter();
  const Bytes golden = sampleFilterBytes();
  EXPECT_EQ(recordtest::storeRecord(filter), golden);

  ActionFilter loaded;
  recordtest::loadRecord(golden, loaded);
  EXPECT_EQ(loaded.compareEntity(filter), 0);
  EXPECT_EQ(recordtest::storeRecord(loaded), golden);

  std::unique_ptr<ActionFilter> object;
  const Bytes bytes = recordtest::roundTripThroughObject(filter, object);
  ByteList tag;
  newClass(tag, "ActionFilter", 1);
  EXPECT_EQ(bytes, cat(tag.bytes(), golden));
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->compare(filter), 0);
  EXPECT_EQ(object->compareEntity(filter), 0);
  // Asked for a filter, given a log object: refused.
  EXPECT_EQ(mfctest::causeOf([&] {
              const Bytes logBytes = mfctest::store([](CArchive& ar) {
                const CLogObject log;
                ar << static_cast<const CObject*>(&log);
              });
              mfctest::load(logBytes, [](CArchive& ar) { delete ar.ReadObject(RUNTIME_CLASS(ActionFilter)); });
            }),
            CArchiveException::badClass);
}

}  // namespace

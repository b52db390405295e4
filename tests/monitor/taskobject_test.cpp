#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "RecordArchiveTestUtil.h"
#include "RecordSamples.h"

// A task with every field set, the falling threshold at -1 and the rising
// one at 0.
CTaskObject recordtest::sampleTask() {
  CTaskObject task;
  task.setName("T1");
  task.setDisplayName("Disp");
  task.setDNSName("h");
  task.setIpAddress("10.0.0.1");
  task.setReadCommunityName("public");
  task.setMibVariables({"1.3.6.1", "ifInOctets.1"});
  task.setTaskStatus(CTaskObject::TASKSTATUS_RUNNING);
  task.setRmonFlag(CTaskObject::RMONFLAG_USED);
  task.setStartTime(CTime(0x0000000102030405LL));
  task.setRisingThresholdInt(0);
  task.setFallingThreshold("-1");
  task.setLastSampleValues({"7"});
  task.setPollingCount(3);
  task.setSnmpVersion(SNMP_VERSION_2C);
  return task;
}

namespace {

using recordtest::ByteList;
using recordtest::Bytes;
using recordtest::dword;
using recordtest::qword;
using recordtest::sampleTask;
using recordtest::text;

// The archive of sampleTask() up to and including wrapFlag.
ByteList sampleTaskWithoutVersion() {
  ByteList b;
  text(b, "T1");
  text(b, "Disp");
  text(b, "");
  text(b, "h");
  text(b, "10.0.0.1");
  text(b, "public");
  text(b, "");
  dword(b, 2);
  text(b, "1.3.6.1");
  text(b, "ifInOctets.1");
  dword(b, 1);                    // taskType
  dword(b, 2);                    // taskStatus
  dword(b, 1);                    // rmonFlag
  qword(b, 0x0000000102030405);   // startTime
  dword(b, 50);                   // samplesRequested
  dword(b, 10);                   // pollingInterval
  dword(b, 3);                    // alarmType
  dword(b, 0);                    // rising, low half
  dword(b, 0);                    // rising, high half
  dword(b, 0xFFFFFFFF);           // falling, low half
  dword(b, 0);                    // the rising threshold's high half again
  dword(b, 2);                    // sampleType
  dword(b, 1);
  text(b, "7");
  dword(b, 3);                    // pollingCount
  dword(b, 0);                    // wrapFlag
  return b;
}

Bytes withWords(ByteList list, std::initializer_list<uint32_t> words) {
  for (uint32_t w : words) dword(list, w);
  return list.bytes();
}

TEST(TaskObject, DefaultsAndRuntimeClass) {
  const CTaskObject task;
  EXPECT_EQ(task.getName(), "");
  EXPECT_TRUE(task.getMibVariables().empty());
  EXPECT_EQ(task.getTaskType(), 1);
  EXPECT_EQ(task.getTaskStatus(), 1);
  EXPECT_EQ(task.getRmonFlag(), 0);
  EXPECT_FALSE(task.isUsingRmon());
  EXPECT_EQ(task.getStartTime().GetTime(), 0);
  EXPECT_EQ(task.getSamplesRequested(), 50);
  EXPECT_EQ(task.getPollingInterval(), 10);
  EXPECT_EQ(task.getAlarmType(), 3);
  EXPECT_EQ(task.getRisingThreshold(), "0");
  EXPECT_EQ(task.getFallingThreshold(), "0");
  EXPECT_EQ(task.getSampleType(), 2);
  EXPECT_EQ(task.getPollingCount(), 0u);
  EXPECT_EQ(task.getWrapFlag(), 0);
  EXPECT_EQ(task.getSnmpVersion(), -1);

  EXPECT_STREQ(task.GetRuntimeClass()->m_lpszClassName, "CTaskObject");
  EXPECT_EQ(CRuntimeClass::FromName("CTaskObject"), RUNTIME_CLASS(CTaskObject));
  std::unique_ptr<CObject> made(RUNTIME_CLASS(CTaskObject)->CreateObject());
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CTaskObject)));
}

TEST(TaskObject, RisingPrintsUnsignedFallingSignedAndTextParsesSigned) {
  CTaskObject task;
  task.setRisingThreshold("-1");
  task.setFallingThreshold("-1");
  EXPECT_EQ(task.getRisingThresholdInt(), UINT64_MAX);
  EXPECT_EQ(task.getRisingThreshold(), "18446744073709551615");
  EXPECT_EQ(task.getFallingThresholdInt(), UINT64_MAX);
  EXPECT_EQ(task.getFallingThreshold(), "-1");

  // Above the signed range the text parse stops at the signed limit; the
  // Int setter keeps the whole unsigned value.
  task.setRisingThreshold("18446744073709551615");
  EXPECT_EQ(task.getRisingThreshold(), "9223372036854775807");
  task.setRisingThresholdInt(18446744073709551615ULL);
  EXPECT_EQ(task.getRisingThreshold(), "18446744073709551615");
  task.setFallingThresholdInt(0x8000000000000000ULL);
  EXPECT_EQ(task.getFallingThreshold(), "-9223372036854775808");

  // Leading blanks, a sign, digits up to the first other character.
  const std::vector<std::pair<std::string, std::string>> parses = {
      {"  +42abc", "42"}, {"", "0"}, {"abc", "0"}, {"-0", "0"}, {"12 34", "12"},
      {"-9223372036854775809", "-9223372036854775808"}};
  for (const auto& [in, shown] : parses) {
    task.setFallingThreshold(in);
    EXPECT_EQ(task.getFallingThreshold(), shown) << in;
  }
}

TEST(TaskObject, RemaindersAndTerms) {
  CTaskObject task;
  EXPECT_EQ(task.getRemainder(false), 50);
  EXPECT_EQ(task.getRemainder(true), 490);  // the first sample costs no interval
  EXPECT_EQ(task.getTerm().GetTotalSeconds(), 490);

  task.incPollingCount();
  EXPECT_EQ(task.getRemainder(false), 49);
  EXPECT_EQ(task.getRemainder(true), 490);  // once polling began every sample costs one
  task.incPollingCount(48);
  EXPECT_EQ(task.getPollingCount(), 49u);
  EXPECT_EQ(task.getRemainder(false), 1);
  EXPECT_EQ(task.getRemainder(true), 10);
  task.setPollingCount(50);
  EXPECT_EQ(task.getRemainder(false), 0);
  EXPECT_EQ(task.getRemainder(true), 0);
  task.setPollingCount(60);
  EXPECT_EQ(task.getRemainder(false), 0);
  EXPECT_EQ(task.getRemainder(true), 0);

  task.setWrapFlag(1);
  EXPECT_EQ(task.getRemainder(false), -1);
  EXPECT_EQ(task.getRemainder(true), -1);
  task.setWrapFlag(0);
  task.setSamplesRequested(-1);
  EXPECT_EQ(task.getRemainder(false), -1);
  EXPECT_EQ(task.getRemainder(true), -1);
  EXPECT_EQ(task.getTerm().GetTotalSeconds(), 0);

  // One sample takes no time; no sample gives minus one interval.
  task.setPollingCount(0);
  task.setSamplesRequested(1);
  EXPECT_EQ(task.getRemainder(true), 0);
  EXPECT_EQ(task.getTerm().GetTotalSeconds(), 0);
  task.setSamplesRequested(0);
  EXPECT_EQ(task.getRemainder(false), 0);
  EXPECT_EQ(task.getRemainder(true), -10);

  // Large counts and intervals do not overflow.
  task.setSamplesRequested(INT_MAX);
  task.setPollingInterval(INT_MAX);
  EXPECT_EQ(task.getRemainder(true), static_cast<LONGLONG>(INT_MAX - 1) * INT_MAX);
  EXPECT_EQ(task.getTerm().GetTotalSeconds(), static_cast<LONGLONG>(INT_MAX - 1) * INT_MAX);
  task.setPollingInterval(-5);
  EXPECT_EQ(task.getTerm().GetTotalSeconds(), 0);
  // A polling count beyond the signed range still counts as done.
  task.setSamplesRequested(50);
  task.setPollingInterval(10);
  task.setPollingCount(-1);
  EXPECT_EQ(task.getPollingCount(), 0xFFFFFFFFu);
  EXPECT_EQ(task.getRemainder(false), 0);
}

TEST(TaskObject, CopiesTakeEveryField) {
  const CTaskObject source = sampleTask();
  EXPECT_EQ(CTaskObject(source).describeFields(), source.describeFields());
  CTaskObject assigned;
  assigned = source;
  EXPECT_EQ(assigned.describeFields(), source.describeFields());
}

TEST(TaskObject, GoldenArchiveAndFallingThresholdTakesRisingUpperHalf) {
  const CTaskObject task = sampleTask();
  const Bytes expected = withWords(sampleTaskWithoutVersion(), {1});
  EXPECT_EQ(recordtest::storeRecord(task), expected);

  CTaskObject loaded;
  recordtest::loadRecord(expected, loaded);
  EXPECT_EQ(recordtest::storeRecord(loaded), expected);
  // -1 stored with a rising threshold of 0 comes back as 2^32 - 1.
  EXPECT_EQ(loaded.getFallingThresholdInt(), 4294967295ULL);
  EXPECT_EQ(loaded.getFallingThreshold(), "4294967295");

  // Every other field survives; the falling threshold takes the rising
  // threshold's upper half.
  CTaskObject wide = sampleTask();
  wide.setRisingThresholdInt(0xAAAAAAAA00000001ULL);
  wide.setFallingThresholdInt(0x1234567800000002ULL);
  CTaskObject back;
  recordtest::loadRecord(recordtest::storeRecord(wide), back);
  EXPECT_EQ(back.getRisingThresholdInt(), 0xAAAAAAAA00000001ULL);
  EXPECT_EQ(back.getFallingThresholdInt(), 0xAAAAAAAA00000002ULL);
  wide.setFallingThresholdInt(back.getFallingThresholdInt());
  EXPECT_EQ(back.describeFields(), wide.describeFields());
}

TEST(TaskObject, ThroughObjectPointerCarriesClassTag) {
  const CTaskObject task = sampleTask();
  std::unique_ptr<CTaskObject> loaded;
  const Bytes bytes = recordtest::roundTripThroughObject(task, loaded);
  ByteList expected;
  expected << 0xFF << 0xFF << 0x01 << 0x00 << 0x0B << 0x00 << "CTaskObject";
  const Bytes body = withWords(sampleTaskWithoutVersion(), {1});
  Bytes whole = expected.bytes();
  whole.insert(whole.end(), body.begin(), body.end());
  EXPECT_EQ(bytes, whole);
  ASSERT_NE(loaded, nullptr);
  CTaskObject expectedTask = sampleTask();
  expectedTask.setFallingThresholdInt(4294967295ULL);
  EXPECT_EQ(loaded->describeFields(), expectedTask.describeFields());
}

// Loads `bytes` with SerializeEx(version) into a task whose snmpVersion is
// `before`, then reads one more 32-bit word; returns the version and that word.
std::pair<int, LONG> loadVersionThenNext(const Bytes& bytes, int version, SNMP_VERSION before,
                                         int bufferSize = 4096) {
  CTaskObject task;
  task.setSnmpVersion(before);
  LONG next = 0;
  mfctest::load(bytes, [&](CArchive& ar) {
    task.SerializeEx(ar, version);
    ar >> next;
  }, bufferSize);
  return {task.getSnmpVersion(), next};
}

TEST(TaskObject, SnmpVersionLoadingFollowsTheDataVersion) {
  const ByteList head = sampleTaskWithoutVersion();
  const Bytes fiveThenMarker = withWords(head, {5, 0x7777});
  // Version 0 never reads it; version 1 looks at 5 and leaves it; version 2
  // reads it whatever it is.
  EXPECT_EQ(loadVersionThenNext(fiveThenMarker, 0, SNMP_VERSION_1), std::make_pair(0, 5));
  EXPECT_EQ(loadVersionThenNext(fiveThenMarker, 1, SNMP_VERSION_1), std::make_pair(0, 5));
  EXPECT_EQ(loadVersionThenNext(fiveThenMarker, 2, SNMP_VERSION_1), std::make_pair(5, 0x7777));
  EXPECT_EQ(loadVersionThenNext(fiveThenMarker, 7, SNMP_VERSION_1), std::make_pair(5, 0x7777));
  EXPECT_EQ(loadVersionThenNext(fiveThenMarker, -3, SNMP_VERSION_1), std::make_pair(0, 5));

  // Version 1 takes 0, 1 and -1 and nothing else.
  for (uint32_t word : {0u, 1u, 0xFFFFFFFFu}) {
    const Bytes bytes = withWords(head, {word, 0x7777});
    EXPECT_EQ(loadVersionThenNext(bytes, 1, static_cast<SNMP_VERSION>(9)),
              std::make_pair(static_cast<int>(word), 0x7777));
  }
  for (uint32_t word : {2u, 0xFFFFFFFEu, 0x100u}) {
    const Bytes bytes = withWords(head, {word});
    EXPECT_EQ(loadVersionThenNext(bytes, 1, static_cast<SNMP_VERSION>(9)),
              std::make_pair(9, static_cast<LONG>(word)));
  }

  // The word looked at may straddle the 128-byte buffer's edge: pad the name
  // so that it starts at the offsets around it.
  CTaskObject unnamed = sampleTask();
  unnamed.setName("");
  const size_t start = recordtest::storeRecord(unnamed).size() - 4;
  for (size_t at = 124; at <= 129; ++at) {
    const size_t pad = at - start;
    CTaskObject task = sampleTask();
    task.setName(std::string(pad, 'n'));
    Bytes bytes = recordtest::storeRecord(task);
    bytes.erase(bytes.end() - 4, bytes.end());  // drop snmpVersion
    ByteList list;
    list << std::string(bytes.begin(), bytes.end());
    EXPECT_EQ(loadVersionThenNext(withWords(list, {5, 0x7777}), 1, SNMP_VERSION_1, 128),
              std::make_pair(0, 5))
        << pad;
    EXPECT_EQ(loadVersionThenNext(withWords(list, {1, 0x7777}), 1, SNMP_VERSION_1, 128),
              std::make_pair(1, 0x7777))
        << pad;
  }
}

TEST(TaskObject, VersionOneLoadAtTheEndOfTheArchive) {
  const ByteList head = sampleTaskWithoutVersion();
  // An archive of the older layout may end after wrapFlag: version 1 reads
  // nothing more, version 2 runs into the end.
  CTaskObject task;
  task.setSnmpVersion(SNMP_VERSION_2C);
  mfctest::load(head.bytes(), [&](CArchive& ar) { task.SerializeEx(ar, 1); });
  EXPECT_EQ(task.getSnmpVersion(), SNMP_VERSION_2C);
  EXPECT_EQ(task.getPollingCount(), 3u);
  EXPECT_EQ(mfctest::causeOf([&] { recordtest::loadRecord(head.bytes(), task); }),
            CArchiveException::endOfFile);

  // Fewer than four bytes left are not a word either, and stay unread.
  ByteList shortTail = head;
  shortTail << 0x01 << 0x00;
  task.setSnmpVersion(SNMP_VERSION_NOT_SET);
  mfctest::load(shortTail.bytes(), [&](CArchive& ar) {
    task.SerializeEx(ar, 1);
    BYTE rest[4] = {};
    EXPECT_EQ(ar.Read(rest, sizeof rest), 2u);
    EXPECT_EQ(rest[0], 0x01);
  });
  EXPECT_EQ(task.getSnmpVersion(), SNMP_VERSION_NOT_SET);
}

}  // namespace

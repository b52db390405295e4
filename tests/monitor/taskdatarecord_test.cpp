#include <gtest/gtest.h>

#include "RecordArchiveTestUtil.h"
#include "monitor/TaskDataRecord.h"

namespace {

using mfctest::Bytes;
using mfctest::bytesOf;

CTaskDataRecord sampleRecord() {
  CTaskDataRecord record;
  record.setSampleIndex(0x01020304);
  record.setPollStartTime(CTime(1700000000));
  record.setSysUpTime("12:34:56.78");
  record.setMibValues("\x83\x5C,5");  // code page 932 text is kept byte for byte
  return record;
}

TEST(TaskDataRecord, DefaultsAndIndependentCopies) {
  const CTaskDataRecord empty;
  EXPECT_EQ(empty.getSampleIndex(), 0u);
  EXPECT_EQ(empty.getPollStartTime().GetTime(), 0);
  EXPECT_EQ(empty.getSysUpTime(), "");
  EXPECT_EQ(empty.getMibValues(), "");
  EXPECT_STREQ(empty.GetRuntimeClass()->m_lpszClassName, "CTaskDataRecord");

  const CTaskDataRecord source = sampleRecord();
  CTaskDataRecord copy(source);
  EXPECT_EQ(copy.describeFields(), source.describeFields());
  copy.setSampleIndex(9);
  copy.setSysUpTime("0");
  copy.setPollStartTime(CTime(5));
  EXPECT_EQ(source.getSampleIndex(), 0x01020304u);
  EXPECT_EQ(source.getSysUpTime(), "12:34:56.78");
  EXPECT_EQ(source.getPollStartTime().GetTime(), 1700000000);
  CTaskDataRecord assigned;
  assigned = source;
  EXPECT_EQ(assigned.describeFields(), source.describeFields());
}

TEST(TaskDataRecord, GoldenArchiveRoundTripAndTruncation) {
  const Bytes expected = bytesOf({
      0x04, 0x03, 0x02, 0x01,                          // sampleIndex
      0x00, 0xF1, 0x53, 0x65, 0x00, 0x00, 0x00, 0x00,  // pollStartTime 1700000000
      0x0B, '1', '2', ':', '3', '4', ':', '5', '6', '.', '7', '8',
      0x04, 0x83, 0x5C, ',', '5'});
  EXPECT_EQ(recordtest::storeRecord(sampleRecord()), expected);
  CTaskDataRecord loaded;
  recordtest::loadRecord(expected, loaded);
  EXPECT_EQ(loaded.describeFields(), sampleRecord().describeFields());

  // Empty texts stay empty; a loaded record replaces every field.
  CTaskDataRecord zero;
  const Bytes zeroBytes = recordtest::storeRecord(zero);
  EXPECT_EQ(zeroBytes, Bytes(14, 0));
  recordtest::loadRecord(zeroBytes, loaded);
  EXPECT_EQ(loaded.describeFields(), zero.describeFields());

  std::unique_ptr<CTaskDataRecord> viaObject;
  recordtest::roundTripThroughObject(sampleRecord(), viaObject);
  ASSERT_NE(viaObject, nullptr);
  EXPECT_EQ(viaObject->describeFields(), sampleRecord().describeFields());

  recordtest::expectEveryTruncationOfRecordIsEndOfFile<CTaskDataRecord>(expected);
}

}  // namespace

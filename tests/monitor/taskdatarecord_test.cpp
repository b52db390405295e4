#include <gtest/gtest.h>

#include "RecordArchiveTestUtil.h"
#include "RecordSamples.h"

CTaskDataRecord recordtest::sampleTaskRecord() {
  CTaskDataRecord record;
  record.setSampleIndex(0x01020304);
  record.setPollStartTime(CTime(1700000000));
  record.setSysUpTime("12:34:56.78");
  record.setMibValues("\x83\x5C,5");  // code page 932 text is kept byte for byte
  return record;
}

namespace {

using mfctest::Bytes;
using mfctest::bytesOf;
using recordtest::sampleTaskRecord;

TEST(TaskDataRecord, GoldenArchiveRoundTrip) {
  const Bytes expected = bytesOf({
      0x04, 0x03, 0x02, 0x01,                          // sampleIndex
      0x00, 0xF1, 0x53, 0x65, 0x00, 0x00, 0x00, 0x00,  // pollStartTime 1700000000
      0x0B, '1', '2', ':', '3', '4', ':', '5', '6', '.', '7', '8',
      0x04, 0x83, 0x5C, ',', '5'});
  EXPECT_EQ(recordtest::storeRecord(sampleTaskRecord()), expected);
  CTaskDataRecord loaded;
  recordtest::loadRecord(expected, loaded);
  EXPECT_EQ(loaded.describeFields(), sampleTaskRecord().describeFields());

  // Empty texts stay empty; a loaded record replaces every field.
  CTaskDataRecord zero;
  const Bytes zeroBytes = recordtest::storeRecord(zero);
  EXPECT_EQ(zeroBytes, Bytes(14, 0));
  recordtest::loadRecord(zeroBytes, loaded);
  EXPECT_EQ(loaded.describeFields(), zero.describeFields());

  std::unique_ptr<CTaskDataRecord> viaObject;
  recordtest::roundTripThroughObject(sampleTaskRecord(), viaObject);
  ASSERT_NE(viaObject, nullptr);
  EXPECT_EQ(viaObject->describeFields(), sampleTaskRecord().describeFields());
  // A copy is the whole record.
  EXPECT_EQ(recordtest::storeRecord(CTaskDataRecord(sampleTaskRecord())), expected);
}

}  // namespace

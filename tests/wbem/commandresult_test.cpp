#include <gtest/gtest.h>

#include "../monitor/RecordArchiveTestUtil.h"
#include "wbem/CommandResult.h"

namespace {

using mfctest::Bytes;
using mfctest::bytesOf;

TEST(CommandResult, CodesAndMessagesOfEachSetter) {
  CommandResult r;
  EXPECT_EQ(r.getCode(), 0u);
  EXPECT_EQ(r.getMsg(), "");
  EXPECT_TRUE(r.isOK());

  r.setNG(17);
  EXPECT_EQ(r.getCode(), 17u);
  EXPECT_EQ(r.getMsg(), "NG");
  EXPECT_FALSE(r.isOK());
  r.setNG(0);  // an NG with code 0 still counts as OK: only the code is looked at
  EXPECT_TRUE(r.isOK());

  r.setOK();
  EXPECT_EQ(r.getCode(), 0u);
  EXPECT_EQ(r.getMsg(), "OK");

  r.setNotFound("Net/Sub1");
  EXPECT_EQ(r.getCode(), 2u);
  EXPECT_EQ(r.getMsg(), "Net/Sub1 was not found.");
  r.setNotFound("");
  EXPECT_EQ(r.getMsg(), " was not found.");

  r.setInvalidParameter();
  EXPECT_EQ(r.getCode(), 3u);
  EXPECT_EQ(r.getMsg(), "Invaid Parameter.");
  EXPECT_EQ(r.toString(), "Invaid Parameter.: code = 00000003");

  r.setMoveFailure("dev1", "", "subB");
  EXPECT_EQ(r.getCode(), 4u);
  EXPECT_EQ(r.getMsg(), "Object moving failure: Target dev1, src parent null, dest parent subB");
  r.setMoveFailure("", "", "");
  EXPECT_EQ(r.getMsg(), "Object moving failure: Target null, src parent null, dest parent null");
  r.setRenameFailure("dev1", "");
  EXPECT_EQ(r.getCode(), 5u);
  EXPECT_EQ(r.getMsg(), "Object renaming failure: Target dev1, New name null");
  r.setRenameFailure("a%sb", "n");  // arguments are text, not formats
  EXPECT_EQ(r.getMsg(), "Object renaming failure: Target a%sb, New name n");

  r.setRunning("task T1 is running");
  EXPECT_EQ(r.getCode(), 6u);
  EXPECT_EQ(r.getMsg(), "task T1 is running");
  r.setNotRunning("");
  EXPECT_EQ(r.getCode(), 7u);
  EXPECT_EQ(r.getMsg(), "");

  r.setSnmp(-2);
  EXPECT_EQ(r.getCode(), 8u);
  EXPECT_EQ(r.getMsg(), "SNMP error happens. code = -2");

  // Only the code changes.
  r.setOK();
  r.setGetChildren("Net/Sub1");
  EXPECT_EQ(r.getCode(), 9u);
  EXPECT_EQ(r.getMsg(), "OK");

  r.setCode(0xDEADBEEF);
  r.setMsg("m");
  EXPECT_EQ(r.toString(), "m: code = deadbeef");
  CommandResult copy(r);
  r.setOK();
  EXPECT_EQ(copy.toString(), "m: code = deadbeef");
  copy = r;
  EXPECT_EQ(copy.toString(), "OK: code = 00000000");
  EXPECT_EQ(copy.describeFields(), (om::RecordFields{{"code", "0"}, {"message", "OK"}}));
  r.setNotFound("x");
  copy.copyIn(r);  // a plain accessor, callable from outside
  EXPECT_EQ(copy.toString(), "x was not found.: code = 00000002");
}

TEST(CommandResult, GoldenArchiveRoundTripAndTruncation) {
  CommandResult r;
  r.setInvalidParameter();
  const Bytes expected = bytesOf({0x03, 0x00, 0x00, 0x00, 0x11, 'I', 'n', 'v', 'a', 'i', 'd', ' ', 'P',
                                  'a', 'r', 'a', 'm', 'e', 't', 'e', 'r', '.'});
  EXPECT_EQ(recordtest::storeRecord(r), expected);
  CommandResult loaded;
  recordtest::loadRecord(expected, loaded);
  EXPECT_EQ(loaded.getCode(), 3u);
  EXPECT_EQ(loaded.getMsg(), "Invaid Parameter.");

  // A long message takes the WORD length form.
  r.setRunning(std::string(300, 'r'));
  const Bytes longForm = recordtest::storeRecord(r);
  ASSERT_EQ(longForm.size(), 4u + 3u + 300u);
  EXPECT_EQ(Bytes(longForm.begin() + 4, longForm.begin() + 7), bytesOf({0xFF, 0x2C, 0x01}));
  recordtest::loadRecord(longForm, loaded);
  EXPECT_EQ(loaded.toString(), r.toString());

  std::unique_ptr<CommandResult> viaObject;
  const Bytes tagged = recordtest::roundTripThroughObject(r, viaObject);
  ASSERT_NE(viaObject, nullptr);
  EXPECT_EQ(viaObject->getMsg(), r.getMsg());
  EXPECT_EQ(std::string(tagged.begin() + 6, tagged.begin() + 19), "CommandResult");

  recordtest::expectEveryTruncationOfRecordIsEndOfFile<CommandResult>(expected);
}

}  // namespace

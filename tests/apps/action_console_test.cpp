// omconsole action and filter through a shell: action commands and action
// filters written, changed, read, listed and deleted, and the refusals.
#include <gtest/gtest.h>

#include "ShellTest.h"

namespace {

using ActionConsoleTest = ShellTest;

TEST_F(ActionConsoleTest, ActionCommandsAreWrittenChangedAndDeleted) {
  ASSERT_EQ(shell("action set 1 --command \"/bin/echo hi\" --param '$x' --description \"say hi\"\n"
                  "action set 2 --type 2\n"
                  "action list\n"
                  "action set 1 --type 8 --client-side\n"
                  "action delete 2\n"
                  "action show 1\n"
                  "action list\n"),
            0)
      << err_;
  EXPECT_EQ(out_,
            "set action 1\n"
            "set action 2\n"
            "1  0  カスタムコマンド  server  /bin/echo hi  $x  say hi\n"
            "2  2  ビープ  client  -  -  -\n"
            "set action 1\n"
            "deleted action 2\n"
            "id: 1\n"
            "type: 8\n"
            "name: メール送信\n"
            "side: client\n"
            "command:\n"
            "parameter: $x\n"
            "description: say hi\n"
            "1  8  メール送信  client  -  $x  say hi\n");
}

TEST_F(ActionConsoleTest, ActionJsonForms) {
  ASSERT_EQ(shell("action set 3 --command \"notify \\\"all\\\"\"\naction list --json\n"), 0) << err_;
  std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_EQ(json, "[\n  " R"({"id": 3, "type": 0, "name": "カスタムコマンド", "side": "server", )"
                  R"("command": "notify \"all\"", "parameter": "", "description": ""})" "\n]\n");
  ASSERT_EQ(shell("action set 4 --type 1 --server-side\naction show 4 --json\n"), 0) << err_;
  json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_NE(json.find(R"({"id": 4, "type": 1, )"), std::string::npos) << json;
  EXPECT_NE(json.find(R"("side": "server")"), std::string::npos) << json;
}

TEST_F(ActionConsoleTest, ActionRefusals) {
  EXPECT_EQ(shell("action set 3 --type 11\n"
                  "action set 3 --type 1 --command x\n"
                  "action set 3 --type 1 --server-side --client-side\n"
                  "action set x --type 1\n"
                  "action set 0 --type 1\n"
                  "action delete 9\n"
                  "action show 9\n"),
            1);
  const std::string usage =
      "omconsole: usage: omconsole action set ID (--command TEXT | --type N) [--param TEXT] [--description TEXT] "
      "[--server-side | --client-side]";
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               usage,
                               usage,
                               usage,
                               usage,
                               "omconsole: action set 0: WBEM_E_INVALID_PARAMETER",
                               "omconsole: action delete 9: WBEM_E_NOT_FOUND",
                               "omconsole: action show 9: WBEM_E_NOT_FOUND",
                           }));
  EXPECT_EQ(out_, "");
}

TEST_F(ActionConsoleTest, AFilterShowsOnlyTheFieldsInForce) {
  ASSERT_EQ(shell("filter set 5 --log-type 4 --name t1 --from \"2024-01-02 03:04:05\"\n"
                  "filter set 5 --address 10.0.0.1\n"
                  "filter set 6 --action 1 --log-subtype 19 --oid 1.3.6.1.4.1.9 --to \"2030-12-31 23:59:59\"\n"
                  "filter show 5\n"
                  "filter list\n"
                  "filter delete 6\n"
                  "filter show 5 --json\n"),
            0)
      << err_;
  EXPECT_EQ(out_,
            "set filter 5\n"
            "set filter 5\n"
            "set filter 6\n"
            "id: 5\n"
            "logType: 4\n"
            "address: 10.0.0.1\n"
            "name: t1\n"
            "from: 2024-01-02 03:04:05\n"
            "5  -  4  -  10.0.0.1  -  t1  2024-01-02 03:04:05  -\n"
            "6  1  -  19  -  1.3.6.1.4.1.9  -  -  2030-12-31 23:59:59\n"
            "deleted filter 6\n"
            R"({"id": 5, "logType": 4, "address": "10.0.0.1", "name": "t1", "from": "2024-01-02 03:04:05"})"
            "\n");
}

TEST_F(ActionConsoleTest, FilterListJsonHasNullForFieldsNotInForce) {
  ASSERT_EQ(shell("filter set 7 --action 2\nfilter list --json\n"), 0) << err_;
  const std::string json = jsonPart(out_);
  EXPECT_TRUE(wellFormedJson(json)) << json;
  EXPECT_EQ(json, "[\n  " R"({"id": 7, "action": 2, "logType": null, "logSubtype": null, "address": null, )"
                  R"("oid": null, "name": null, "from": null, "to": null})" "\n]\n");
}

TEST_F(ActionConsoleTest, FilterRefusals) {
  EXPECT_EQ(shell("filter set 6 --to \"2024-13-02 03:04:05\"\n"
                  "filter set 6 --from \"2024-01-02\"\n"
                  "filter set 6 --from \"2023-02-29 10:00:00\"\n"
                  "filter set 6 --from \"2024-01-02 03:04:05 \"\n"
                  "filter set 6 --action x\n"
                  "filter set 6 --colour red\n"
                  "filter delete 6\n"
                  "filter show 6\n"
                  "filter set 0 --action 1\n"),
            1);
  const std::string usage =
      "omconsole: usage: omconsole filter set ID [--action ID] [--log-type N] [--log-subtype N] [--address A] "
      "[--oid OID] [--name INTERNALNAME]";
  EXPECT_EQ(linesOf(err_), (std::vector<std::string>{
                               usage,
                               usage,
                               usage,
                               usage,
                               usage,
                               usage,
                               "omconsole: filter delete 6: WBEM_E_NOT_FOUND",
                               "omconsole: filter show 6: WBEM_E_NOT_FOUND",
                               "omconsole: filter set 0: WBEM_E_INVALID_PARAMETER",
                           }));
}

}  // namespace

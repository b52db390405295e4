// The server's stores on disk: records come back byte for byte after the
// store is closed and opened again, keys keep the providers' orders,
// retention drops the oldest first, a damaged record is left out, and a
// writer killed at any instant leaves every acknowledged change and nothing
// half-written.
#include <gtest/gtest.h>

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "model/NetworkPath.h"
#include "model/SerializableNetObj.h"
#include "server/NetworkServer.h"
#include "server/store/ArchiveTransfer.h"
#include "server/store/DataStore.h"
#include "server/store/DurableStores.h"
#include "server/store/NetworkTree.h"
#include "server/store/RecordBytes.h"

namespace {

using om::server::DataStore;
using om::server::Retention;

const std::string kSep = CNetworkPath::getSeparator();

class DurableStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/om-store-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = std::string(pattern) + "/data";
    reopen();
  }
  void TearDown() override {
    data_.reset();
    std::filesystem::remove_all(std::filesystem::path(dir_).parent_path());
  }
  // Closes the store (one environment per file per process) and opens it again.
  void reopen() {
    data_.reset();
    std::string error;
    data_ = DataStore::open(dir_, error);
    ASSERT_NE(data_, nullptr) << error;
  }

  std::string dir_;
  std::unique_ptr<DataStore> data_;
};

CLogObject logRecord(const std::string& message, time_t time = CTime::GetCurrentTime().GetTime()) {
  CLogObject record;
  record.setLevel(log_def::LOGLEVEL_PROGRESS);
  record.setTime(CTime(time));
  record.setType(log_def::LOGTYPE_ERROR);
  record.setInternalName("node-1");
  record.setAddress("10.0.0.1");
  record.setMessage(message.c_str());
  return record;
}

std::vector<std::string> messages(const LogStore& logs) {
  std::vector<std::string> out;
  logs.scan([&](const CLogObject& record) {
    out.push_back(std::to_string(record.getIdentifier()) + ":" + std::string(record.getMessage()));
    return true;
  });
  return out;
}

CTaskDataRecord sample(time_t when, int index) {
  CTaskDataRecord record;
  record.setPollStartTime(CTime(when));
  record.setSampleIndex(index);
  record.setSysUpTime("1 days, 00:00:0" + std::to_string(index % 10));
  return record;
}

std::vector<int> sampleIndexes(const TaskRecordStore& store, const std::string& task) {
  std::vector<int> out;
  for (const CTaskDataRecord& record : store.list(task)) out.push_back(record.getSampleIndex());
  return out;
}

// Every path of the tree, depth first, with the archive form of its object.
void dump(const NetworkTree& tree, const std::string& path, std::vector<std::string>& out) {
  std::vector<NetworkObjectBase> children;
  tree.children(path, children);
  for (const NetworkObjectBase& child : children) {
    const std::string childPath = path + kSep + child.getName();
    out.push_back(childPath + " " + om::server::archiveBytes(SerializableNetObj(child)));
    dump(tree, childPath, out);
  }
}

std::vector<std::string> dump(const NetworkTree& tree) {
  std::vector<std::string> out;
  dump(tree, NetworkTree::physicalRootPath(), out);
  dump(tree, CNetworkPath(std::vector<std::string>{CNetworkPath::getLogicalRootName()}).getPath(), out);
  return out;
}

NetworkObjectBase node(const std::string& name, int type, const std::string& address = "") {
  NetworkObjectBase object;
  object.setName(name);
  object.setObjectType(type);
  if (!address.empty()) object.addIpAddress(address);
  object.setSysObjectID("1.3.6.1.4.1.8072.3.2.10");
  object.setNodeStatus(1);
  return object;
}

TEST_F(DurableStoreTest, RecordsComeBackInTheirArchiveFormAfterReopening) {
  CLogObject log = logRecord("link down");
  CTaskObject task;
  task.setName("ifInOctets of core");
  task.setSamplesRequested(5);
  SubnetBase subnet;
  subnet.setName("lab");
  subnet.setNetworkID("10.1.0.0");
  subnet.setSubnetMask("255.255.255.0");
  subnet.addCommunityName("public");
  subnet.addCommunityName("private");
  CActionCommand command;
  command.setId(-3);
  command.setCommand("/bin/true");
  command.setParam("%address%");
  ActionFilter filter;
  filter.setId(7);
  {
    om::server::DurableLogStore logs(*data_, {});
    om::server::DurableTaskStore tasks(*data_);
    om::server::DurableSubnetStore subnets(*data_);
    om::server::DurableActionStore actions(*data_);
    logs.put(log, nullptr);
    ASSERT_TRUE(tasks.add(task));
    subnets.put(subnet);
    actions.putCommand(command);
    actions.putFilter(filter);
  }
  reopen();
  om::server::DurableLogStore logs(*data_, {});
  om::server::DurableTaskStore tasks(*data_);
  om::server::DurableSubnetStore subnets(*data_);
  om::server::DurableActionStore actions(*data_);
  CLogObject logBack;
  ASSERT_TRUE(logs.find(1, logBack));
  EXPECT_EQ(om::server::archiveBytes(logBack), om::server::archiveBytes(log));
  // What the table holds is the record's archive form itself.
  std::string raw;
  ASSERT_TRUE(data_->read().get(DataStore::kLogs, om::server::numberKey(uint32_t{1}), raw));
  EXPECT_EQ(raw, om::server::archiveBytes(log));
  CTaskObject taskBack;
  ASSERT_TRUE(tasks.find(task.getName(), taskBack));
  EXPECT_EQ(om::server::archiveBytes(taskBack), om::server::archiveBytes(task));
  SubnetBase subnetBack;
  ASSERT_TRUE(subnets.find("lab", subnetBack));
  EXPECT_EQ(subnetBack.getCommunityNames(), (std::vector<std::string>{"public", "private"}));
  EXPECT_EQ(subnetBack.getNetworkID(), "10.1.0.0");
  CActionCommand commandBack;
  ASSERT_TRUE(actions.findCommand(-3, commandBack));
  EXPECT_EQ(commandBack.getCommand(), "/bin/true");
  EXPECT_EQ(commandBack.getParam(), "%address%");
  ActionFilter filterBack;
  EXPECT_TRUE(actions.findFilter(7, filterBack));
  EXPECT_EQ(om::server::archiveBytes(filterBack), om::server::archiveBytes(filter));
}

TEST_F(DurableStoreTest, KeysKeepTheOrdersProvidersList) {
  om::server::DurableActionStore actions(*data_);
  for (int id : {5, -1, 300, 0, -70000}) {
    CActionCommand command;
    command.setId(id);
    actions.putCommand(command);
  }
  std::vector<int> ids;
  for (const CActionCommand& command : actions.listCommands()) ids.push_back(command.getId());
  EXPECT_EQ(ids, (std::vector<int>{-70000, -1, 0, 5, 300}));

  om::server::DurableTaskRecordStore records(*data_, {});
  // Before and after 1970, and two tasks whose names share a beginning.
  records.put("poll", sample(2000000000, 3));
  records.put("poll", sample(-5, 1));
  records.put("poll", sample(100, 2));
  records.put("poll-2", sample(50, 9));
  EXPECT_EQ(sampleIndexes(records, "poll"), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(sampleIndexes(records, "poll-2"), (std::vector<int>{9}));
  records.removeTask("poll");
  EXPECT_TRUE(records.list("poll").empty());
  EXPECT_EQ(sampleIndexes(records, "poll-2"), (std::vector<int>{9}));

  // Backward scans start at the last key not after the one given.
  std::vector<uint32_t> keys;
  for (uint32_t k : {2u, 4u, 6u}) ASSERT_TRUE(data_->update([&](DataStore::Transaction& txn) {
    return txn.put(DataStore::kLogs, om::server::numberKey(k), "x");
  }));
  const auto backFrom = [&](uint32_t from) {
    std::vector<uint32_t> seen;
    data_->read().scan(DataStore::kLogs, om::server::numberKey(from), true, [&](std::string_view key, auto) {
      seen.push_back(om::server::numberOfKey(key));
      return true;
    });
    return seen;
  };
  EXPECT_EQ(backFrom(5), (std::vector<uint32_t>{4, 2}));
  EXPECT_EQ(backFrom(6), (std::vector<uint32_t>{6, 4, 2}));
  EXPECT_EQ(backFrom(9), (std::vector<uint32_t>{6, 4, 2}));
  EXPECT_TRUE(backFrom(1).empty());
}

TEST_F(DurableStoreTest, LogIdentifiersFollowTheHighestAndReplacingIsNotAdding) {
  om::server::DurableLogStore logs(*data_, {});
  bool added = false;
  CLogObject first = logRecord("a");
  EXPECT_EQ(logs.put(first, &added), 1u);
  EXPECT_TRUE(added);
  CLogObject chosen = logRecord("b");
  chosen.setIdentifier(10);
  EXPECT_EQ(logs.put(chosen, &added), 10u);
  CLogObject next = logRecord("c");
  EXPECT_EQ(logs.put(next, &added), 11u);
  CLogObject again = logRecord("b2");
  again.setIdentifier(10);
  logs.put(again, &added);
  EXPECT_FALSE(added);
  EXPECT_EQ(messages(logs), (std::vector<std::string>{"1:a", "10:b2", "11:c"}));
  EXPECT_TRUE(logs.remove(10));
  EXPECT_FALSE(logs.remove(10));
  EXPECT_EQ(logs.size(), 2u);
}

TEST_F(DurableStoreTest, RetentionDropsTheOldestFirst) {
  Retention byCount;
  byCount.maxLogs = 3;
  byCount.maxSamplesPerTask = 2;
  const time_t now = CTime::GetCurrentTime().GetTime();
  om::server::DurableLogStore logs(*data_, byCount);
  for (const char* text : {"1", "2", "3", "4", "5"}) {
    CLogObject record = logRecord(text, now - 7200);
    logs.put(record, nullptr);
  }
  EXPECT_EQ(messages(logs), (std::vector<std::string>{"3:3", "4:4", "5:5"}));

  om::server::DurableTaskRecordStore records(*data_, byCount);
  for (int i = 1; i <= 4; ++i) records.put("t", sample(1000 * i, i));
  records.put("other", sample(1, 1));
  EXPECT_EQ(sampleIndexes(records, "t"), (std::vector<int>{3, 4}));
  // A sample removed by hand leaves room for one more.
  EXPECT_TRUE(records.remove("t", CTime(3000)));
  records.put("t", sample(5000, 5));
  EXPECT_EQ(sampleIndexes(records, "t"), (std::vector<int>{4, 5}));
  EXPECT_EQ(sampleIndexes(records, "other"), (std::vector<int>{1}));

  Retention byAge;
  byAge.maxLogAgeSeconds = 3600;
  byAge.maxSampleAgeSeconds = 3600;
  om::server::DurableLogStore aging(*data_, byAge);
  CLogObject recent = logRecord("recent", now);
  aging.put(recent, nullptr);
  EXPECT_EQ(messages(aging), (std::vector<std::string>{"6:recent"}));  // the two-hour-old ones went
  om::server::DurableTaskRecordStore agingSamples(*data_, byAge);
  agingSamples.put("t", sample(now - 60, 6));
  EXPECT_EQ(sampleIndexes(agingSamples, "t"), (std::vector<int>{6}));
}

TEST_F(DurableStoreTest, ADamagedRecordIsLeftOutAndTheRestRead) {
  om::server::DurableLogStore logs(*data_, {});
  CLogObject good = logRecord("good");
  logs.put(good, nullptr);
  std::string bytes = om::server::archiveBytes(logRecord("cut"));
  ASSERT_TRUE(data_->update([&](DataStore::Transaction& txn) {
    return txn.put(DataStore::kLogs, om::server::numberKey(uint32_t{2}), bytes.substr(0, bytes.size() - 3)) &&
           txn.put(DataStore::kLogs, om::server::numberKey(uint32_t{3}), bytes + "extra");
  }));
  EXPECT_EQ(messages(logs), (std::vector<std::string>{"1:good"}));
  CLogObject out;
  EXPECT_FALSE(logs.find(2, out));
  EXPECT_FALSE(logs.find(3, out));
}

TEST_F(DurableStoreTest, TheTreeIsWrittenThroughAndTakenUpAgain) {
  const std::string physical = NetworkTree::physicalRootPath();
  const std::string logical = CNetworkPath(std::vector<std::string>{CNetworkPath::getLogicalRootName()}).getPath();
  std::vector<std::string> expected;
  {
    om::server::DurableTreeStore store(*data_);
    NetworkTree tree;
    ASSERT_TRUE(tree.add(physical, node("lab", kObjectTypeSubnet)));
    ASSERT_TRUE(tree.attach(&store));  // an empty store receives the tree as it stands
    ASSERT_TRUE(tree.add(physical + kSep + "lab", node("a", kObjectTypeNode, "10.1.0.1")));
    ASSERT_TRUE(tree.add(physical + kSep + "lab", node("b", kObjectTypeNode, "10.1.0.2")));
    ASSERT_TRUE(tree.add(physical + kSep + "lab" + kSep + "a", node("a-1", kObjectTypePort)));
    ASSERT_TRUE(tree.add(logical, node("g", kObjectTypeGroup)));
    ASSERT_TRUE(tree.add(logical + kSep + "g", node("b", kObjectTypeNode, "10.1.0.2")));
    ASSERT_TRUE(tree.add(physical, node("spare", kObjectTypeSubnet)));
    ASSERT_TRUE(tree.move("b", physical + kSep + "lab", physical + kSep + "spare"));
    ASSERT_TRUE(tree.rename("a", "alpha"));
    NetworkObjectBase changed = node("alpha", kObjectTypeNode, "10.1.0.9");
    ASSERT_TRUE(tree.update(changed));
    // Removing a node takes its port, listed nowhere else, with it.
    ASSERT_TRUE(tree.add(physical + kSep + "spare", node("c", kObjectTypeNode)));
    ASSERT_TRUE(tree.add(physical + kSep + "spare" + kSep + "c", node("c-1", kObjectTypePort)));
    ASSERT_TRUE(tree.remove("c"));
    expected = dump(tree);
  }
  reopen();
  om::server::DurableTreeStore store(*data_);
  NetworkTree tree;
  ASSERT_TRUE(tree.attach(&store));
  EXPECT_EQ(dump(tree), expected);
  EXPECT_EQ(tree.find("c-1"), nullptr);
  EXPECT_EQ(tree.find("a"), nullptr);
  ASSERT_NE(tree.findByAddress("10.1.0.9"), nullptr);
  // Nothing but the tree's objects is left in the tables.
  EXPECT_EQ(data_->read().count(DataStore::kObjects), 8u);  // two roots, lab, spare, alpha, a-1, b, g
}

TEST_F(DurableStoreTest, SubnetRenameKeepsTheRecordAndRefusesATakenName) {
  om::server::DurableSubnetStore subnets(*data_);
  SubnetBase subnet;
  subnet.setName("a");
  subnet.setNetworkID("10.2.0.0");
  subnets.put(subnet);
  subnet.setName("b");
  subnets.put(subnet);
  EXPECT_FALSE(subnets.rename("a", "b"));
  EXPECT_FALSE(subnets.rename("zz", "c"));
  EXPECT_TRUE(subnets.rename("a", "c"));
  SubnetBase renamed;
  ASSERT_TRUE(subnets.find("c", renamed));
  EXPECT_EQ(renamed.getName(), "c");
  EXPECT_EQ(renamed.getNetworkID(), "10.2.0.0");
  EXPECT_FALSE(subnets.find("a", renamed));
  EXPECT_EQ(subnets.list().size(), 2u);
}

TEST_F(DurableStoreTest, TheServerTakesUpItsTreeLogsAndManagersAgain) {
  const std::string dir = dir_;
  data_.reset();
  {
    NetworkServer server;
    ASSERT_EQ(server.openData(dir, {}), "");
    std::lock_guard<std::mutex> lock(server.mutex);
    ASSERT_TRUE(server.tree.add(NetworkTree::physicalRootPath(), node("lab", kObjectTypeSubnet)));
    server.setManagers(true, false);
    server.setManagers(true, true);
    server.setManagers(false, true);
  }
  {
    NetworkServer server;
    server.writeLog(logRecord("before"));  // in memory: the data store replaces it
    ASSERT_EQ(server.openData(dir, {}), "");
    EXPECT_FALSE(server.pollingManager);
    EXPECT_TRUE(server.autoDiscoverManager);
    EXPECT_NE(server.tree.find("lab"), nullptr);
    EXPECT_EQ(server.writeLog(logRecord("kept")), 1u);
  }
  NetworkServer server;
  ASSERT_EQ(server.openData(dir, {}), "");
  EXPECT_EQ(messages(*server.logs), (std::vector<std::string>{"1:kept"}));
  // A folder that cannot be made leaves the server as it was.
  EXPECT_NE(NetworkServer().openData("/proc/no-such/data", {}), "");
}

// Every key and value of every table.
std::vector<std::string> contents(const DataStore& data) {
  std::vector<std::string> out;
  for (int table = 0; table < DataStore::kTableCount; ++table) {
    data.read().scan(static_cast<DataStore::Table>(table), {}, false, [&](std::string_view key, std::string_view value) {
      out.push_back(std::to_string(table) + "|" + std::string(key) + "|" + std::string(value));
      return true;
    });
  }
  return out;
}

TEST_F(DurableStoreTest, EveryStoreMovesThroughArchiveFilesUnchanged) {
  const std::string physical = NetworkTree::physicalRootPath();
  const std::string logical = CNetworkPath(std::vector<std::string>{CNetworkPath::getLogicalRootName()}).getPath();
  {
    om::server::DurableTreeStore store(*data_);
    NetworkTree tree;
    ASSERT_TRUE(tree.attach(&store));
    ASSERT_TRUE(tree.add(physical, node("lab", kObjectTypeSubnet)));
    ASSERT_TRUE(tree.add(physical + kSep + "lab", node("a", kObjectTypeNode, "10.1.0.1")));
    ASSERT_TRUE(tree.add(physical + kSep + "lab" + kSep + "a", node("a-1", kObjectTypePort)));
    ASSERT_TRUE(tree.add(logical, node("g", kObjectTypeGroup)));
    ASSERT_TRUE(tree.add(logical + kSep + "g", node("a", kObjectTypeNode, "10.1.0.1")));
  }
  SubnetBase subnet;
  subnet.setName("lab");
  subnet.addCommunityName("public");
  om::server::DurableSubnetStore(*data_).put(subnet);
  CTaskObject task;
  task.setName("poll");
  om::server::DurableTaskStore(*data_).add(task);
  om::server::DurableTaskRecordStore samples(*data_, {});
  samples.put("poll", sample(100, 1));
  samples.put("poll", sample(200, 2));
  samples.put("other", sample(50, 7));
  om::server::DurableLogStore logs(*data_, {});
  for (const char* text : {"one", "two"}) {
    CLogObject record = logRecord(text);
    logs.put(record, nullptr);
  }
  CActionCommand mail;
  mail.setId(4);
  mail.setCommandType(CActionCommand::TYPE_SEND_MAIL);
  om::server::DurableActionStore(*data_).putCommand(mail);
  ActionFilter filter;
  filter.setId(9);
  om::server::DurableActionStore(*data_).putFilter(filter);

  const std::string files = std::filesystem::path(dir_).parent_path().string() + "/";
  for (const std::string& store : om::server::transferableStores()) {
    std::string error;
    EXPECT_GT(om::server::exportStore(*data_, store, files + store + ".dat", error), 0) << store << ": " << error;
  }
  std::string error;
  std::unique_ptr<DataStore> other = DataStore::open(files + "other", error);
  ASSERT_NE(other, nullptr) << error;
  for (const std::string& store : om::server::transferableStores()) {
    EXPECT_GT(om::server::importStore(*other, store, files + store + ".dat", {}, error), 0) << store << ": " << error;
  }
  EXPECT_EQ(contents(*other), contents(*data_));

  // A log file is the records through CObject pointers: the first one opens
  // with MFC's new-class tag and the class name.
  std::string head(18, '\0');
  FILE* file = fopen((files + "logs.dat").c_str(), "rb");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(fread(head.data(), 1, head.size(), file), head.size());
  fclose(file);
  EXPECT_EQ(head.substr(0, 2), "\xff\xff");
  EXPECT_EQ(head.substr(6, 10), "CLogObject");

  // A file cut short, or of another kind of record, changes nothing.
  std::filesystem::resize_file(files + "subnets.dat", std::filesystem::file_size(files + "subnets.dat") - 2);
  std::unique_ptr<DataStore> empty = DataStore::open(files + "empty", error);
  ASSERT_NE(empty, nullptr) << error;
  EXPECT_EQ(om::server::importStore(*empty, "subnets", files + "subnets.dat", {}, error), -1);
  EXPECT_NE(error.find("subnets.dat: record 1: "), std::string::npos) << error;
  EXPECT_EQ(om::server::importStore(*empty, "tasks", files + "logs.dat", {}, error), -1);
  EXPECT_EQ(om::server::importStore(*empty, "nodes", files + "logs.dat", {}, error), -1);
  EXPECT_EQ(error, "no store is called 'nodes'");
  EXPECT_TRUE(contents(*empty).empty());
}

// A child writes logs and tree nodes and acknowledges each through a pipe
// once its put has returned; it is killed mid-stream.
TEST_F(DurableStoreTest, AWriterKilledAnywhereLeavesEveryAcknowledgedChange) {
  data_.reset();
  int acks[2];
  ASSERT_EQ(pipe(acks), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(acks[0]);
    std::string error;
    std::unique_ptr<DataStore> data = DataStore::open(dir_, error);
    if (data == nullptr) _exit(2);
    om::server::DurableLogStore logs(*data, {});
    om::server::DurableTreeStore store(*data);
    NetworkTree tree;
    tree.attach(&store);
    for (uint32_t i = 1;; ++i) {
      CLogObject record = logRecord("entry " + std::to_string(i));
      if (logs.put(record, nullptr) != i) _exit(3);
      if (!tree.add(NetworkTree::physicalRootPath(), node("n" + std::to_string(i), kObjectTypeNode))) _exit(4);
      if (write(acks[1], &i, sizeof(i)) != sizeof(i)) _exit(5);
    }
  }
  close(acks[1]);
  uint32_t acknowledged = 0;
  while (acknowledged < 200 && read(acks[0], &acknowledged, sizeof(acknowledged)) == sizeof(acknowledged)) {
  }
  kill(child, SIGKILL);
  while (read(acks[0], &acknowledged, sizeof(acknowledged)) == sizeof(acknowledged)) {
  }
  close(acks[0]);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself with " << WEXITSTATUS(status);
  ASSERT_GE(acknowledged, 200u);

  reopen();
  om::server::DurableLogStore logs(*data_, {});
  const std::vector<std::string> kept = messages(logs);
  // Every acknowledged record, and at most the one being written when killed.
  ASSERT_GE(kept.size(), acknowledged);
  ASSERT_LE(kept.size(), acknowledged + 1);
  for (uint32_t i = 1; i <= kept.size(); ++i) {
    EXPECT_EQ(kept[i - 1], std::to_string(i) + ":entry " + std::to_string(i));
  }
  om::server::DurableTreeStore store(*data_);
  NetworkTree tree;
  ASSERT_TRUE(tree.attach(&store));
  std::vector<NetworkObjectBase> nodes;
  ASSERT_TRUE(tree.children(NetworkTree::physicalRootPath(), nodes));
  ASSERT_GE(nodes.size(), acknowledged);
  ASSERT_LE(nodes.size(), acknowledged + 1);
  for (size_t i = 0; i < nodes.size(); ++i) EXPECT_EQ(nodes[i].getName(), "n" + std::to_string(i + 1));
  // A store killed while writing opens and takes writes.
  CLogObject more = logRecord("after");
  EXPECT_EQ(logs.put(more, nullptr), kept.size() + 1);
}

}  // namespace

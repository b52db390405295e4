// NetworkServer: what the server knows and does, shared by its providers:
// the network tree, the stores of its records, the state of its two
// managers, how it probes a node and finds a node's ports, discovery, and
// its logs. `mutex` guards the tree, the managers' states and the subnet
// store together (a subnet lives in both); the other stores guard
// themselves.
#ifndef OM_SERVER_NETWORKSERVER_H_
#define OM_SERVER_NETWORKSERVER_H_

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "monitor/log.h"
#include "server/snmp/MibTree.h"
#include "server/snmp/SnmpEngine.h"
#include "server/snmp/TrapReceiver.h"
#include "server/store/ActionStore.h"
#include "server/store/DataStore.h"
#include "server/store/DurableStores.h"
#include "server/store/LogStore.h"
#include "server/store/MibStore.h"
#include "server/store/NetworkTree.h"
#include "server/store/SubnetStore.h"
#include "server/store/TaskRecordStore.h"
#include "server/store/TaskStore.h"

class SubnetDiscovery;
namespace om::server {
class ActionRunner;
class PollingManager;
class TaskSampler;
}

struct NetworkServer {
  // Node status values this server gives.
  enum NodeStatus : int { kNodeUnknown = 0, kNodeUp = 1, kNodeDown = 2 };

  // Stores held in memory, discovery over them, and an SNMP engine.
  NetworkServer();
  ~NetworkServer();
  NetworkServer(const NetworkServer&) = delete;
  NetworkServer& operator=(const NetworkServer&) = delete;

  // Every SNMP request of the server goes through this engine (declared
  // first, so that it outlives whatever waits on it).
  std::unique_ptr<om::snmp::SnmpEngine> snmp;
  // The data store of the durable stores; null while they are in memory.
  std::unique_ptr<om::server::DataStore> data;
  std::unique_ptr<TreeStore> treeStore;
  std::mutex mutex;
  NetworkTree tree;
  std::unique_ptr<SubnetStore> subnets;
  std::unique_ptr<TaskStore> tasks;
  std::unique_ptr<TaskRecordStore> taskRecords;
  std::unique_ptr<LogStore> logs;
  std::unique_ptr<MibStore> mib;
  std::unique_ptr<ActionStore> actions;
  // Keeps the tree, subnets, tasks, samples, logs and actions in the data
  // store in `dir` from now on, taking up what it holds (an empty store
  // receives the tree as it stands). Call before serving. Empty when done,
  // else why not (the stores then stay as they were).
  std::string openData(const std::string& dir, const om::server::Retention& retention);
  // Where the server keeps its data: the folder the "DataFile" setting
  // names when it is an absolute path, else $OMLIB_HOME/data.
  static std::string dataDirectory();
  // The retention the settings ask for ("LogMaxNumber", "TaskMaxSample").
  static om::server::Retention configuredRetention();

  // Whether the two managers run; set them with setManagers.
  bool pollingManager = false;
  bool autoDiscoverManager = false;
  // Sets the managers' states and keeps them with the data, for the next
  // start. The caller holds `mutex`.
  void setManagers(bool polling, bool autoDiscover);
  // Probes a node; its new node status. Unset: every node stays unknown.
  std::function<int(const NetworkObjectBase& node)> poll;
  // The ports a node has; unset: none are found.
  std::function<std::vector<NetworkObjectBase>(const NetworkObjectBase& node)> findPorts;
  // Compiles the MIB modules of `folders` into the MIB store (replacing
  // it); what the parser complained of is in mibErrors. Returns how many
  // modules it read.
  size_t loadMib(const std::vector<std::string>& folders);
  std::vector<om::snmp::MibLoadError> mibErrors;
  // Receives traps on UDP `port` (0: one the system picks) and writes each
  // as a log record. Empty when listening, else why not.
  std::string listenForTraps(int port);
  std::unique_ptr<om::snmp::TrapReceiver> trapReceiver;
  // The name of the trap or notification node with that OID in the MIB
  // tree loaded last; empty when there is none.
  std::string trapName(const std::string& oid) const;
  // Lines about requests that failed, in order.
  std::vector<std::string> log;

  // Runs `work` with `mutex` held and returns what it returns.
  template <class Work>
  auto locked(Work work) {
    std::lock_guard<std::mutex> lock(mutex);
    return work();
  }
  // Copies the tree's object with that name, address, or name and else
  // address into `out`; false when there is none. Takes `mutex`.
  enum class Lookup { kName, kAddress, kNameOrAddress };
  bool copyObject(const std::string& key, Lookup how, NetworkObjectBase& out);
  // Remove or rename an object of the tree; a subnet goes from (or is
  // renamed in) the subnet store too. The caller holds `mutex`.
  bool removeObject(const std::string& name);
  bool renameObject(const std::string& oldName, const std::string& newName);
  // Adds a subnet to the tree (under the physical root) and its record to
  // the subnet store, or replaces the record of a subnet known already;
  // false when another kind of object has its name. The caller holds
  // `mutex`.
  bool putSubnet(const SubnetBase& subnet);
  // Sets the node's status and, when it changed, logs the change (up, down,
  // or unknown: it could not be polled). False when there is no such
  // object. Takes `mutex`.
  bool setNodeStatus(const std::string& name, int status);
  // Whether the tree's object of that name is a subnet; the caller holds
  // `mutex`.
  bool isSubnet(const std::string& name) const;

  // Writes a record to the log store (identifier 0: the next one) and hands
  // each new record to the log listener, one at a time and in the order of
  // writing. Returns the record's identifier.
  DWORD writeLog(CLogObject record);
  // A record of this server's own: the current time, level "progress",
  // the target's kind and name.
  DWORD writeLog(log_def::tagLOGTYPE type, log_def::tagLOGSUBTYPE subType, log_def::tagTARGETTYPE target,
                 const std::string& name, const std::string& message);
  // Adds something that hears each new log record, after those added
  // before it; it must not write to the log itself (it may hand the record
  // to another thread that does). Returns its number for removeLogListener,
  // which returns once no call of it is under way.
  using LogListener = std::function<void(const CLogObject& record)>;
  int addLogListener(LogListener listener);
  void removeLogListener(int number);

  // Sweeps subnets and adds the nodes that answer (destroyed first, so that
  // a sweep under way ends before the stores go).
  std::unique_ptr<SubnetDiscovery> discovery;
  // Polls the nodes while pollingManager is on, once started (destroyed
  // before everything it uses).
  std::unique_ptr<om::server::PollingManager> polling;
  // Carries out the actions the filters select for new log records, once
  // started (destroyed first).
  std::unique_ptr<om::server::ActionRunner> actionRunner;
  // Samples the running polling tasks, once started with them.
  std::unique_ptr<om::server::TaskSampler> taskSampler;
  // Starts the server's own work: the polling manager's thread, the action
  // runner and, with `sampleTasks`, the task sampler. The daemon samples
  // tasks; a console's embedded server, which lives for one command or one
  // shell, leaves them to it. Call once, after openData and before serving.
  void start(bool sampleTasks);

 private:
  mutable std::mutex trapNamesMutex_;
  std::map<std::string, std::string> trapNames_;
  std::mutex logMutex_;
  std::map<int, LogListener> logListeners_;
  int nextLogListener_ = 1;
};

#endif  // OM_SERVER_NETWORKSERVER_H_

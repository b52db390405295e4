// SnmpEngine against snmpd on a loopback port of the bench's own, with its
// peers measured in the same run:
//  1. GETs of sysDescr.0 per second with 1, 16 and 256 requests in flight,
//     against net-snmp's own asynchronous way (one session, requests sent
//     with snmp_sess_async_send and answers read in one select loop, as its
//     example programs do, without an engine around it) and against snmpget
//     run once a request;
//  2. a walk of the whole agent by GETBULK (25 repetitions a request)
//     against snmpbulkwalk -Cr25 (a process that loads the MIB modules and
//     prints each variable, to /dev/null).
// Needs snmpd and the snmp tools (scripts/install-deps.sh). Run: snmp_bench
// [REQUESTS] (GETs a measurement, 20000 by default).
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "Median.h"
#include "server/snmp/SnmpEngine.h"

namespace {

using Clock = std::chrono::steady_clock;
using om::median;
using om::snmp::Oid;

const Oid kSysDescr0 = {1, 3, 6, 1, 2, 1, 1, 1, 0};
// The agent and the tools read the project's modules and the system's.
const std::string kMibs = std::string(OM_MIB_FOLDER) + ":/usr/share/snmp/mibs";
extern "C" char** environ;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// A UDP port of loopback that nothing uses now.
int freePort() {
  const int s = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address);
  getsockname(s, reinterpret_cast<sockaddr*>(&address), &size);
  close(s);
  return ntohs(address.sin_port);
}

// Runs a program (no shell) with its output to /dev/null; its exit status.
int spawnQuiet(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (spawned != 0 || waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// snmpd on 127.0.0.1:port, "public" reading everything; stopped at the end.
class Agent {
 public:
  Agent() : port(freePort()), dir_(std::filesystem::temp_directory_path() / ("omsnmpbench-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(dir_);
    std::ofstream(dir_ / "snmpd.conf") << "agentAddress udp:127.0.0.1:" << port << "\nrocommunity public 127.0.0.1\n";
    spawnQuiet({"snmpd", "-Lf", "/dev/null", "-C", "-c", (dir_ / "snmpd.conf").string(), "-p", (dir_ / "pid").string(),
                "-I", "-smux,mteTrigger,mteTriggerConf", "-M", kMibs, "-m", "ALL",
                "--serverRecvBuf=4194304"});  // room for 256 requests at once
    for (int i = 0; i < 50 && !ready(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  ~Agent() {
    std::ifstream pid(dir_ / "pid");
    long number = 0;
    if (pid >> number && number > 0) kill(static_cast<pid_t>(number), SIGTERM);
    std::filesystem::remove_all(dir_);
  }
  bool ready() const { return snmpget() == 0; }
  int snmpget() const {
    return spawnQuiet({"env", "SNMPCONFPATH=/nonexistent", "snmpget", "-v2c", "-c", "public", "-M", kMibs, "-m", "ALL",
                       peer(), "sysDescr.0"});
  }
  std::string peer() const { return "127.0.0.1:" + std::to_string(port); }

  const int port;

 private:
  std::filesystem::path dir_;
};

om::snmp::Target targetOf(const Agent& agent) {
  om::snmp::Target target;
  target.host = "127.0.0.1";
  target.port = agent.port;
  target.timeoutMs = 5000;
  return target;
}

// GETs per second through SnmpEngine, `inFlight` at a time, `total` in all.
double engineRate(om::snmp::SnmpEngine& engine, const om::snmp::Target& target, int inFlight, int total) {
  om::snmp::Request request;
  request.varbinds.emplace_back().oid = kSysDescr0;
  std::atomic<int> sent{0}, answered{0}, failed{0};
  std::promise<void> done;
  // Each send claims one of the `total` slots first, so that exactly that
  // many are sent whichever thread sends.
  std::function<void()> sendOne = [&] {
    if (sent.fetch_add(1) >= total) return;
    engine.send(target, request, [&](om::snmp::Response response) {
      if (response.status != om::snmp::Status::kOk) ++failed;
      const bool last = ++answered == total;
      sendOne();
      if (last) done.set_value();
    });
  };
  const auto start = Clock::now();
  for (int i = 0; i < inFlight; ++i) sendOne();
  done.get_future().wait();
  const double seconds = secondsSince(start);
  if (failed > 0) std::printf("  (%d requests failed)\n", failed.load());
  return total / seconds;
}

// The peer: net-snmp alone, one session, `inFlight` requests outstanding.
struct RawLoop {
  void* session = nullptr;
  int sent = 0, answered = 0, failed = 0, total = 0;

  static int onAnswer(int op, netsnmp_session*, int, netsnmp_pdu* pdu, void* magic) {
    auto* loop = static_cast<RawLoop*>(magic);
    if (op != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || pdu == nullptr || pdu->errstat != 0) ++loop->failed;
    ++loop->answered;
    if (loop->sent < loop->total) loop->send();
    return 1;
  }
  void send() {
    netsnmp_pdu* pdu = snmp_pdu_create(SNMP_MSG_GET);
    oid name[] = {1, 3, 6, 1, 2, 1, 1, 1, 0};
    snmp_add_null_var(pdu, name, OID_LENGTH(name));
    ++sent;
    if (snmp_sess_async_send(session, pdu, onAnswer, this) == 0) {
      snmp_free_pdu(pdu);
      ++failed;
      ++answered;
    }
  }
};

double rawRate(const Agent& agent, int inFlight, int total) {
  netsnmp_session config;
  snmp_sess_init(&config);
  config.version = SNMP_VERSION_2c;
  std::string peer = "udp:" + agent.peer();
  std::string community = "public";
  config.peername = peer.data();
  config.community = reinterpret_cast<u_char*>(community.data());
  config.community_len = community.size();
  config.timeout = 5000000;
  RawLoop loop;
  loop.total = total;
  loop.session = snmp_sess_open(&config);
  if (loop.session == nullptr) return 0;
  const auto start = Clock::now();
  for (int i = 0; i < inFlight && i < total; ++i) loop.send();
  while (loop.answered < total) {
    int fds = 0, block = 1;
    fd_set readable;
    FD_ZERO(&readable);
    timeval timeout{};
    snmp_sess_select_info(loop.session, &fds, &readable, &timeout, &block);
    if (select(fds, &readable, nullptr, nullptr, block ? nullptr : &timeout) > 0) {
      snmp_sess_read(loop.session, &readable);
    } else {
      snmp_sess_timeout(loop.session);
    }
  }
  const double seconds = secondsSince(start);
  snmp_sess_close(loop.session);
  if (loop.failed > 0) std::printf("  (%d raw requests failed)\n", loop.failed);
  return total / seconds;
}

double snmpgetRate(const Agent& agent, int runs) {
  const auto start = Clock::now();
  for (int i = 0; i < runs; ++i) agent.snmpget();
  return runs / secondsSince(start);
}

// Rounds of one walk each, taking turns (the first round warms the agent's
// caches and is not counted); the median times.
void walks(om::snmp::SnmpEngine& engine, const Agent& agent, int rounds) {
  std::vector<double> ours, theirs;
  size_t variables = 0;
  bool ended = true;
  for (int round = 0; round <= rounds; ++round) {
    std::vector<om::snmp::Varbind> all;
    auto start = Clock::now();
    ended = engine.walkAll(targetOf(agent), {1, 3}, all, 25).status == om::snmp::Status::kOk && ended;
    if (round > 0) ours.push_back(secondsSince(start));
    variables = all.size();
    start = Clock::now();
    spawnQuiet({"env", "SNMPCONFPATH=/nonexistent", "snmpbulkwalk", "-v2c", "-c", "public", "-Cr25", "-M", kMibs, "-m",
                "ALL", agent.peer(), ".1.3"});
    if (round > 0) theirs.push_back(secondsSince(start));
  }
  std::printf("walk of the agent: %zu variables%s in %.3f s; snmpbulkwalk %.3f s: time ratio %.2f (medians of %d)\n",
              variables, ended ? "" : " (a walk ended by an error)", median(ours), median(theirs),
              median(ours) / median(theirs), rounds);
}

}  // namespace

int main(int argc, char** argv) {
  const int total = argc > 1 ? std::atoi(argv[1]) : 20000;
  Agent agent;
  if (!agent.ready()) {
    std::fprintf(stderr, "snmp_bench: snmpd did not start (scripts/install-deps.sh installs it)\n");
    return 1;
  }
  om::snmp::SnmpEngine engine;  // sets net-snmp up for the raw peer too
  const double forked = snmpgetRate(agent, 100);
  std::printf("snmpget once a request: %.0f GETs/s\n", forked);
  for (const int inFlight : {1, 16, 256}) {
    const double ours = engineRate(engine, targetOf(agent), inFlight, total);
    const double raw = rawRate(agent, inFlight, total);
    std::printf("%3d in flight: SnmpEngine %8.0f GETs/s; net-snmp alone %8.0f/s: time ratio %.2f; "
                "%.0fx snmpget's rate\n",
                inFlight, ours, raw, raw / ours, ours / forked);
  }
  walks(engine, agent, 5);
  return 0;
}

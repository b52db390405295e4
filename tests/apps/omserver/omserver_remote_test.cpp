// The omserver program with its CIM-XML endpoint, reached by consoles and
// by the library's locator from other processes: the same answers on every
// road, refusals that say what happened, hostile requests that leave the
// daemon serving, a daemon killed under a waiting call, and many clients at
// once. Everything stays on loopback.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <atlbase.h>
#include <om/ComObject.h>
#include <objbase.h>
#include <wbemcli.h>

#include "ServerTestSupport.h"
#include "TlsCredentials.h"

namespace {

using servertest::Call;
using servertest::console;
using servertest::ConsoleRun;
using servertest::Daemon;
using servertest::kPassword;
using servertest::PamFixture;
using servertest::Program;
using servertest::Reply;
using servertest::TempDir;

// The longest a test waits for something that should happen soon; only there
// so that a fault ends the test instead of hanging it.
constexpr auto kPatience = std::chrono::seconds(60);

class RemoteServerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    home_ = new TempDir;
    daemon_ = new Daemon(OMSERVER, home_->path(), {"--max-body", "65536", "--max-calls", "128", "--max-calls-per-client", "64"});
  }
  static void TearDownTestSuite() {
    delete daemon_;
    delete home_;
  }
  void SetUp() override { ASSERT_TRUE(daemon_->ready()) << daemon_->errors(); }

  // The console's environment for the remote road.
  static std::vector<std::string> remoteEnv(const std::string& trustFile) {
    return {"OMLIB_PASSWORD=" + std::string(kPassword), "OMLIB_TRUST_FILE=" + trustFile};
  }

  static inline TempDir* home_ = nullptr;
  static inline Daemon* daemon_ = nullptr;
};

TEST_F(RemoteServerTest, EveryRoadGivesTheSameAnswers) {
  const std::string home = home_->path();
  const ConsoleRun embedded = console(OMCONSOLE, home, {"tree"}, {"OMLIB_SOCKET=" + home + "/none.sock"});
  const ConsoleRun local = console(OMCONSOLE, home, {"tree"});
  const ConsoleRun remote =
      console(OMCONSOLE, home, {"--server", daemon_->server(), "--user", "root", "tree"}, remoteEnv(daemon_->certificate()));
  ASSERT_EQ(embedded.status, 0) << embedded.err;
  ASSERT_EQ(local.status, 0) << local.err;
  ASSERT_EQ(remote.status, 0) << remote.err;
  EXPECT_FALSE(embedded.out.empty());
  EXPECT_EQ(local.out, embedded.out);
  EXPECT_EQ(remote.out, embedded.out);

  const ConsoleRun status = console(OMCONSOLE, home, {"server", "status"});
  EXPECT_EQ(status.out, "server: the local daemon on unix:" + daemon_->socket() +
                            "\nconnected: the server answers\n");
  const ConsoleRun remoteStatus = console(OMCONSOLE, home, {"--server", daemon_->server(), "--user", "root", "server", "status"},
                                          remoteEnv(daemon_->certificate()));
  EXPECT_EQ(remoteStatus.out, "server: " + daemon_->server() + " over HTTPS as root (certificates: " +
                                  daemon_->certificate() + ")\nconnected: the server answers\n");
}

TEST_F(RemoteServerTest, RefusalsSayWhatHappened) {
  const std::string home = home_->path();
  const std::vector<std::string> tree = {"--server", daemon_->server(), "--user", "root", "tree"};
  const ConsoleRun wrongPassword =
      console(OMCONSOLE, home, tree, {"OMLIB_PASSWORD=wrong", "OMLIB_TRUST_FILE=" + daemon_->certificate()});
  EXPECT_EQ(wrongPassword.status, 1);
  EXPECT_NE(wrongPassword.err.find("code=0x80041003"), std::string::npos) << wrongPassword.err;
  EXPECT_NE(wrongPassword.err.find("HTTP 401"), std::string::npos) << wrongPassword.err;

  // A certificate of another server: this one is not trusted.
  const std::string other = home + "/other";
  std::filesystem::create_directories(other);
  ASSERT_EQ(omserver::createTlsCredentials(other + "/other.crt", other + "/other.key", "localhost"), "");
  const ConsoleRun untrusted = console(OMCONSOLE, home, tree, remoteEnv(other + "/other.crt"));
  EXPECT_EQ(untrusted.status, 1);
  EXPECT_NE(untrusted.err.find("code=0x800b0109"), std::string::npos) << untrusted.err;
  EXPECT_NE(untrusted.err.find("certificate"), std::string::npos) << untrusted.err;

  // Nobody listens on port 1 of loopback.
  const ConsoleRun unreachable = console(OMCONSOLE, home, {"--server", "127.0.0.1:1", "--user", "root", "tree"},
                                         remoteEnv(daemon_->certificate()));
  EXPECT_EQ(unreachable.status, 1);
  EXPECT_NE(unreachable.err.find("code=0x800706ba"), std::string::npos) << unreachable.err;
  EXPECT_NE(unreachable.err.find("https://127.0.0.1:1/cimom"), std::string::npos) << unreachable.err;
}

TEST_F(RemoteServerTest, HostileRequestsAreRefusedAndTheDaemonKeepsServing) {
  const std::vector<std::string> getClass = {"CIMOperation: MethodCall", "CIMMethod: GetClass",
                                             "CIMObject: root%2FVelmoran%2FOrvaManager"};
  const std::string valid =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
      "<MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"GetClass\"><LOCALNAMESPACEPATH>"
      "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"Velmoran\"/><NAMESPACE NAME=\"OrvaManager\"/>"
      "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"NetworkObject\"/></IPARAMVALUE>"
      "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
  std::string nested;
  for (int i = 0; i < 20000; ++i) nested += "<a>";  // far deeper than the reader allows, under the cap
  const std::string bomb =
      "<?xml version=\"1.0\"?><!DOCTYPE CIM [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
      "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\">]><CIM>&c;</CIM>";
  const struct {
    const char* what;
    std::string body;
    long status;
  } hostile[] = {
      {"truncated", valid.substr(0, valid.size() / 2), 400},
      {"not XML", "GET / HTTP/1.1", 400},
      {"nested 20,000 deep", nested, 400},
      {"entity expansion", bomb, 400},
      {"over the body cap", std::string(70000, ' ') + valid, 413},
  };
  for (const auto& request : hostile) {
    const Reply reply = daemon_->post(request.body, getClass);
    EXPECT_EQ(reply.status, request.status) << request.what << ": " << reply.body;
  }
  // A well-formed request with a value of the wrong type is a CIM error.
  std::string badKey = valid;
  badKey.replace(badKey.find("GetClass\"><"), 8, "GetInstance");
  badKey.replace(badKey.find("<IPARAMVALUE"), std::string::npos,
                 "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"MibNode\"><KEYBINDING NAME=\"Name\">"
                 "<KEYVALUE VALUETYPE=\"numeric\">x12</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
                 "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>");
  const Reply typed = daemon_->post(badKey, {"CIMOperation: MethodCall", "CIMMethod: GetInstance"});
  EXPECT_EQ(typed.status, 200);
  EXPECT_NE(typed.body.find("<ERROR CODE=\""), std::string::npos) << typed.body;
  // And then a good one is served as ever.
  const Reply served = daemon_->post(valid, getClass);
  EXPECT_EQ(served.status, 200);
  EXPECT_NE(served.body.find("<CLASS NAME=\"NetworkObject\""), std::string::npos) << served.body.substr(0, 300);
}

// A client of the daemon in this process, through the locator.
class Client {
 public:
  Client() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
  ~Client() {
    services_.Release();
    CoUninitialize();
  }
  HRESULT connect(const std::string& server, const char16_t* user = nullptr, const char16_t* password = nullptr) {
    CComPtr<IWbemLocator> locator;
    HRESULT hr = locator.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER);
    if (FAILED(hr)) return hr;
    const std::u16string path = u"\\\\" + std::u16string(server.begin(), server.end()) + u"\\root\\Velmoran\\OrvaManager";
    return locator->ConnectServer(CComBSTR(path.c_str()), CComBSTR(user), CComBSTR(password), nullptr, 0, nullptr,
                                  nullptr, &services_);
  }
  IWbemServices* services() { return services_; }

 private:
  CComPtr<IWbemServices> services_;
};

// Records the final status of a call.
class WaitingSink final : public om::ComObject<IWbemObjectSink> {
 public:
  HRESULT STDMETHODCALLTYPE Indicate(long, IWbemClassObject**) override { return WBEM_S_NO_ERROR; }
  HRESULT STDMETHODCALLTYPE SetStatus(long, HRESULT hResult, BSTR, IWbemClassObject*) override {
    status_ = hResult;
    done_ = true;
    return WBEM_S_NO_ERROR;
  }
  bool waitDone() {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!done_ && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return done_;
  }
  HRESULT status() const { return status_; }

 private:
  std::atomic<bool> done_{false};
  std::atomic<HRESULT> status_{WBEM_S_NO_ERROR};
};

TEST(RemoteFaultTest, AKilledDaemonEndsTheCallsWaitingOnItAndARestartedOneServesAgain) {
  TempDir home;
  Daemon daemon(OMSERVER, home.path());
  ASSERT_TRUE(daemon.ready()) << daemon.errors();
  setenv("OMLIB_SOCKET", daemon.socket().c_str(), 1);
  {
    Client client;
    ASSERT_EQ(client.connect("."), WBEM_S_NO_ERROR);
    // An event query waits on the daemon for as long as it lives.
    CComPtr<WaitingSink> sink;
    sink.Attach(new WaitingSink);
    ASSERT_EQ(client.services()->ExecNotificationQueryAsync(CComBSTR(u"WQL"), CComBSTR(u"select * from LogObjectEvent"),
                                                            0, nullptr, sink),
              WBEM_S_NO_ERROR);
    daemon.kill();
    ASSERT_TRUE(sink->waitDone());
    EXPECT_TRUE(FAILED(sink->status()));
    CComPtr<IWbemClassObject> object;
    EXPECT_EQ(client.services()->GetObject(CComBSTR(u"NetworkObject"), 0, nullptr, &object, nullptr),
              HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
  }
  daemon.restart();
  ASSERT_TRUE(daemon.ready()) << daemon.errors();
  Client again;
  ASSERT_EQ(again.connect("."), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> object;
  EXPECT_EQ(again.services()->GetObject(CComBSTR(u"NetworkObject"), 0, nullptr, &object, nullptr), WBEM_S_NO_ERROR);
  unsetenv("OMLIB_SOCKET");
}

TEST_F(RemoteServerTest, ObjectsReadOverTheNetworkCarryTheServersPaths) {
  setenv("OMLIB_TRUST_FILE", daemon_->certificate().c_str(), 1);
  Client client;
  ASSERT_EQ(client.connect(daemon_->server(), u"root", u"secret"), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> network;
  ASSERT_EQ(client.services()->GetObject(CComBSTR(u"OrvaManagerNetwork.NetworkName=\"ネットワーク\""), 0, nullptr,
                                         &network, nullptr),
            WBEM_S_NO_ERROR);
  CComVariant path;
  CComVariant server;
  network->Get(u"__PATH", 0, &path, nullptr, nullptr);
  network->Get(u"__SERVER", 0, &server, nullptr, nullptr);
  ASSERT_EQ(path.vt, VT_BSTR);
  // The host without its port, as WMI paths name servers.
  EXPECT_EQ(std::u16string(path.bstrVal),
            u"\\\\127.0.0.1\\root\\Velmoran\\OrvaManager:OrvaManagerNetwork.NetworkName=\"ネットワーク\"");
  ASSERT_EQ(server.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(server.bstrVal), u"127.0.0.1");
  unsetenv("OMLIB_TRUST_FILE");
}

TEST_F(RemoteServerTest, ManyClientsAtOnceEachGetTheirOwnAnswers) {
  setenv("OMLIB_TRUST_FILE", daemon_->certificate().c_str(), 1);
  const std::vector<std::u16string> classes = {u"NetworkObject", u"OrvaManagerNetwork", u"MibNode", u"LogObject",
                                               u"TaskObject"};
  constexpr int kClients = 50;
  constexpr int kCalls = 200;
  std::atomic<int> wrong{0};
  std::atomic<int> failed{0};
  std::vector<std::thread> clients;
  for (int c = 0; c < kClients; ++c) {
    clients.emplace_back([&, c] {
      Client client;
      if (FAILED(client.connect(daemon_->server(), u"root", u"secret"))) {
        failed += kCalls;
        return;
      }
      for (int i = 0; i < kCalls; ++i) {
        const std::u16string& name = classes[static_cast<size_t>(c + i) % classes.size()];
        CComPtr<IWbemClassObject> object;
        if (FAILED(client.services()->GetObject(CComBSTR(name.c_str()), 0, nullptr, &object, nullptr))) {
          ++failed;
          continue;
        }
        CComVariant className;
        object->Get(u"__CLASS", 0, &className, nullptr, nullptr);
        if (className.vt != VT_BSTR || name != className.bstrVal) ++wrong;
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(wrong, 0);
  unsetenv("OMLIB_TRUST_FILE");
}

}  // namespace

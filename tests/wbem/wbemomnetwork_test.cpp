// The "OrvaManagerNetwork" family against the hosted object manager: the one
// instance written and read under its Japanese name, the managers' states
// read afresh, the provider method classes called directly, and the client
// calls served by a provider built on those method classes.
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include <om/codepage.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "HostedManager.h"
#include "wbem/WbemOMNetwork.h"
#include "wbem/wbemroot.h"

namespace {

// Look-alikes of our own: OddNetwork gives every property another type;
// the other two hold method arguments of the wrong type.
const char kTestMof[] = R"(
#pragma namespace("\\\\.\\root\\Velmoran\\NetTest")
class OddNetwork {
  sint32 NetworkName = 1; string NumberOfSubnets = "2"; boolean NumberOfDiscoveredNodes = true;
  real64 NumberOfObservingNodes = 4; string NodeStatus = "1"; sint32 StartOrStopPollingManager = 1;
  string StartOrStopAutoDiscoverManager = "true";
};
class WrongManagerArgs { string StartOrStop = "yes"; string SearchString = "sw"; sint32 IgnoreCase = 1; };
class WrongSearchArgs { sint32 SearchString = 5; boolean IgnoreCase = true; };
)";

tstring jp(const char* utf8) { return om::utf8ToCp932(utf8); }

std::string dump(const COrvaManagerNetwork& n) {
  return tstring().format("%s|%d|%d|%d|%d|%d|%d", n.getName().c_str(), n.getNumberOfSubnets(),
                          n.getNumberOfDiscoveredNodes(), n.getNumberOfObservingNodes(), n.getNodeStatus(),
                          n.isPollingManager(), n.isAutoDiscoverManager());
}

COrvaManagerNetwork network(const std::string& name, int base, bool polling, bool discovering) {
  COrvaManagerNetwork n;
  n.setName(name);
  n.setNumberOfSubnets(base + 1);
  n.setNumberOfDiscoveredNodes(base + 2);
  n.setNumberOfObservingNodes(base + 3);
  n.setNodeStatus(base + 4);
  n.setPollingManager(polling);
  n.setAutoDiscoverManager(discovering);
  return n;
}

CComVariant valueOf(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  EXPECT_EQ(object->Get(name, 0, &value, nullptr, nullptr), WBEM_S_NO_ERROR) << tstring(name);
  return value;
}

std::vector<std::string> stringsOf(IWbemClassObject* object, const char16_t* name) {
  std::vector<std::string> items{"<unread>"};
  EXPECT_TRUE(WbemClient::getStringArray(valueOf(object, name), items)) << tstring(name);
  return items;
}

// Serves "OrvaManagerNetwork" with the method classes, answering with the
// values the test set.
class RecordingNetworkProvider : public RecordingProvider {
 public:
  using RecordingProvider::RecordingProvider;

  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR methodName, long, IWbemContext* ctx,
                                            IWbemClassObject* in, IWbemObjectSink* sink) override {
    const tstring name(methodName);
    if (name == "PollingManager") {
      PollingManagerMethod method(services_, in, sink);
      return serve(method, ctx, returnValue_, false);
    }
    if (name == "AutoDiscoverManager") {
      AutoDiscoverManagerMethod method(services_, in, sink);
      return serve(method, ctx, returnValue_, false);
    }
    SearchMethod method(services_, in, sink);
    method.setMethodName(name);
    return serve(method, ctx, results_, tstring(), false);
  }

  // What the methods answer; set while no call is under way.
  bool returnValue_ = true;
  std::vector<tstring> results_;
};

class OMNetworkTest : public HostedManagerTest {
 protected:
  void SetUp() override {
    host(kTestMof, "\\\\.\\root\\Velmoran\\NetTest");
    server_.Attach(new RecordingNetworkProvider(services()));
    ASSERT_EQ(om::wmi::ObjectManager::instance().registerProvider(u"root\\Velmoran\\OrvaManager", u"OrvaManagerNetwork",
                                                                  server_),
              WBEM_S_NO_ERROR);
  }
  void TearDown() override {
    server_.Release();
    HostedManagerTest::TearDown();
  }

  // The in-parameters of `method` of the real class.
  CComPtr<IWbemClassObject> inParams(const char16_t* method) {
    return spawn(services(), u"OrvaManagerNetwork", method);
  }

  CComPtr<RecordingNetworkProvider> server_;
};

TEST_F(OMNetworkTest, TheInstanceRoundTripsUnderItsJapaneseName) {
  EXPECT_EQ(WbemOMNetwork::networkName(), jp("ネットワーク"));
  const COrvaManagerNetwork source = network(WbemOMNetwork::networkName(), 10, true, false);
  WbemOMNetworkClient writer(source, services());
  ASSERT_TRUE(writer.put()) << std::hex << writer.getErrorCode();
  ASSERT_NE(server_->stored_, nullptr);
  const CComVariant name = valueOf(server_->stored_, u"NetworkName");
  ASSERT_EQ(name.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(name.bstrVal), u"ネットワーク");

  WbemOMNetworkClient reader(network("stale", 20, false, true), services());
  ASSERT_TRUE(reader.get()) << std::hex << reader.getErrorCode();
  EXPECT_EQ(dump(reader), dump(source));
  COrvaManagerNetwork out;
  ASSERT_TRUE(reader.getObject(out));
  EXPECT_EQ(dump(out), dump(source));
  const std::string get = "GetObject:OrvaManagerNetwork.NetworkName=\"" + jp("ネットワーク") + "\"|<none>|";
  EXPECT_EQ(server_->takeCalls(), (std::vector<std::string>{"PutInstance:<none>|", get, get}));

  // Null properties keep the numbers and flags and clear the name; so do
  // properties of another type.
  const COrvaManagerNetwork prior = network("prior", 30, false, false);
  COrvaManagerNetwork expected = prior;
  expected.setName("");
  reader.setOrvaManagerNetwork(prior);
  ASSERT_TRUE(reader.getFromInstance(spawn(services(), u"OrvaManagerNetwork")));
  EXPECT_EQ(dump(reader), dump(expected));
  reader.setOrvaManagerNetwork(prior);
  ASSERT_TRUE(reader.getFromInstance(spawn(test_.getServices(), u"OddNetwork")));
  EXPECT_EQ(dump(reader), dump(expected));
  EXPECT_FALSE(reader.getFromInstance(nullptr));
  EXPECT_FALSE(reader.putToInstance(nullptr));
}

TEST_F(OMNetworkTest, PutWritesTheOneInstanceWhateverTheObjectIsNamed) {
  for (const COrvaManagerNetwork& source : {network("other", 5, true, true), COrvaManagerNetwork()}) {
    WbemOMNetworkClient writer(source, services());
    ASSERT_TRUE(writer.put()) << std::hex << writer.getErrorCode();
    const CComVariant name = valueOf(server_->stored_, u"NetworkName");
    ASSERT_EQ(name.vt, VT_BSTR);
    EXPECT_EQ(std::u16string(name.bstrVal), u"ネットワーク") << source.getName();
    EXPECT_EQ(valueOf(server_->stored_, u"NumberOfSubnets").lVal, source.getNumberOfSubnets());
    EXPECT_EQ(writer.getName(), source.getName());
  }
}

TEST_F(OMNetworkTest, ManagerStatesAreReadAfreshAndUnreadableMeansStopped) {
  WbemOMNetworkClient writer(network(WbemOMNetwork::networkName(), 0, true, false), services());
  ASSERT_TRUE(writer.put());
  WbemOMNetworkClient client(services());
  EXPECT_TRUE(client.isPollingManagerRunning());
  EXPECT_FALSE(client.isAutoDiscoverManagerRunning());
  writer.setPollingManager(false);
  writer.setAutoDiscoverManager(true);
  ASSERT_TRUE(writer.put());
  EXPECT_FALSE(client.isPollingManagerRunning());
  EXPECT_TRUE(client.isAutoDiscoverManagerRunning());

  // Both running as last read, then the instance is gone.
  writer.setPollingManager(true);
  ASSERT_TRUE(writer.put());
  ASSERT_TRUE(client.get());
  server_->stored_.Release();
  EXPECT_FALSE(client.isPollingManagerRunning());
  EXPECT_FALSE(client.isAutoDiscoverManagerRunning());
  EXPECT_TRUE(client.isPollingManager());
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorInfo()), WBEM_E_NOT_FOUND);
}

TEST_F(OMNetworkTest, ClientCallsCarryTheirInParametersAndKeepFailures) {
  WbemOMNetworkClient client(services());
  std::vector<std::string> results{"stale"};
  EXPECT_TRUE(client.pollingManager(true));
  EXPECT_TRUE(client.autoDiscoverManager(false));
  server_->results_ = {"core-1", jp("本社ルータ")};
  EXPECT_TRUE(client.searchNetworkObject(jp("ルータ"), true, results));
  EXPECT_EQ(results, (std::vector<std::string>{"core-1", jp("本社ルータ")}));
  // No match: an empty array and an empty vector.
  server_->results_.clear();
  EXPECT_TRUE(client.srarchSubnet("10.", false, results));
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(server_->takeCalls(), (std::vector<std::string>{
                                      "PollingManager:true|",
                                      "AutoDiscoverManager:false|",
                                      "SearchNetworkObject:" + jp("ルータ") + "|true|",
                                      "SearchSubnet:10.|false|",
                                  }));

  // A false "ReturnValue" is a false result, not a failure; a failure keeps
  // its HRESULT until the next call.
  server_->returnValue_ = false;
  EXPECT_FALSE(client.pollingManager(false));
  EXPECT_EQ(client.getErrorCode(), 0u);
  server_->failure_ = WBEM_E_ACCESS_DENIED;
  EXPECT_FALSE(client.autoDiscoverManager(true));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorInfo()), WBEM_E_ACCESS_DENIED);
  results = {"kept"};
  EXPECT_FALSE(client.searchNetworkObject("x", false, results));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_ACCESS_DENIED);
  EXPECT_EQ(results, std::vector<std::string>{"kept"});
  server_->failure_ = WBEM_S_NO_ERROR;

  // With a sink: true once started, whatever the answer, which goes to the sink.
  EXPECT_TRUE(client.pollingManager(false, sink_));
  EXPECT_EQ(sink_->wait(), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink_->objects_.size(), 1u);
  EXPECT_EQ(valueOf(sink_->objects_[0], u"ReturnValue").boolVal, VARIANT_FALSE);
  server_->results_ = {"s1"};
  CComPtr<StatusSink> second;
  second.Attach(new StatusSink);
  EXPECT_TRUE(client.srarchSubnet("s", true, results, second));
  EXPECT_EQ(second->wait(), WBEM_S_NO_ERROR);
  EXPECT_EQ(results, std::vector<std::string>{"kept"});
  ASSERT_EQ(second->objects_.size(), 1u);
  EXPECT_EQ(stringsOf(second->objects_[0], u"Results"), std::vector<std::string>{"s1"});
}

TEST_F(OMNetworkTest, ProviderMethodsCheckTheirParametersAndDeliverResults) {
  bool flag = false;
  tstring text = "<unread>";
  EXPECT_EQ(PollingManagerMethod(services(), nullptr, sink_).getInParams(flag), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(SearchMethod(services(), sink_).getInParams(text, flag), WBEM_E_INVALID_PARAMETER);
  CComPtr<IWbemClassObject> start = inParams(u"AutoDiscoverManager");
  CComVariant yes(true);
  ASSERT_EQ(start->Put(u"StartOrStop", 0, &yes, 0), WBEM_S_NO_ERROR);
  EXPECT_EQ(AutoDiscoverManagerMethod(services(), start, sink_).getInParams(flag), WBEM_S_NO_ERROR);
  EXPECT_TRUE(flag);
  // A missing parameter gives the HRESULT of the read.
  EXPECT_EQ(SearchMethod(services(), start, sink_).getInParams(text, flag), WBEM_E_NOT_FOUND);

  // Wrong types; the search stops at the first failure.
  CComPtr<IWbemClassObject> wrongManager = spawn(test_.getServices(), u"WrongManagerArgs");
  CComPtr<IWbemClassObject> wrongSearch = spawn(test_.getServices(), u"WrongSearchArgs");
  EXPECT_EQ(PollingManagerMethod(services(), wrongManager, sink_).getInParams(flag), WBEM_E_INVALID_PARAMETER);
  flag = false;
  EXPECT_EQ(SearchMethod(services(), wrongManager, sink_).getInParams(text, flag), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(text, "sw");
  EXPECT_EQ(SearchMethod(services(), wrongSearch, sink_).getInParams(text, flag), WBEM_E_INVALID_PARAMETER);
  EXPECT_FALSE(flag) << "IgnoreCase is read after SearchString";

  // The search serves the method it is told; an unknown one fails until renamed.
  SearchMethod search(services(), nullptr, sink_);
  std::vector<tstring> found{"a", jp("支社")};
  search.setMethodName("SearchNothing");
  EXPECT_EQ(search.execInit(nullptr), WBEM_E_NOT_FOUND);
  EXPECT_TRUE(FAILED(search.indicate(found)));
  search.setMethodName("SearchSubnet");
  EXPECT_EQ(search.getMethodName(), "SearchSubnet");
  EXPECT_EQ(search.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(search.indicate(found), WBEM_S_NO_ERROR);
  PollingManagerMethod polling(services(), nullptr, sink_);
  ASSERT_EQ(polling.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(polling.indicate(true), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink_->objects_.size(), 2u);
  EXPECT_EQ(stringsOf(sink_->objects_[0], u"Results"), (std::vector<std::string>{"a", jp("支社")}));
  const CComVariant returned = valueOf(sink_->objects_[1], u"ReturnValue");
  EXPECT_EQ(returned.vt, VT_BOOL);
  EXPECT_EQ(returned.boolVal, VARIANT_TRUE);
  EXPECT_EQ(polling.setStatus(WBEM_E_FAILED), WBEM_E_FAILED);
  EXPECT_EQ(sink_->wait(), WBEM_E_FAILED);
}

}  // namespace

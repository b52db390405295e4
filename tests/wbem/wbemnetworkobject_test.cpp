// The "NetworkObject" family against the hosted object manager: the value
// transfer of WbemNetworkObject on instances of the real class and of a
// mistyped look-alike, the provider method classes called directly, and the
// client calls served by a provider built on those method classes.
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <om/WbemGuids.h>
#include <om/codepage.h>
#include <wmi/ObjectManager.h>
#include <wmi/ProviderBase.h>

#include "HostedManager.h"
#include "model/SerializableNetObj.h"
#include "wbem/WbemNetworkObjectClient.h"
#include "wbem/WbemNetworkObjectProvider.h"
#include "wbem/wbemroot.h"

namespace {

// Look-alikes of our own, in our own namespace. The defaults fill every
// spawned instance. OddNetworkObject gives each property another type
// (SysContact, Ipv6Addresses and SnmpPort are missing); WrongArgs holds
// method arguments, some of the wrong type.
const char kTestMof[] = R"(
#pragma namespace("\\\\.\\root\\Velmoran\\NetObjTest")
class OddNetworkObject {
  sint32 ObjectName = 11; boolean Description = true; real64 DisplayName = 1.5; sint32 DNSName = 12;
  uint8 MacAddress = 13; sint16 SubnetMask = 14; string ObjectType = "3"; real64 ObjectFunction = 2.0;
  boolean NodeStatus = true; string PortStatus = "4"; sint64 PortType = 1; sint32 IsOurProduct = 1;
  string IsExProduct = "true"; boolean VLANName = false; string Number = "5"; sint64 IfIndex = 6;
  sint16 ReadCommunityName = 1; string WriteCommunityName[] = {"w"}; uint8 SysObjectID = 1;
  boolean SysName = true; string HasTelnet = "1"; sint32 HasHTTP = 1; real64 HasTFTP = 1;
  sint16 HasStack = 1; uint8 HasVlan = 1; string PollingInterval = "60"; sint32 IsPollingPort = 1;
  sint64 DeleteInterval = 7; string IsTrapped = "yes"; real64 SnmpVersion = 1; string IpAddresses = "10.0.0.1";
};
class WrongArgs {
  string ObjectName = "obj"; sint32 SrcParent = 1; string DestParent = "dest"; sint32 OldName = 2;
  string NewName = "new"; string Target = "tgt"; sint32 Variable = 3; string Value = "val";
  string Variables = "v"; sint32 PathName = 4;
};
)";

const char kUnread[] = "<unread>";

tstring jp(const char* utf8) { return om::utf8ToCp932(utf8); }

om::RecordFields fieldsOf(const NetworkObjectBase& object) { return SerializableNetObj(object).describeFields(); }

using BoolSetter = void (NetworkObjectBase::*)(bool);
const BoolSetter kBoolSetters[] = {
    &NetworkObjectBase::setIsOurProduct, &NetworkObjectBase::setIsExProduct,   &NetworkObjectBase::setHasTelnet,
    &NetworkObjectBase::setHasHTTP,      &NetworkObjectBase::setHasTFTP,       &NetworkObjectBase::setHasStack,
    &NetworkObjectBase::setHasVlan,      &NetworkObjectBase::setIsPollingPort, &NetworkObjectBase::setIsTrapped,
};

// Every field set. Objects of different `k` (0 or 1) differ in every field
// but the booleans, which are the bits of `flags`; within one object no two
// numbers or texts are equal, so a skipped or swapped property shows.
NetworkObjectBase sample(int k, unsigned flags) {
  NetworkObjectBase o;
  const std::string n = std::to_string(k);
  o.setName(k == 0 ? jp("東京本社ルータ") : "edge-1");
  o.setDescription(jp("説明") + n);
  o.setDisplayName("display" + n);
  o.setDNSName("host" + n + ".example");
  o.setMacAddress(k == 0 ? "00-11-22-33-44-55" : "66-77-88-99-AA-BB");
  o.setSubnetMask(k == 0 ? "255.255.255.0" : "255.255.0.0");
  o.setObjectType(k == 0 ? 6 : 3);
  o.setObjectFunction(0x100 + k);
  o.setNodeStatus(k == 0 ? 2 : 1);
  o.setPortStatus(k == 0 ? 9 : 8);
  o.setPortType(k == 0 ? 1 : 2);
  o.setVLANName(jp("営業") + n);
  o.setNumber(40 + k);
  o.setIfIndex(1000 + k);
  o.setReadCommunityName("public" + n);
  o.setWriteCommunityName("private" + n);
  o.setSysObjectID("1.3.6.1.4.1.999." + n);
  o.setSysName("sys" + n);
  o.setSysContact(jp("管理者") + n);
  o.setPollingInterval(300 + k);
  o.setDeleteInterval(86400 + k);
  o.setSnmpVersion(k == 0 ? SNMP_VERSION_1 : SNMP_VERSION_NOT_SET);
  o.setSnmpPort(161 + 1000 * k);
  o.setIpAddresses(k == 0 ? std::vector<std::string>{"192.168.1.1", "10.0.0.1"} : std::vector<std::string>{"1.2.3.4"});
  o.setIpv6Addresses(k == 0 ? std::vector<std::string>{"fe80::1", "2001:db8::5"} : std::vector<std::string>{});
  unsigned bit = 0;
  for (auto setter : kBoolSetters) (o.*setter)(((flags >> bit++) & 1) != 0);
  return o;
}

// `o` with every text empty and no addresses.
NetworkObjectBase withoutTexts(NetworkObjectBase o) {
  for (auto setter :
       {&NetworkObjectBase::setName, &NetworkObjectBase::setDescription, &NetworkObjectBase::setDisplayName,
        &NetworkObjectBase::setDNSName, &NetworkObjectBase::setMacAddress, &NetworkObjectBase::setSubnetMask,
        &NetworkObjectBase::setVLANName, &NetworkObjectBase::setReadCommunityName,
        &NetworkObjectBase::setWriteCommunityName, &NetworkObjectBase::setSysObjectID, &NetworkObjectBase::setSysName,
        &NetworkObjectBase::setSysContact}) {
    (o.*setter)("");
  }
  o.clearIpAddresses();
  o.clearIpv6Addresses();
  return o;
}

CComVariant valueOf(IWbemClassObject* object, const char16_t* name) {
  CComVariant value;
  EXPECT_EQ(object->Get(name, 0, &value, nullptr, nullptr), WBEM_S_NO_ERROR) << tstring(name);
  return value;
}

void put(IWbemClassObject* object, const char16_t* name, CComVariant value) {
  ASSERT_EQ(object->Put(name, 0, &value, 0), WBEM_S_NO_ERROR) << tstring(name);
}

std::vector<std::string> stringsOf(IWbemClassObject* object, const char16_t* name) {
  std::vector<std::string> items{kUnread};
  EXPECT_TRUE(WbemClient::getStringArray(valueOf(object, name), items)) << tstring(name);
  return items;
}

// GetChildren answered with "Objects" null.
class NullChildrenMethod : public GetChildrenMethod {
 public:
  using GetChildrenMethod::GetChildrenMethod;
  HRESULT indicate(std::nullptr_t) {
    CComVariant none;
    none.vt = VT_NULL;
    return indicateOutput("Objects", none);
  }
};

// Passes GetObject on to the connection, counting the calls and keeping the
// last context; failWith_ makes the calls fail instead.
class CountingServices : public om::wmi::ProviderBase {
 public:
  explicit CountingServices(IWbemServices* target) : target_(target) {}
  HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, long flags, IWbemContext* ctx, IWbemClassObject** object,
                                      IWbemCallResult** result) override {
    ++calls_;
    context_ = ctx;
    return FAILED(failWith_) ? failWith_ : target_->GetObject(path, flags, ctx, object, result);
  }
  int calls_ = 0;
  IWbemContext* context_ = nullptr;
  HRESULT failWith_ = S_OK;

 private:
  IWbemServices* target_;
};

// Serves "NetworkObject" the way the server does, with the method classes,
// answering with the values the test set.
class NetworkObjectServer : public RecordingProvider {
 public:
  using RecordingProvider::RecordingProvider;

  HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR methodName, long, IWbemContext* ctx,
                                            IWbemClassObject* in, IWbemObjectSink* sink) override {
    const tstring name(methodName);
    const tstring a;
    const std::vector<tstring> list;
    if (name == "AutoAddPort") return call<AutoAddPortMethod>(ctx, in, sink, returnValue_, a);
    if (name == "isExist") return call<IsExistMethod>(ctx, in, sink, returnValue_, a);
    if (name == "ForcePolling") return call<ForcePollingMethod>(ctx, in, sink, returnValue_, a);
    if (name == "Delete") return call<DeleteMethod>(ctx, in, sink, returnValue_, a);
    if (name == "HasChildren") return call<HasChildrenMethod>(ctx, in, sink, returnValue_, a);
    if (name == "Move") return call<MoveMethod>(ctx, in, sink, returnValue_, a, a, a);
    if (name == "Rename") return call<RenameMethod>(ctx, in, sink, returnValue_, a, a);
    if (name == "SetSnmpInfo") return call<SetSnmpInfoMethod>(ctx, in, sink, returnValue_, a, a, a);
    if (name == "GetPathNames") return call<GetPathNamesMethod>(ctx, in, sink, strings_, a);
    if (name == "GetSnmpInfo") return call<GetSnmpInfoMethod>(ctx, in, sink, strings_, a, list);
    if (name == "GetChildren" && nullChildren_) return call<NullChildrenMethod>(ctx, in, sink, nullptr, a);
    std::vector<SerializableNetObj*> children;
    for (const auto& child : children_) children.push_back(child.get());
    return call<GetChildrenMethod>(ctx, in, sink, children, a);
  }

  // What the methods answer; set while no call is under way.
  bool returnValue_ = true;
  std::vector<tstring> strings_;
  std::vector<std::unique_ptr<SerializableNetObj>> children_;
  bool nullChildren_ = false;  // GetChildren leaves "Objects" null

 private:
  template <class Method, class Result, class... Params>
  HRESULT call(IWbemContext* ctx, IWbemClassObject* in, IWbemObjectSink* sink, Result result, Params... params) {
    Method method(services_, in, sink);
    return serve(method, ctx, result, params...);
  }
};

class NetworkObjectTest : public HostedManagerTest {
 protected:
  void SetUp() override { host(kTestMof, "\\\\.\\root\\Velmoran\\NetObjTest"); }
  void TearDown() override {
    server_.Release();
    HostedManagerTest::TearDown();
  }

  NetworkObjectServer& startServer() {
    server_.Attach(new NetworkObjectServer(services()));
    EXPECT_EQ(
        om::wmi::ObjectManager::instance().registerProvider(u"root\\Velmoran\\OrvaManager", u"NetworkObject", server_),
        WBEM_S_NO_ERROR);
    return *server_;
  }

  CComPtr<NetworkObjectServer> server_;
};

// ---- value transfer ---------------------------------------------------------------------

TEST_F(NetworkObjectTest, EveryPropertyRoundTripsThroughTheRealClass) {
  // Four patterns in which any two booleans differ at least once.
  for (unsigned bit = 0; bit < 4; ++bit) {
    unsigned flags = 0;
    for (unsigned i = 0; i < std::size(kBoolSetters); ++i) flags |= (((i + 1) >> bit) & 1u) << i;
    const NetworkObjectBase source = sample(0, flags);
    WbemNetworkObject writer(source, services());
    CComPtr<IWbemClassObject> instance = spawn(services(), u"NetworkObject");
    ASSERT_TRUE(writer.putToInstance(instance));
    // The texts travel as UTF-16.
    const CComVariant name = valueOf(instance, u"ObjectName");
    ASSERT_EQ(name.vt, VT_BSTR);
    EXPECT_EQ(std::u16string(name.bstrVal), u"東京本社ルータ");
    EXPECT_EQ(stringsOf(instance, u"Ipv6Addresses"), source.getIpv6Addresses());
    EXPECT_EQ(valueOf(instance, u"SnmpPort").lVal, 161);

    WbemNetworkObject reader(sample(1, ~flags), services());
    ASSERT_TRUE(reader.getFromInstance(instance));
    EXPECT_EQ(fieldsOf(reader), fieldsOf(source)) << "boolean pattern " << bit;
  }
  WbemNetworkObject object(services());
  EXPECT_FALSE(object.putToInstance(nullptr));
  EXPECT_FALSE(object.getFromInstance(nullptr));
}

TEST_F(NetworkObjectTest, ReadBackKeepsTheEnumerationsInRange) {
  // Each property with (value written, value read) pairs.
  struct Case {
    const char16_t* property;
    int (NetworkObjectBase::*getter)() const;
    std::vector<std::pair<int, int>> values;
  };
  const Case cases[] = {
      {u"ObjectType", &NetworkObjectBase::getObjectType, {{8, 0}, {-1, 0}, {7, 7}, {0, 0}}},
      {u"NodeStatus", &NetworkObjectBase::getNodeStatus, {{3, 0}, {2, 2}}},
      {u"PortType", &NetworkObjectBase::getPortType, {{3, 0}, {2, 2}}},
      {u"PortStatus", &NetworkObjectBase::getPortStatus, {{7, 0}, {6, 6}, {8, 8}, {9, 9}, {10, 0}, {-1, 0}}},
      {u"ObjectFunction", &NetworkObjectBase::getObjectFunction, {{-5, -5}}},
  };
  for (const Case& c : cases) {
    for (const auto& [value, expected] : c.values) {
      CComPtr<IWbemClassObject> instance = spawn(services(), u"NetworkObject");
      put(instance, c.property, CComVariant(value));
      WbemNetworkObject reader(services());
      reader.setObjectType(5);
      reader.setNodeStatus(1);
      reader.setPortType(1);
      reader.setPortStatus(5);
      ASSERT_TRUE(reader.getFromInstance(instance));
      EXPECT_EQ((reader.*c.getter)(), expected) << tstring(c.property) << " = " << value;
    }
  }
}

TEST_F(NetworkObjectTest, NullOrMistypedPropertiesKeepNumbersAndClearTexts) {
  // A fresh instance holds null in every property.
  const NetworkObjectBase prior = sample(0, 0x1FF);
  WbemNetworkObject reader(prior, services());
  ASSERT_TRUE(reader.getFromInstance(spawn(services(), u"NetworkObject")));
  EXPECT_EQ(fieldsOf(reader), fieldsOf(withoutTexts(prior)));

  // Every property of another type, or missing; the booleans start false so
  // that a lenient conversion of the look-alike's true values would show.
  const NetworkObjectBase falsePrior = sample(0, 0);
  reader.setObject(falsePrior);
  ASSERT_TRUE(reader.getFromInstance(spawn(test_.getServices(), u"OddNetworkObject")));
  EXPECT_EQ(fieldsOf(reader), fieldsOf(withoutTexts(falsePrior)));

  CComVariant text("abc");
  CComVariant number(5);
  EXPECT_EQ(WbemNetworkObject::StringComVar(text), "abc");
  EXPECT_EQ(WbemNetworkObject::StringComVar(number), "");
}

TEST_F(NetworkObjectTest, AddressListsAreReadThroughTheAdders) {
  using Texts = std::vector<std::string>;
  CComPtr<IWbemClassObject> instance = spawn(services(), u"NetworkObject");
  CComVariant v4;
  CComVariant v6;
  ASSERT_TRUE(WbemClient::createStringSafeArray(Texts{"10.0.0.1", "10.0.0.1", "010.000.000.001", "bogus"}, v4));
  ASSERT_TRUE(WbemClient::createStringSafeArray(Texts{"::1", "::1", "0::1", "bogus"}, v6));
  put(instance, u"IpAddresses", v4);
  put(instance, u"Ipv6Addresses", v6);
  WbemNetworkObject reader(sample(0, 0), services());
  ASSERT_TRUE(reader.getFromInstance(instance));
  // The list starts afresh; a repeated text is kept once, the others as they stand.
  EXPECT_EQ(reader.getIpAddresses(), (Texts{"10.0.0.1", "010.000.000.001", "bogus"}));
  EXPECT_EQ(reader.getIpv6Addresses(), (Texts{"::1", "0::1", "bogus"}));
}

// ---- provider method classes ------------------------------------------------------------

TEST_F(NetworkObjectTest, ExecInitCachesTheClassAndTheOutSignature) {
  CComPtr<CountingServices> counting;
  counting.Attach(new CountingServices(services()));
  CComPtr<IWbemContext> ctx;
  ASSERT_EQ(ctx.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);

  IsExistMethod method(counting, nullptr, sink_);
  EXPECT_EQ(method.execInit(ctx), WBEM_S_NO_ERROR);
  EXPECT_EQ(counting->calls_, 1);
  EXPECT_EQ(counting->context_, ctx.p);
  EXPECT_EQ(method.execInit(nullptr), WBEM_S_NO_ERROR);
  IsExistMethod copy(method);
  EXPECT_EQ(copy.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(counting->calls_, 1) << "the class is fetched once";
  EXPECT_EQ(copy.indicate(true), WBEM_S_NO_ERROR);

  // A failed fetch is not cached: the next execInit fetches again.
  counting->failWith_ = WBEM_E_ACCESS_DENIED;
  DeleteMethod failed(counting, nullptr, sink_);
  EXPECT_EQ(failed.execInit(ctx), WBEM_E_ACCESS_DENIED);
  EXPECT_TRUE(FAILED(failed.indicate(true)));
  counting->failWith_ = S_OK;
  EXPECT_EQ(failed.execInit(ctx), WBEM_S_NO_ERROR);
  EXPECT_EQ(counting->calls_, 3);
  EXPECT_EQ(failed.indicate(false), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink_->objects_.size(), 2u);
  EXPECT_EQ(valueOf(sink_->objects_[0], u"ReturnValue").vt, VT_BOOL);
  EXPECT_EQ(valueOf(sink_->objects_[0], u"ReturnValue").boolVal, VARIANT_TRUE);
  EXPECT_EQ(valueOf(sink_->objects_[1], u"ReturnValue").boolVal, VARIANT_FALSE);

  EXPECT_EQ(failed.setStatus(WBEM_E_PROVIDER_FAILURE), WBEM_E_PROVIDER_FAILURE);
  EXPECT_EQ(sink_->wait(), WBEM_E_PROVIDER_FAILURE);
}

TEST_F(NetworkObjectTest, InParametersAreCheckedByTypeAndStopAtTheFirstFailure) {
  tstring a = kUnread, b = kUnread, c = kUnread;
  std::vector<tstring> list{kUnread};
  EXPECT_EQ(AutoAddPortMethod(services(), nullptr, sink_).getInParams(a), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(MoveMethod(services(), nullptr, sink_).getInParams(a, b, c), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(GetSnmpInfoMethod(services(), nullptr, sink_).getInParams(a, list), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(a, kUnread);

  CComPtr<IWbemClassObject> move = spawn(services(), u"NetworkObject", u"Move");
  put(move, u"ObjectName", CComVariant(jp("東京").c_str()));
  put(move, u"SrcParent", CComVariant("src"));
  put(move, u"DestParent", CComVariant("dst"));
  EXPECT_EQ(MoveMethod(services(), move, sink_).getInParams(a, b, c), WBEM_S_NO_ERROR);
  EXPECT_EQ(a + "|" + b + "|" + c, jp("東京") + "|src|dst");
  CComPtr<IWbemClassObject> snmp = spawn(services(), u"NetworkObject", u"GetSnmpInfo");
  put(snmp, u"Target", CComVariant("host"));
  CComVariant variables;
  ASSERT_TRUE(WbemClient::createStringSafeArray(std::vector<tstring>{"sysName.0", "ifNumber.0"}, variables));
  put(snmp, u"Variables", variables);
  EXPECT_EQ(GetSnmpInfoMethod(services(), snmp, sink_).getInParams(a, list), WBEM_S_NO_ERROR);
  EXPECT_EQ(a, "host");
  EXPECT_EQ(list, (std::vector<tstring>{"sysName.0", "ifNumber.0"}));
  // A parameter the instance lacks: the HRESULT of the read.
  EXPECT_EQ(RenameMethod(services(), move, sink_).getInParams(a, b), WBEM_E_NOT_FOUND);

  // Wrong types; what follows the first failure is not read.
  CComPtr<IWbemClassObject> wrong = spawn(test_.getServices(), u"WrongArgs");
  a = b = c = kUnread;
  EXPECT_EQ(MoveMethod(services(), wrong, sink_).getInParams(a, b, c), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(a + "|" + b + "|" + c, std::string("obj|") + kUnread + "|" + kUnread);
  a = b = kUnread;
  EXPECT_EQ(RenameMethod(services(), wrong, sink_).getInParams(a, b), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(b, kUnread);
  EXPECT_EQ(SetSnmpInfoMethod(services(), wrong, sink_).getInParams(a, b, c), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(a + "|" + b + "|" + c, std::string("tgt|") + kUnread + "|" + kUnread);
  EXPECT_EQ(GetSnmpInfoMethod(services(), wrong, sink_).getInParams(a, list), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(GetChildrenMethod(services(), wrong, sink_).getInParams(a), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(HasChildrenMethod(services(), wrong, sink_).getInParams(a), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(ForcePollingMethod(services(), wrong, sink_).getInParams(a), WBEM_S_NO_ERROR);
  EXPECT_EQ(a, "obj");
}

TEST_F(NetworkObjectTest, IndicatePutsTheArraysAndEmbedsTheChildrenInOrder) {
  GetPathNamesMethod paths(services(), nullptr, sink_);
  std::vector<tstring> names{"a/b", jp("本社/三階")};
  EXPECT_TRUE(FAILED(paths.indicate(names))) << "nothing to fill before execInit";
  ASSERT_EQ(paths.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(paths.indicate(names), WBEM_S_NO_ERROR);
  GetSnmpInfoMethod snmp(services(), nullptr, sink_);
  std::vector<tstring> none;
  ASSERT_EQ(snmp.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(snmp.indicate(none), WBEM_S_NO_ERROR);

  // The third child's out-of-range values are clamped on the way.
  const NetworkObjectBase first = sample(0, 0x0F0);
  const NetworkObjectBase second = sample(1, 0x00F);
  SerializableNetObj one(first), two(second), three(second);
  three.setName("clamped");
  three.setObjectType(9);
  three.setPortStatus(7);
  std::vector<SerializableNetObj*> children{&one, &two, &three};
  GetChildrenMethod method(services(), nullptr, sink_);
  ASSERT_EQ(method.execInit(nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(method.indicate(children), WBEM_S_NO_ERROR);

  ASSERT_EQ(sink_->objects_.size(), 3u);
  EXPECT_EQ(stringsOf(sink_->objects_[0], u"PathNames"), (std::vector<std::string>{"a/b", jp("本社/三階")}));
  EXPECT_TRUE(stringsOf(sink_->objects_[1], u"Results").empty());
  const CComVariant objects = valueOf(sink_->objects_[2], u"Objects");
  ASSERT_EQ(objects.vt, VT_ARRAY | VT_UNKNOWN);
  LONG upper = -1;
  SafeArrayGetUBound(objects.parray, 1, &upper);
  ASSERT_EQ(upper, 2);
  std::vector<NetworkObjectBase> read;
  for (LONG i = 0; i <= upper; ++i) {
    CComPtr<IUnknown> element;
    ASSERT_EQ(SafeArrayGetElement(objects.parray, &i, &element), S_OK);
    CComPtr<IWbemClassObject> instance;
    ASSERT_EQ(element->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(&instance)), S_OK);
    EXPECT_EQ(tstring().fromBSTR(valueOf(instance, u"__CLASS").bstrVal), "NetworkObject");
    WbemNetworkObject reader(services());
    ASSERT_TRUE(reader.getFromInstance(instance));
    read.push_back(reader.getObject());
  }
  EXPECT_EQ(fieldsOf(read[0]), fieldsOf(first));
  EXPECT_EQ(fieldsOf(read[1]), fieldsOf(second));
  EXPECT_EQ(read[2].getName(), "clamped");
  EXPECT_EQ(read[2].getObjectType(), 0);
  EXPECT_EQ(read[2].getPortStatus(), 0);
  EXPECT_EQ(read[2].getSnmpPort(), second.getSnmpPort());
}

// ---- client calls -------------------------------------------------------------------------

TEST_F(NetworkObjectTest, ClientCallsCarryTheirInParametersAndSinksGetTheResults) {
  NetworkObjectServer& server = startServer();
  const tstring self = jp("コアスイッチ");
  NetworkObjectBase base;
  base.setName(self);
  WbemNetworkObjectClient client(base, services());
  EXPECT_TRUE(client.autoAddPort());
  EXPECT_TRUE(client.isExistObject("other"));
  EXPECT_TRUE(client.forcePolling());
  EXPECT_TRUE(client.deleteObject());
  EXPECT_TRUE(client.moveObject("src", jp("倉庫")));
  EXPECT_TRUE(client.renameObject(jp("新名前")));
  EXPECT_TRUE(client.setSnmpInfo("sysContact.0", "ops"));
  EXPECT_TRUE(client.hasChildren("net/a"));
  server.strings_ = {"net/a", jp("本社")};
  std::vector<std::string> results{"stale"};
  EXPECT_TRUE(client.getPathNames(results));
  EXPECT_EQ(results, (std::vector<std::string>{"net/a", jp("本社")}));
  server.strings_ = {"core-1"};
  EXPECT_TRUE(client.getSnmpInfo("host", {"sysName.0", "sysUpTime.0"}, results));
  EXPECT_EQ(results, (std::vector<std::string>{"core-1"}));
  const std::vector<std::string> expected{
      "AutoAddPort:" + self + "|",
      "isExist:other|",
      "ForcePolling:" + self + "|",
      "Delete:" + self + "|",
      "Move:" + self + "|src|" + jp("倉庫") + "|",
      "Rename:" + self + "|" + jp("新名前") + "|",
      "SetSnmpInfo:" + self + "|sysContact.0|ops|",
      "HasChildren:net/a|",
      "GetPathNames:" + self + "|",
      "GetSnmpInfo:host|[sysName.0;sysUpTime.0;]|",
  };
  EXPECT_EQ(server.calls(), expected);

  // A false "ReturnValue" is a false result but no failure.
  server.returnValue_ = false;
  EXPECT_FALSE(client.isExistObject());
  EXPECT_EQ(client.getErrorCode(), 0u);

  // With a sink: true once started, whatever the answer, which goes to the sink.
  EXPECT_TRUE(client.deleteObject("gone", sink_));
  EXPECT_EQ(sink_->wait(), WBEM_S_NO_ERROR);
  ASSERT_EQ(sink_->objects_.size(), 1u);
  EXPECT_EQ(valueOf(sink_->objects_[0], u"ReturnValue").boolVal, VARIANT_FALSE);

  server.strings_ = {"p/q"};
  CComPtr<StatusSink> second;
  second.Attach(new StatusSink);
  std::vector<std::string> paths{"untouched"};
  EXPECT_TRUE(client.getPathNames("x", paths, second));
  EXPECT_EQ(second->wait(), WBEM_S_NO_ERROR);
  EXPECT_EQ(paths, (std::vector<std::string>{"untouched"}));
  ASSERT_EQ(second->objects_.size(), 1u);
  EXPECT_EQ(stringsOf(second->objects_[0], u"PathNames"), (std::vector<std::string>{"p/q"}));
}

TEST_F(NetworkObjectTest, GetChildrenAppendsEachEmbeddedObjectInOrder) {
  NetworkObjectServer& server = startServer();
  const NetworkObjectBase first = sample(0, 0x155);
  const NetworkObjectBase second = sample(1, 0x0AA);
  server.children_.push_back(std::make_unique<SerializableNetObj>(first));
  server.children_.push_back(std::make_unique<SerializableNetObj>(second));
  WbemNetworkObjectClient client(services());
  std::vector<NetworkObjectBase> children(1);
  children[0].setName("kept");
  ASSERT_TRUE(client.getChildren(jp("本社"), children)) << std::hex << client.getErrorCode();
  ASSERT_EQ(children.size(), 3u);
  EXPECT_EQ(children[0].getName(), "kept");
  EXPECT_EQ(fieldsOf(children[1]), fieldsOf(first));
  EXPECT_EQ(fieldsOf(children[2]), fieldsOf(second));
  EXPECT_EQ(server.calls(), std::vector<std::string>{"GetChildren:" + jp("本社") + "|"});

  // No children: an empty array, or no array at all.
  server.children_.clear();
  EXPECT_TRUE(client.getChildren("leaf", children));
  server.nullChildren_ = true;
  EXPECT_TRUE(client.getChildren("leaf", children));
  EXPECT_EQ(children.size(), 3u);
}

TEST_F(NetworkObjectTest, FailuresKeepTheirHresultAndInstancesCarryTheirContext) {
  NetworkObjectServer& server = startServer();
  server.failure_ = WBEM_E_ACCESS_DENIED;
  WbemNetworkObjectClient client(services());
  std::vector<std::string> paths{"untouched"};
  std::vector<NetworkObjectBase> children(1);
  EXPECT_FALSE(client.autoAddPort("x"));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_ACCESS_DENIED);
  EXPECT_FALSE(client.getPathNames("x", paths));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_ACCESS_DENIED);
  EXPECT_FALSE(client.getChildren("x", children));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_ACCESS_DENIED);
  EXPECT_EQ(paths.size() + children.size(), 2u);
  server.failure_ = WBEM_S_NO_ERROR;
  EXPECT_TRUE(client.forcePolling("x"));
  EXPECT_EQ(client.getErrorCode(), 0u);

  // put() tells the provider the subnet; get() whether to stay silent.
  const NetworkObjectBase source = sample(0, 0x0F0);
  WbemNetworkObjectClient writer(source, services());
  ASSERT_TRUE(writer.put(jp("本社")));
  ASSERT_TRUE(writer.put());
  const tstring path = "NetworkObject.ObjectName=\"" + source.getName() + "\"";
  NetworkObjectBase out;
  ASSERT_TRUE(client.getObject(path, out, true)) << std::hex << client.getErrorCode();
  EXPECT_EQ(fieldsOf(out), fieldsOf(source));
  server.stored_.Release();
  EXPECT_FALSE(client.getObject(path, out, false));
  EXPECT_EQ(static_cast<HRESULT>(client.getErrorCode()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(out.getName(), source.getName());
  const std::vector<std::string> calls = server.calls();
  ASSERT_EQ(calls.size(), 8u);
  EXPECT_EQ(calls[4], "PutInstance:" + jp("本社") + "|");
  EXPECT_EQ(calls[5], "PutInstance:|");
  EXPECT_EQ(calls[6], "GetObject:" + path + "|true|");
  EXPECT_EQ(calls[7], "GetObject:" + path + "|false|");
}

}  // namespace

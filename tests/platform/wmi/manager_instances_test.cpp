// GetObject, PutInstance, DeleteInstance, CreateInstanceEnum and ExecQuery
// on classes kept by the manager's store and on provider classes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <om/WbemGuids.h>

#include "ManagerTestSupport.h"
#include "TestProviders.h"

namespace wmitest {
namespace {

// Every object an enumerator gives, read with a generous time-out.
std::vector<CComPtr<IWbemClassObject>> drain(IEnumWbemClassObject* objects) {
  std::vector<CComPtr<IWbemClassObject>> all;
  for (;;) {
    IWbemClassObject* batch[3] = {};
    ULONG returned = 0;
    const HRESULT hr = objects->Next(WBEM_INFINITE, 3, batch, &returned);
    for (ULONG i = 0; i < returned; ++i) {
      all.emplace_back(batch[i]);
      batch[i]->Release();
    }
    if (hr != WBEM_S_NO_ERROR) {
      EXPECT_EQ(hr, WBEM_S_FALSE);
      return all;
    }
  }
}

std::vector<std::u16string> names(const std::vector<CComPtr<IWbemClassObject>>& objects, const char16_t* property) {
  std::vector<std::u16string> out;
  for (const CComPtr<IWbemClassObject>& o : objects) out.push_back(stringProperty(o, property));
  std::sort(out.begin(), out.end());
  return out;
}

class InstancesTest : public ManagerTest {
 protected:
  CComPtr<IWbemClassObject> item(const char16_t* className, const char16_t* name, long count, bool enabled) {
    CComPtr<IWbemClassObject> instance = spawn(className);
    EXPECT_EQ(putValue(instance, u"Name", CComVariant(name)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(instance, u"Count", CComVariant(count)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(instance, u"Enabled", CComVariant(enabled)), WBEM_S_NO_ERROR);
    EXPECT_EQ(putValue(instance, u"Tags", stringArray({u"x", name})), WBEM_S_NO_ERROR);
    return instance;
  }

  CComPtr<IWbemClassObject> get(const char16_t* path, HRESULT expected = WBEM_S_NO_ERROR) {
    CComPtr<IWbemClassObject> object;
    EXPECT_EQ(services_->GetObject(bstr(path), 0, nullptr, &object, nullptr), expected);
    return object;
  }

  std::vector<CComPtr<IWbemClassObject>> query(const char16_t* text, long flags = WBEM_FLAG_FORWARD_ONLY) {
    CComPtr<IEnumWbemClassObject> objects;
    EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(text), flags, nullptr, &objects), WBEM_S_NO_ERROR);
    return objects == nullptr ? std::vector<CComPtr<IWbemClassObject>>() : drain(objects);
  }
};

TEST_F(InstancesTest, StoreKeepsCopiesWithPutSemantics) {
  CComPtr<IWbemClassObject> a = item(u"Item", u"alpha", 1, true);
  CComPtr<IWbemCallResult> result;
  ASSERT_EQ(services_->PutInstance(a, WBEM_FLAG_CREATE_ONLY, nullptr, &result), WBEM_S_NO_ERROR);
  CComBSTR written;
  ASSERT_EQ(result->GetResultString(WBEM_INFINITE, &written), WBEM_S_NO_ERROR);
  EXPECT_EQ(std::u16string(written.m_str), u"Item.Name=\"alpha\"");

  // CREATE_ONLY refuses an existing instance, UPDATE_ONLY a missing one.
  EXPECT_EQ(services_->PutInstance(a, WBEM_FLAG_CREATE_ONLY, nullptr, nullptr), WBEM_E_ALREADY_EXISTS);
  CComPtr<IWbemClassObject> b = item(u"Item", u"beta", 2, false);
  EXPECT_EQ(services_->PutInstance(b, WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr), WBEM_E_NOT_FOUND);
  EXPECT_EQ(services_->PutInstance(b, WBEM_FLAG_CREATE_ONLY | WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr),
            WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(services_->PutInstance(b, WBEM_FLAG_CREATE_OR_UPDATE, nullptr, nullptr), WBEM_S_NO_ERROR);

  // The store took a copy: changing the caller's object changes nothing.
  putValue(a, u"Count", CComVariant(99));
  CComPtr<IWbemClassObject> read = get(u"Item.Name=\"alpha\"");
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(intProperty(read, u"Count"), 1);
  EXPECT_EQ(typeOf(read, u"Count"), VT_I4);
  EXPECT_EQ(typeOf(read, u"Enabled"), VT_BOOL);
  EXPECT_EQ(typeOf(read, u"Tags"), VT_ARRAY | VT_BSTR);
  EXPECT_EQ(stringProperty(read, u"__RELPATH"), u"Item.Name=\"alpha\"");

  // UPDATE_ONLY replaces it; every spelling of the path finds it.
  ASSERT_EQ(services_->PutInstance(a, WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr), WBEM_S_NO_ERROR);
  for (const char16_t* path : {u"Item.Name=\"alpha\"", u"Item=\"alpha\"", u"ITEM.name=\"ALPHA\"",
                               u"\\\\.\\root\\Velmoran\\ManagerTest:Item.Name=\"alpha\"",
                               u"//./root/velmoran/managertest:Item=\"alpha\""}) {
    CComPtr<IWbemClassObject> found = get(path);
    EXPECT_EQ(intProperty(found, u"Count"), 99);
  }
  // The object handed out is a copy too.
  putValue(read, u"Count", CComVariant(5));
  EXPECT_EQ(intProperty(get(u"Item=\"alpha\""), u"Count"), 99);

  EXPECT_EQ(services_->DeleteInstance(bstr(u"Item.Name=\"alpha\""), 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  get(u"Item.Name=\"alpha\"", WBEM_E_NOT_FOUND);
  EXPECT_EQ(services_->DeleteInstance(bstr(u"Item.Name=\"alpha\""), 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
  get(u"Item.Nope=\"alpha\"", WBEM_E_INVALID_OBJECT_PATH);
  get(u"NoSuchClass.Name=\"alpha\"", WBEM_E_NOT_FOUND);
  get(u"Item.Name=\"alpha", WBEM_E_INVALID_OBJECT_PATH);
  get(u"\\\\elsewhere\\root\\Velmoran\\ManagerTest:Item.Name=\"beta\"", WBEM_E_TRANSPORT_FAILURE);

  // An instance with a null key cannot be stored.
  CComPtr<IWbemClassObject> unnamed = spawn(u"Item");
  EXPECT_EQ(services_->PutInstance(unnamed, 0, nullptr, nullptr), WBEM_E_ILLEGAL_NULL);
}

TEST_F(InstancesTest, EnumerationCoversSubclassesUnlessShallow) {
  ASSERT_EQ(services_->PutInstance(item(u"Item", u"plain", 1, true), 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  CComPtr<IWbemClassObject> special = item(u"SpecialItem", u"special", 2, false);
  putValue(special, u"Level", CComVariant(4));
  ASSERT_EQ(services_->PutInstance(special, 0, nullptr, nullptr), WBEM_S_NO_ERROR);

  CComPtr<IEnumWbemClassObject> deep;
  ASSERT_EQ(services_->CreateInstanceEnum(bstr(u"Item"), 0, nullptr, &deep), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(drain(deep), u"Name"), (std::vector<std::u16string>{u"fromMof", u"plain", u"special"}));

  CComPtr<IEnumWbemClassObject> shallow;
  ASSERT_EQ(services_->CreateInstanceEnum(bstr(u"Item"), WBEM_FLAG_SHALLOW, nullptr, &shallow), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(drain(shallow), u"Name"), (std::vector<std::u16string>{u"fromMof", u"plain"}));

  // A subclass instance is found through the path of its base class too.
  CComPtr<IWbemClassObject> found = get(u"Item.Name=\"special\"");
  EXPECT_EQ(stringProperty(found, u"__CLASS"), u"SpecialItem");
  EXPECT_EQ(intProperty(found, u"Level"), 4);

  CComPtr<IEnumWbemClassObject> none;
  EXPECT_EQ(services_->CreateInstanceEnum(bstr(u"Nothing"), 0, nullptr, &none), WBEM_E_INVALID_CLASS);
  EXPECT_EQ(none, nullptr);
}

TEST_F(InstancesTest, QueryFiltersAndProjectsStoredInstances) {
  for (long i = 0; i < 6; ++i) {
    const std::u16string name = u"n" + std::u16string(1, static_cast<char16_t>(u'0' + i));
    ASSERT_EQ(services_->PutInstance(item(u"Item", name.c_str(), i, i % 2 == 0), 0, nullptr, nullptr),
              WBEM_S_NO_ERROR);
  }
  EXPECT_EQ(names(query(u"SELECT * FROM Item WHERE Count >= 3 AND Enabled = TRUE"), u"Name"),
            (std::vector<std::u16string>{u"n4"}));
  EXPECT_EQ(names(query(u"select * from item where name like 'N[0-2]' or count = 7"), u"Name"),
            (std::vector<std::u16string>{u"fromMof", u"n0", u"n1", u"n2"}));
  EXPECT_EQ(names(query(u"SELECT * FROM Item WHERE NOT (Count < 5) AND Name <> 'fromMof'"), u"Name"),
            (std::vector<std::u16string>{u"n5"}));

  // SELECT keeps the listed properties and the key; the rest come back null.
  std::vector<CComPtr<IWbemClassObject>> projected = query(u"SELECT Count FROM Item WHERE Name = 'n3'");
  ASSERT_EQ(projected.size(), 1u);
  EXPECT_EQ(stringProperty(projected[0], u"Name"), u"n3");
  EXPECT_EQ(intProperty(projected[0], u"Count"), 3);
  EXPECT_EQ(typeOf(projected[0], u"Enabled"), VT_NULL);
  EXPECT_EQ(typeOf(projected[0], u"Tags"), VT_NULL);

  CComPtr<IEnumWbemClassObject> refused;
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT * FROM Item WHERE"), 0, nullptr, &refused),
            WBEM_E_INVALID_QUERY);
  EXPECT_EQ(services_->ExecQuery(bstr(u"SQL"), bstr(u"SELECT * FROM Item"), 0, nullptr, &refused),
            WBEM_E_INVALID_QUERY_TYPE);
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT Colour FROM Item"), 0, nullptr, &refused),
            WBEM_E_INVALID_QUERY);
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT * FROM Item WHERE Colour = 1"), 0, nullptr, &refused),
            WBEM_E_INVALID_QUERY);
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT * FROM Nowhere"), 0, nullptr, &refused),
            WBEM_E_INVALID_CLASS);
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT * FROM Item WITHIN 5"), 0, nullptr, &refused),
            WBEM_E_INVALID_QUERY);
  // A query that returns immediately reports a parse error at once as well.
  EXPECT_EQ(services_->ExecQuery(bstr(u"WQL"), bstr(u"SELECT FROM Item"), WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                 &refused),
            WBEM_E_INVALID_QUERY);
  EXPECT_EQ(refused, nullptr);
}

TEST_F(InstancesTest, ProviderClassesGoToTheProviderWithTheContext) {
  auto* provider = static_cast<DeviceProvider*>(devices_.p);
  CComPtr<IWbemContext> context;
  ASSERT_EQ(context.CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER), S_OK);
  CComVariant tag(u"first");
  ASSERT_EQ(context->SetValue(u"Tag", 0, &tag), WBEM_S_NO_ERROR);

  for (const char16_t* name : {u"d1", u"d2", u"d3"}) {
    CComPtr<IWbemClassObject> device = spawn(u"Device");
    putValue(device, u"Name", CComVariant(name));
    putValue(device, u"Kind", CComVariant(name[1] - u'0'));
    ASSERT_EQ(services_->PutInstance(device, WBEM_FLAG_CREATE_ONLY, context, nullptr), WBEM_S_NO_ERROR);
  }
  EXPECT_EQ(provider->lastTag(), u"first");

  tag = u"second";
  context->SetValue(u"tag", 0, &tag);
  CComPtr<IWbemClassObject> d2;
  ASSERT_EQ(services_->GetObject(bstr(u"Device.Name=\"d2\""), 0, context, &d2, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(intProperty(d2, u"Kind"), 2);
  EXPECT_EQ(provider->lastTag(), u"second");

  // The provider's own failure comes back as it gave it.
  CComPtr<IWbemClassObject> missing;
  EXPECT_EQ(services_->GetObject(bstr(u"Device.Name=\"d9\""), 0, nullptr, &missing, nullptr), WBEM_E_NOT_FOUND);

  EXPECT_EQ(services_->DeleteInstance(bstr(u"Device=\"d1\""), 0, nullptr, nullptr), WBEM_S_NO_ERROR);
  EXPECT_EQ(services_->DeleteInstance(bstr(u"Device=\"d1\""), 0, nullptr, nullptr), WBEM_E_NOT_FOUND);

  CComPtr<IEnumWbemClassObject> all;
  ASSERT_EQ(services_->CreateInstanceEnum(bstr(u"Device"), 0, nullptr, &all), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(drain(all), u"Name"), (std::vector<std::u16string>{u"d2", u"d3"}));

  // The device provider does not answer queries: the manager enumerates and
  // filters for it.
  const int before = provider->enumerations();
  EXPECT_EQ(names(query(u"SELECT Name FROM Device WHERE Kind > 2"), u"Name"), (std::vector<std::u16string>{u"d3"}));
  EXPECT_EQ(provider->enumerations(), before + 1);
}

TEST_F(InstancesTest, ProviderQueryResultsAreFilteredAgain) {
  auto* provider = static_cast<SensorProvider*>(sensors_.p);
  std::vector<CComPtr<IWbemClassObject>> found = query(u"SELECT Id FROM Sensor WHERE Zone = 'A' AND Level > 4");
  std::vector<long> ids;
  for (const CComPtr<IWbemClassObject>& sensor : found) {
    ids.push_back(intProperty(sensor, u"Id"));
    EXPECT_EQ(typeOf(sensor, u"Zone"), VT_NULL);
  }
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, (std::vector<long>{5, 7, 9}));
  EXPECT_EQ(provider->queries(), 1);
  EXPECT_EQ(provider->enumerations(), 0);
}

TEST_F(InstancesTest, AsynchronousFormsDeliverToTheSink) {
  CComPtr<TestSink> put;
  put.Attach(new TestSink);
  ASSERT_EQ(services_->PutInstanceAsync(item(u"Item", u"async", 3, true), 0, nullptr, put), WBEM_S_NO_ERROR);
  ASSERT_TRUE(put->waitForStatus());
  EXPECT_EQ(put->status(), WBEM_S_NO_ERROR);

  CComPtr<TestSink> got;
  got.Attach(new TestSink);
  ASSERT_EQ(services_->GetObjectAsync(bstr(u"Item=\"async\""), 0, nullptr, got), WBEM_S_NO_ERROR);
  ASSERT_TRUE(got->waitForStatus());
  ASSERT_EQ(got->objectCount(), 1u);
  EXPECT_EQ(intProperty(got->objects()[0], u"Count"), 3);

  CComPtr<TestSink> listed;
  listed.Attach(new TestSink);
  ASSERT_EQ(services_->ExecQueryAsync(bstr(u"WQL"), bstr(u"SELECT * FROM Item WHERE Count = 3"), 0, nullptr, listed),
            WBEM_S_NO_ERROR);
  ASSERT_TRUE(listed->waitForStatus());
  EXPECT_EQ(listed->status(), WBEM_S_NO_ERROR);
  EXPECT_EQ(names(listed->objects(), u"Name"), (std::vector<std::u16string>{u"async"}));

  CComPtr<TestSink> failed;
  failed.Attach(new TestSink);
  ASSERT_EQ(services_->DeleteInstanceAsync(bstr(u"Item=\"nobody\""), 0, nullptr, failed), WBEM_S_NO_ERROR);
  ASSERT_TRUE(failed->waitForStatus());
  EXPECT_EQ(failed->status(), WBEM_E_NOT_FOUND);
  EXPECT_EQ(failed->statusCount(), 1);
  EXPECT_EQ(services_->GetObjectAsync(bstr(u"Item"), 0, nullptr, nullptr), WBEM_E_INVALID_PARAMETER);
}

}  // namespace
}  // namespace wmitest

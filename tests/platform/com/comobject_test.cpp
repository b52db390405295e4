#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include <atlbase.h>

#include "TestObjects.h"

namespace {

using comtest::IID_INamed;
using comtest::IID_IValue;
using comtest::INamed;
using comtest::IValue;
using comtest::refCount;

TEST(ComObject, QueryInterfaceKeepsIdentityAndCounts) {
  const long before = om::comObjectCount();
  auto* object = new comtest::Value(5);
  EXPECT_EQ(om::comObjectCount(), before + 1);
  IValue* value = object;
  EXPECT_EQ(refCount(value), 1u);

  INamed* named = nullptr;
  ASSERT_EQ(value->QueryInterface(IID_INamed, reinterpret_cast<void**>(&named)), S_OK);
  EXPECT_STREQ(named->name(), "value");
  EXPECT_NE(static_cast<void*>(named), static_cast<void*>(value));  // distinct vtables
  EXPECT_EQ(refCount(value), 2u);

  // IUnknown is the same pointer whichever interface it is asked through.
  IUnknown* fromValue = nullptr;
  IUnknown* fromNamed = nullptr;
  ASSERT_EQ(value->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&fromValue)), S_OK);
  ASSERT_EQ(named->QueryInterface(IID_PPV_ARGS(&fromNamed)), S_OK);
  EXPECT_EQ(fromValue, fromNamed);
  IValue* back = nullptr;
  ASSERT_EQ(fromNamed->QueryInterface(&back), S_OK);
  EXPECT_EQ(back, value);
  EXPECT_EQ(back->value(), 5);
  EXPECT_EQ(refCount(value), 5u);

  void* none = reinterpret_cast<void*>(1);
  EXPECT_EQ(value->QueryInterface(IID_IClassFactory, &none), E_NOINTERFACE);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(value->QueryInterface(IID_IValue, nullptr), E_POINTER);
  EXPECT_EQ(refCount(value), 5u);

  EXPECT_EQ(back->Release(), 4u);
  EXPECT_EQ(fromNamed->Release(), 3u);
  EXPECT_EQ(fromValue->Release(), 2u);
  EXPECT_EQ(named->Release(), 1u);
  EXPECT_EQ(om::comObjectCount(), before + 1);
  EXPECT_EQ(value->Release(), 0u);
  EXPECT_EQ(om::comObjectCount(), before);
}

TEST(ComObject, CountsStayExactAcrossThreads) {
  const long before = om::comObjectCount();
  IValue* value = new comtest::Value;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([value] {
      for (int i = 0; i < 20000; ++i) {
        value->AddRef();
        value->Release();
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(refCount(value), 1u);
  value->Release();
  EXPECT_EQ(om::comObjectCount(), before);
}

TEST(ComClassFactory, CreatesInstancesAndRefusesAggregation) {
  const long before = om::comObjectCount();
  CComPtr<IClassFactory> factory;
  factory.Attach(new om::ComClassFactory<comtest::Value>);
  CComPtr<INamed> named;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_INamed, reinterpret_cast<void**>(&named)), S_OK);
  EXPECT_EQ(refCount(named), 1u);  // the factory kept no reference
  EXPECT_STREQ(named->name(), "value");

  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(factory->CreateInstance(named, IID_IValue, &out), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(om::comObjectCount(), before + 2);  // the failed instance is gone
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  named.Release();
  factory.Release();
  EXPECT_EQ(om::comObjectCount(), before);
}

TEST(CComPtr, OwnsOneReference) {
  IValue* raw = new comtest::Value;  // one reference, ours
  {
    CComPtr<IValue> a(raw);
    EXPECT_EQ(refCount(raw), 2u);
    CComPtr<IValue> b = a;
    EXPECT_EQ(refCount(raw), 3u);
    CComPtr<IValue> c = std::move(b);
    EXPECT_EQ(b.p, nullptr);
    EXPECT_EQ(refCount(raw), 3u);
    c = c.p;  // self-assignment keeps the reference
    EXPECT_EQ(refCount(raw), 3u);
    EXPECT_TRUE(a == c);
    EXPECT_TRUE(a == raw);
    EXPECT_FALSE(!a);

    IValue* copy = nullptr;
    EXPECT_EQ(a.CopyTo(&copy), S_OK);
    EXPECT_EQ(refCount(raw), 4u);
    copy->Release();
    EXPECT_EQ(a.CopyTo(nullptr), E_POINTER);

    CComPtr<INamed> named;
    EXPECT_EQ(a.QueryInterface(&named), S_OK);
    EXPECT_TRUE(a.IsEqualObject(named));
    EXPECT_EQ(refCount(raw), 4u);

    IValue* detached = c.Detach();
    EXPECT_EQ(c.p, nullptr);
    EXPECT_EQ(refCount(raw), 4u);
    c.Attach(detached);  // no new reference
    EXPECT_EQ(refCount(raw), 4u);
    c.Release();
    EXPECT_EQ(c.p, nullptr);
    EXPECT_EQ(refCount(raw), 3u);
  }
  EXPECT_EQ(refCount(raw), 1u);
  raw->Release();
}

TEST(CComPtr, MovesInsideContainers) {
  IValue* raw = new comtest::Value;
  {
    std::vector<CComPtr<IValue>> list(3);
    for (auto& p : list) p = raw;
    EXPECT_EQ(refCount(raw), 4u);
    list.erase(list.begin());  // moves the later elements down
    EXPECT_EQ(refCount(raw), 3u);
    list[0] = std::move(list[0]);  // self-move keeps the reference
    EXPECT_EQ(refCount(raw), 3u);
  }
  EXPECT_EQ(refCount(raw), 1u);
  raw->Release();
}

TEST(CComPtr, QIPtrQueriesAndDistinguishesObjects) {
  CComPtr<IValue> first;
  first.Attach(new comtest::Value(1));
  CComPtr<IValue> second;
  second.Attach(new comtest::Value(2));
  CComQIPtr<INamed> named(static_cast<IUnknown*>(first));
  ASSERT_NE(named.p, nullptr);
  EXPECT_EQ(refCount(first), 2u);
  EXPECT_FALSE(first.IsEqualObject(second));
  EXPECT_TRUE(second.IsEqualObject(second));

  named = static_cast<IUnknown*>(second);  // releases the first, queries the second
  EXPECT_EQ(refCount(first), 1u);
  EXPECT_EQ(refCount(second), 2u);
  EXPECT_TRUE(second.IsEqualObject(named));

  CComQIPtr<IClassFactory> none(static_cast<IUnknown*>(first));
  EXPECT_EQ(none.p, nullptr);
  EXPECT_EQ(refCount(first), 1u);
}

}  // namespace

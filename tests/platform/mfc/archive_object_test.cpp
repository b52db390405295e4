#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "ArchiveTestUtil.h"
#include "TestObjects.h"

namespace {

using mfctest::ByteList;
using mfctest::Bytes;
using mfctest::bytesOf;
using mfctest::causeOf;

// The new-class form: 0xFFFF, schema, name length, name.
ByteList& newClass(ByteList& list, const std::string& name, int schema = 1) {
  return list << 0xFF << 0xFF << schema << 0 << static_cast<int>(name.size()) << 0 << name;
}

ByteList& record(ByteList& list, int id, const std::string& name) {
  return list << id << 0 << 0 << 0 << static_cast<int>(name.size()) << name;
}

// Deletes each distinct object once when the scope ends.
class Owned {
 public:
  ~Owned() {
    for (CObject* o : objects_) delete o;
  }
  template <class T>
  T* add(T* o) {
    if (o != nullptr) objects_.insert(o);
    return o;
  }

 private:
  std::set<CObject*> objects_;
};

TEST(RuntimeClass, RegistryAndDerivation) {
  CRuntimeClass* record = CRuntimeClass::FromName("CTestRecord");
  ASSERT_EQ(record, RUNTIME_CLASS(CTestRecord));
  EXPECT_EQ(CRuntimeClass::FromName("ctestrecord"), nullptr);
  EXPECT_EQ(CRuntimeClass::FromName("CTestDynamic"), nullptr);  // not serialisable: not registered
  EXPECT_STREQ(record->m_lpszClassName, "CTestRecord");
  EXPECT_EQ(record->m_wSchema, 1u);
  EXPECT_EQ(RUNTIME_CLASS(CTestVersioned)->m_wSchema, VERSIONABLE_SCHEMA | 2);

  std::unique_ptr<CObject> special(CRuntimeClass::FromName("CTestSpecialRecord")->CreateObject());
  ASSERT_NE(special, nullptr);
  EXPECT_EQ(special->GetRuntimeClass(), RUNTIME_CLASS(CTestSpecialRecord));
  EXPECT_TRUE(special->IsKindOf(RUNTIME_CLASS(CTestRecord)));
  EXPECT_TRUE(special->IsKindOf(RUNTIME_CLASS(CObject)));
  EXPECT_FALSE(special->IsKindOf(RUNTIME_CLASS(CTestHolder)));
  EXPECT_TRUE(special->IsSerializable());
  CTestDynamic dynamic;
  EXPECT_FALSE(dynamic.IsSerializable());
  EXPECT_EQ(RUNTIME_CLASS(CTestDynamic)->CreateObject(), nullptr);
  EXPECT_EQ(CTestRecord::GetThisClass(), RUNTIME_CLASS(CTestRecord));
}

TEST(ArchiveObject, TagsOfNullNewSameAndSecondObjectOfAClass) {
  CTestRecord a(7, "ab");
  CTestRecord b(8, "c");
  const Bytes bytes = mfctest::store([&](CArchive& ar) {
    ar << static_cast<CObject*>(nullptr) << &a << &a << &b;
    ar.WriteObject(nullptr);
  });
  ByteList expected;
  expected << 0x00 << 0x00;                  // null
  record(newClass(expected, "CTestRecord"), 7, "ab");  // class 1, object 2
  expected << 0x02 << 0x00;                  // object 2 again
  record(expected << 0x01 << 0x80, 8, "c");  // class 1 again, object 3
  expected << 0x00 << 0x00;
  EXPECT_EQ(bytes, expected.bytes());

  mfctest::load(bytes, [](CArchive& ar) {
    Owned owned;
    CObject* null = nullptr;
    CTestRecord* first = nullptr;
    CObject* again = nullptr;
    ar >> null >> first;
    owned.add(first);
    again = owned.add(ar.ReadObject(RUNTIME_CLASS(CTestRecord)));
    auto* second = owned.add(static_cast<CTestRecord*>(ar.ReadObject(nullptr)));
    EXPECT_EQ(null, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->GetRuntimeClass(), RUNTIME_CLASS(CTestRecord));
    EXPECT_EQ(first->m_id, 7);
    EXPECT_EQ(first->m_name, "ab");
    EXPECT_EQ(again, first);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(second->m_id, 8);
    EXPECT_EQ(second->m_name, "c");
    EXPECT_EQ(ar.ReadObject(RUNTIME_CLASS(CTestRecord)), nullptr);
  });
}

TEST(ArchiveObject, NestedObjectsShareOneIndexCounter) {
  CTestRecord peer(1, "p");
  CTestHolder holder;
  holder.m_child = new CTestRecord(2, "q");
  holder.m_peer = &peer;
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << &peer << &holder; });
  ByteList expected;
  record(newClass(expected, "CTestRecord"), 1, "p");  // class 1, object 2
  newClass(expected, "CTestHolder");                  // class 3, object 4
  record(expected << 0x01 << 0x80, 2, "q");           // child: class 1, object 5
  expected << 0x02 << 0x00;                           // peer: object 2
  EXPECT_EQ(bytes, expected.bytes());

  mfctest::load(bytes, [](CArchive& ar) {
    Owned owned;
    CObject* peer = owned.add(ar.ReadObject(nullptr));
    auto* holder = owned.add(static_cast<CTestHolder*>(ar.ReadObject(RUNTIME_CLASS(CTestHolder))));
    ASSERT_NE(holder, nullptr);
    EXPECT_EQ(holder->m_peer, peer);
    auto* child = dynamic_cast<CTestRecord*>(holder->m_child);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->m_name, "q");
  });
}

TEST(ArchiveObject, BigIndexForms) {
  constexpr size_t kMapped = 0x7FFE;  // indexes 1 to 0x7FFE
  std::vector<CTestRecord> others(kMapped);
  CTestRecord a(1, "a");
  CTestRecord b(2, "b");
  const Bytes bytes = mfctest::store([&](CArchive& ar) {
    for (const CTestRecord& o : others) ar.MapObject(&o);
    ar << &a << &a << &b << &b;
  });
  ByteList expected;
  record(newClass(expected, "CTestRecord"), 1, "a");       // class 0x7FFF, object 0x8000
  expected << 0xFF << 0x7F << 0x00 << 0x80 << 0x00 << 0x00;  // object 0x8000
  expected << 0xFF << 0x7F << 0xFF << 0x7F << 0x00 << 0x80;  // class 0x80000000|0x7FFF
  record(expected, 2, "b");                                 // object 0x8001
  expected << 0xFF << 0x7F << 0x01 << 0x80 << 0x00 << 0x00;
  EXPECT_EQ(bytes, expected.bytes());

  mfctest::load(bytes, [&](CArchive& ar) {
    for (CTestRecord& o : others) ar.MapObject(&o);
    Owned owned;
    CObject* first = owned.add(ar.ReadObject(nullptr));
    EXPECT_EQ(ar.ReadObject(nullptr), first);
    auto* second = owned.add(static_cast<CTestRecord*>(ar.ReadObject(nullptr)));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->m_name, "b");
    EXPECT_EQ(ar.ReadObject(nullptr), second);
  });
}

TEST(ArchiveObject, MappedObjectsCanBeReferredTo) {
  CTestRecord outside(5, "outside");
  CTestHolder holder;
  holder.m_peer = &outside;
  const Bytes bytes = mfctest::store([&](CArchive& ar) {
    ar.MapObject(&outside);  // index 1
    ar << &holder;
  });
  ByteList expected;
  newClass(expected, "CTestHolder") << 0x00 << 0x00 << 0x01 << 0x00;
  EXPECT_EQ(bytes, expected.bytes());
  mfctest::load(bytes, [&](CArchive& ar) {
    ar.MapObject(&outside);
    std::unique_ptr<CObject> loaded(ar.ReadObject(RUNTIME_CLASS(CTestHolder)));
    EXPECT_EQ(static_cast<CTestHolder*>(loaded.get())->m_peer, &outside);
  });
}

TEST(ArchiveObject, UnknownOrOverlongClassNameIsBadClass) {
  ByteList unknown;
  newClass(unknown, "CNobody") << 0 << 0 << 0 << 0;
  ByteList overlong;
  newClass(overlong, std::string(64, 'C'));
  ByteList longestUnknown;
  newClass(longestUnknown, std::string(63, 'C'));
  for (const ByteList* bytes : {&unknown, &overlong, &longestUnknown}) {
    mfctest::load(bytes->bytes(), [](CArchive& ar) {
      EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::badClass);
    });
  }
}

TEST(ArchiveObject, SchemaMismatchIsBadSchemaUnlessVersionable) {
  ByteList wrong;
  record(newClass(wrong, "CTestRecord", 2), 1, "x");
  mfctest::load(wrong.bytes(), [](CArchive& ar) {
    EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::badSchema);
  });

  // Schema 1 of a versionable class of schema 2, twice: the second object,
  // through the class back-reference, is read with schema 1 as well.
  ByteList old;
  newClass(old, "CTestVersioned", 1) << 5 << 0 << 0 << 0;
  old << 0x01 << 0x80 << 6 << 0 << 0 << 0;
  // And the current schema.
  newClass(old, "CTestVersioned", 2);
  mfctest::load(old.bytes(), [](CArchive& ar) {
    Owned owned;
    auto* v1 = owned.add(static_cast<CTestVersioned*>(ar.ReadObject(RUNTIME_CLASS(CTestVersioned))));
    auto* v2 = owned.add(static_cast<CTestVersioned*>(ar.ReadObject(RUNTIME_CLASS(CTestVersioned))));
    EXPECT_EQ(v1->m_schemaRead, 1u);
    EXPECT_EQ(v1->m_value, 5);
    EXPECT_EQ(v2->m_schemaRead, 1u);
    EXPECT_EQ(v2->m_value, 6);
  });

  CTestVersioned current;
  current.m_value = 9;
  current.m_note = "n";
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << &current; });
  ByteList expected;
  newClass(expected, "CTestVersioned", 2) << 9 << 0 << 0 << 0 << 1 << "n";
  EXPECT_EQ(bytes, expected.bytes());
  mfctest::load(bytes, [](CArchive& ar) {
    std::unique_ptr<CObject> o(ar.ReadObject(nullptr));
    auto* v = static_cast<CTestVersioned*>(o.get());
    EXPECT_EQ(v->m_schemaRead, 2u);
    EXPECT_EQ(v->m_note, "n");
    EXPECT_EQ(ar.GetObjectSchema(), static_cast<UINT>(-1));  // restored after the object
  });
}

TEST(ArchiveObject, RequestedClassMustMatch) {
  CTestRecord plain(1, "r");
  CTestSpecialRecord special;
  const Bytes bytes = mfctest::store([&](CArchive& ar) { ar << &plain << &special << &plain; });
  mfctest::load(bytes, [](CArchive& ar) {
    Owned owned;
    EXPECT_EQ(causeOf([&] { owned.add(ar.ReadObject(RUNTIME_CLASS(CTestSpecialRecord))); }),
              CArchiveException::badClass);
  });
  mfctest::load(bytes, [](CArchive& ar) {
    Owned owned;
    owned.add(ar.ReadObject(RUNTIME_CLASS(CTestRecord)));
    CTestRecord* derived = nullptr;
    ar >> derived;  // a CTestSpecialRecord is a CTestRecord
    owned.add(derived);
    EXPECT_EQ(derived->GetRuntimeClass(), RUNTIME_CLASS(CTestSpecialRecord));
    // A back-reference is checked too.
    EXPECT_EQ(causeOf([&] { ar.ReadObject(RUNTIME_CLASS(CTestHolder)); }), CArchiveException::badClass);
  });
}

TEST(ArchiveObject, IndexesOutOfRangeOrOfTheWrongKindAreBadIndex) {
  ByteList oneRecord;
  record(newClass(oneRecord, "CTestRecord"), 1, "x");  // class 1, object 2
  const std::vector<std::pair<const char*, Bytes>> cases = {
      {"object never read", bytesOf({0x05, 0x00})},
      {"class never read", bytesOf({0x01, 0x80})},
      {"class index 0", bytesOf({0x00, 0x80})},
      {"big object index", bytesOf({0xFF, 0x7F, 0x00, 0x00, 0x01, 0x00})},
      {"big class index", bytesOf({0xFF, 0x7F, 0x00, 0x00, 0x00, 0x80})},
  };
  for (const auto& [what, bytes] : cases) {
    SCOPED_TRACE(what);
    mfctest::load(bytes, [](CArchive& ar) {
      EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::badIndex);
    });
  }
  // Index 1 is a class, index 2 an object: neither stands for the other.
  for (const Bytes& tail : {bytesOf({0x01, 0x00}), bytesOf({0x02, 0x80})}) {
    ByteList bytes = oneRecord;
    for (BYTE b : tail) bytes << b;
    mfctest::load(bytes.bytes(), [](CArchive& ar) {
      std::unique_ptr<CObject> first(ar.ReadObject(nullptr));
      EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::badIndex);
    });
  }
  // ReadClass meets an object tag.
  mfctest::load(bytesOf({0x00, 0x00}), [](CArchive& ar) {
    EXPECT_EQ(causeOf([&] { ar.ReadClass(); }), CArchiveException::badIndex);
  });
}

TEST(ArchiveObject, ClassesAlone) {
  const Bytes bytes = mfctest::store([](CArchive& ar) {
    ar.WriteClass(RUNTIME_CLASS(CTestRecord));
    ar.SerializeClass(RUNTIME_CLASS(CTestRecord));
    ar.SerializeClass(RUNTIME_CLASS(CTestVersioned));
  });
  ByteList expected;
  newClass(expected, "CTestRecord") << 0x01 << 0x80;
  newClass(expected, "CTestVersioned", 2);
  EXPECT_EQ(bytes, expected.bytes());

  mfctest::load(bytes, [](CArchive& ar) {
    UINT schema = 0;
    EXPECT_EQ(ar.ReadClass(nullptr, &schema), RUNTIME_CLASS(CTestRecord));
    EXPECT_EQ(schema, 1u);
    ar.SerializeClass(RUNTIME_CLASS(CTestRecord));
    EXPECT_EQ(ar.GetObjectSchema(), 1u);
    EXPECT_EQ(ar.GetObjectSchema(), static_cast<UINT>(-1));
    EXPECT_EQ(causeOf([&] { ar.SerializeClass(RUNTIME_CLASS(CTestRecord)); }), CArchiveException::badClass);
  });

  mfctest::load(bytes, [](CArchive& ar) {
    ar.SetObjectSchema(4);
    EXPECT_EQ(ar.GetObjectSchema(), 4u);
    EXPECT_EQ(ar.GetObjectSchema(), static_cast<UINT>(-1));
  });
}

TEST(ArchiveObject, NonSerialisableClassCannotBeWritten) {
  CTestDynamic dynamic;
  mfctest::store([&](CArchive& ar) {
    bool thrown = false;
    try {
      ar << &dynamic;
    } catch (CNotSupportedException* e) {
      thrown = true;
      e->Delete();
    }
    EXPECT_TRUE(thrown);
  });
}

// A file of several objects and values, truncated at every length, raises
// endOfFile each time; objects read before the end are complete, the one
// being read is deleted (LeakSanitizer checks that nothing leaks).
TEST(ArchiveObject, EveryTruncationRaisesEndOfFile) {
  CTestRecord first(1, "first");
  CTestHolder holder;
  holder.m_child = new CTestRecord(2, std::string(300, 'h').c_str());
  holder.m_peer = &first;
  CTestVersioned versioned;
  versioned.m_value = 3;
  versioned.m_note = "note";
  const Bytes bytes = mfctest::store([&](CArchive& ar) {
    ar << &first << &holder << &first << static_cast<CObject*>(nullptr) << &versioned;
    ar << CString("tail") << CTime(1234567890) << static_cast<ULONGLONG>(42);
  });
  const auto readAll = [](CArchive& ar, Owned& owned) {
    for (int i = 0; i < 5; ++i) owned.add(ar.ReadObject(nullptr));
    CString s;
    CTime t;
    ULONGLONG u = 0;
    ar >> s >> t >> u;
    return u;
  };
  mfctest::load(bytes, [&](CArchive& ar) {
    Owned owned;
    EXPECT_EQ(readAll(ar, owned), 42u);
  });
  for (size_t cut = 0; cut < bytes.size(); ++cut) {
    SCOPED_TRACE(cut);
    mfctest::load(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(cut)), [&](CArchive& ar) {
      Owned owned;
      EXPECT_EQ(causeOf([&] { readAll(ar, owned); }), CArchiveException::endOfFile);
    });
  }
}

TEST(ArchiveObject, ObjectsNestedTooDeeplyAreRefused) {
  ByteList bytes;
  newClass(bytes, "CTestHolder");
  for (int i = 0; i < 5000; ++i) bytes << 0x01 << 0x80;  // each holder's child is another holder
  mfctest::load(bytes.bytes(), [](CArchive& ar) {
    EXPECT_EQ(causeOf([&] { ar.ReadObject(nullptr); }), CArchiveException::genericException);
  });
}

}  // namespace

// The class repository: namespaces, the system classes of each, storing,
// replacing, listing and deleting classes, from several threads at once.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "SystemClasses.h"
#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

std::vector<std::u16string> namesOf(const std::vector<ClassPtr>& classes) {
  std::vector<std::u16string> out;
  for (const ClassPtr& c : classes) out.push_back(c->name());
  return out;
}

TEST(ClassRepositoryTest, NamespacesAreCreatedWithTheirParentsAndFoundWithoutCase) {
  ClassRepository repo;
  EXPECT_TRUE(repo.namespaceExists(u"root"));
  EXPECT_EQ(repo.createNamespace(u"\\\\.\\root\\Velmoran\\OrvaManager"), S_OK);
  EXPECT_TRUE(repo.namespaceExists(u"ROOT\\velmoran"));
  EXPECT_TRUE(repo.namespaceExists(u"//./root/Velmoran/OrvaManager/"));
  EXPECT_EQ(repo.namespaceName(u"root\\VELMORAN\\orvamanager"), u"root\\Velmoran\\OrvaManager");
  EXPECT_EQ(repo.createNamespace(u"root\\velmoran"), S_FALSE);
  EXPECT_EQ(repo.createNamespace(u"root\\velmoran\\Second"), S_OK);
  EXPECT_EQ(repo.namespaceName(u"root\\velmoran\\second"), u"root\\Velmoran\\Second");  // parent's spelling kept
  EXPECT_EQ(repo.childNamespaces(u"root"), std::vector<std::u16string>{u"Velmoran"});
  std::vector<std::u16string> children = repo.childNamespaces(u"Root\\Velmoran");
  std::sort(children.begin(), children.end());
  EXPECT_EQ(children, (std::vector<std::u16string>{u"OrvaManager", u"Second"}));
  EXPECT_TRUE(repo.childNamespaces(u"root\\absent").empty());

  for (const char16_t* bad : {u"", u"elsewhere", u"rooted\\x", u"\\\\server"}) {
    EXPECT_EQ(repo.createNamespace(bad), WBEM_E_INVALID_NAMESPACE) << toUtf8(bad);
  }
  EXPECT_EQ(ClassRepository::normalizeNamespace(u"\\\\host\\root//a\\b\\"), u"root\\a\\b");

  EXPECT_EQ(repo.deleteNamespace(u"root"), WBEM_E_ACCESS_DENIED);
  EXPECT_EQ(repo.deleteNamespace(u"root\\velmoran"), S_OK);
  EXPECT_FALSE(repo.namespaceExists(u"root\\Velmoran\\OrvaManager"));
  EXPECT_FALSE(repo.namespaceExists(u"root\\Velmoran"));
  EXPECT_EQ(repo.deleteNamespace(u"root\\velmoran"), WBEM_E_INVALID_NAMESPACE);
}

TEST(ClassRepositoryTest, EveryNamespaceHoldsTheSystemClasses) {
  ClassRepository repo;
  ASSERT_EQ(repo.createNamespace(u"root\\sys"), S_OK);
  ClassPtr ns = repo.findClass(u"root\\sys", u"__namespace");
  ASSERT_NE(ns, nullptr);
  EXPECT_EQ(ns->name(), u"__NAMESPACE");
  EXPECT_EQ(ns->superclassName(), u"__SystemClass");
  ASSERT_EQ(ns->keyIndexes().size(), 1u);
  EXPECT_EQ(ns->properties()[static_cast<size_t>(ns->keyIndexes()[0])].name, u"Name");
  EXPECT_EQ(ns->nameSpace(), u"root\\sys");

  ClassPtr extended = repo.findClass(u"root\\sys", u"__ExtendedStatus");
  ASSERT_NE(extended, nullptr);
  EXPECT_TRUE(extended->inheritsFrom(u"__NotifyStatus"));
  std::vector<std::u16string> props;
  for (const PropertyDef& p : extended->properties()) props.push_back(p.name);
  EXPECT_EQ(props, (std::vector<std::u16string>{u"StatusCode", u"Description", u"Operation", u"ParameterInfo",
                                                u"ProviderName"}));
  EXPECT_EQ(extended->property(u"StatusCode")->type, CIM_UINT32);

  ClassPtr extrinsic = repo.findClass(u"root\\sys", u"__ExtrinsicEvent");
  ASSERT_NE(extrinsic, nullptr);
  EXPECT_EQ(extrinsic->superclassName(), u"__Event");
  EXPECT_TRUE(extrinsic->isAbstract());
  EXPECT_NE(repo.findClass(u"root\\sys", u"__PARAMETERS"), nullptr);
  // Each namespace has its own copies.
  EXPECT_NE(repo.findClass(u"root", u"__NAMESPACE"), ns);
  EXPECT_EQ(repo.findClass(u"root", u"__NAMESPACE")->nameSpace(), u"root");

  // An __ExtendedStatus instance takes an HRESULT as its StatusCode.
  CComPtr<IWbemClassObject> status = spawn(CimObject::newClass(extended));
  EXPECT_EQ(put(status, u"StatusCode", CComVariant(static_cast<int>(WBEM_E_NOT_FOUND))), WBEM_S_NO_ERROR);
  EXPECT_EQ(static_cast<uint32_t>(get(status, u"StatusCode").lVal), 0x80041002u);
  EXPECT_EQ(status->InheritsFrom(u"__NotifyStatus"), WBEM_S_NO_ERROR);

  EXPECT_EQ(repo.deleteClass(u"root\\sys", u"__NAMESPACE"), WBEM_E_ACCESS_DENIED);
  EXPECT_EQ(repo.putClass(u"root\\sys", CimClass(u"__Mine")), WBEM_E_ACCESS_DENIED);
}

TEST(ClassRepositoryTest, PutClassCreatesReplacesAndRefuses) {
  ClassRepository repo;
  ASSERT_EQ(repo.createNamespace(u"root\\put"), S_OK);
  CimClass base(u"Base");
  base.addProperty(makeProperty(u"Id", CIM_STRING));
  ClassPtr stored;
  ASSERT_EQ(repo.putClass(u"root\\put", base, WBEM_FLAG_CREATE_ONLY, &stored), S_OK);
  EXPECT_EQ(stored->nameSpace(), u"root\\put");
  EXPECT_EQ(stored->server(), ClassRepository::serverName());
  EXPECT_EQ(repo.putClass(u"root\\put", base, WBEM_FLAG_CREATE_ONLY), WBEM_E_ALREADY_EXISTS);
  EXPECT_EQ(repo.putClass(u"root\\put", base), S_OK);  // the same again changes nothing
  EXPECT_EQ(repo.findClass(u"root\\put", u"Base"), stored);

  CimClass derived(u"Derived", repo.findClass(u"root\\put", u"Base"));
  derived.addProperty(makeProperty(u"More", CIM_SINT32));
  ASSERT_EQ(repo.putClass(u"root\\put", derived), S_OK);
  base.addProperty(makeProperty(u"Extra", CIM_BOOLEAN));
  EXPECT_EQ(repo.putClass(u"root\\put", base), WBEM_E_CLASS_HAS_CHILDREN);
  EXPECT_EQ(repo.putClass(u"root\\put", CimClass(u"New"), WBEM_FLAG_UPDATE_ONLY), WBEM_E_NOT_FOUND);
  EXPECT_EQ(repo.putClass(u"root\\absent", CimClass(u"New")), WBEM_E_INVALID_NAMESPACE);
  EXPECT_EQ(repo.putClass(u"root\\put", CimClass(u"")), WBEM_E_INVALID_CLASS);
  // A superclass must be stored in the same namespace.
  ClassRepository elsewhere;
  ASSERT_EQ(elsewhere.createNamespace(u"root\\put"), S_OK);
  EXPECT_EQ(elsewhere.putClass(u"root\\put", derived), WBEM_E_INVALID_SUPERCLASS);

  // Replacing a class without children; what was handed out stays valid.
  CimClass leaf(u"Leaf", repo.findClass(u"root\\put", u"Derived"));
  ASSERT_EQ(repo.putClass(u"root\\put", leaf), S_OK);
  ClassPtr oldLeaf = repo.findClass(u"root\\put", u"Leaf");
  leaf.addProperty(makeProperty(u"Note", CIM_STRING));
  ASSERT_EQ(repo.putClass(u"root\\put", leaf), S_OK);
  EXPECT_EQ(oldLeaf->property(u"Note"), nullptr);
  EXPECT_NE(repo.findClass(u"root\\put", u"Leaf")->property(u"Note"), nullptr);

  EXPECT_EQ(namesOf(repo.superclassChain(u"root\\put", u"leaf")),
            (std::vector<std::u16string>{u"Leaf", u"Derived", u"Base"}));
  EXPECT_EQ(namesOf(repo.subclasses(u"root\\put", u"Base", false)), std::vector<std::u16string>{u"Derived"});
  EXPECT_EQ(namesOf(repo.subclasses(u"root\\put", u"Base", true)),
            (std::vector<std::u16string>{u"Derived", u"Leaf"}));
  std::vector<std::u16string> roots = namesOf(repo.subclasses(u"root\\put", u"", false));
  EXPECT_NE(std::find(roots.begin(), roots.end(), u"Base"), roots.end());
  EXPECT_EQ(std::find(roots.begin(), roots.end(), u"Derived"), roots.end());

  EXPECT_EQ(repo.deleteClass(u"root\\put", u"derived"), S_OK);
  EXPECT_EQ(repo.findClass(u"root\\put", u"Leaf"), nullptr);
  EXPECT_NE(repo.findClass(u"root\\put", u"Base"), nullptr);
  EXPECT_EQ(repo.deleteClass(u"root\\put", u"Derived"), WBEM_E_NOT_FOUND);
  EXPECT_EQ(repo.putClass(u"root\\put", base), S_OK);  // no children any more
}

TEST(ClassRepositoryTest, ReadersAndWritersWorkAtTheSameTime) {
  ClassRepository repo;
  ASSERT_EQ(repo.createNamespace(u"root\\threads"), S_OK);
  std::atomic<bool> stop{false};
  std::atomic<int> found{0};
  std::vector<std::thread> readers;
  for (int r = 0; r < 2; ++r) {
    readers.emplace_back([&] {
      do {
        for (const ClassPtr& c : repo.subclasses(u"root\\threads", u"", true)) {
          if (repo.findClass(u"root\\threads", c->name()) != nullptr) found.fetch_add(1);
        }
      } while (!stop.load());
    });
  }
  for (int i = 0; i < 200; ++i) {
    const std::u16string name = u"C" + toU16(std::to_string(i));
    CimClass cls(name);
    cls.addProperty(makeProperty(u"P", CIM_SINT32));
    ASSERT_EQ(repo.putClass(u"root\\threads", cls), S_OK);
    if (i % 3 == 0) {
      ASSERT_EQ(repo.deleteClass(u"root\\threads", name), S_OK);
    }
  }
  stop = true;
  for (std::thread& t : readers) t.join();
  EXPECT_EQ(repo.subclasses(u"root\\threads", u"", true).size(), 7u + 133u);  // system classes and the kept ones
  EXPECT_GT(found.load(), 0);
}

}  // namespace
}  // namespace om::wmi::test

// Object paths in every form the library builds or receives, their escapes,
// refusals, and the canonical form used to find instances.
#include <gtest/gtest.h>

#include "CimClass.h"
#include "ObjectPath.h"
#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

using Kind = KeyBinding::Kind;

ObjectPath parsed(std::u16string_view text) {
  ObjectPath path;
  EXPECT_EQ(parseObjectPath(text, &path), S_OK) << toUtf8(text);
  return path;
}

TEST(ObjectPathTest, ParsesEveryFormAndPrintsItBack) {
  ObjectPath full = parsed(u"\\\\.\\root\\Velmoran\\OrvaManager:NetworkObject.ObjectName=\"a\\\"b\\\\c\"");
  EXPECT_EQ(full.server, u".");
  EXPECT_EQ(full.nameSpace, u"root\\Velmoran\\OrvaManager");
  EXPECT_EQ(full.className, u"NetworkObject");
  ASSERT_EQ(full.keys.size(), 1u);
  EXPECT_EQ(full.keys[0], (KeyBinding{u"ObjectName", Kind::kString, u"a\"b\\c"}));
  EXPECT_EQ(full.toString(), u"\\\\.\\root\\Velmoran\\OrvaManager:NetworkObject.ObjectName=\"a\\\"b\\\\c\"");
  EXPECT_EQ(full.relPath(), u"NetworkObject.ObjectName=\"a\\\"b\\\\c\"");

  // The single unnamed key, as "%s=\"%d\"" and "%s=\"%s\"" build it.
  ObjectPath unnamed = parsed(u"ActionCommand=\"12\"");
  EXPECT_TRUE(unnamed.server.empty());
  EXPECT_TRUE(unnamed.nameSpace.empty());
  ASSERT_EQ(unnamed.keys.size(), 1u);
  EXPECT_EQ(unnamed.keys[0], (KeyBinding{u"", Kind::kString, u"12"}));
  EXPECT_EQ(unnamed.toString(), u"ActionCommand=\"12\"");
  EXPECT_TRUE(unnamed.isInstancePath());

  ObjectPath singleton = parsed(u"OrvaManagerNetwork=@");
  EXPECT_TRUE(singleton.singleton);
  EXPECT_TRUE(singleton.keys.empty());
  EXPECT_EQ(singleton.toString(), u"OrvaManagerNetwork=@");

  ObjectPath multi = parsed(u"Link.From=-5,To=+7,Up=true,Name=\"x,y=z:w.v\"");
  ASSERT_EQ(multi.keys.size(), 4u);
  EXPECT_EQ(multi.keys[0], (KeyBinding{u"From", Kind::kInteger, u"-5"}));
  EXPECT_EQ(multi.keys[1], (KeyBinding{u"To", Kind::kInteger, u"+7"}));
  EXPECT_EQ(multi.keys[2], (KeyBinding{u"Up", Kind::kBoolean, u"TRUE"}));
  EXPECT_EQ(multi.keys[3], (KeyBinding{u"Name", Kind::kString, u"x,y=z:w.v"}));
  EXPECT_EQ(multi.toString(), u"Link.From=-5,To=+7,Up=TRUE,Name=\"x,y=z:w.v\"");

  ObjectPath cls = parsed(u"NetworkObject");
  EXPECT_TRUE(cls.isClassPath());
  EXPECT_EQ(cls.toString(), u"NetworkObject");

  // Namespace without server; forward slashes; a named server.
  ObjectPath noServer = parsed(u"root\\default:Item.Id=1");
  EXPECT_TRUE(noServer.server.empty());
  EXPECT_EQ(noServer.nameSpace, u"root\\default");
  EXPECT_EQ(noServer.toString(), u"root\\default:Item.Id=1");
  ObjectPath slashes = parsed(u"//host-1/root/Velmoran:Item=\"v\"");
  EXPECT_EQ(slashes.server, u"host-1");
  EXPECT_EQ(slashes.nameSpace, u"root\\Velmoran");
  EXPECT_EQ(slashes.toString(), u"\\\\host-1\\root\\Velmoran:Item=\"v\"");

  // Any text survives quoting and parsing.
  for (std::u16string value : {u"", u"\"", u"\\", u"\\\"", u"a\"\"b", u"日本語\\", u"end\\\\", u"=,.:@"}) {
    ObjectPath path;
    path.className = u"C";
    path.keys.push_back(KeyBinding{u"K", Kind::kString, value});
    EXPECT_EQ(parsed(path.toString()), path) << toUtf8(value);
  }
  EXPECT_EQ(quoteKeyValue(u"a\"b\\"), u"\"a\\\"b\\\\\"");
}

TEST(ObjectPathTest, RefusesWhatIsNotAPath) {
  const char16_t* bad[] = {
      u"",
      u".K=1",
      u"=@",
      u"9Class",
      u"Class.",
      u"Class.K",
      u"Class.K=",
      u"Class=",
      u"Class.K=\"open",
      u"Class.K=\"bad\\escape\"",
      u"Class.K=\"trailing\\",
      u"Class.K=1x",
      u"Class.K=--1",
      u"Class.K=-",
      u"Class.K=1,K=2",
      u"Class.K=1,k=2",
      u"Class.K=\"a\"junk",
      u"Class.K=1,",
      u"Class=@x",
      u"Class=1,2",
      u"Class.K=1.5",
      u"Class K=1",
      u"\\\\server",
      u"\\\\server\\:Class",
      u"\\\\:root:Class",
      u"root\\\\x:Class",
      u":Class",
      u"root\\x:",
      u"Class.=1",
  };
  for (const char16_t* text : bad) {
    ObjectPath path;
    path.className = u"untouched";
    EXPECT_EQ(parseObjectPath(text, &path), WBEM_E_INVALID_OBJECT_PATH) << toUtf8(text);
    EXPECT_EQ(path.className, u"untouched");
  }
}

class CanonicalPathTest : public ::testing::Test {
 protected:
  void SetUp() override {
    compileOk(repo_, R"(
#pragma namespace("root\\paths")
class ActionCommand { [key] sint32 Identifier; string Command; };
class Link { [key] string Name; [key] uint8 Port; [key] boolean Up; string Note; };
class Named { [key] string Name; };
[singleton] class Config { string Value; };
class Wide { [key] uint64 Big; [key] sint64 Small; };
)");
  }

  HRESULT canonical(const char16_t* cls, const char16_t* text, ObjectPath* path) {
    *path = parsed(text);
    ClassPtr def = repo_.findClass(u"root\\paths", cls);
    return canonicalizeInstancePath(*def, path);
  }

  ClassRepository repo_;
};

TEST_F(CanonicalPathTest, NamesKeysConvertsValuesAndSortsThem) {
  ObjectPath path;
  ASSERT_EQ(canonical(u"ActionCommand", u"actioncommand=\"12\"", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"ActionCommand.Identifier=12");
  ASSERT_EQ(canonical(u"ActionCommand", u"ActionCommand.IDENTIFIER=\"-0012\"", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"ActionCommand.Identifier=-12");
  ASSERT_EQ(canonical(u"ActionCommand", u"ActionCommand=+2147483647", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"ActionCommand.Identifier=2147483647");
  ASSERT_EQ(canonical(u"Link", u"Link.up=\"false\",port=255,name=\"n\"", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"Link.Name=\"n\",Port=255,Up=FALSE");
  ASSERT_EQ(canonical(u"Config", u"Config=@", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"Config=@");
  ASSERT_EQ(canonical(u"Wide", u"Wide.Big=18446744073709551615,Small=-9223372036854775808", &path), S_OK);
  EXPECT_EQ(path.relPath(), u"Wide.Big=18446744073709551615,Small=-9223372036854775808");
  ASSERT_EQ(canonical(u"Named", u"Named=12", &path), S_OK);  // a bare number for a string key
  EXPECT_EQ(path.relPath(), u"Named.Name=\"12\"");

  // The identity ignores the case of names and string values.
  ObjectPath a;
  ObjectPath b;
  ASSERT_EQ(canonical(u"Named", u"named.NAME=\"Abc\"", &a), S_OK);
  ASSERT_EQ(canonical(u"Named", u"Named=\"aBC\"", &b), S_OK);
  EXPECT_EQ(instanceIdentity(a), instanceIdentity(b));
  ASSERT_EQ(canonical(u"Named", u"Named=\"aBD\"", &b), S_OK);
  EXPECT_NE(instanceIdentity(a), instanceIdentity(b));
}

TEST_F(CanonicalPathTest, RefusesKeysThatDoNotMatchTheClass) {
  struct Case {
    const char16_t* cls;
    const char16_t* path;
  };
  const Case bad[] = {
      {u"ActionCommand", u"ActionCommand=\"abc\""},
      {u"ActionCommand", u"ActionCommand=2147483648"},
      {u"ActionCommand", u"ActionCommand=TRUE"},
      {u"ActionCommand", u"ActionCommand.Command=\"x\""},
      {u"ActionCommand", u"ActionCommand.Other=1"},
      {u"ActionCommand", u"ActionCommand=@"},
      {u"ActionCommand", u"ActionCommand.Identifier=1,Command=\"c\""},
      {u"Link", u"Link=\"n\""},
      {u"Link", u"Link.Name=\"n\",Port=1"},
      {u"Link", u"Link.Name=\"n\",Port=256,Up=TRUE"},
      {u"Link", u"Link.Name=\"n\",Port=-1,Up=TRUE"},
      {u"Link", u"Link.Name=\"n\",Port=1,Up=\"yes\""},
      {u"Config", u"Config=\"x\""},
      {u"Wide", u"Wide.Big=18446744073709551616,Small=0"},
      {u"Wide", u"Wide.Big=0,Small=-9223372036854775809"},
  };
  for (const Case& c : bad) {
    ObjectPath path;
    EXPECT_EQ(canonical(c.cls, c.path, &path), WBEM_E_INVALID_OBJECT_PATH) << toUtf8(c.path);
  }
}

}  // namespace
}  // namespace om::wmi::test

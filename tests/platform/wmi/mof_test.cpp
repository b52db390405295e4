// The MOF compiler: the constructs of the subset, and errors with the line
// they were found on.
#include <string>

#include <gtest/gtest.h>

#include <om/ComObject.h>

#include "WmiTestSupport.h"

namespace om::wmi::test {
namespace {

MofResult compileFails(ClassRepository& repo, std::string_view mof) {
  MofCompiler compiler(repo);
  MofResult result;
  const HRESULT hr = compiler.compile(mof, &result);
  EXPECT_TRUE(FAILED(hr)) << mof;
  EXPECT_EQ(result.status, hr);
  return result;
}

TEST(MofCompilerTest, ReadsLiteralsQualifiersAndNestedInstances) {
  const long start = om::comObjectCount();
  {
    ClassRepository repo;
    MofResult result = compileOk(repo, "\xEF\xBB\xBF"  // a UTF-8 byte-order mark
                                       R"(// comment
/* block
   comment */
#pragma namespace("\\\\.\\root\\lit")
#pragma locale("en_US")
#pragma namespace("Inner")
[Description("Text " "joined"), Version(3), Ratio(0.5), Values{"a", "b"}, Abstract]
class Base { [key] string Id; };
class Thing : Base
{
  string S = "q\"\\\n\t\x41\x3042";
  sint32 Hex = 0x1F;
  sint32 Neg = -12;
  real64 Sci = 1.5e2;
  uint32 Big = 4294967295;
  boolean Flag = TRUE;
  char16 Letter = 'z';
  string List[] = {"x", "y"};
  sint64 Wide[] = {-1, 0x7FFFFFFFFFFFFFFF};
  string Nothing = NULL;
  Base Child;
  [EmbeddedInstance("Base")] string Children[];
};
instance of Thing
{
  Id = "t1";
  Child = instance of Thing { Id = "inner"; Neg = 5; };
  Children = { instance of Thing { Id = "c1"; }, instance of Base { Id = "c2"; } };
  Letter = 65;
};
)");
    ASSERT_EQ(result.classes,
              (std::vector<std::u16string>{u"root\\lit\\Inner:Base", u"root\\lit\\Inner:Thing"}));
    ASSERT_EQ(result.instances.size(), 1u);
    EXPECT_EQ(result.instances[0].nameSpace, u"root\\lit\\Inner");
    EXPECT_EQ(result.instances[0].line, 24);

    ClassPtr base = repo.findClass(u"root\\lit\\inner", u"base");
    ASSERT_NE(base, nullptr);
    EXPECT_TRUE(base->isAbstract());
    EXPECT_EQ(base->qualifiers().text(u"Description"), u"Text joined");
    EXPECT_EQ(base->qualifiers().find(u"Version")->value.vt, VT_I4);
    EXPECT_EQ(base->qualifiers().find(u"Ratio")->value.vt, VT_R8);
    EXPECT_EQ(base->qualifiers().find(u"Values")->value.vt, VT_ARRAY | VT_BSTR);
    ClassPtr thing = repo.findClass(u"root\\lit\\Inner", u"Thing");
    ASSERT_NE(thing, nullptr);
    EXPECT_FALSE(thing->isAbstract());  // Abstract stays with its class
    EXPECT_EQ(thing->qualifiers().text(u"Description"), u"Text joined");  // others are inherited

    CComPtr<IWbemClassObject> cls = CimObject::newClass(thing);
    EXPECT_EQ(text(get(cls, u"S")), u"q\"\\\n\tA\u3042");
    EXPECT_EQ(get(cls, u"Hex").lVal, 31);
    EXPECT_EQ(get(cls, u"Neg").lVal, -12);
    EXPECT_EQ(get(cls, u"Sci").dblVal, 150.0);
    EXPECT_EQ(static_cast<uint32_t>(get(cls, u"Big").lVal), 4294967295u);
    EXPECT_EQ(get(cls, u"Flag").boolVal, VARIANT_TRUE);
    EXPECT_EQ(get(cls, u"Letter").iVal, u'z');
    EXPECT_EQ(elements(get(cls, u"List")).size(), 2u);
    std::vector<CComVariant> wide = elements(get(cls, u"Wide"));
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(text(wide[1]), u"9223372036854775807");
    EXPECT_EQ(get(cls, u"Nothing").vt, VT_NULL);
    CIMTYPE type = 0;
    ASSERT_EQ(cls->Get(u"Children", 0, nullptr, &type, nullptr), WBEM_S_NO_ERROR);
    EXPECT_EQ(type, CIM_OBJECT | CIM_FLAG_ARRAY);  // EmbeddedInstance turns a string into an object

    IWbemClassObject* instance = result.instances[0].object;
    EXPECT_EQ(text(get(instance, u"__RELPATH")), u"Thing.Id=\"t1\"");
    EXPECT_EQ(get(instance, u"Letter").iVal, 65);
    EXPECT_EQ(get(instance, u"Hex").lVal, 31);  // defaults fill what the instance leaves out
    CComVariant child = get(instance, u"Child");
    CComQIPtr<IWbemClassObject> childObject(child.punkVal);
    ASSERT_NE(childObject, nullptr);
    EXPECT_EQ(text(get(childObject, u"Id")), u"inner");
    EXPECT_EQ(get(childObject, u"Neg").lVal, 5);
    std::vector<CComVariant> children = elements(get(instance, u"Children"));
    ASSERT_EQ(children.size(), 2u);
    CComQIPtr<IWbemClassObject> second(children[1].punkVal);
    EXPECT_EQ(text(get(second, u"__CLASS")), u"Base");
  }
  EXPECT_EQ(om::comObjectCount(), start);
}

TEST(MofCompilerTest, FlavorsDecideWhatSubclassesInherit) {
  ClassRepository repo;
  compileOk(repo, R"(
#pragma namespace("root\\flavors")
[Description("base"): Restricted, Version("1"): ToSubclass DisableOverride]
class A { [key, Note("n"): Restricted] string Id; };
class B : A { };
)");
  ClassPtr b = repo.findClass(u"root\\flavors", u"B");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->qualifiers().find(u"Description"), nullptr);
  ASSERT_NE(b->qualifiers().find(u"Version"), nullptr);
  EXPECT_NE(b->qualifiers().find(u"Version")->flavor & WBEM_FLAVOR_NOT_OVERRIDABLE, 0);
  EXPECT_TRUE(b->property(u"Id")->isKey());
  EXPECT_EQ(b->property(u"Id")->qualifiers.find(u"Note"), nullptr);
}

TEST(MofCompilerTest, ReadsUtf16TextAndCountsLinesOfCrLfText) {
  ClassRepository repo;
  std::string utf16 = "\xFF\xFE";
  for (char16_t c : std::u16string(u"#pragma namespace(\"root\\\\u16\")\nclass 名前 { [key] string Id = \"値\"; };\n")) {
    utf16 += static_cast<char>(c & 0xFF);
    utf16 += static_cast<char>(c >> 8);
  }
  compileOk(repo, utf16);
  ClassPtr cls = repo.findClass(u"root\\u16", u"名前");
  ASSERT_NE(cls, nullptr);
  EXPECT_EQ(bstrView(cls->property(u"Id")->defaultValue.bstrVal), u"値");

  MofResult result = compileFails(repo, "#pragma namespace(\"root\\\\u16\")\r\n\r\nclass X { sint32 A }\r\n");
  EXPECT_EQ(result.status, WBEM_E_INVALID_SYNTAX);
  EXPECT_EQ(result.line, 3);
}

TEST(MofCompilerTest, ErrorsNameTheirLine) {
  struct Case {
    const char* mof;
    HRESULT status;
    int line;
    const char* says;
  };
  const Case cases[] = {
      {"class A\n{\n  string B\n};\n", WBEM_E_INVALID_SYNTAX, 4, "expected ';'"},
      {"class A {\n string B = \"open;\n};", WBEM_E_INVALID_SYNTAX, 2, "unterminated string"},
      {"class A { };\n\n\n/* never closed\n", WBEM_E_INVALID_SYNTAX, 4, "unterminated comment"},
      {"class A { string B = \"\\q\"; };", WBEM_E_INVALID_SYNTAX, 1, "bad escape"},
      {"class A { sint32 B = 12abc; };", WBEM_E_INVALID_SYNTAX, 1, "malformed number"},
      {"class A { string B; } ;\nclass C : Missing { };", WBEM_E_INVALID_SUPERCLASS, 2, "'Missing'"},
      {"\n\ninstance of Nowhere { };", WBEM_E_INVALID_CLASS, 3, "'Nowhere'"},
      {"class A { [key] string B; };\ninstance of A\n{\n  C = 1;\n};", WBEM_E_INVALID_PROPERTY, 4, "'C'"},
      {"class A {\n  sint32 B = \"text\";\n};", WBEM_E_TYPE_MISMATCH, 2, "'B'"},
      {"class A {\n  uint8 B = 256;\n};", WBEM_E_TYPE_MISMATCH, 2, "'B'"},
      {"class A {\n  sint32 B = 1.5;\n};", WBEM_E_TYPE_MISMATCH, 2, "'B'"},
      {"class A {\n  string B[] = \"x\";\n};", WBEM_E_TYPE_MISMATCH, 2, "'B'"},
      {"class A {\n  datetime B = \"yesterday\";\n};", WBEM_E_TYPE_MISMATCH, 2, "'B'"},
      {"class A { [key] string B; };\nclass Holder { A Inner; };\ninstance of Holder {\n  Inner = instance of A {\n"
       "    B = 12;\n  };\n};",
       WBEM_E_TYPE_MISMATCH, 5, "'B'"},
      {"class A {\n  string B;\n  sint32 B;\n};", WBEM_E_ALREADY_EXISTS, 3, "'B'"},
      {"class A { string B; };\nclass C : A {\n  sint32 B;\n};", WBEM_E_TYPE_MISMATCH, 3, "'B'"},
      {"class A {\n  void M([in] string P,\n    [in] sint32 P);\n};", WBEM_E_INVALID_DUPLICATE_PARAMETER, 3, "'P'"},
      {"class A {\n  [key(\"yes\")] string B;\n};", WBEM_E_INVALID_QUALIFIER_TYPE, 2, "'key'"},
      {"class A {\n  [Note: Sideways] string B;\n};", WBEM_E_INVALID_FLAVOR, 2, "'Note'"},
      {"\n#pragma frobnicate(\"x\")\n", WBEM_E_INVALID_SYNTAX, 2, "'frobnicate'"},
      {"#pragma include(\"other.mof\")\n", WBEM_E_NOT_SUPPORTED, 1, "include"},
      {"#pragma namespace(\"\\\\\\\\.\\\\nowhere\")\n", WBEM_E_INVALID_NAMESPACE, 1, "namespace"},
      {"class A { string B; };\ninstance of A as $a { };", WBEM_E_INVALID_SYNTAX, 2, "aliases"},
      {"qualifier Key : boolean;", WBEM_E_INVALID_SYNTAX, 1, "qualifier declarations"},
      {"class A { object ref R; sint32 ref X; };", WBEM_E_INVALID_PROPERTY_TYPE, 1, "'X'"},
      {"class __Mine { };", WBEM_E_ACCESS_DENIED, 1, "'__Mine'"},
      {"class A { string B; } ~", WBEM_E_INVALID_SYNTAX, 1, "unexpected character '~'"},
  };
  for (const Case& c : cases) {
    ClassRepository repo;
    MofResult result = compileFails(repo, c.mof);
    EXPECT_EQ(result.status, c.status) << c.mof << "\n" << result.message;
    EXPECT_EQ(result.line, c.line) << c.mof << "\n" << result.message;
    EXPECT_EQ(result.message.rfind("line " + std::to_string(c.line) + ": ", 0), 0u) << result.message;
    EXPECT_NE(result.message.find(c.says), std::string::npos) << result.message;
  }
}

TEST(MofCompilerTest, ASyntaxErrorStoresNothingAndDeepNestingIsRefused) {
  ClassRepository repo;
  MofResult result = compileFails(repo, "#pragma namespace(\"root\\\\atomic\")\nclass Fine { };\nclass Broken {");
  EXPECT_EQ(result.status, WBEM_E_INVALID_SYNTAX);
  EXPECT_EQ(result.line, 3);
  EXPECT_FALSE(repo.namespaceExists(u"root\\atomic"));

  std::string deep = "class A { string B[] = ";
  for (int i = 0; i < 200; ++i) deep += "{";
  result = compileFails(repo, deep);
  EXPECT_EQ(result.status, WBEM_E_INVALID_SYNTAX);

  std::string nested = "class A { A Inner; };\ninstance of A { Inner = ";
  for (int i = 0; i < 100; ++i) nested += "instance of A { Inner = ";
  result = compileFails(repo, nested);
  EXPECT_EQ(result.status, WBEM_E_INVALID_SYNTAX);
  EXPECT_NE(result.message.find("nested too deeply"), std::string::npos) << result.message;
}

TEST(MofCompilerTest, ReloadingTheSameClassesIsHarmlessAndDeleteClassWorks) {
  ClassRepository repo;
  const char* mof = "#pragma namespace(\"root\\\\again\")\nclass A { [key] string B; };\nclass C : A { };\n";
  compileOk(repo, mof);
  compileOk(repo, mof);
  MofResult result = compileFails(repo, "#pragma namespace(\"root\\\\again\")\nclass A { [key] string B; sint32 New; };");
  EXPECT_EQ(result.status, WBEM_E_CLASS_HAS_CHILDREN);
  compileOk(repo, "#pragma namespace(\"root\\\\again\")\n#pragma deleteclass(\"A\", FAIL)\n"
                  "#pragma deleteclass(\"A\", NOFAIL)\nclass A { [key] string B; sint32 New; };");
  EXPECT_NE(repo.findClass(u"root\\again", u"A")->property(u"New"), nullptr);
  EXPECT_EQ(repo.findClass(u"root\\again", u"C"), nullptr);
  result = compileFails(repo, "#pragma namespace(\"root\\\\again\")\n#pragma deleteclass(\"Gone\", FAIL)\n");
  EXPECT_EQ(result.status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(result.line, 2);
}

TEST(MofCompilerTest, CompileFileReportsAMissingFile) {
  ClassRepository repo;
  MofCompiler compiler(repo);
  MofResult result;
  EXPECT_EQ(compiler.compileFile("/nonexistent/dir/x.mof", &result), WBEM_E_NOT_FOUND);
  EXPECT_NE(result.message.find("/nonexistent/dir/x.mof"), std::string::npos);
  EXPECT_EQ(compiler.compileFile(nullptr, &result), WBEM_E_NOT_FOUND);
}

}  // namespace
}  // namespace om::wmi::test

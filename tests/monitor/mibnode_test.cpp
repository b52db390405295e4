#include <gtest/gtest.h>

#include "RecordArchiveTestUtil.h"
#include "RecordSamples.h"

namespace {

using recordtest::ByteList;
using recordtest::Bytes;
using recordtest::dword;
using recordtest::text;

typedef std::vector<std::string> Names;

constexpr int kLeaf = 0x10000;
constexpr int kScalar = 0x20000;
constexpr int kTable = 0x40000;
constexpr int kIndex = 0x80000;

// A trap: number 3 in the access field, the enterprise in the syntax field,
// its variables in the value list.
CMibNode trapNode() {
  CMibNode node;
  node.setModuleName("CISCO-MIB");
  node.setParentName(CMibNode::m_pszTrapListParentName);
  node.setNodeName("SmiTrapType.ciscoTrap");
  node.setOidString("");
  node.setFullPath("x");
  node.setDescription("a trap");
  node.setNodeTypeKind(CMibNode::NODE_TYPE_TRAP | kLeaf);
  node.setStatus(1);
  node.setAccess(3);
  node.setSyntax("1.3.6.1.4.1.9");
  node.setValueList({"ifIndex", "ifDescr"});
  return node;
}

}  // namespace

CMibNode recordtest::sampleMibNode() {
  CMibNode node;
  node.setModuleName("RFC1213-MIB");
  node.setParentName("system");
  node.setNodeName("iso.org.sysDescr");
  node.setOidString("1.3.6.1.2.1.1.1");
  node.setNodeTypeKind(5 | kLeaf | kScalar);
  node.setAccess(CMibNode::ACCESS_READ_ONLY);
  node.setSyntax("Counter64");
  node.setNextSiblingName("sysObjectID");
  node.setChildNameList({"a.b.first", "second"});
  node.setValueList({"up(1)", "down(2)"});
  node.setCurrentChildIndex(1);
  return node;
}

namespace {

using recordtest::sampleMibNode;

TEST(MibNode, TrapViewsOfTheSharedFields) {
  const CMibNode trap = trapNode();
  EXPECT_TRUE(trap.isTrapNode());
  EXPECT_FALSE(trap.isNotificationNode());
  EXPECT_EQ(trap.getNodeType(), 9);
  EXPECT_EQ(trap.getNodeKind(), 1);
  EXPECT_TRUE(trap.isLeafNode());
  EXPECT_EQ(trap.getSyntax(), "");
  EXPECT_EQ(trap.getEnterprise(), "1.3.6.1.4.1.9");
  EXPECT_EQ(trap.getSyntaxEnterprise(), "1.3.6.1.4.1.9");
  EXPECT_EQ(trap.getAccess(), 0);
  EXPECT_EQ(trap.getTrapNumber(), 3);
  EXPECT_EQ(trap.getAccessTrapNumber(), 3);
  EXPECT_FALSE(trap.isReadable());
  EXPECT_FALSE(trap.isWriteable());
  EXPECT_EQ(trap.getTrapVariableList(), (Names{"ifIndex", "ifDescr"}));
  EXPECT_EQ(trap.getNodeShortName(), "ciscoTrap");
  EXPECT_EQ(trap.getNodeShortNameSubId(), "ciscoTrap(3)");
  EXPECT_EQ(trap.getNodeDisplayName(), "ciscoTrap(3)");

  // Any other node reads the same fields the other way.
  const CMibNode object = sampleMibNode();
  EXPECT_FALSE(object.isTrapNode());
  EXPECT_EQ(object.getSyntax(), "Counter64");
  EXPECT_EQ(object.getEnterprise(), "");
  EXPECT_EQ(object.getAccess(), 1);
  EXPECT_EQ(object.getTrapNumber(), 0);
  EXPECT_TRUE(object.isCounter64());
  EXPECT_TRUE(object.isScalarNode() && object.isLeafNode());
  EXPECT_FALSE(object.isTableNode() || object.isIndexNode());
  EXPECT_EQ(object.getNodeShortNameSubId(), "sysDescr(1)");

  CMibNode notification;
  notification.setNodeTypeKind(CMibNode::NODE_TYPE_NOTIFICATION | kTable | kIndex);
  notification.setValueList({"ifIndex"});
  notification.setNodeName("linkDown");
  notification.setOidString("7");
  EXPECT_TRUE(notification.isNotificationNode());
  EXPECT_TRUE(notification.isTableNode() && notification.isIndexNode());
  EXPECT_EQ(&notification.getNotificationObjectList(), &notification.getValueList());
  EXPECT_EQ(notification.getNodeShortNameSubId(), "linkDown(7)");
  notification.setOidString("");
  EXPECT_EQ(notification.getNodeShortNameSubId(), "linkDown");

  // A negative word keeps its type in the low half and its kinds in the high.
  notification.setNodeTypeKind(static_cast<int>(0xFFFF0009u));
  EXPECT_EQ(notification.getNodeType(), 9);
  EXPECT_EQ(notification.getNodeKind(), 0xFFFF);
}

TEST(MibNode, AccessSyntaxAndChildIndex) {
  CMibNode node;
  const std::vector<std::pair<int, std::pair<bool, bool>>> access = {
      {0, {false, false}}, {1, {true, false}}, {2, {true, true}}, {3, {false, true}},
      {4, {false, false}}, {5, {true, true}}, {6, {false, false}}, {-1, {false, false}}};
  for (const auto& [value, readWrite] : access) {
    node.setAccess(value);
    EXPECT_EQ(node.isReadable(), readWrite.first) << value;
    EXPECT_EQ(node.isWriteable(), readWrite.second) << value;
  }
  node.setSyntax("counter64");
  EXPECT_FALSE(node.isCounter64());
  node.setSyntax("Counter64 ");
  EXPECT_FALSE(node.isCounter64());

  node.setCurrentChildIndex(4);
  EXPECT_EQ(node.getCurrentChildIndex(), -1);
  EXPECT_EQ(node.getChildCount(), 0);
  node.addChildName("iso.org");
  node.addChildName("dod");
  EXPECT_EQ(node.getChildCount(), 2);
  EXPECT_EQ(node.getCurrentChildIndex(), 4);
  EXPECT_EQ(node.getChildShortNames(), (Names{"org", "dod"}));
  node.setChildNameList({"a.b.", "c"});
  EXPECT_EQ(node.getChildShortNames(), (Names{"", "c"}));  // the cache is refilled
  node.setNodeName("plain");
  EXPECT_EQ(node.getNodeShortName(), "plain");
  node.setOidString("1.3.6");
  EXPECT_EQ(node.getNodeDisplayName(), "plain(6)");
  node.setOidString("42");
  EXPECT_EQ(node.getNodeDisplayName(), "plain(42)");
}

TEST(MibNode, CopiesRebindTheirSecondNames) {
  const CMibNode source = trapNode();
  CMibNode copy(source);
  EXPECT_EQ(&copy.getTrapVariableList(), &copy.getValueList());
  EXPECT_EQ(&copy.getNotificationObjectList(), &copy.getValueList());
  EXPECT_EQ(copy.describeFields(), source.describeFields());
  copy.setValueList({"other"});
  copy.setAccess(8);
  copy.setSyntax("1.3.6.1.4.1.99");
  EXPECT_EQ(copy.getTrapVariableList(), Names{"other"});
  EXPECT_EQ(copy.getTrapNumber(), 8);
  EXPECT_EQ(copy.getEnterprise(), "1.3.6.1.4.1.99");
  EXPECT_EQ(source.getTrapVariableList(), (Names{"ifIndex", "ifDescr"}));
  EXPECT_EQ(source.getTrapNumber(), 3);
  EXPECT_EQ(source.getEnterprise(), "1.3.6.1.4.1.9");

  CMibNode assigned;
  assigned = source;
  EXPECT_EQ(&assigned.getTrapVariableList(), &assigned.getValueList());
  assigned.setValueList({});
  EXPECT_TRUE(assigned.getTrapVariableList().empty());
  EXPECT_EQ(source.getValueList().size(), 2u);
  // Copies made in containers keep pointing at their own fields too.
  std::vector<CMibNode> nodes(3, source);
  nodes.push_back(sampleMibNode());
  for (const CMibNode& n : nodes) EXPECT_EQ(&n.getTrapVariableList(), &n.getValueList());
}

TEST(MibNode, GoldenArchiveRoundTrip) {
  CMibNode node = trapNode();
  node.setPrevSiblingName("p");
  node.setChildNameList({"c1"});
  node.setCurrentChildIndex(-1);
  ByteList b;
  text(b, "CISCO-MIB");
  text(b, "OrvaTrapListParent");
  text(b, "SmiTrapType.ciscoTrap");
  text(b, "");
  text(b, "x");
  text(b, "a trap");
  dword(b, 0x00010009);  // nodeTypeKind
  dword(b, 1);           // status
  dword(b, 3);           // access: the trap number
  text(b, "1.3.6.1.4.1.9");
  text(b, "");
  text(b, "p");
  dword(b, 1);
  text(b, "c1");
  dword(b, 2);
  text(b, "ifIndex");
  text(b, "ifDescr");
  dword(b, 0xFFFFFFFF);  // currentChildIndex
  const Bytes expected = b.bytes();
  EXPECT_EQ(recordtest::storeRecord(node), expected);

  CMibNode loaded = sampleMibNode();
  loaded.getChildShortNames();
  recordtest::loadRecord(expected, loaded);
  EXPECT_EQ(loaded.describeFields(), node.describeFields());
  EXPECT_EQ(loaded.getTrapVariableList(), (Names{"ifIndex", "ifDescr"}));
  EXPECT_EQ(loaded.getCurrentChildIndex(), -1);

  std::unique_ptr<CMibNode> viaObject;
  const Bytes tagged = recordtest::roundTripThroughObject(sampleMibNode(), viaObject);
  ASSERT_NE(viaObject, nullptr);
  EXPECT_EQ(viaObject->describeFields(), sampleMibNode().describeFields());
  EXPECT_EQ(std::string(tagged.begin() + 6, tagged.begin() + 14), "CMibNode");

  // A negative count holds no names.
  ByteList negative;
  negative << std::string(expected.begin(), expected.end() - 31);  // up to the child names
  dword(negative, 0xFFFFFFFF);
  dword(negative, 0);
  dword(negative, 7);
  recordtest::loadRecord(negative.bytes(), loaded);
  EXPECT_TRUE(loaded.getChildNameList().empty());
  EXPECT_TRUE(loaded.getValueList().empty());
  EXPECT_EQ(loaded.getCurrentChildIndex(), -1);
  EXPECT_EQ(loaded.getPrevSiblingName(), "p");
}

}  // namespace

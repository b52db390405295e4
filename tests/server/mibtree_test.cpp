// The MIB tree compiled from the shipped modules: every module loads without
// a complaint, the links between nodes agree, and a broken module is named
// with its file and line without stopping the others.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "server/snmp/MibTree.h"
#include "server/snmp/SnmpText.h"

namespace {

using om::snmp::loadMibTree;

const std::vector<std::string> kShipped = {OM_MIB_FOLDER, "/usr/share/snmp/mibs"};

TEST(MibTreeTest, ShippedModulesLoadWithConsistentLinks) {
  const om::snmp::MibTree tree = loadMibTree(kShipped);
  for (const auto& error : tree.errors) ADD_FAILURE() << error.file << ":" << error.line << ": " << error.message;
  for (const char* module : {"SNMPv2-MIB", "IF-MIB", "UCD-SNMP-MIB", "NET-SNMP-AGENT-MIB", "ORVA-MANAGER-MIB",
                             "ORVA-MANAGER-TRAP-MIB"}) {
    EXPECT_NE(std::find(tree.modules.begin(), tree.modules.end(), module), tree.modules.end()) << module;
  }
  std::map<std::string, const CMibNode*> byName;
  for (const CMibNode& node : tree.nodes) EXPECT_TRUE(byName.emplace(node.getNodeName(), &node).second) << node.getNodeName();
  ASSERT_GT(byName.size(), 500u);
  for (const CMibNode& node : tree.nodes) {
    const std::vector<std::string>& children = node.getChildNameList();
    for (size_t i = 0; i < children.size(); ++i) {
      ASSERT_TRUE(byName.count(children[i])) << children[i];
      const CMibNode& child = *byName[children[i]];
      if (node.getNodeName() == CMibNode::m_pszNotificationListParentName) continue;  // a list, not a parent
      EXPECT_EQ(child.getParentName(), node.getNodeName()) << children[i];
      EXPECT_EQ(child.getPrevSiblingName(), i > 0 ? children[i - 1] : "") << children[i];
      if (i > 0 && !node.getOidString().empty()) {
        // Siblings in OID order: their last sub-identifiers grow.
        const CMibNode& before = *byName[children[i - 1]];
        EXPECT_LT(std::stoul(before.getOidString().substr(before.getOidString().rfind('.') + 1)),
                  std::stoul(child.getOidString().substr(child.getOidString().rfind('.') + 1)))
            << children[i];
      }
    }
  }
  const CMibNode& hcIn = *byName.at("ifHCInOctets");
  EXPECT_EQ(hcIn.getOidString(), "1.3.6.1.2.1.31.1.1.1.6");
  EXPECT_TRUE(hcIn.isCounter64());
  EXPECT_TRUE(hcIn.isLeafNode());
  EXPECT_FALSE(hcIn.isScalarNode());
  EXPECT_TRUE(byName.at("ifIndex")->isIndexNode());
  EXPECT_TRUE(byName.at("ifTable")->isTableNode());
  EXPECT_TRUE(byName.at("sysName")->isScalarNode());
  EXPECT_EQ(byName.at("ifAdminStatus")->getValueList(), (std::vector<std::string>{"up(1)", "down(2)", "testing(3)"}));
  const CMibNode& trap = *byName.at("SmiTrapType.omV1ThresholdRising");
  EXPECT_TRUE(trap.isTrapNode());
  EXPECT_EQ(trap.getTrapNumber(), 3);
  EXPECT_EQ(trap.getEnterprise(), "1.3.6.1.4.1.99999.2");
  EXPECT_EQ(trap.getOidString(), "1.3.6.1.4.1.99999.2.0.3");
  EXPECT_EQ(trap.getTrapVariableList().size(), 4u);
  const CMibNode& notification = *byName.at("omNodeDown");
  EXPECT_TRUE(notification.isNotificationNode());
  EXPECT_EQ(notification.getNotificationObjectList().front(), "omNodeName");
  // The loaded names serve the text forms.
  om::snmp::Oid oid;
  ASSERT_TRUE(om::snmp::parseOid("IF-MIB::ifHCInOctets.3", oid));
  EXPECT_EQ(om::snmp::oidName(oid), "ifHCInOctets.3");
  EXPECT_FALSE(om::snmp::parseOid("noSuchObjectName.0", oid));
}

TEST(MibTreeTest, ABrokenModuleIsNamedAndTheOthersStillLoad) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("ommib-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  std::ofstream(dir / "BROKEN-MIB.txt") << "BROKEN-MIB DEFINITIONS ::= BEGIN\n"
                                           "IMPORTS enterprises FROM SNMPv2-SMI;\n"
                                           "broken OBJECT IDENTIFIER ::= { enterprises 99998 }\n"
                                           "brokenThing OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS\n"
                                           "END\n";
  std::vector<std::string> folders = kShipped;
  folders.push_back(dir.string());
  const om::snmp::MibTree tree = loadMibTree(folders);
  ASSERT_FALSE(tree.errors.empty());
  EXPECT_EQ(tree.errors.front().file, (dir / "BROKEN-MIB.txt").string()) << tree.errors.front().message;
  EXPECT_EQ(tree.errors.front().line, 5) << tree.errors.front().message;
  EXPECT_NE(std::find(tree.modules.begin(), tree.modules.end(), "IF-MIB"), tree.modules.end());
  std::filesystem::remove_all(dir);
}

TEST(TextFormsTest, ValuesReadAsTheProductShowsThem) {
  using namespace om::snmp;
  Varbind v;
  v.type = kTimeTicks;
  v.integer = 12 * 8640000 + 3 * 360000 + 4 * 6000 + 5 * 100 + 67;
  EXPECT_EQ(valueText(v), "12 days 3:04:05.67");
  v.integer = 8640000;
  EXPECT_EQ(valueText(v), "1 day 0:00:00.00");
  v.type = kOctetString;
  v.octets = std::string("\x00\xff\x1b" "A", 4);
  EXPECT_EQ(valueText(v), "00 FF 1B 41");
  EXPECT_EQ(typeName(v), "Hex-STRING");
  v.type = kCounter64;
  v.counter64 = 18446744073709551615ull;
  EXPECT_EQ(valueText(v), "18446744073709551615");
  Oid oid;
  EXPECT_TRUE(parseNumericOid(".1.3.6", oid));
  EXPECT_EQ(oidText(oid), "1.3.6");
  for (const char* bad : {"", "1..3", "1.3.", "1.x", "99999999999"}) EXPECT_FALSE(parseNumericOid(bad, oid)) << bad;
}

}  // namespace

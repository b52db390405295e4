// The server's in-memory network tree: listing under several parents, paths
// across both roots, removal of what is then listed nowhere, moves and
// renames that keep the tree a tree, and search; with the tree command of
// omconsole over this machine's own network.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

#include "../apps/ConsoleRunner.h"
#include "server/discovery/LocalNetwork.h"
#include "server/store/NetworkTree.h"
#include "model/NetworkPath.h"

namespace {

const std::string kSep = CNetworkPath::getSeparator();
const std::string kPhysical = CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName();
const std::string kLogical = CNetworkPath::getRootMark() + CNetworkPath::getLogicalRootName();

NetworkObjectBase object(const std::string& name, int type) {
  NetworkObjectBase o;
  o.setName(name);
  o.setObjectType(type);
  return o;
}

std::vector<std::string> childNames(const NetworkTree& tree, const std::string& path) {
  std::vector<NetworkObjectBase> children;
  std::vector<std::string> names;
  if (!tree.children(path, children)) names.push_back("<no such path>");
  for (const NetworkObjectBase& child : children) names.push_back(child.getName());
  return names;
}

// \物理\net\{a\{p}, b}; \論理\g\a.
NetworkTree sample() {
  NetworkTree tree;
  tree.add(kPhysical, object("net", kObjectTypeSubnet));
  tree.add(kPhysical + kSep + "net", object("a", kObjectTypeNode));
  tree.add(kPhysical + kSep + "net", object("b", kObjectTypeNode));
  tree.add(kPhysical + kSep + "net" + kSep + "a", object("p", kObjectTypePort));
  tree.add(kLogical, object("g", kObjectTypeGroup));
  tree.add(kLogical + kSep + "g", object("a", kObjectTypeNode));
  return tree;
}

TEST(NetworkTree, ObjectsAreListedUnderEveryParentAndFoundByPath) {
  NetworkTree tree = sample();
  EXPECT_EQ(childNames(tree, kPhysical + kSep + "net"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(childNames(tree, kLogical + kSep + "g" + kSep + "a"), (std::vector<std::string>{"p"}));
  EXPECT_EQ(childNames(tree, kPhysical + kSep + "b"), (std::vector<std::string>{"<no such path>"}));
  EXPECT_EQ(childNames(tree, "\\elsewhere"), (std::vector<std::string>{"<no such path>"}));
  EXPECT_EQ(tree.pathNames("a"),
            (std::vector<std::string>{kPhysical + kSep + "net" + kSep + "a", kLogical + kSep + "g" + kSep + "a"}));
  EXPECT_EQ(tree.pathNames(CNetworkPath::getPhysicalRootName()), (std::vector<std::string>{kPhysical}));
  EXPECT_TRUE(tree.pathNames("nobody").empty());
  EXPECT_TRUE(tree.hasChildren(kPhysical + kSep + "net" + kSep + "a"));
  EXPECT_FALSE(tree.hasChildren(kPhysical + kSep + "net" + kSep + "b"));

  // Adding a known name again replaces its attributes, wherever it is listed.
  NetworkObjectBase a = object("a", kObjectTypeNode);
  a.setSysName("new");
  EXPECT_TRUE(tree.add(kLogical + kSep + "g", a));
  EXPECT_EQ(tree.find("a")->getSysName(), "new");
  EXPECT_EQ(childNames(tree, kLogical + kSep + "g"), (std::vector<std::string>{"a"}));
  // Refused: unknown parent, empty or root names, and cycles.
  EXPECT_FALSE(tree.add(kPhysical + kSep + "nowhere", object("x", 2)));
  EXPECT_FALSE(tree.add(kPhysical, object("", 2)));
  EXPECT_FALSE(tree.add(kLogical, object(CNetworkPath::getPhysicalRootName(), 0)));
  EXPECT_FALSE(tree.add(kPhysical + kSep + "net" + kSep + "a", object("net", 1)));
  EXPECT_FALSE(tree.add(kPhysical + kSep + "net" + kSep + "a", object("a", 2)));
  EXPECT_EQ(tree.count(kObjectTypeNode), 2);
  EXPECT_FALSE(tree.update(object("nobody", 2)));
}

TEST(NetworkTree, RemovalTakesWhatIsThenListedNowhere) {
  NetworkTree tree = sample();
  tree.add(kLogical + kSep + "g", object("p", kObjectTypePort));
  ASSERT_TRUE(tree.remove("net"));
  // "b" was only under the subnet; "a" and "p" are still in the group.
  EXPECT_EQ(tree.find("b"), nullptr);
  ASSERT_NE(tree.find("a"), nullptr);
  EXPECT_EQ(childNames(tree, kPhysical), std::vector<std::string>{});
  EXPECT_EQ(childNames(tree, kLogical + kSep + "g"), (std::vector<std::string>{"a", "p"}));
  EXPECT_TRUE(tree.remove("g"));
  EXPECT_EQ(tree.find("a"), nullptr);
  EXPECT_EQ(tree.find("p"), nullptr);
  EXPECT_FALSE(tree.remove("g"));
  EXPECT_FALSE(tree.remove(CNetworkPath::getLogicalRootName()));
}

TEST(NetworkTree, MovesAndRenamesKeepItATree) {
  NetworkTree tree = sample();
  const std::string net = kPhysical + kSep + "net";
  EXPECT_TRUE(tree.move("b", net, net + kSep + "a"));
  EXPECT_EQ(childNames(tree, net), (std::vector<std::string>{"a"}));
  EXPECT_EQ(childNames(tree, net + kSep + "a"), (std::vector<std::string>{"p", "b"}));
  EXPECT_FALSE(tree.move("b", net, kLogical));                       // not listed there any more
  EXPECT_FALSE(tree.move("a", net, net + kSep + "a" + kSep + "b"));  // into its own subtree
  EXPECT_FALSE(tree.move("a", net, kPhysical + kSep + "none"));

  ASSERT_TRUE(tree.rename("a", "alpha"));
  EXPECT_EQ(tree.find("a"), nullptr);
  EXPECT_EQ(tree.find("alpha")->getName(), "alpha");
  EXPECT_EQ(tree.pathNames("alpha"),
            (std::vector<std::string>{net + kSep + "alpha", kLogical + kSep + "g" + kSep + "alpha"}));
  EXPECT_EQ(childNames(tree, kLogical + kSep + "g" + kSep + "alpha"), (std::vector<std::string>{"p", "b"}));
  EXPECT_FALSE(tree.rename("alpha", "b"));  // taken
  EXPECT_FALSE(tree.rename("ghost", "x"));
  EXPECT_FALSE(tree.rename("alpha", ""));
}

TEST(NetworkTree, SearchFoldsOnlyAsciiLettersAndSeparatesSubnets) {
  NetworkTree tree;
  tree.add(kPhysical, object("Lab-Net", kObjectTypeSubnet));
  const std::string lab = kPhysical + kSep + "Lab-Net";
  tree.add(lab, object("LabHost", kObjectTypeNode));
  // "ア" is 0x83 0x41 and "ヂ" 0x83 0x61: a trail byte must never be folded
  // as if it were the letter "A".
  tree.add(lab, object("host-\x83\x41", kObjectTypeNode));
  tree.add(lab, object("HOST-\x83\x61", kObjectTypeNode));
  EXPECT_EQ(tree.search("lab", true, false), (std::vector<std::string>{"LabHost"}));
  EXPECT_EQ(tree.search("lab", true, true), (std::vector<std::string>{"Lab-Net"}));
  EXPECT_TRUE(tree.search("lab", false, false).empty());
  EXPECT_EQ(tree.search("host-", true, false), (std::vector<std::string>{"HOST-\x83\x61", "host-\x83\x41"}));
  EXPECT_EQ(tree.search("\x83\x41", true, false), (std::vector<std::string>{"host-\x83\x41"}));
  EXPECT_EQ(tree.search("\x83\x61", true, false), (std::vector<std::string>{"HOST-\x83\x61"}));
  EXPECT_EQ(tree.search("", false, false).size(), 3u);
}

TEST(TreeConsole, PrintsThisMachineUnderBothRoots) {
  char host[256] = "";
  ASSERT_EQ(gethostname(host, sizeof(host) - 1), 0);
  std::string out;
  std::string err;
  ASSERT_EQ(console("tree", &out, &err), 0) << err;
  EXPECT_EQ(out.rfind("\\物理\n", 0), 0u) << out;
  EXPECT_NE(out.find("[subnet]"), std::string::npos) << out;
  EXPECT_NE(out.find("    " + std::string(host) + "  [node]"), std::string::npos) << out;
  EXPECT_NE(out.find("lo  [port up] 127.0.0.1"), std::string::npos) << out;

  ASSERT_EQ(console("tree '\\論理'", &out, &err), 0) << err;
  EXPECT_NE(out.find("  " + localGroupName() + "  [group]\n    " + host + "  [node]"), std::string::npos) << out;

  EXPECT_EQ(console("tree '\\物理\\nowhere'", &out, &err), 1);
  EXPECT_EQ(out, "");
  EXPECT_EQ(err, "omconsole: \\物理\\nowhere: WBEM_E_NOT_FOUND\n");
  EXPECT_EQ(console("tree a b", &out, &err), 2);
}

}  // namespace

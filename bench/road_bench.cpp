// The cost of the road of one request: GetChildren of a subnet with 100
// nodes, read by a console through the embedded server and the object
// manager, against the same children copied straight out of the server's
// tree, and against the marshalling alone (each child written to an
// instance and read back, with no call).
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <atlbase.h>
#include <wmi/ObjectManager.h>

#include "BenchRoad.h"
#include "RatioReporter.h"
#include "model/NetworkPath.h"
#include "wbem/WbemNetworkObjectClient.h"

namespace {

constexpr int kChildren = 100;

const std::string& subnetPath() {
  static const std::string path =
      CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName() + CNetworkPath::getSeparator() + "net";
  return path;
}

std::shared_ptr<NetworkServer> makeServer() {
  auto server = std::make_shared<NetworkServer>();
  NetworkObjectBase subnet;
  subnet.setName("net");
  subnet.setObjectType(kObjectTypeSubnet);
  server->tree.add(CNetworkPath::getRootMark() + CNetworkPath::getPhysicalRootName(), subnet);
  for (int i = 0; i < kChildren; ++i) {
    NetworkObjectBase node;
    node.setName("node" + std::to_string(i));
    node.setObjectType(kObjectTypeNode);
    node.setDescription("a node of the benchmark");
    node.setIpAddresses({"10.0.0." + std::to_string(i), "10.1.0." + std::to_string(i)});
    node.setSysName("sys" + std::to_string(i));
    server->tree.add(subnetPath(), node);
  }
  return server;
}

// The process's server and console connection, set up once.
BenchRoad& road() {
  static BenchRoad* instance = new BenchRoad(makeServer());
  return *instance;
}

void BM_GetChildrenRoad(benchmark::State& state) {
  if (!road().ready) return state.SkipWithError("no connection to the embedded server");
  WbemNetworkObjectClient client(road().connection.getServices());
  for (auto _ : state) {
    std::vector<NetworkObjectBase> children;
    if (!client.getChildren(subnetPath(), children) || children.size() != kChildren) {
      return state.SkipWithError("GetChildren failed");
    }
    benchmark::DoNotOptimize(children.data());
  }
  state.SetItemsProcessed(state.iterations() * kChildren);
}

void BM_GetChildrenMarshalOnly(benchmark::State& state) {
  if (!road().ready) return state.SkipWithError("no connection to the embedded server");
  std::vector<NetworkObjectBase> source;
  road().state->tree.children(subnetPath(), source);
  WbemNetworkObject writer(road().connection.getServices());
  WbemNetworkObject reader(road().connection.getServices());
  CComPtr<IWbemClassObject> cls;
  road().connection.getServices()->GetObject(CComBSTR(u"NetworkObject"), 0, nullptr, &cls, nullptr);
  for (auto _ : state) {
    std::vector<NetworkObjectBase> children;
    for (const NetworkObjectBase& each : source) {
      CComPtr<IWbemClassObject> instance;
      cls->SpawnInstance(0, &instance);
      writer.setObject(each);
      writer.putToInstance(instance);
      reader.getFromInstance(instance);
      children.push_back(reader.getObject());
    }
    benchmark::DoNotOptimize(children.data());
  }
  state.SetItemsProcessed(state.iterations() * kChildren);
}

void BM_GetChildrenDirect(benchmark::State& state) {
  const NetworkTree& tree = road().state->tree;
  for (auto _ : state) {
    std::vector<NetworkObjectBase> children;
    tree.children(subnetPath(), children);
    benchmark::DoNotOptimize(children.data());
  }
  state.SetItemsProcessed(state.iterations() * kChildren);
}

BENCHMARK(BM_GetChildrenRoad);
BENCHMARK(BM_GetChildrenMarshalOnly);
BENCHMARK(BM_GetChildrenDirect);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  om::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatio("road vs copy out of the tree", "BM_GetChildrenRoad", "BM_GetChildrenDirect", "children");
  reporter.printRatio("road vs marshalling alone", "BM_GetChildrenRoad", "BM_GetChildrenMarshalOnly", "children");
  return 0;
}

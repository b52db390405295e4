// COrvaManagerNetwork: the summary record of the whole managed network: its
// name, how many subnets and nodes it has, its overall node status and
// whether the server's polling and auto-discover managers are running.
#ifndef OMLIB_MODEL_ORVAMANAGERNETWORK_H_
#define OMLIB_MODEL_ORVAMANAGERNETWORK_H_

#include <string>

// Setters store what they are given.
class COrvaManagerNetwork {
 public:
  COrvaManagerNetwork() = default;
  COrvaManagerNetwork(const COrvaManagerNetwork& other) = default;
  virtual ~COrvaManagerNetwork() = default;

  COrvaManagerNetwork& operator=(const COrvaManagerNetwork& other) = default;
  // Copies all seven values.
  void copyIn(const COrvaManagerNetwork& other) { COrvaManagerNetwork::operator=(other); }

  const std::string& getName() const { return name_; }
  void setName(const std::string& name) { name_ = name; }
  int getNumberOfSubnets() const { return numberOfSubnets_; }
  void setNumberOfSubnets(int count) { numberOfSubnets_ = count; }
  int getNumberOfDiscoveredNodes() const { return numberOfDiscoveredNodes_; }
  void setNumberOfDiscoveredNodes(int count) { numberOfDiscoveredNodes_ = count; }
  int getNumberOfObservingNodes() const { return numberOfObservingNodes_; }
  void setNumberOfObservingNodes(int count) { numberOfObservingNodes_ = count; }
  int getNodeStatus() const { return nodeStatus_; }
  void setNodeStatus(int status) { nodeStatus_ = status; }
  bool isPollingManager() const { return pollingManager_; }
  void setPollingManager(bool running) { pollingManager_ = running; }
  bool isAutoDiscoverManager() const { return autoDiscoverManager_; }
  void setAutoDiscoverManager(bool running) { autoDiscoverManager_ = running; }

 private:
  std::string name_;
  int numberOfSubnets_ = 0;
  int numberOfDiscoveredNodes_ = 0;
  int numberOfObservingNodes_ = 0;
  int nodeStatus_ = 0;
  bool pollingManager_ = false;
  bool autoDiscoverManager_ = false;
};

#endif  // OMLIB_MODEL_ORVAMANAGERNETWORK_H_

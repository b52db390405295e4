#include "model/NetworkObjectBase.h"

#include <algorithm>

namespace {

// `value` when it lies in [low, high], otherwise 0.
int inRangeOrZero(int value, int low, int high) {
  return value >= low && value <= high ? value : 0;
}

}  // namespace

void NetworkObjectBase::setObjectType(int objectType) {
  objectType_ = inRangeOrZero(objectType, 0, 7);
}

void NetworkObjectBase::setNodeStatus(int nodeStatus) {
  nodeStatus_ = inRangeOrZero(nodeStatus, 0, 2);
}

void NetworkObjectBase::setPortStatus(int portStatus) {
  // 7 is not a port state: it is refused like a value out of range.
  portStatus_ = portStatus == 7 ? 0 : inRangeOrZero(portStatus, 0, 9);
}

void NetworkObjectBase::setPortType(int portType) {
  portType_ = inRangeOrZero(portType, 0, 2);
}

std::string NetworkObjectBase::getIpAddress() const {
  return ipAddresses_.empty() ? std::string() : ipAddresses_.front();
}

void NetworkObjectBase::setIpAddress(const std::string& address) {
  ipAddresses_.assign(1, address);
}

void NetworkObjectBase::addUnique(std::vector<std::string>& list, const std::string& text) {
  if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
}

void NetworkObjectBase::removeFirst(std::vector<std::string>& list, const std::string& text) {
  const auto it = std::find(list.begin(), list.end(), text);
  if (it != list.end()) list.erase(it);
}

CNetworkObject& CNetworkObject::operator=(const CNetworkObject& other) {
  copyIn(other);
  return *this;
}

void CNetworkObject::addNetworkObject(const CNetworkObject* child) {
  if (child == nullptr || findChild(*child) != children_.end()) return;
  // The list holds the caller's object without owning it.
  children_.push_back(const_cast<CNetworkObject*>(child));
}

std::vector<CNetworkObject*>::const_iterator CNetworkObject::findChild(
    const CNetworkObject& child) const {
  return std::find_if(children_.begin(), children_.end(),
                      [&child](const CNetworkObject* c) { return c->compare(child); });
}

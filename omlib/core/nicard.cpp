#include "core/nicard.h"

#include <cstring>

#include <winsock2.h>

namespace {

const tstring kNoAddress;

}  // namespace

CNICard::CNICard() : cursor_(0) { init(); }

void CNICard::init() {
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 0), &data) != 0) return;
  char name[512] = {};
  if (gethostname(name, sizeof name) == 0) {
    const hostent* host = gethostbyname(name);
    if (host != nullptr) {
      for (char** a = host->h_addr_list; *a != nullptr; ++a) {
        in_addr address;
        std::memcpy(&address, *a, sizeof address);
        addresses_.push_back(inet_ntoa(address));
      }
    }
  }
  WSACleanup();
}

const tstring& CNICard::nextAddress() {
  if (!hasMoreAddresses()) return kNoAddress;
  return addresses_[cursor_++];
}

const tstring& CNICard::operator[](int i) const {
  if (i < 0 || i >= enumerate()) return kNoAddress;
  return addresses_[static_cast<size_t>(i)];
}

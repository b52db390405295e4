// HttpLimits: how much the HTTP endpoints take on: the largest body, the
// calls in progress in total and per client, how long a connection may stay
// silent, and how long a refused login waits for its answer.
#ifndef OM_APPS_OMSERVER_HTTPLIMITS_H_
#define OM_APPS_OMSERVER_HTTPLIMITS_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace omserver {

struct HttpLimits {
  size_t maxBody = size_t{4} << 20;
  unsigned maxCalls = 64;
  unsigned maxCallsPerClient = 16;
  unsigned timeoutSeconds = 30;
  std::chrono::milliseconds authDelay{1000};
};

// Receives one line, without its end of line, per refused login and per
// problem of the HTTP library.
using LogSink = std::function<void(const std::string& line)>;

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_HTTPLIMITS_H_

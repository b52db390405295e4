// The daemon's CIM-XML endpoint: turns one CIM operation request (an HTTP
// POST of CIM-XML) into IWbemServices calls on the object manager of this
// process and writes the response. Intrinsic methods: GetClass,
// GetInstance, EnumerateInstances, EnumerateInstanceNames, ExecQuery,
// CreateInstance, ModifyInstance, DeleteInstance, EnumerateClasses and
// EnumerateClassNames; extrinsic methods on classes and instances; and the
// event queue of RemoteProtocol.h. Thread-safe; the HTTP server and the
// authentication in front of it are the daemon's.
#ifndef OM_PLATFORM_WMI_CIMXMLENDPOINT_H_
#define OM_PLATFORM_WMI_CIMXMLENDPOINT_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CimXml.h"
#include "EventQueue.h"

namespace om::wmi {

struct EndpointReply {
  int status = 200;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
};

class CimXmlEndpoint {
 public:
  CimXmlEndpoint() = default;
  CimXmlEndpoint(const CimXmlEndpoint&) = delete;
  CimXmlEndpoint& operator=(const CimXmlEndpoint&) = delete;

  // Serves one request. `cimOperation` and `cimMethod` are the values of the
  // request's CIMOperation and CIMMethod headers (empty when absent); `user`
  // names the client, whose event subscriptions are its own. A request that
  // is not a CIM-XML method call is HTTP 400 with a CIMError header; a
  // failed operation is a CIM ERROR in a 200 reply, which holds the
  // manager's error object only for a client that asked for error
  // instances (RemoteProtocol.h): older clients read no children there.
  EndpointReply handle(std::string_view cimOperation, std::string_view cimMethod, std::string_view body,
                       const std::string& user, bool errorInstances);

  // Ends the event subscriptions and wakes their pulls (at shutdown).
  void close() { events_.close(); }

 private:
  cimxml::Response serve(cimxml::Request& request, const std::string& user);
  void serveEventQueue(IWbemServices* services, const cimxml::Request& request, const std::string& user,
                       cimxml::Response* response);

  EventQueue events_;
};

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_CIMXMLENDPOINT_H_

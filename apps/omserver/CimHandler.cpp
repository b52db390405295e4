#include "CimHandler.h"

#include <string>

#include "CimXmlEndpoint.h"
#include "RemoteProtocol.h"

namespace omserver {
namespace {

std::string header(const HttpRequest& request, const char* name) {
  const auto found = request.headers.find(name);
  return found == request.headers.end() ? std::string() : found->second;
}

}  // namespace

HttpHandler cimXmlHandler(om::wmi::CimXmlEndpoint& endpoint) {
  return [&endpoint](const HttpRequest& request) {
    if (request.url != "/cimom") return HttpReply{404, "CIM operations are served at /cimom\n", {}};
    // Event subscriptions belong to the user; a local peer is known by uid.
    const std::string owner = request.peer.local ? "uid:" + std::to_string(request.peer.uid) : request.peer.user;
    const bool errorInstances = header(request, om::wmi::remote::kErrorInstancesHeader) == "1";
    om::wmi::EndpointReply reply = endpoint.handle(header(request, "CIMOperation"), header(request, "CIMMethod"),
                                                   request.body, owner, errorInstances);
    return HttpReply{reply.status, std::move(reply.body), std::move(reply.headers)};
  };
}

}  // namespace omserver

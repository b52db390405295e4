// omserver: the project's server daemon. It hosts the object manager with
// the server's providers and serves CIM operations over HTTP on a local
// Unix socket and on the network (HTTPS). It runs in the foreground, tells
// systemd when it is ready, and stops in order on SIGTERM or SIGINT.
#include <signal.h>
#include <systemd/sd-daemon.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <objbase.h>
#include <om/RegistryStore.h>
#include <wmi/ObjectManager.h>

#include "CimHandler.h"
#include "CimXmlEndpoint.h"
#include "ConfigCheck.h"
#include "HttpServer.h"
#include "ListenSocket.h"
#include "ServerOptions.h"
#include "server/EmbeddedServer.h"

namespace omserver {
namespace {

// How long calls in progress may take to finish once asked to stop.
constexpr auto kStopGrace = std::chrono::seconds(10);

int fail(const std::string& message, int status) {
  std::cerr << "omserver: " << message << "\n";
  return status;
}

std::string hresultText(HRESULT hr) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(static_cast<uint32_t>(hr)));
  return text;
}

HttpLimits limitsOf(const ServerOptions& options) {
  return {options.maxBody, options.maxCalls, options.maxCallsPerClient, options.timeoutSeconds,
          std::chrono::milliseconds(options.authDelayMs)};
}

// Blocks SIGINT and SIGTERM in this thread and every thread it starts, so
// that only waitForStop sees them, and ignores SIGPIPE.
sigset_t takeOverSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);  // a client that hangs up is an error of its call, not of the server
  return signals;
}

void waitForStop(const sigset_t& signals) {
  int received = 0;
  while (sigwait(&signals, &received) != 0) {
  }
}

// Serves until a stop signal comes; the exit status.
int serveHttp(const ServerOptions& options, const ServerSetup& setup, const sigset_t& signals) {
  PamAuthenticator access({options.group, options.pamDir});
  om::wmi::CimXmlEndpoint endpoint;
  HttpServer http(cimXmlHandler(endpoint), access, limitsOf(options));
  std::string error;
  if (!options.socketPath.empty()) error = http.listenUnix(options.socketPath);
  if (error.empty() && options.network) {
    error = http.listenTcp(options.address, options.port, setup.tls ? &*setup.tls : nullptr);
  }
  if (!error.empty()) return fail(error, 1);
  for (const std::string& url : http.endpoints()) std::cout << "omserver: listening on " << url << "\n";
  std::cout.flush();
  sd_notify(0, "READY=1");
  waitForStop(signals);
  sd_notify(0, "STOPPING=1");
  endpoint.close();  // event pulls return at once
  if (!http.stop(kStopGrace)) {
    // Their threads cannot be taken back: leave without tearing down what
    // they may still use.
    std::cerr << "omserver: calls still in progress after " << kStopGrace.count() << " s; exiting" << std::endl;
    std::_Exit(0);
  }
  return 0;
}

// Hosts the object manager with the server's providers over the data kept
// and this machine's network, then serves it.
int hostNetwork(const ServerOptions& options, const ServerSetup& setup, const sigset_t& signals) {
  // A second daemon leaves the first one's data alone.
  if (!options.socketPath.empty()) {
    const std::string taken = checkPlace(options.socketPath);
    if (!taken.empty()) return fail(taken, 1);
  }
  auto network = std::make_shared<NetworkServer>();
  const std::string prepared = prepareNetwork(*network, true);
  if (!prepared.empty()) return fail(prepared, 1);
  std::cout << "omserver: data in " << network->data->directory() << std::endl;
  EmbeddedServer embedded(network);
  const HRESULT started = embedded.start();
  if (FAILED(started)) return fail("the object manager cannot start: " + hresultText(started), 1);
  return serveHttp(options, setup, signals);
}

int serve(const ServerOptions& options, const ServerSetup& setup, const sigset_t& signals) {
  const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  if (FAILED(com)) return fail("COM cannot be started: " + hresultText(com), 1);
  const int status = hostNetwork(options, setup, signals);
  om::wmi::ObjectManager::instance().shutdown();
  CoUninitialize();
  return status;
}

int run(const std::vector<std::string>& args) {
  ServerOptions options;
  std::string error;
  if (!parseServerOptions(args, om::machineHome(), &options, &error)) return fail(error, 2);
  if (options.help) {
    std::cout << serverUsage();
    return 0;
  }
  ServerSetup setup;
  error = prepareServer(options, !options.check, &setup);
  if (!error.empty()) return fail(error, 1);
  if (options.check) {
    std::cout << "omserver: configuration OK: " << setup.summary << "\n";
    return 0;
  }
  return serve(options, setup, takeOverSignals());
}

}  // namespace
}  // namespace omserver

int main(int argc, char** argv) { return omserver::run(std::vector<std::string>(argv + 1, argv + argc)); }

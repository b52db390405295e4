// BenchRoad: the embedded server of a benchmark program, over the state the
// program gives it, and a console's connection to ".", set up once.
#ifndef OM_BENCH_BENCHROAD_H_
#define OM_BENCH_BENCHROAD_H_

#include <memory>

#include "server/EmbeddedServer.h"
#include "wbem/WbemConnect.h"

struct BenchRoad {
  explicit BenchRoad(std::shared_ptr<NetworkServer> served) : state(std::move(served)), server(state) {
    connection.initializeCom(0, 0);
    server.start();
    ready = connection.connectServer(".", "", "", "");
  }
  IWbemServices* services() { return connection.getServices(); }

  std::shared_ptr<NetworkServer> state;
  EmbeddedServer server;
  WbemConnect connection;
  bool ready = false;
};

#endif  // OM_BENCH_BENCHROAD_H_

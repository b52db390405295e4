// The fixture of the end-to-end tests: an embedded server hosted in the test
// program, and a console's connection to it. Both are started once for the
// program, which checks at its end that no COM object was left alive.
//
// OMLIB_ROAD_TRANSPORT chooses the connection's road: unset, "." through
// the object manager in this process; "unix" or "https", the daemon's
// CIM-XML endpoint (RoadTransport.h) started in this process, reached over
// its Unix socket or over HTTPS on loopback with a password. The tests are
// the same on every road.
#ifndef OMLIB_TESTS_SERVER_EMBEDDEDROAD_H_
#define OMLIB_TESTS_SERVER_EMBEDDEDROAD_H_

#include <gtest/gtest.h>

#include <memory>

#include <atlbase.h>
#include <om/ComObject.h>
#include <wmi/ObjectManager.h>

#include "../wbem/StatusSink.h"
#include "RoadTransport.h"
#include "server/EmbeddedServer.h"
#include "wbem/WbemConnect.h"

// The server and the connection, made once for the whole test program (COM
// and its security are set once per process) and torn down at its end.
class EmbeddedRoad : public ::testing::Environment {
 public:
  void SetUp() override {
    baseline_ = om::comObjectCount();
    state_ = std::make_shared<NetworkServer>();
    connection_ = new WbemConnect;
    ASSERT_TRUE(connection_->initializeCom(0, 0)) << std::hex << connection_->getErrorCode();
    server_ = new EmbeddedServer(state_);
    ASSERT_EQ(server_->start(), WBEM_S_NO_ERROR);
    transport_ = std::make_unique<RoadTransport>();
    const RoadTransport::Login login = transport_->start();
    ASSERT_TRUE(connection_->connectServer(login.server, login.user, login.password, ""))
        << std::hex << connection_->getErrorCode();
  }
  void TearDown() override {
    delete connection_;
    transport_.reset();
    delete server_;
    state_.reset();
    om::wmi::ObjectManager::instance().shutdown();
    SetErrorInfo(0, nullptr);  // the error object of the last failed call
    CoUninitialize();
    EXPECT_EQ(om::comObjectCount(), baseline_) << "COM objects leaked";
  }

  static inline long baseline_ = 0;
  static inline std::shared_ptr<NetworkServer> state_;
  static inline WbemConnect* connection_ = nullptr;
  static inline EmbeddedServer* server_ = nullptr;
  static inline std::unique_ptr<RoadTransport> transport_;
};

inline ::testing::Environment* const kEmbeddedRoad = ::testing::AddGlobalTestEnvironment(new EmbeddedRoad);

class EmbeddedRoadTest : public ::testing::Test {
 protected:
  static IWbemServices* services() { return EmbeddedRoad::connection_->getServices(); }

  static inline std::shared_ptr<NetworkServer>& state_ = EmbeddedRoad::state_;
  static inline WbemConnect*& connection_ = EmbeddedRoad::connection_;
  static inline EmbeddedServer*& server_ = EmbeddedRoad::server_;
};

// Runs `call` with a fresh sink, which it must accept; the sink once its
// final status has come.
template <class Call>
CComPtr<StatusSink> async(Call call) {
  CComPtr<StatusSink> sink;
  sink.Attach(new StatusSink);
  EXPECT_TRUE(call(sink.p));
  sink->wait();
  return sink;
}

// The out-parameter `name` of the one object a sink got, or VT_EMPTY.
inline CComVariant outputAt(StatusSink& sink, const char16_t* name) {
  CComVariant value;
  if (sink.objects_.size() == 1) sink.objects_[0]->Get(name, 0, &value, nullptr, nullptr);
  return value;
}

#endif  // OMLIB_TESTS_SERVER_EMBEDDEDROAD_H_

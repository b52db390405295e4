#include "ConsoleSession.h"

#include <om/codepage.h>
#include <wmi/ObjectManager.h>

#include "Command.h"
#include "MethodCall.h"
#include "server/EmbeddedServer.h"
#include "wbem/WbemClient.h"
#include "wbem/WbemConnect.h"

namespace omconsole {

ConsoleSession::ConsoleSession(bool shared) : shared_(shared) {}

ConsoleSession::~ConsoleSession() { close(); }

bool ConsoleSession::open() {
  if (state_ == State::kNew) {
    failure_ = start();
    state_ = failure_.empty() ? State::kOpen : State::kFailed;
  }
  if (state_ == State::kFailed) fail(failure_);
  return state_ == State::kOpen;
}

namespace {

ServerChoice& chosenServer() {
  static ServerChoice choice = ServerChoice::choose("", "");
  return choice;
}

}  // namespace

void ConsoleSession::useServer(ServerChoice choice) { chosenServer() = std::move(choice); }

const ServerChoice& ConsoleSession::server() { return chosenServer(); }

std::string ConsoleSession::start() {
  connection_ = std::make_unique<WbemConnect>();
  if (!connection_->initializeCom(0, 0)) return "COM cannot be started: " + statusName(connection_->getErrorCode());
  const ServerChoice& choice = server();
  if (choice.kind == ServerChoice::Kind::kEmbedded) {
    const std::string failure = startEmbedded();
    if (!failure.empty()) return failure;
  }
  const bool remote = choice.kind == ServerChoice::Kind::kRemote;
  const std::string user = remote ? choice.user : "";
  const std::string password = remote ? serverPassword(choice) : "";
  if (!connection_->connectServer(remote ? om::utf8ToCp932(choice.host) : ".", om::utf8ToCp932(user),
                                  om::utf8ToCp932(password), "")) {
    tstring message;
    connection_->formatErrorMessage(message, WbemConnect::IDS_CONNECT_ERROR);
    // The error object says what happened (the server refused the login,
    // its certificate did not verify, ...).
    WbemErrorInfo why;
    if (readWbemErrorInfo(why) && !why.description.empty()) message += ": " + why.description;
    return om::cp932ToUtf8(message);
  }
  return "";
}

std::string ConsoleSession::startEmbedded() {
  network_ = std::make_shared<NetworkServer>();
  const std::string prepared = prepareNetwork(*network_, false);
  if (!prepared.empty()) return "the embedded server cannot start: " + prepared;
  server_ = std::make_unique<EmbeddedServer>(network_);
  const HRESULT started = server_->start();
  return FAILED(started) ? "the embedded server cannot start: " + statusName(started) : "";
}

IWbemServices* ConsoleSession::services() const { return connection_->getServices(); }

void ConsoleSession::atClose(std::function<void()> step) { closing_.push_back(std::move(step)); }

void ConsoleSession::close() {
  if (state_ == State::kNew) return;
  for (auto step = closing_.rbegin(); step != closing_.rend(); ++step) (*step)();
  closing_.clear();
  connection_.reset();
  server_.reset();
  network_.reset();  // a sweep under way ends here
  om::wmi::ObjectManager::instance().shutdown();
  SetErrorInfo(0, nullptr);  // the error object of the last failed call
  CoUninitialize();
  state_ = State::kNew;
}

}  // namespace omconsole

// The client transport's own pieces: what each kind of network failure
// becomes, and context values on their way across.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include <atlbase.h>

#include "HttpClient.h"
#include "RemoteProtocol.h"
#include "WbemContext.h"

namespace {

using om::wmi::HttpClient;
using om::wmi::HttpResult;
using om::wmi::HttpTarget;

// A TCP socket on 127.0.0.1 with a port of its own; listening when asked.
class LoopbackSocket {
 public:
  explicit LoopbackSocket(bool listening) {
    fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    socklen_t size = sizeof(address);
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    if (listening) {
      EXPECT_EQ(listen(fd_, 4), 0);
    }
  }
  ~LoopbackSocket() { close(fd_); }

  int fd() const { return fd_; }
  std::string url(const char* scheme) const {
    return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + "/cimom";
  }

 private:
  int fd_ = -1;
  int port_ = 0;
};

HRESULT post(const std::string& url, long timeoutMs, std::string* error) {
  HttpTarget target;
  target.url = url;
  target.trustFile = "/nonexistent/trust.pem";
  HttpClient client(target);
  HttpResult result;
  return client.post({}, "<CIM/>", timeoutMs, &result, error);
}

// Accepts one connection, answers it with `reply` (nothing: closes at once).
std::thread answerOnce(int fd, std::string reply) {
  return std::thread([fd, reply] {
    const int peer = accept(fd, nullptr, nullptr);
    if (peer < 0) return;
    char buffer[4096];
    if (!reply.empty() && read(peer, buffer, sizeof(buffer)) > 0) {
      EXPECT_EQ(write(peer, reply.data(), reply.size()), static_cast<ssize_t>(reply.size()));
    }
    close(peer);
  });
}

TEST(HttpClientTest, EachFailureOfTheNetworkHasItsOwnStatus) {
  std::string error;
  {
    std::string url;
    {
      LoopbackSocket closed(false);
      url = closed.url("https");
    }
    EXPECT_EQ(post(url, 0, &error), HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)) << error;
    EXPECT_NE(error.find(url), std::string::npos) << error;
  }
  {
    // Accepted by the kernel, never answered.
    LoopbackSocket silent(true);
    EXPECT_EQ(post(silent.url("http"), 200, &error), WBEM_E_TIMED_OUT) << error;
  }
  {
    LoopbackSocket hangsUp(true);
    std::thread server = answerOnce(hangsUp.fd(), "");
    EXPECT_EQ(post(hangsUp.url("http"), 0, &error), WBEM_E_TRANSPORT_FAILURE) << error;
    server.join();
  }
  {
    // A server that speaks plain HTTP where TLS is expected.
    LoopbackSocket plain(true);
    std::thread server = answerOnce(plain.fd(), "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(post(plain.url("https"), 0, &error), SEC_E_ILLEGAL_MESSAGE) << error;
    server.join();
  }
  {
    HttpTarget target;
    target.unixSocket = "/nonexistent/omserver.sock";
    HttpClient client(target);
    HttpResult result;
    EXPECT_EQ(client.post({}, "", 0, &result, &error), HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)) << error;
    EXPECT_NE(error.find("unix:/nonexistent/omserver.sock"), std::string::npos) << error;
  }
}

TEST(HttpClientTest, ARepliedStatusIsTheServersAnswer) {
  LoopbackSocket server(true);
  std::thread answer = answerOnce(server.fd(),
                                  "HTTP/1.1 400 Bad Request\r\nCIMError: request-not-valid\r\n"
                                  "Content-Length: 3\r\n\r\nbad");
  HttpTarget target;
  target.url = server.url("http");
  HttpClient client(target);
  HttpResult result;
  std::string error;
  ASSERT_EQ(client.post({"CIMOperation: MethodCall"}, "<CIM/>", 0, &result, &error), WBEM_S_NO_ERROR) << error;
  answer.join();
  EXPECT_EQ(result.status, 400);
  EXPECT_EQ(result.cimError, "request-not-valid");
  EXPECT_EQ(result.body, "bad");
}

TEST(RemoteProtocolTest, ContextValuesCrossWithTheirTypes) {
  CComPtr<IWbemContext> context;
  context.Attach(new om::wmi::WbemContext);
  CComVariant number(-42L), flag(true), text(u"サブネット \"x\"");
  context->SetValue(u"NodeTypeKind", 0, &number);
  context->SetValue(u"Silent", 0, &flag);
  context->SetValue(u"SubnetName", 0, &text);

  std::vector<om::wmi::cimxml::ParamValue> params(1);
  params[0].name = u"Path";
  params[0].type = CIM_STRING;
  params[0].value = CComVariant(u"a");
  ASSERT_EQ(om::wmi::remote::appendContext(context, &params), WBEM_S_NO_ERROR);
  ASSERT_EQ(params.size(), 4u);

  CComPtr<IWbemContext> received;
  ASSERT_EQ(om::wmi::remote::takeContext(&params, &received), WBEM_S_NO_ERROR);
  ASSERT_EQ(params.size(), 1u);  // the method's own parameter stays
  EXPECT_EQ(params[0].name, u"Path");
  for (const auto& [name, sent] : {std::pair{u"NodeTypeKind", number}, {u"Silent", flag}, {u"SubnetName", text}}) {
    CComVariant value;
    ASSERT_EQ(received->GetValue(name, 0, &value), WBEM_S_NO_ERROR);
    EXPECT_EQ(value, sent);
  }
}

TEST(RemoteProtocolTest, RefusesValuesThatCannotCross) {
  CComPtr<IWbemContext> context;
  context.Attach(new om::wmi::WbemContext);
  CComVariant real(1.5);
  context->SetValue(u"Ratio", 0, &real);
  std::vector<om::wmi::cimxml::ParamValue> params;
  EXPECT_EQ(om::wmi::remote::appendContext(context, &params), WBEM_E_INVALID_CONTEXT);

  for (const char16_t* bad : {u"i4:12x", u"i4:99999999999", u"bool:yes", u"x:1", u"i4:"}) {
    std::vector<om::wmi::cimxml::ParamValue> sent(1);
    sent[0].name = u"__Context.Bad";
    sent[0].type = CIM_STRING;
    sent[0].value = CComVariant(bad);
    CComPtr<IWbemContext> received;
    EXPECT_EQ(om::wmi::remote::takeContext(&sent, &received), WBEM_E_INVALID_CONTEXT);
  }
}

}  // namespace

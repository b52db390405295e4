// icmp6ping and the IP helper library without a network: the request data,
// the defaults, the reply text, the library's contracts as loaded at run
// time, and a process in which the library is absent.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "core/sain6.h"
#include "probe/icmp6ping.h"
#include "probe/ihadll.h"

namespace {

class Icmp6Probe : public icmp6ping {
 public:
  using icmp6ping::makeRequestData;
};

TEST(Icmp6Ping, PaddingRequestDataAndDefaults) {
  const std::string padding = "Velmoran Systems Co ICMP6 Echo Request/Reply \"PING6\" for Orva Manager...";
  icmp6ping p;
  const std::vector<BYTE>& data = p.getRequestData();
  ASSERT_EQ(data.size(), 2048u);
  // 100 bytes: the text once in full, then its first 28 characters.
  EXPECT_EQ(std::string(data.begin(), data.begin() + 100), padding + padding.substr(0, 28));
  // 2048 = 28 * 72 + 32: the last copy is cut after 32 characters.
  EXPECT_EQ(std::string(data.end() - 32 - 72, data.end()), padding + padding.substr(0, 32));
  EXPECT_EQ(p.getTimeout(), 3000u);
  EXPECT_EQ(p.getRetryCount(), 1u);
  EXPECT_EQ(p.getRequestSize(), 32);
  EXPECT_EQ(p.getLastError(), 0u);
  const IP_OPTION_INFORMATION& option = p.getOption();
  EXPECT_EQ(option.Ttl + option.Tos + option.Flags + option.OptionsSize, 0);
  EXPECT_EQ(option.OptionsData, nullptr);
  EXPECT_EQ(p.getReplyData()->Status, 0u);
  EXPECT_TRUE(p.ok()) << "libiphlpapi.so was built with the probes and should load";
}

TEST(Icmp6Ping, ClearRestoresTheDefaultsAndCopiesHaveTheirOwnHandle) {
  icmp6ping p;
  p.setTimeout(10);
  p.setRetryCount(7);
  p.setRequestSize(100);
  IP_OPTION_INFORMATION option{};
  option.Ttl = 3;
  p.setOption(option);
  icmp6ping copy(p);
  EXPECT_EQ(copy.getTimeout(), 10u);
  EXPECT_EQ(copy.getRetryCount(), 7u);
  EXPECT_EQ(copy.getRequestSize(), 100);
  EXPECT_EQ(copy.getOption().Ttl, 3);
  EXPECT_TRUE(copy.ok());
  p.clear();
  EXPECT_TRUE(p.ok());
  EXPECT_EQ(p.getTimeout(), 3000u);
  EXPECT_EQ(p.getRetryCount(), 1u);
  EXPECT_EQ(p.getRequestSize(), 32);
  EXPECT_EQ(p.getOption().Ttl, 0);
  p.close();
  EXPECT_FALSE(p.ok());
  EXPECT_TRUE(copy.ok());  // closing one handle leaves the other
  EXPECT_TRUE(p.create());
}

TEST(Icmp6Ping, ReplyText) {
  const char data[] = "ABCDEFGHIJKLMNOPQRST";
  icmp_echo_reply reply{};
  reply.Address = inet_addr("10.0.0.1");
  reply.Status = 11010;
  reply.RoundTripTime = 12;
  reply.DataSize = 20;
  reply.Data = const_cast<char*>(data);
  reply.Options.Ttl = 64;
  reply.Options.Tos = 16;
  reply.Options.OptionsSize = 0;
  EXPECT_EQ(IcmpEchoReplyString(reply, 3),
            "*** ICMP_ECHO_REPLY(3) ***\n"
            "Addrress: a:0:0:1\n"
            "Status: 11010(0x00002b02)\n"
            "RoundTripTime: 12\n"
            "DataSize: 20\n"
            "IP OPTIONS...  Ttl: 64, Tos: 16, OptionsSize: 0\n"
            "dumping...\n"
            "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50\n"
            "51 52 53 54\n");
  reply.Data = nullptr;  // nothing to dump
  const tstring text = IcmpEchoReplyString(reply, 0);
  EXPECT_EQ(text.substr(text.size() - 59), "IP OPTIONS...  Ttl: 64, Tos: 16, OptionsSize: 0\ndumping...\n");
}

TEST(Icmp6Ping, UnresolvableDestinationGivesTheResolverError) {
  // An empty label: the resolver refuses the name without asking any server.
  icmp6ping p;
  EXPECT_FALSE(p.ping6(tstring("no-such-host..invalid")));
  WSADATA session;
  ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &session), 0);
  addrinfo_t direct;
  EXPECT_EQ(direct.resolve("no-such-host..invalid", AF_INET6, "0", 0, 0), 0);
  EXPECT_EQ(p.getLastError(), static_cast<DWORD>(WSAGetLastError()));
  EXPECT_NE(p.getLastError(), 0u);
  WSACleanup();
}

TEST(IpHelperLibrary, ContractsThroughTheLoader) {
  ihadll& library = ihadll::getInstance();
  ASSERT_TRUE(library.loaded());
  EXPECT_EQ(&library, &ihadll::getInstance());
  // Errors set inside the library reach the caller's last error.
  SetLastError(0);
  int bogus = 0;
  EXPECT_FALSE(library.IcmpCloseHandle(&bogus));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));

  HANDLE handle = library.Icmp6CreateFile();
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  sockaddr_in6 destination{};
  destination.sin6_family = AF_INET6;
  destination.sin6_addr.s6_bytes[15] = 1;
  char request[8] = "abcdefg";
  BYTE reply[sizeof(ICMPV6_ECHO_REPLY) + 8 + 8];
  // Room for the record, the request and 8 bytes more, or IP_BUF_TOO_SMALL.
  EXPECT_EQ(library.Icmp6SendEcho2(handle, nullptr, nullptr, nullptr, nullptr, &destination, request, 8, nullptr,
                                   reply, sizeof reply - 1, 100),
            0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(IP_BUF_TOO_SMALL));
  // Only the synchronous form.
  EXPECT_EQ(library.Icmp6SendEcho2(handle, handle, nullptr, nullptr, nullptr, &destination, request, 8, nullptr, reply,
                                   sizeof reply, 100),
            0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  // An IPv4 destination is not one.
  destination.sin6_family = AF_INET;
  EXPECT_EQ(library.Icmp6SendEcho2(handle, nullptr, nullptr, nullptr, nullptr, &destination, request, 8, nullptr, reply,
                                   sizeof reply, 100),
            0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(library.IcmpCloseHandle(handle));
  // A closed handle is no longer one.
  EXPECT_FALSE(library.IcmpCloseHandle(handle));
  EXPECT_EQ(library.Icmp6SendEcho2(handle, nullptr, nullptr, nullptr, nullptr, &destination, request, 8, nullptr,
                                   reply, sizeof reply, 100),
            0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(IpHelperLibraryDeathTest, AbsentLibraryFailsCleanly) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // A fresh process whose loader is pointed at a file that does not exist.
  EXPECT_EXIT(
      {
        setenv("OMLIB_IPHLPAPI", "/nonexistent/libiphlpapi.so", 1);
        icmp6ping p;
        sockaddr_in6 destination{};
        destination.sin6_family = AF_INET6;
        const bool ok = !p.ok() && p.getLastError() == ERROR_MOD_NOT_FOUND && !p.create() &&
                        !ihadll::getInstance().loaded() && !p.ping6(destination) &&
                        p.getLastError() == ERROR_MOD_NOT_FOUND;
        std::exit(ok ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace

// icmp6ping: ICMPv6 echo requests through the IP helper library (ihadll),
// with retries, and the text form of an echo reply record.
#ifndef OMLIB_PROBE_ICMP6PING_H_
#define OMLIB_PROBE_ICMP6PING_H_

#include <vector>

#include <icmpapi.h>
#include <omtools/tstring.h>
#include <ws2tcpip.h>

// Holds one ICMPv6 handle of the IP helper library and sends echo requests
// on it. Used by one thread at a time; copies get a handle of their own.
class icmp6ping {
 public:
  // The text that fills the request data, repeated and cut to fit (72
  // characters).
  static const char m_cszPadding[];
  // The size of the request data and of the reply buffer.
  static constexpr int kBufferSize = 2048;

  // Defaults: 3000 ms time-out, 1 retry, 32 bytes; creates the handle.
  icmp6ping();
  icmp6ping(const icmp6ping& other);
  icmp6ping& operator=(const icmp6ping& other);
  virtual ~icmp6ping();

  // Creates the handle unless one is held; false (with the library's error
  // as last error) when that fails, as without the library.
  bool create();
  bool ok() const { return m_handle != INVALID_HANDLE_VALUE; }
  void close();
  // Back to the defaults with an empty reply, no option and no error; the
  // handle is kept.
  void clear();

  DWORD getTimeout() const { return m_timeout; }
  void setTimeout(DWORD milliseconds) { m_timeout = milliseconds; }
  // The requests sent after the first fails.
  DWORD getRetryCount() const { return m_retryCount; }
  void setRetryCount(DWORD count) { m_retryCount = count; }
  // Bytes of the request data sent (at most kBufferSize).
  WORD getRequestSize() const { return m_requestSize; }
  void setRequestSize(WORD size) { m_requestSize = size; }
  const IP_OPTION_INFORMATION& getOption() const { return m_option; }
  void setOption(const IP_OPTION_INFORMATION& option) { m_option = option; }
  // The reply buffer, viewed as the echo reply record the class has always
  // handed out. What Icmp6SendEcho2 writes there is an ICMPV6_ECHO_REPLY
  // followed by the reply data: getReply6 gives that record.
  const icmp_echo_reply* getReplyData() const { return reinterpret_cast<const icmp_echo_reply*>(m_reply.data()); }
  const ICMPV6_ECHO_REPLY* getReply6() const { return reinterpret_cast<const ICMPV6_ECHO_REPLY*>(m_reply.data()); }
  const std::vector<BYTE>& getRequestData() const { return m_request; }
  DWORD getLastError() const { return m_lastError; }

  // Resolves `destination` as an IPv6 host and pings its first address;
  // false with the resolver's error when it does not resolve.
  bool ping6(const tstring& destination);
  // Sends up to retry count + 1 requests until one is answered (an echo
  // reply or an ICMPv6 error: the reply's status tells which). False with
  // the last error when none was.
  bool ping6(const sockaddr_in6& destination);

 protected:
  // Fills the request data with the padding text.
  void makeRequestData();

 private:
  void copySettings(const icmp6ping& other);

  IP_OPTION_INFORMATION m_option;
  std::vector<BYTE> m_reply;
  std::vector<BYTE> m_request;
  DWORD m_timeout;
  DWORD m_retryCount;
  WORD m_requestSize;
  HANDLE m_handle;  // owned; INVALID_HANDLE_VALUE when none
  DWORD m_lastError;
};

// The reply record as text: address, status, round trip, data size, IP
// options and a dump of the data; `index` numbers the record.
tstring IcmpEchoReplyString(const icmp_echo_reply& reply, int index);

#endif  // OMLIB_PROBE_ICMP6PING_H_

// OrvaPing: ICMP echo over a raw IPv4 socket in three modes (ping, trace
// route, path ping), with PingResult records, text lines and listeners that
// watch and cancel a run.
#ifndef OMLIB_PROBE_ORVAPING_H_
#define OMLIB_PROBE_ORVAPING_H_

#include <memory>
#include <vector>

#include <omtools/tstring.h>
#include <winsock2.h>

// One received datagram, or one event (a failure), of a probe run.
class PingResult {
 public:
  // Which fields hold a value.
  enum Flags { kTime = 4, kDestination = 8, kType = 16, kMessage = 32, kErrorCode = 128 };

  PingResult() { clear(); }
  PingResult(const PingResult& other) { copyIn(other); }
  PingResult& operator=(const PingResult& other) {
    copyIn(other);
    return *this;
  }
  virtual ~PingResult() = default;

  void copyIn(const PingResult& other);
  void clear();
  // True when no field holds a value.
  bool empty() const { return m_flags == 0; }
  // Field by field in declaration order: -1, 0 or 1.
  int compare(const PingResult& other) const;
  bool operator==(const PingResult& other) const { return compare(other) == 0; }

  // The text of an ICMP type and code (the table of ICMP messages; an unknown
  // type gives ""), and that of this result.
  static tstring toTypeString(int type, int code);
  tstring toTypeString() const { return toTypeString(m_type, m_code); }
  // The fields that hold a value, for diagnostics.
  tstring toString() const;

  int getFlags() const { return m_flags; }
  IN_ADDR getSource() const { return m_source; }
  void setSource(IN_ADDR source) { m_source = source; }
  IN_ADDR getDestination() const { return m_destination; }
  void setDestination(IN_ADDR destination);
  int getSize() const { return m_size; }
  void setSize(int size) { m_size = size; }
  long getTime() const { return m_time; }
  void setTime(long milliseconds);
  int getType() const { return m_type; }
  int getCode() const { return m_code; }
  void setTypeAndCode(int type, int code);
  const tstring& getMessage() const { return m_message; }
  void setMessage(const tstring& message);
  int getErrorCode() const { return m_errorCode; }
  void setErrorCode(int code);

 private:
  int m_flags;
  IN_ADDR m_source;
  IN_ADDR m_destination;
  int m_size;  // bytes of the ICMP message
  long m_time;  // round trip in milliseconds
  int m_type;
  int m_code;
  tstring m_message;
  int m_errorCode;  // type << 16 | code, -1 for a short datagram, or a socket error
};

// Watches a run. Not owned by the OrvaPing it is added to.
class OrvaPingListener {
 public:
  // Called before every receive with 0; false cancels the run.
  virtual bool notify(int reason) = 0;
  // Each text line, as the run adds it.
  virtual void message(const tstring& text) = 0;
  virtual ~OrvaPingListener() = default;
};

// Sends ICMP echo requests to a destination and reports what comes back.
// A run (GoAhead) blocks the calling thread; listeners are asked before each
// receive and are the only way to cancel it. Requests are numbered by the
// process-wide sequencer. A failure ends the run with false after adding a
// line and a PingResult that carry its error, which getLastError() gives too.
// An object is used by one thread at a time.
class OrvaPing {
 public:
  enum CmdMode { kPing = 0, kTraceRoute = 1, kPathPing = 2 };

  // The text that fills the data of each request, repeated and cut to fit.
  static const char kPadding[];
  // The most data bytes a request carries, and the size of the send and
  // receive buffers.
  static constexpr int kMaxData = 1024;
  static constexpr int kBufferSize = 1056;

  explicit OrvaPing(bool debug = false);
  OrvaPing(const tstring& destination, const tstring& mask, bool debug = false);
  // Copies the settings (not the results, lines or listeners).
  OrvaPing(const OrvaPing& other);
  OrvaPing& operator=(const OrvaPing& other);
  virtual ~OrvaPing() = default;

  void setPingMode() { m_mode = kPing; }
  void setTraceRouteMode() { m_mode = kTraceRoute; }
  void setPathPingMode() { m_mode = kPathPing; }
  CmdMode getCmdMode() const { return m_mode; }
  // In debug mode the lines carry the decoded reply instead of the short line.
  void setDebugMode(bool debug) { m_debug = debug; }
  bool isDebugMode() const { return m_debug; }

  const tstring& getMask() const { return m_Mask; }
  void setMask(const tstring& mask) { m_Mask = mask; }
  // A host name or a dotted IPv4 address.
  const tstring& getDestination() const { return m_Destination; }
  void setDestination(const tstring& destination) { m_Destination = destination; }
  BYTE getTTL() const { return m_TTL; }
  void setTTL(BYTE ttl) { m_TTL = ttl; }
  // Milliseconds: the wait for each reply, and the socket's send and
  // receive time-outs.
  int getTimeout() const { return m_Timeout; }
  void setTimeout(int milliseconds) { m_Timeout = milliseconds; }
  // The echo requests of a ping.
  int getRetryCount() const { return m_RetryCount; }
  void setRetryCount(int count) { m_RetryCount = count; }
  // Milliseconds slept after each request of a ping when above 0.
  int getInterval() const { return m_Interval; }
  void setInterval(int milliseconds) { m_Interval = milliseconds; }
  int getMaxHop() const { return m_MaxHop; }
  void setMaxHop(int hops) { m_MaxHop = hops; }
  // A trace route ends at the first hop from which no reply came.
  bool getImmediateEnd() const { return m_ImmediateEnd; }
  void setImmediateEnd(bool on) { m_ImmediateEnd = on; }
  // Probes per hop of a trace route; the first reply ends the hop.
  int getQueries() const { return m_Queries; }
  void setQueries(int queries) { m_Queries = queries; }
  // The requested ICMP data size: the data carried is 4 bytes less (the
  // send time takes them), at most kMaxData.
  int getDataSize() const { return m_DataSize; }
  void setDataSize(int size) { m_DataSize = size; }

  // The records and text lines of the last run, in order.
  const std::vector<PingResult>& getResults() const { return m_results; }
  const std::vector<tstring>& getLines() const { return m_lines; }
  // The last socket error (a Winsock number).
  int getLastError() const { return m_lastError; }
  // The requests sent and answered by the last ping (of a path ping: its
  // last hop), also when it was cancelled.
  int getSent() const { return m_sent; }
  int getReceived() const { return m_received; }

  void addListener(OrvaPingListener* listener);
  void removeListener(OrvaPingListener* listener);
  void clearListeners() { m_listeners.clear(); }

  // Starts Windows Sockets, resolves the destination and runs the selected
  // mode; false when the run failed or was cancelled. Results and lines
  // start afresh.
  bool GoAhead();
  // The bodies of the modes, for a started and resolved destination.
  bool GoAheadPing();
  // Appends the responder of each hop to `path`.
  bool GoAheadTraceRoute(std::vector<IN_ADDR>& path);
  bool GoAheadPathPing();

  // The lines, each ended by "\r\n".
  tstring toString() const;
  // Passes a text line to the listeners.
  void callListener(const tstring& text);

  // The summary of a ping: "reply from %s: Lost=%d / Sent=%d := %d%%", the
  // percentage truncated.
  static tstring lossLine(const tstring& destination, int sent, int received);

 protected:
  bool startup();
  void cleanup();
  // A raw ICMP socket with the time-outs and `ttl`; INVALID_SOCKET (and a
  // line) on failure.
  SOCKET open(BYTE ttl);
  void close(SOCKET s);
  // Resolves the destination into its address.
  bool setDest();
  // Sends the request of `size` bytes to `target`. A failed send always
  // adds its line ("sendto failed") and result, since every failure of a
  // run does; `report` adds the line of a successful send. A send that
  // would still block after 10 tries fails without a line.
  bool sendicmp(SOCKET s, IN_ADDR target, const char* packet, int size, bool report);
  // Receives the next datagram that answers the request `id`/`sequence`:
  // its byte count, or -1 with the socket error (WSAETIMEDOUT at the
  // deadline).
  int recvicmp(SOCKET s, USHORT id, USHORT sequence, char* buffer, SOCKADDR_IN& from);
  // Waits until data is there (true) or the deadline passes (false).
  bool CheckTimeout(SOCKET s, DWORD deadline);
  static USHORT calcChecksum(const void* data, int size);
  // Builds the echo request (header, send time, data) into `packet` and
  // returns its size.
  int setIcmpData(char* packet) const;
  // The identifier and sequence number of the echo request quoted by the
  // ICMP error message `icmp`; false when it quotes none.
  static bool getReference(const char* icmp, int length, USHORT& id, USHORT& sequence);
  // Adds the PingResult and line of a received datagram (`hop` 0 in a
  // ping); returns its ICMP type, -1 for a datagram too short to read.
  int stockResult(const char* datagram, int bytes, int hop);
  tstring getPrintableDest() const;
  bool blocking(SOCKET s, bool on);
  bool IsRemainData(SOCKET s);
  int getMaxSize() const { return kBufferSize; }

  // Adds a line (and passes it to the listeners).
  void addLine(const tstring& text);
  // Adds a failure: a PingResult with the message and the error, and its line.
  void addFailure(const tstring& text, int error);

 private:
  void copySettings(const OrvaPing& other);
  // The zeroed packet and reply buffers of a run; false, with the last
  // error 14 (not enough storage) and its failure, when they cannot be had.
  bool allocate(std::unique_ptr<char[]>& packet, std::unique_ptr<char[]>& reply);
  bool askListeners();
  // Sets the sequence number, the send time and the checksum.
  static void stamp(char* packet, int size, USHORT sequence);
  bool ping(IN_ADDR target, bool report);
  // One hop of a trace route: its IP status (11013 to go on).
  ULONG traceHop(int hop, char* packet, int size, char* reply, std::vector<IN_ADDR>& path);

  CmdMode m_mode;
  bool m_debug;
  tstring m_Mask;
  tstring m_Destination;
  BYTE m_TTL;
  int m_Timeout;
  int m_RetryCount;
  int m_Interval;
  int m_MaxHop;
  bool m_ImmediateEnd;
  int m_Queries;
  int m_DataSize;

  IN_ADDR m_destAddr;
  std::vector<PingResult> m_results;
  std::vector<tstring> m_lines;
  std::vector<OrvaPingListener*> m_listeners;  // not owned
  int m_lastError;
  int m_sent;
  int m_received;
};

#endif  // OMLIB_PROBE_ORVAPING_H_

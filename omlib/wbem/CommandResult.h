// CommandResult: what a console command sent to the server gives back, a
// result code and a message. Serialisable (archive class "CommandResult")
// where results are stored: the code as a 32-bit word, then the message as an
// archived CString.
#ifndef OMLIB_WBEM_COMMANDRESULT_H_
#define OMLIB_WBEM_COMMANDRESULT_H_

#include <afx.h>
#include <omtools/tstring.h>

#include "model/RecordFields.h"

class CommandResult : public CObject {
  DECLARE_SERIAL(CommandResult)

 public:
  // The codes that the setters below store; setNG stores any code it is given.
  enum ResultCode : DWORD {
    RESULT_OK = 0,
    RESULT_NOT_FOUND = 2,
    RESULT_INVALID_PARAMETER = 3,
    RESULT_MOVE_FAILURE = 4,
    RESULT_RENAME_FAILURE = 5,
    RESULT_RUNNING = 6,
    RESULT_NOT_RUNNING = 7,
    RESULT_SNMP_ERROR = 8,
    RESULT_GET_CHILDREN = 9,
  };

  // Code 0 with an empty message.
  CommandResult() = default;
  CommandResult(const CommandResult& other);
  const CommandResult& operator=(const CommandResult& other);

  DWORD getCode() const { return code_; }
  void setCode(DWORD code) { code_ = code; }
  const tstring& getMsg() const { return msg_; }
  void setMsg(const tstring& msg) { msg_ = msg; }
  bool isOK() const { return code_ == RESULT_OK; }
  // Takes the code and message of `other`.
  void copyIn(const CommandResult& other);

  // "OK", code 0.
  void setOK();
  // "NG" with the given code.
  void setNG(DWORD code);
  // "<name> was not found.", code 2.
  void setNotFound(const tstring& name);
  // "Invaid Parameter.", code 3; the spelling is what clients match on.
  void setInvalidParameter();
  // Code 4 and code 5; an empty argument is written as "null".
  void setMoveFailure(const tstring& target, const tstring& srcParent, const tstring& destParent);
  void setRenameFailure(const tstring& target, const tstring& newName);
  // The text given, code 6 or 7.
  void setRunning(const tstring& text);
  void setNotRunning(const tstring& text);
  // "SNMP error happens. code = <status>", code 8.
  void setSnmp(int errorStatus);
  // Code 9 only: the message is left as it was, and the name is not used.
  void setGetChildren(const tstring& name);

  // "<message>: code = <code as 8 hexadecimal digits>".
  tstring toString() const;

  void Serialize(CArchive& ar) override;

  // code and message, for dumps.
  om::RecordFields describeFields() const;

 private:
  DWORD code_ = RESULT_OK;
  tstring msg_;
};

#endif  // OMLIB_WBEM_COMMANDRESULT_H_

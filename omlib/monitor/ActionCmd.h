// CActionCommand: something the system does when an event is logged: run a
// custom command line, or one of the built-in actions (pop-up, beep, sound,
// companion applications, mail, trap forwarding, path test). Its persistent
// form is SerializableActionCommand (model/SerializableAC.h).
#ifndef OMLIB_MONITOR_ACTIONCMD_H_
#define OMLIB_MONITOR_ACTIONCMD_H_

#include <omtools/tstring.h>

#include "model/ActionCommandType.h"
#include "model/RecordFields.h"

// The command text holds a built-in type as decimal text ("1" to "10"), or a
// custom command line (type 0). Types 1 to 7 are carried out by a client, the
// others on the server.
class CActionCommand {
 public:
  enum {
    TYPE_CUSTOM = 0,
    TYPE_POPUP = 1,
    TYPE_BEEP = 2,
    TYPE_WAVE_SOUND = 3,
    TYPE_DEVICE_MANAGER = 4,
    TYPE_MIB_BROWSER = 5,
    TYPE_TELNET_CONSOLE = 6,
    TYPE_TFTP_CLIENT = 7,
    TYPE_SEND_MAIL = 8,
    TYPE_FORWARD_TRAP = 9,
    TYPE_PATH_TEST = 10,
  };

  // Id 0, client side, every text empty.
  CActionCommand() = default;
  CActionCommand(const CActionCommand& other) = default;
  virtual ~CActionCommand() = default;

  CActionCommand& operator=(const CActionCommand& other) = default;

  int getId() const { return id_; }
  void setId(int id) { id_ = id; }
  bool isServerSide() const { return serverSide_; }
  void setServerSide(bool serverSide) { serverSide_ = serverSide; }
  const tstring& getParam() const { return param_; }
  void setParam(const tstring& param) { param_ = param; }
  const tstring& getDescription() const { return description_; }
  void setDescription(const tstring& description) { description_ = description; }

  // The raw command text, whatever the type.
  const tstring& getCommandEntity() const { return command_; }
  void setCommandEntity(const tstring& command) { command_ = command; }
  void setCommand(const tstring& command) { command_ = command; }

  // The command text read as a decimal number; 0 for a command line that
  // does not begin with digits.
  int getCommandType() const { return om::commandTypeOf(command_.c_str()); }
  // The command line of a custom command; "" for a built-in type.
  tstring getCommand() const { return getCommandType() == TYPE_CUSTOM ? command_ : tstring(); }
  // A type other than 0 becomes the command text, and the command runs where
  // that type runs by default. Type 0 makes the command server-side and keeps
  // its text, so that switching to a custom command keeps what was there.
  void setCommandType(int type);

  // Where a type runs by default: false (a client) for 1 to 7, true for 0 and
  // every other number.
  static bool getDefaultServerSide(int type);
  // The type's name and description from the string table; "" for a number
  // that is not a type.
  static tstring getDefaultActionName(int type);
  static tstring getDefaultDescription(int type);
  // The same for this command's own type.
  tstring getActionName() const { return getDefaultActionName(getCommandType()); }
  tstring getDefaultDescription() const { return getDefaultDescription(getCommandType()); }

  // True when the id is 0 or the command text is empty.
  bool empty() const { return id_ == 0 || command_.empty(); }
  // This id minus the other's.
  int compare(const CActionCommand& other) const;

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

 protected:
  // Copies every field; on a derived object only these.
  void copyIn(const CActionCommand& other) { CActionCommand::operator=(other); }

 private:
  int id_ = 0;
  bool serverSide_ = false;
  tstring command_;
  tstring param_;
  tstring description_;
};

#endif  // OMLIB_MONITOR_ACTIONCMD_H_

// SerializableActionCommand: the persistent form of an action command
// (CActionCommand) in MFC archives, registered as
// "SerializableActionCommand", schema 1.
#ifndef OMLIB_MODEL_SERIALIZABLEAC_H_
#define OMLIB_MODEL_SERIALIZABLEAC_H_

#include <afx.h>

#include "model/FieldWriter.h"

class CActionCommand;

// Holds an action command's values with CString texts and the server-side
// flag as an int.
//
// Archive form (Serialize): id, serverSide (ints); command, param,
// description (strings). Every schema is read with this one layout.
//
// The conversions with CActionCommand (copyIn, copyTo) use only its inline
// members (monitor/ActionCmd.h), so this library links on its own.
class SerializableActionCommand : public CObject {
  DECLARE_SERIAL(SerializableActionCommand)
 public:
  SerializableActionCommand() = default;
  SerializableActionCommand(const SerializableActionCommand& other);
  ~SerializableActionCommand() override = default;

  SerializableActionCommand& operator=(const SerializableActionCommand& other);
  void copyIn(const SerializableActionCommand& other);

  // From an action command: id, server side as 1 or 0, the command from its
  // getCommand() (the command line of a custom command, empty for a built-in
  // type: callers record the type with setCommandType), param, description.
  void copyIn(const CActionCommand& command);
  // To an action command: id, server side when serverSide is not 0, the
  // command text as it is, param, description.
  void copyTo(CActionCommand& command) const;

  void Serialize(CArchive& ar) override;

  // The command text read as a decimal number (atoi); 0 when it is not one.
  int getCommandType() const;
  // Type 0 sets serverSide to 1 and keeps the command text. Any other type
  // becomes the command text ("%d"), with serverSide 0 for types 1 to 7 and
  // 1 for every other type.
  void setCommandType(int type);

  // Every field by name, in declared order, for dumps.
  om::RecordFields describeFields() const;

  int getId() const { return f_.id; }
  void setId(int id) { f_.id = id; }
  int IsServerSide() const { return f_.serverSide; }
  void setServerSide(int serverSide) { f_.serverSide = serverSide; }
  const CString& getCommand() const { return f_.command; }
  void setCommand(const CString& command) { f_.command = command; }
  const CString& getParam() const { return f_.param; }
  void setParam(const CString& param) { f_.param = param; }
  const CString& getDescription() const { return f_.description; }
  void setDescription(const CString& description) { f_.description = description; }

 private:
  // The values, in declared order; copied as a whole.
  struct Fields {
    int id = 0;
    int serverSide = 0;
    CString command;
    CString param;
    CString description;
  };

  Fields f_;
};

#endif  // OMLIB_MODEL_SERIALIZABLEAC_H_

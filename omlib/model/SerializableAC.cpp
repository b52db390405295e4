#include "model/SerializableAC.h"

#include "model/ActionCommandType.h"
#include "model/ArchiveFields.h"
#include "model/CStringUtil.h"
#include "model/FieldWriter.h"
#include "monitor/ActionCmd.h"

// Versionable: archives of other schemas load with the same layout.
IMPLEMENT_SERIAL(SerializableActionCommand, CObject, VERSIONABLE_SCHEMA | 1)

SerializableActionCommand::SerializableActionCommand(const SerializableActionCommand& other)
    : CObject(), f_(other.f_) {}

SerializableActionCommand& SerializableActionCommand::operator=(const SerializableActionCommand& other) {
  copyIn(other);
  return *this;
}

void SerializableActionCommand::copyIn(const SerializableActionCommand& other) { f_ = other.f_; }

void SerializableActionCommand::copyIn(const CActionCommand& command) {
  setId(command.getId());
  setServerSide(command.isServerSide() ? 1 : 0);
  setCommand(om::toCString(command.getCommand()));
  setParam(om::toCString(command.getParam()));
  setDescription(om::toCString(command.getDescription()));
}

void SerializableActionCommand::copyTo(CActionCommand& command) const {
  command.setId(getId());
  command.setServerSide(IsServerSide() != 0);
  command.setCommand(om::toStdString(getCommand()));
  command.setParam(om::toStdString(getParam()));
  command.setDescription(om::toStdString(getDescription()));
}

void SerializableActionCommand::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(f_.id)(f_.serverSide)(f_.command)(f_.param)(f_.description);
}

int SerializableActionCommand::getCommandType() const { return om::commandTypeOf(f_.command); }

void SerializableActionCommand::setCommandType(int type) {
  if (type != 0) f_.command.Format("%d", type);
  f_.serverSide = om::isServerSideCommandType(type) ? 1 : 0;
}

om::RecordFields SerializableActionCommand::describeFields() const {
  return om::FieldWriter()
      .add("id", f_.id)
      .add("serverSide", f_.serverSide)
      .add("command", f_.command)
      .add("param", f_.param)
      .add("description", f_.description)
      .take();
}

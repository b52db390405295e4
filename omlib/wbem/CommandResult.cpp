#include "wbem/CommandResult.h"

#include "model/ArchiveFields.h"

IMPLEMENT_SERIAL(CommandResult, CObject, 1)

namespace {

const char* orNull(const tstring& text) { return text.empty() ? "null" : text.c_str(); }

}  // namespace

CommandResult::CommandResult(const CommandResult& other) : CObject() { copyIn(other); }

const CommandResult& CommandResult::operator=(const CommandResult& other) {
  if (this != &other) copyIn(other);
  return *this;
}

void CommandResult::copyIn(const CommandResult& other) {
  code_ = other.code_;
  msg_ = other.msg_;
}

void CommandResult::setOK() {
  code_ = RESULT_OK;
  msg_ = "OK";
}

void CommandResult::setNG(DWORD code) {
  code_ = code;
  msg_ = "NG";
}

void CommandResult::setNotFound(const tstring& name) {
  code_ = RESULT_NOT_FOUND;
  msg_ = name + " was not found.";
}

void CommandResult::setInvalidParameter() {
  code_ = RESULT_INVALID_PARAMETER;
  msg_ = "Invaid Parameter.";
}

void CommandResult::setMoveFailure(const tstring& target, const tstring& srcParent,
                                   const tstring& destParent) {
  code_ = RESULT_MOVE_FAILURE;
  msg_.format("Object moving failure: Target %s, src parent %s, dest parent %s", orNull(target),
              orNull(srcParent), orNull(destParent));
}

void CommandResult::setRenameFailure(const tstring& target, const tstring& newName) {
  code_ = RESULT_RENAME_FAILURE;
  msg_.format("Object renaming failure: Target %s, New name %s", orNull(target), orNull(newName));
}

void CommandResult::setRunning(const tstring& text) {
  code_ = RESULT_RUNNING;
  msg_ = text;
}

void CommandResult::setNotRunning(const tstring& text) {
  code_ = RESULT_NOT_RUNNING;
  msg_ = text;
}

void CommandResult::setSnmp(int errorStatus) {
  code_ = RESULT_SNMP_ERROR;
  msg_.format("SNMP error happens. code = %d", errorStatus);
}

void CommandResult::setGetChildren(const tstring& /*name*/) { code_ = RESULT_GET_CHILDREN; }

tstring CommandResult::toString() const {
  tstring text;
  text.format("%s: code = %08x", msg_.c_str(), code_);
  return text;
}

void CommandResult::Serialize(CArchive& ar) {
  om::ArchiveFields fields(ar);
  fields(code_)(msg_);
}

om::RecordFields CommandResult::describeFields() const {
  return {{"code", std::to_string(code_)}, {"message", msg_}};
}

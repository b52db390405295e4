#include "monitor/ActionCmd.h"

#include "model/ActionCommandType.h"
#include "model/FieldWriter.h"
#include "monitor/RecordUtil.h"

namespace {

// String-table ids of a type's name; its description follows at id + 1.
// Types 0 to 9 take every second id from 7001, the path test (10) has its
// own pair. (7021/7022, a web browser action, belong to no type.)
UINT nameTextId(int type) {
  if (type >= CActionCommand::TYPE_CUSTOM && type <= CActionCommand::TYPE_FORWARD_TRAP) {
    return 7001 + 2 * static_cast<UINT>(type);
  }
  return type == CActionCommand::TYPE_PATH_TEST ? 7087 : 0;
}

}  // namespace

void CActionCommand::setCommandType(int type) {
  if (type != TYPE_CUSTOM) command_ = std::to_string(type);
  serverSide_ = getDefaultServerSide(type);
}

bool CActionCommand::getDefaultServerSide(int type) { return om::isServerSideCommandType(type); }

tstring CActionCommand::getDefaultActionName(int type) { return om::resourceText(nameTextId(type)); }

tstring CActionCommand::getDefaultDescription(int type) {
  const UINT id = nameTextId(type);
  return om::resourceText(id == 0 ? 0 : id + 1);
}

int CActionCommand::compare(const CActionCommand& other) const { return om::difference32(id_, other.id_); }

om::RecordFields CActionCommand::describeFields() const {
  return om::FieldWriter()
      .add("id", id_)
      .add("serverSide", serverSide_)
      .add("command", command_)
      .add("param", param_)
      .add("description", description_)
      .take();
}

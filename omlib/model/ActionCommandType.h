// The rules of action command types, shared by the action command
// (monitor/ActionCmd.h) and its persistent form (SerializableAC.h): a command
// text holds a built-in type as decimal text, or a custom command line
// (type 0).
#ifndef OMLIB_MODEL_ACTIONCOMMANDTYPE_H_
#define OMLIB_MODEL_ACTIONCOMMANDTYPE_H_

#include <cstdlib>

namespace om {

// Types 1 to 7 are carried out by a client; a custom command (0) and every
// other type run on the server.
inline bool isServerSideCommandType(int type) { return type < 1 || type > 7; }

// The type a command text holds: its leading decimal number as atoi reads
// it, 0 when the text does not begin with one.
inline int commandTypeOf(const char* command) {
  return static_cast<int>(std::strtol(command, nullptr, 10));
}

}  // namespace om

#endif  // OMLIB_MODEL_ACTIONCOMMANDTYPE_H_

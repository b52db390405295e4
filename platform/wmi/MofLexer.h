// The tokens of MOF text: names, string and character literals (escapes
// resolved), integers, reals and punctuation, with their line numbers.
// Comments (// and /* */) and white space are skipped.
#ifndef OM_PLATFORM_WMI_MOFLEXER_H_
#define OM_PLATFORM_WMI_MOFLEXER_H_

#include <string>
#include <string_view>
#include <vector>

namespace om::wmi {

struct MofToken {
  enum class Kind { kName, kString, kChar, kInteger, kReal, kPunct, kEnd };

  Kind kind = Kind::kEnd;
  std::u16string text;  // the name, the literal's value, the number's text or the punctuation
  int line = 0;
};

// Splits `text` into tokens ending with a kEnd token. False, with `error`
// and `errorLine` set, for an unterminated string, character or comment, a
// bad escape or a character MOF does not use.
bool tokenizeMof(std::u16string_view text, std::vector<MofToken>* tokens, std::string* error, int* errorLine);

}  // namespace om::wmi

#endif  // OM_PLATFORM_WMI_MOFLEXER_H_

// The words of a custom action command, as the program receives them: the
// command text and the parameter text are split into words without a shell,
// then the placeholders in each word are replaced with fields of the log
// record that set the action off.
//
// Words are separated by spaces and tabs. A part in double or single quotes
// belongs to the word it touches and keeps its spaces, its other kind of
// quote and everything else as written ('say "hi"' is the one word
// say "hi"); "" is an empty word. There are no escapes: quote a quote with
// the other kind. No character is special otherwise ($, ;, |, > and *
// reach the program as they are).
//
// Placeholders (replaced after splitting, so a field with spaces stays one
// word; a field's own text is never looked at again):
//   %identifier%  the record's identifier       %type%     its log type (number)
//   %time%        its time, local, "YYYY-MM-DD HH:MM:SS"
//   %level%       its level (number)            %subtype%  its subtype (number)
//   %target%      the target's kind (number)    %name%     the target's internal name
//   %display%     the target's display name     %address%  the target's address
//   %oid%         the target's sysObjectID      %message%  the record's message
//   %%            one %
// Any other %...% stays as written.
#ifndef OM_SERVER_ACTIONS_COMMANDLINE_H_
#define OM_SERVER_ACTIONS_COMMANDLINE_H_

#include <string>
#include <string_view>
#include <vector>

#include "monitor/log.h"

namespace om::server {

// Appends the words of `text` to `words`; false when a quote is not closed
// (then `words` is left as it was).
bool splitWords(std::string_view text, std::vector<std::string>& words);

// `word` with its placeholders replaced by the record's fields.
std::string expandPlaceholders(std::string_view word, const CLogObject& record);

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_COMMANDLINE_H_

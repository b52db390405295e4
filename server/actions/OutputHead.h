// OutputHead: the first lines of what a program writes, as it arrives in
// pieces: at most a number of lines, each cut to at most a number of bytes
// (never inside a UTF-8 character); the rest is dropped. A NUL byte becomes
// a space, so that a line is one C string.
#ifndef OM_SERVER_ACTIONS_OUTPUTHEAD_H_
#define OM_SERVER_ACTIONS_OUTPUTHEAD_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace om::server {

class OutputHead {
 public:
  OutputHead(size_t maxLines, size_t maxLineBytes) : maxLines_(maxLines), maxLineBytes_(maxLineBytes) {}

  // Takes the next piece of output.
  void add(std::string_view piece);
  // The lines kept, without their line ends (a carriage return before the
  // new line goes too); an unfinished last line counts as a line.
  std::vector<std::string> lines() const;
  // Whether the output went on beyond what is kept.
  bool cut() const { return cut_ || lineCut_; }

 private:
  void endLine();

  size_t maxLines_;
  size_t maxLineBytes_;
  std::vector<std::string> lines_;
  std::string line_;      // the line under way
  bool lineCut_ = false;  // bytes of the line under way were dropped
  bool cut_ = false;
};

}  // namespace om::server

#endif  // OM_SERVER_ACTIONS_OUTPUTHEAD_H_

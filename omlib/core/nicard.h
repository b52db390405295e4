// CNICard: the local machine's own IPv4 addresses, as text, with a read
// cursor.
#ifndef OMLIB_CORE_NICARD_H_
#define OMLIB_CORE_NICARD_H_

#include <vector>

#include <omtools/tstring.h>

// The addresses are those that the lookup of the local host name returns, in
// its order. The list is empty when the socket library cannot be started or
// the lookup fails.
class CNICard {
 public:
  CNICard();
  CNICard(const CNICard& other) = default;
  CNICard& operator=(const CNICard& other) = default;
  virtual ~CNICard() = default;

  int enumerate() const { return static_cast<int>(addresses_.size()); }
  bool empty() const { return addresses_.empty(); }

  bool hasMoreAddresses() const { return cursor_ < addresses_.size(); }
  // The address at the cursor, advancing it; an empty string (the cursor
  // unchanged) past the end.
  const tstring& nextAddress();
  // The address at `i`; an empty string out of range.
  const tstring& operator[](int i) const;

 private:
  void init();

  std::vector<tstring> addresses_;
  uint32_t cursor_;
};

#endif  // OMLIB_CORE_NICARD_H_

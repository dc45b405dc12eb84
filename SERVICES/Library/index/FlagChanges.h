// Changes to an item's flags, as one text.
#ifndef VELMORA_INDEX_FLAGCHANGES_H
#define VELMORA_INDEX_FLAGCHANGES_H

#include <string>
#include <string_view>

namespace velmora {

// Applies `change` to a list of flags of the form "\SEEN \FLAGGED"; true when that counts as a change.
//
// The first token of `change` ends at the first blank, every later one at the next comma: "+SEEN +FLAGGED,-RECENT" has
// three, "+SEEN,+FLAGGED" is one. Unless the first begins with "+" or "-", the list is emptied, and what follows replaces
// it; an empty `change` thus leaves it empty, and changes nothing. "+X" and "X" add "\X" unless the list has that text
// anywhere; "-X" takes "\X" out, and is a change whether it was there or not. Case does not matter, and a "\" in front of X
// may be there or not.
//
// A list that something is taken out of is put together again: runs of blanks become one, flags are cut at 255 bytes, and
// those behind the first 1,000 are dropped.
bool ApplyFlagChanges(std::string& flagStatus, std::string_view change);

}  // namespace velmora

#endif

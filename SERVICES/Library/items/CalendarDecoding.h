// A calendar object made readable: its quoted-printable values decoded.
#ifndef VELMORA_ITEMS_CALENDARDECODING_H
#define VELMORA_ITEMS_CALENDARDECODING_H

#include <string>
#include <string_view>

namespace velmora {

// A copy of a whole vCalendar text in which values of the form
//
//     SUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:Gr=C3=BC=
//      =C3=9Fe=0D=0Aan alle
//
// are decoded, every CR LF in them written as "\n", the line end and a tab:
//
//     SUMMARY;CHARSET=UTF-8:Grüße\n
//     <tab>an alle
//
// Other values are unfolded and otherwise left as they are; so is a text without ";ENCODING=QUOTED-PRINTABLE" as a whole.
// The line end is LF where the text's first one is, else CR LF. What has no ":" behind the last value is dropped.
// Kept: the parameter is taken from a name only where another one follows it; in last place it stays, in front of the
// decoded value.
std::string DecodeCalendarText(std::string_view text);

}  // namespace velmora

#endif

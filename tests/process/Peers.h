// What second processes do: the bodies that a Peer can be started with. Each stands with the tests that it is for. The
// library is loaded before a body begins.
#ifndef VELMORA_TESTS_PROCESS_PEERS_H
#define VELMORA_TESTS_PROCESS_PEERS_H

#include "tests/process/Peer.h"

namespace velmora::test {

// Answers each order with yes when it is the small letter y; prints to standard output in between.
void EchoPeer(Peer::Line& line, const std::vector<std::string>& arguments);

// Takes and gives back the block file at arguments[0] as it is told.
void HoldBlockPeer(Peer::Line& line, const std::vector<std::string>& arguments);

// Opens the inbox, gives 2.MAI the subject "theirs", saves and closes.
void SaveSubjectPeer(Peer::Line& line, const std::vector<std::string>& arguments);
// Puts 3.MAI into the folder at arguments[0] and flags it.
void DeliverPeer(Peer::Line& line, const std::vector<std::string>& arguments);
// Delivers messages named arguments[1] and a number into the inbox at arguments[0] with the direct calls; with "again" as
// arguments[2] each until it is had. Answers before it begins, and to the next order when it is done.
void DeliverDirectlyPeer(Peer::Line& line, const std::vector<std::string>& arguments);
// Knows the columns in an order of its own and writes the folder named arguments[0] in full.
void RewritePeer(Peer::Line& line, const std::vector<std::string>& arguments);
// Adds b.vcf to the contacts at arguments[0] and flags them.
void InsertContactPeer(Peer::Line& line, const std::vector<std::string>& arguments);
// Answers at once, and then adds items in transactions of their own.
void AddItemsPeer(Peer::Line& line, const std::vector<std::string>& arguments);

}  // namespace velmora::test

#endif

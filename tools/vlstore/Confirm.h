// What is deleted is asked for first.
#ifndef VLSTORE_CONFIRM_H
#define VLSTORE_CONFIRM_H

#include <string>

namespace vlstore {

// Throws Failure (usage) when nobody can be asked: standard input is no terminal.
void RequireSomebodyToAsk();
// Puts "QUESTION? [y/N] " and takes the answer from the terminal; anything but a "y" in front is no.
bool IsConfirmed(const std::string& question);

}  // namespace vlstore

#endif

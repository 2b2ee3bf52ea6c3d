// What child processes have in common that work in place of the program.
#pragma once

#include <string>

namespace gl3 {

/// Makes a process that was just forked a worker: it ends with its parent, a crash leaves no file
/// in the user's folder, and it has neither standard input nor output, which are for the program
/// alone. Standard error goes nowhere unless the user wants all to be told, or calls to be checked:
/// libraries that print before they fail must not break the promise of one line.
void BecomeWorker();

/// Writes the text and a '\0' behind it, which tells messages apart in a pipe; the text itself is
/// cut at its first one. Without a reader there is nobody to tell, and nothing happens.
void SendMessage(int descriptor, const std::string& text);

/// Takes the first whole message off what was read; false when there is none yet.
bool TakeMessage(std::string* unread, std::string* message);

}  // namespace gl3

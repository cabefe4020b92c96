// What a person at a terminal gets, and a file or another program doesn't.
#ifndef CLI_OUTPUT_TERMINAL_H_
#define CLI_OUTPUT_TERMINAL_H_

#include <cstdio>
#include <string>

namespace qrv::cli {

bool IsTerminal(FILE* stream);

enum class Emphasis { kBold, kAlarm };

// The text, emphasised where the stream is a terminal and the user has nothing against it
// (NO_COLOR).
std::string Emphasised(FILE* stream, Emphasis emphasis, const std::string& text);

// Text from outside, such as a file's name, as it can be put before a person and into a report of
// lines: valid UTF-8 without control characters.
std::string Printable(const std::string& text);

// Prints a line of such text, maybe with an emphasised start.
void PrintLine(FILE* stream, const std::string& line);
void PrintLine(FILE* stream, Emphasis emphasis, const std::string& start, const std::string& rest);

// From here on only failures are told of.
void BeQuiet();
bool IsQuiet();

// Waits, and counts the seconds down on a terminal.
void Wait(double seconds);

}  // namespace qrv::cli

#endif  // CLI_OUTPUT_TERMINAL_H_

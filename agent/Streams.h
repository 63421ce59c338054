#pragma once

#include <string_view>

// The standard streams as the agent needs them. Event thread only.
namespace Agent {

// Makes the streams fit for use; to be called before anything is opened or printed:
// - a descriptor of them that is closed is taken, so that no file gets its number; what
//   is read from it or written to it fails;
// - a reader of the results that goes is an error like any other, and no signal;
// - results are gathered and written as wholes (print()), except to a terminal.
void prepareStreams();

// Prints results to standard output: whole lines, or a whole document. Where standard
// output is a file, no SIGINT, SIGTERM or SIGHUP ends the process in the middle of
// what one call prints. What cannot be written is kept in mind: see below.
void print(std::string_view text);
// Writes out what was printed.
void flushResults();
// Prints to standard error, after the results that came before. What cannot be written
// there changes nothing else.
void printMessage(std::string_view text);

// InputError if something could not be written since the process began: nobody will see
// what else there is to print.
void requireResults();
// That error, for the number of what went wrong; 0 for nothing known.
[[noreturn]] void resultsFailed(int error);

} // namespace Agent

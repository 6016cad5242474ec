// All output that a terminal may show passes through here.
#pragma once

#include <string>

namespace vantor::tool {

/// The text with \xNN for each byte by which a file or a name could control the terminal: control characters
/// (C0, DEL and C1, line ends too) and what is not UTF-8.
std::string escapeForTerminal(const std::string& text);

/// A line on standard output, as printf() makes it, escaped.
[[gnu::format(printf, 1, 2)]] void printLine(const char* format, ...);

/// "vantor: " and a message: a line on standard error, escaped.
[[gnu::format(printf, 1, 2)]] void printMessage(const char* format, ...);

/// What a command did, in a line on standard error; nothing where --quiet was given.
void summarize(const std::string& text);

/// The same for what the user may not expect, once for each text; the command goes on.
void note(const std::string& text);

/// --quiet was given: no notes, summary lines and progress.
void setQuiet();
bool isQuiet();

/// Puts a text, escaped, in place of the one that it wrote before, in a line of standard error that has no
/// end yet.
void rewriteLine(const std::string& text);

}  // namespace vantor::tool

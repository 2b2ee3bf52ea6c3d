// Small text jobs: numbers from arguments, quoting, suggestions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gl3 {

/// The text on one line: control characters become spaces.
std::string OneLine(const std::string& text);

/// The text, or the first 300 bytes of it and "…"; characters of UTF-8 stay whole.
std::string Shortened(const std::string& text);

/// Quoted for a POSIX shell where needed, so that pasting it gives the same argument.
std::string ShellQuote(const std::string& argument);

/// `names` joined as "a, b, c".
std::string JoinNames(const std::vector<std::string>& names);

/// The one of `names` nearest to `wrong`, empty when none is near (a third of the letters off).
std::string NearestName(const std::string& wrong, const std::vector<std::string>& names);

/// Each reads the whole of `text`, whatever the locale, and returns false when it is something
/// else. Numbers are finite.
bool ParseNumber(const std::string& text, double* number);
bool ParseInteger(const std::string& text, int* number);
/// Three numbers with commas between, within the range of floats.
bool ParseTriple(const std::string& text, double triple[3]);
bool ParseTriple(const std::string& text, float triple[3]);
/// A number of bytes with an optional K, M, G or T (of 1024), as in "1.5G" or "512 MiB".
bool ParseBytes(const std::string& text, std::uint64_t* bytes);

/// "1.5 GiB" and such.
std::string FormatBytes(std::uint64_t bytes);

/// "2 h 5 min", "3 min 7 s" or "12 s"; what is below 0 counts as 0.
std::string FormatDuration(double seconds);

}  // namespace gl3

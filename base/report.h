#pragma once

#include "base/Console.h"
#include "base/text.h"

#include <cstdint>
#include <string>

namespace tarn::base
{

/// Writes one message line to consoleError(). Control characters in it are shown as `\xNN`.
void reportLine(const std::string& line);

/// Returns how many message lines this thread has written so far.
std::uint64_t reportedLines();

/// Writes the parts as one message line to consoleError().
template <class... Parts>
void report(const Parts&... parts)
{
  reportLine(joined(parts...));
}

/// Writes the parts as one debug line to consoleOut().
template <class... Parts>
void trace(const Parts&... parts)
{
  consoleOut() << joined(parts...) << '\n';
}

} // namespace tarn::base

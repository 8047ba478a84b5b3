#pragma once

#include "archive/journal/Record.h"

#include <string>

namespace tarn::archive
{

/// A line of an inventory: a presentation state that a survey found.
struct InventoryEntry
{
  std::string input;
  std::uint64_t size = 0;
  std::string mtime; ///< as in a Record
  std::string study; ///< UIDs as far as they could be read
  std::string instance;
  bool hasPluginState = false; ///< there is something to convert
};

/// One line of JSON, without the line feed.
std::string toJson(const InventoryEntry& entry);
/// Throws std::runtime_error where the line is none.
InventoryEntry entryFrom(const std::string& line);

/// The record of an input without a plug-in state.
Record recordOf(const InventoryEntry& entry);

} // namespace tarn::archive

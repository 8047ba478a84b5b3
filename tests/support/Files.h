#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// What a file holds; empty where there is none.
inline std::string contents(const std::filesystem::path& file)
{
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// What a file holds; empty where there is none.
inline std::string contents(const std::filesystem::path& path)
{
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// Makes the folders that are missing.
inline void put(const std::filesystem::path& path, const std::string& bytes)
{
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

/// The text with `to` in place of each `from`.
inline std::string replaced(std::string text, const std::string& from, const std::string& to)
{
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

/// What lies in a folder, hidden files too, in byte order.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

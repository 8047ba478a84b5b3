#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/// A new folder under `parent`, removed with all that is in it.
class TempDir
{
public:
  explicit TempDir(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
    : folder((parent / "annomend.XXXXXX").string())
  {
    if (!mkdtemp(folder.data()))
      throw std::runtime_error("no temporary folder in " + parent.string());
  }
  ~TempDir()
  {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::filesystem::path path() const { return folder; }
  std::string operator/(const std::string& name) const { return folder + "/" + name; }

private:
  std::string folder;
};

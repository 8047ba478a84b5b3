#pragma once

#include <string_view>
#include <vector>

namespace tarn::archive
{

/// A file of the page, as it stands in page/.
struct PageFile
{
  const char* name;
  std::string_view content;
};

const std::vector<PageFile>& pageFiles();

} // namespace tarn::archive

// Which share of an archive an input belongs to.
#include "archive/inputs/shard.h"

#include "archive/journal/sha256.h"
#include "dicom/uid.h"

#include <array>
#include <cstdint>

namespace tarn::archive
{

std::string folderOfStudy(const std::string& studyUid)
{
  return dicom::isUid(studyUid) ? studyUid : "other";
}

bool isOfShard(const std::string& studyUid, const std::string& path, unsigned shard, unsigned shards)
{
  if (shards == 1)
    return true;
  constexpr std::size_t kBytes = 8;
  std::uint64_t number = 0;
  const std::array<std::uint8_t, 32> digest = sha256(studyUid.empty() ? path : folderOfStudy(studyUid));
  for (std::size_t i = 0; i < kBytes; ++i)
    number = number << 8U | digest.at(i);
  return number % shards == shard - 1;
}

} // namespace tarn::archive

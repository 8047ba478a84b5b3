#pragma once

#include <string>

namespace tarn::archive
{

/// The folder of the outputs of a study: its UID (PS3.5 9.1), or "other" where that is none.
std::string folderOfStudy(const std::string& studyUid);

/// Whether an input falls to the shard: the first eight bytes of the SHA-256 of its study's folder, or of its path
/// where it has no study, as a number, highest byte first, leave `shard` - 1 when divided by `shards`. Outputs of one
/// folder are of one shard so, which sees when two inputs have one name for them.
bool isOfShard(const std::string& studyUid, const std::string& path, unsigned shard, unsigned shards);

} // namespace tarn::archive

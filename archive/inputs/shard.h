#pragma once

#include <string>

namespace tarn::archive
{

/// Whether the study falls to the shard: the first eight bytes of the SHA-256 of its UID, or of the path where it has
/// none, as a number, highest byte first, leave `shard` - 1 when divided by `shards`.
bool isOfShard(const std::string& studyOrPath, unsigned shard, unsigned shards);

} // namespace tarn::archive

// What goes through a pipe, by the cereal library.
#include "archive/run/packing.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/map.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <sstream>

namespace tarn::archive
{

template <class Archive>
void serialize(Archive& archive, Tally& tally)
{
  archive(tally.read, tally.written);
}

template <class Archive>
void serialize(Archive& archive, Reason& reason)
{
  archive(reason.code, reason.detail, reason.count);
}

template <class Archive>
void serialize(Archive& archive, Output& output)
{
  archive(output.file, output.instance, output.image, output.imageClass, output.frame, output.bytes, output.sha256,
          output.annotations, output.duplicate);
}

template <class Archive>
void serialize(Archive& archive, Record& record)
{
  archive(record.input, record.size, record.mtime, record.study, record.instance, record.outcome, record.annotations,
          record.reasons, record.outputs, record.rules, record.messages, record.milliseconds);
}

namespace
{

template <class Value>
std::string bytesOf(const Value& value)
{
  std::ostringstream bytes;
  cereal::BinaryOutputArchive archive(bytes);
  archive(value);
  return bytes.str();
}

/// A stream costs more to make than most values to read: there is one for all.
template <class Value>
Value valueOf(const std::string& bytes)
{
  static std::istringstream stream;
  Value value;
  stream.clear();
  stream.str(bytes);
  cereal::BinaryInputArchive archive(stream);
  archive(value);
  return value;
}

} // namespace

std::string packed(const Record& record)
{
  return bytesOf(record);
}

std::string packed(const Output& output)
{
  return bytesOf(output);
}

Record unpackedRecord(const std::string& bytes)
{
  return valueOf<Record>(bytes);
}

Output unpackedOutput(const std::string& bytes)
{
  return valueOf<Output>(bytes);
}

} // namespace tarn::archive

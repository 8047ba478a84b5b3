#include "study/objectmeta/ObjMeta.h"

#include "base/Closer.h"
#include "study/objectmeta/split3.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::db
{
namespace
{

constexpr char kKeyColumn[] = "FNAME";
constexpr char kEndOfLine[] = "<<EOL>>"; // keeps an empty last field from being lost

/// As sscanf's "%d" reads a number, with those that are out of range refused.
std::optional<long> leadingInteger(const std::string& text)
{
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 10);
  const bool inRange = errno == 0 && value >= INT_MIN && value <= INT_MAX;
  return end != text.c_str() && inRange ? std::optional<long>(value) : std::nullopt;
}

bool isAtLeast(const std::string& text, long least)
{
  const auto number = leadingInteger(text);
  return number && *number >= least;
}

} // namespace

/// The lines of a regular file, without their newlines.
class ObjMeta::Lines
{
public:
  /// A pipe or a device is opened without waiting, only to be refused.
  explicit Lines(const std::string& path)
  {
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    isAbsent = descriptor < 0 && errno == ENOENT;
    struct stat status = {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
      file.reset(fdopen(descriptor, "r"));
    if (!file && descriptor >= 0)
      close(descriptor);
  }
  ~Lines() { std::free(buffer); } // NOLINT(cppcoreguidelines-no-malloc): of getline()
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  bool absent() const { return isAbsent; }
  bool readable() const { return file && std::ferror(file.get()) == 0; }

  [[nodiscard]] bool next(std::string& line)
  {
    const ssize_t length = getline(&buffer, &capacity, file.get());
    if (length < 0)
      return false;
    line.assign(buffer, static_cast<std::size_t>(length));
    if (line.back() == '\n')
      line.pop_back();
    return true;
  }

private:
  bool isAbsent = false;
  std::unique_ptr<std::FILE, base::Closer<std::fclose>> file;
  char* buffer = nullptr;
  std::size_t capacity = 0;
};

ImportCode ObjMeta::read(const std::string& path, bool& missing)
{
  Lines lines(path);
  missing = lines.absent();
  if (missing)
    return kImported;
  if (!lines.readable())
    return kMetaFileUnreadable;
  ImportCode code = readHeader(lines);
  if (code == kImported)
    code = readRows(lines);
  return lines.readable() ? code : kMetaFileUnreadable;
}

ImportCode ObjMeta::readHeader(Lines& lines)
{
  std::string line;
  if (!lines.next(line))
    return kNoObjectCountLine;
  if (!isAtLeast(line, 0))
    return kBadObjectCountLine;
  if (!lines.next(line))
    return kNoColumnCountLine;
  if (!isAtLeast(line, 1))
    return kBadColumnCountLine;
  const auto columnCount = static_cast<std::size_t>(*leadingInteger(line));
  if (!lines.next(line))
    return kNoColumnLine;
  split3<Row, '\t'>(line, columns);
  return columns.size() == columnCount ? kImported : kWrongColumnCount;
}

ImportCode ObjMeta::readRows(Lines& lines)
{
  const auto last = std::find(columns.rbegin(), columns.rend(), kKeyColumn);
  if (last == columns.rend())
    return kNoKeyColumn;
  key = static_cast<std::size_t>(columns.rend() - last) - 1;
  for (std::string line; lines.next(line);)
    if (!addRow(std::move(line)))
      return kBadRow;
  return kImported;
}

bool ObjMeta::addRow(std::string line)
{
  line += '\t';
  line += kEndOfLine;
  Row row;
  row.reserve(columns.size() + 1);
  split3<Row, '\t'>(line, row);
  if (row.size() != columns.size() + 1 || row.back() != kEndOfLine)
    return false;
  row.pop_back();
  const std::string& name = row[key];
  rowCount += rows.insert_or_assign(name, std::move(row)).second ? 1 : 0;
  return true;
}

} // namespace tarn::db

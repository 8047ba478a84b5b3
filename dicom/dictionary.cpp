// The toolkit's data dictionary: compiled in, given in two parts, with the user's files over it.
#include "dicom/dictionary.h"

#include "base/Fd.h"
#include "dicom/attributeTable.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

namespace tarn::dicom
{
namespace
{

constexpr char kPathVariable[] = "DCMDICTPATH";
constexpr std::size_t kLargestFile = 64U << 20U; // bytes; the installed ones have half a million

/// File meta information, and digital signatures, padding and item delimiters (PS3.10 7.1, PS3.5 7.5).
constexpr Uint16 kOwnGroups[] = {0x0002, 0xFFFA, 0xFFFC, 0xFFFE};

std::atomic<bool> isIncomplete = false; // becomes false under the dictionary's own lock

void addRepeating(DcmDataDictionary& dictionary)
{
  for (const Attribute& row : repeatingAttributes())
    dictionary.addEntry(dictionaryEntry(row).release());
}

/// A file in memory that holds `text`, open; none, with the reason in errno, where the system has no memory for it.
base::Fd memoryFile(std::string_view text)
{
  base::Fd file(memfd_create("dictionary", MFD_CLOEXEC));
  return file && base::writeAll(file, text) ? std::move(file) : base::Fd();
}

/// The path under which the toolkit opens a file of ours.
std::string pathOf(const base::Fd& file)
{
  return "/proc/self/fd/" + std::to_string(file.get());
}

/// Reads a text dictionary to its end; false leaves the reason in errno. A device without an end is too large.
bool readText(const base::Fd& file, std::string& text)
{
  std::array<char, 65536> block{};
  std::ptrdiff_t got = 1;
  while (got > 0 && text.size() < kLargestFile)
  {
    got = base::readUpTo(file, block.data(), block.size());
    text.append(block.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0)));
  }
  if (got > 0)
    errno = EFBIG;
  return got == 0;
}

bool isFifo(const base::Fd& file)
{
  struct stat status = {};
  return file && fstat(file.get(), &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Does not let the toolkit read the file itself, since it does not notice a read that fails in the midst of one.
bool addFile(DcmDataDictionary& dictionary, const std::string& path, std::string& error)
{
  const base::Fd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  base::Fd memory;
  std::string text;
  if (isFifo(file))
    errno = ESPIPE; // nobody may be at its other end
  else if (file && readText(file, text))
    memory = memoryFile(text + '\n'); // of an empty file the toolkit would look at a line that it never read
  if (!memory)
    error = "Data dictionary " + path + " could not be read: " + std::strerror(errno);
  else if (!dictionary.loadDictionary(pathOf(memory).c_str()))
    error = "Data dictionary " + path + " could not be read: it is not a data dictionary";
  return error.empty();
}

bool addFiles(DcmDataDictionary& dictionary, const std::string& paths, std::string& error)
{
  std::istringstream list(paths);
  for (std::string path; std::getline(list, path, ':');)
    if (!path.empty() && !addFile(dictionary, path, error))
      return false;
  return true;
}

/// The toolkit reads its text dictionary when its dictionary is first touched, from a default path where the variable
/// is empty: it is given a file with nothing but a comment.
DcmDataDictionary& lockUnread(const std::string& paths, bool wasSet)
{
  const base::Fd memory = memoryFile("#\n");
  setenv(kPathVariable, memory ? pathOf(memory).c_str() : "/dev/null/none", 1);
  DcmDataDictionary& dictionary = dcmDataDict.wrlock();
  if (wasSet)
    setenv(kPathVariable, paths.c_str(), 1);
  else
    unsetenv(kPathVariable);
  return dictionary;
}

} // namespace

bool setUpDictionary(std::string& error)
{
  const char* value = secure_getenv(kPathVariable);
  const std::string paths = value ? value : "";
  DcmDataDictionary& dictionary = lockUnread(paths, value != nullptr);
  if (paths.empty())
    supplyOwnGroups(dictionary);
  else
    supplyAll(dictionary); // before what is laid over it
  const bool good = addFiles(dictionary, paths, error);
  dcmDataDict.wrunlock();
  return good;
}

void completeDictionary()
{
  if (!isIncomplete)
    return;
  DcmDataDictionary& dictionary = dcmDataDict.wrlock();
  if (isIncomplete)
    supplyAll(dictionary);
  isIncomplete = false;
  dcmDataDict.wrunlock();
}

void supplyOwnGroups(DcmDataDictionary& dictionary)
{
  addRepeating(dictionary);
  for (const Attribute& row : attributes())
    if (std::find(std::begin(kOwnGroups), std::end(kOwnGroups), row.group) != std::end(kOwnGroups))
      dictionary.addEntry(dictionaryEntry(row).release());
  isIncomplete = true;
}

void supplyAll(DcmDataDictionary& dictionary)
{
  addRepeating(dictionary);
  for (const Attribute& row : attributes())
    dictionary.addEntry(dictionaryEntry(row).release());
}

} // namespace tarn::dicom

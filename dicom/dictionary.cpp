#include "dicom/dictionary.h"

#include "dicom/AttributeSupply.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dctagkey.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>

namespace tarn::dicom
{
namespace
{

constexpr char kPathVariable[] = "DCMDICTPATH";
constexpr std::size_t kLargestFile = 64U << 20U; // bytes; the installed ones have half a million

class Descriptor
{
public:
  explicit Descriptor(int opened) : fd(opened) {}
  ~Descriptor()
  {
    if (fd >= 0)
      close(fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  explicit operator bool() const { return fd >= 0; }
  int get() const { return fd; }

private:
  int fd;
};

/// The path under which the toolkit opens a file of ours.
std::string pathOf(const Descriptor& file)
{
  return "/proc/self/fd/" + std::to_string(file.get());
}

bool writeAll(int to, std::string_view text)
{
  return write(to, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Copies `from` into `to` with every result checked; false leaves the reason in errno. A device without an end is too
/// large.
bool copyAll(int from, int to)
{
  std::array<char, 65536> block{};
  for (std::size_t copied = 0; copied < kLargestFile; copied += block.size())
  {
    const ssize_t got = read(from, block.data(), block.size());
    if (got == 0)
      return true;
    if (got < 0 || !writeAll(to, {block.data(), static_cast<std::size_t>(got)}))
      return false;
  }
  errno = EFBIG;
  return false;
}

/// The toolkit does not notice a read that fails in the midst of a dictionary: the file is read here, with every
/// result checked, and handed on from memory, and an attribute of a creator of its own at the end, `number` in the list
/// of files, shows that the toolkit came that far.
bool addFile(DcmDataDictionary& dictionary, const std::string& path, int number, std::string& error)
{
  const std::string creator = "END OF DICTIONARY " + std::to_string(number);
  const std::string end = "\n(0009,\"" + creator + "\",01)\tLO\tEndOfDictionary\t1\tPrivateTag\n";
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const Descriptor memory(memfd_create("dictionary", MFD_CLOEXEC));
  if (!file || !memory || !copyAll(file.get(), memory.get()) || !writeAll(memory.get(), end))
  {
    error = "Data dictionary " + path + " could not be read: " + std::strerror(errno);
    return false;
  }
  const bool loaded = dictionary.loadDictionary(pathOf(memory).c_str());
  if (!dictionary.findEntry(DcmTagKey(0x0009, 0x0001), creator.c_str()))
  {
    error = "Data dictionary " + path + " could not be read: the toolkit did not read it to its end";
    return false;
  }
  if (!loaded)
  {
    error = "Data dictionary " + path + " could not be read: it is not a data dictionary";
    return false;
  }
  return true;
}

bool addFiles(DcmDataDictionary& dictionary, const std::string& paths, std::string& error)
{
  std::istringstream list(paths);
  int number = 0;
  for (std::string path; std::getline(list, path, ':');)
    if (!path.empty() && !addFile(dictionary, path, ++number, error))
      return false;
  return true;
}

/// The toolkit reads its text dictionary when its dictionary is first touched, from a default path where the variable
/// is empty: it is given a file with nothing but a comment. (Of an empty one it would look at a line that it never
/// read.)
DcmDataDictionary& lockUnread(const std::string& paths, bool wasSet)
{
  const Descriptor memory(memfd_create("dictionary", MFD_CLOEXEC));
  setenv(kPathVariable, memory && writeAll(memory.get(), "#\n") ? pathOf(memory).c_str() : "/dev/null/none", 1);
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
  const char* value = std::getenv(kPathVariable);
  const std::string paths = value ? value : "";
  DcmDataDictionary& dictionary = lockUnread(paths, value != nullptr);
  if (paths.empty())
    supplyOnDemand(dictionary);
  else
    supplyAll(dictionary); // before what is laid over it
  const bool good = addFiles(dictionary, paths, error);
  dcmDataDict.wrunlock();
  return good;
}

} // namespace tarn::dicom

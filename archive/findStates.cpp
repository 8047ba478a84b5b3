// `annomend-archive find`: the survey before a migration.
#include "archive/findStates.h"

#include "archive/inputs/FileLook.h"
#include "archive/inputs/walkPaths.h"
#include "archive/journal/inventory.h"
#include "archive/run/exitStatus.h"
#include "archive/journal/textJson.h"
#include "base/Console.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "base/report.h"
#include "dicom/dictionary.h"
#include "dicom/loadFile.h"
#include "dicom/values.h"
#include "privateblock/PBItem.h"

#include <cerrno>
#include <map>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kBlock = std::size_t{1} << 20U;

/// A device, a FIFO or a folder: no file may take its place.
bool isNoFile(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

/// Does not wait for somebody to read from a FIFO, but for the reader once there is one.
base::Fd openedDevice(const std::string& path)
{
  base::Fd device(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  const bool waits = device && fcntl(device.get(), F_SETFL, 0) == 0;
  return waits ? std::move(device) : base::Fd();
}

/// The file of an inventory, which appears as a whole; or a device or a FIFO, or standard output.
class InventoryWriter
{
public:
  explicit InventoryWriter(const std::optional<std::string>& file) : name(file.value_or("standard output"))
  {
    if (file && isNoFile(name))
      device = openedDevice(name);
    else if (file)
      part = std::make_unique<base::PartFile>(name);
    require(!file || device || (part && part->good()));
  }

  void write(const InventoryEntry& entry)
  {
    block += shownJson(toJson(entry)) + '\n';
    if (block.size() >= kBlock)
      flush();
  }
  void finish()
  {
    flush();
    require(part ? part->permit() && part->sync() && part->keep() : static_cast<bool>(consoleOut().flush()));
  }

private:
  void flush()
  {
    require(put());
    block.clear();
  }
  bool put() const
  {
    if (part)
      return part->write(block.data(), block.size());
    return device ? base::writeAll(device, block) : static_cast<bool>(consoleOut() << block);
  }
  void require(bool good) const
  {
    if (!good)
      throw base::FileError(name + " cannot be written: " + base::FileError(errno).what(), errno);
  }

  std::string name;
  std::unique_ptr<base::PartFile> part;
  base::Fd device;
  std::string block;
};

class Survey
{
public:
  explicit Survey(const std::optional<std::string>& file) : inventory(file) {}

  /// A file that is gone, or a link to nothing, is told only where it was named.
  void look(const std::string& path, bool named);
  void pass() { ++seen; }
  void problem(const std::string& line)
  {
    ++problems;
    base::report(line);
  }
  /// Ends the inventory and writes the totals.
  int finish(std::ostream& out);

private:
  void survey(const std::string& path, const FileVersion& version);

  InventoryWriter inventory;
  std::uint64_t seen = 0;
  std::uint64_t states = 0;
  std::uint64_t toConvert = 0;
  std::uint64_t problems = 0;
  std::map<std::string, std::uint64_t> years; ///< states to convert, by the year of the study date
};

void Survey::look(const std::string& path, bool named)
{
  ++seen;
  FileLook look(path);
  const bool mayBeState = look.kind() == FileLook::Kind::file && look.mayBeState().value_or(false);
  if (mayBeState)
    survey(path, look.version());
  else if (!look.reason().empty() && (named || look.kind() != FileLook::Kind::missing))
    problem(path + " cannot be read: " + look.reason());
}

/// A state that cannot be loaded is for the conversion to refuse: it counts as one that has something to convert.
void Survey::survey(const std::string& path, const FileVersion& version)
{
  InventoryEntry entry{path, version.size, version.mtime, "", "", true};
  std::string year = "unknown";
  DcmFileFormat file;
  if (dicom::loadFile(file, path).good())
  {
    DcmDataset& dataset = *file.getDataset();
    DcmElement* pluginState = nullptr;
    entry.hasPluginState = PBItem(dataset).findAndGetPBElement(PBItem::kPluginStateKey, pluginState, false).good();
    static_cast<void>(dicom::readUid(dataset, DCM_StudyInstanceUID, entry.study));
    static_cast<void>(dicom::readUid(dataset, DCM_SOPInstanceUID, entry.instance));
    std::string date; // PS3.5 6.2: YYYYMMDD
    if (dicom::readText(dataset, DCM_StudyDate, date).good() && date.size() >= 4)
      year = date.substr(0, 4);
  }
  ++states;
  if (entry.hasPluginState)
  {
    ++toConvert;
    ++years[year];
  }
  inventory.write(entry);
}

int Survey::finish(std::ostream& out)
{
  inventory.finish();
  out << "Files seen: " << seen << "\nPresentation states: " << states << "\nWith something to convert: " << toConvert
      << '\n';
  for (const auto& [year, count] : years)
    out << "  " << base::printable(year) << ": " << count << '\n';
  out << std::flush;
  return problems == 0 ? exitStatus::kDone : exitStatus::kFailed;
}

} // namespace

int findStates(const std::vector<std::string>& paths, const std::optional<std::string>& file)
{
  std::string error;
  if (!dicom::setUpDictionary(error))
  {
    base::report("annomend-archive: ", error);
    return exitStatus::kFailed;
  }
  Survey survey(file);
  const WalkSink found{[&](const std::string& path) { survey.look(path, false); }, [&] { survey.pass(); },
                       [&](const std::string& line) { survey.problem(line); }};
  walkPaths(paths, "", found, [&](const std::string& path) { survey.look(path, true); });
  return survey.finish(file ? consoleOut() : consoleError());
}

} // namespace tarn::archive

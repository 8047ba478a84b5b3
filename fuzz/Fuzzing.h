#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstddef>
#include <string>

#include <unistd.h>

/// What the fuzz targets share. Each is one LLVMFuzzerTestOneInput; the process is set up here, as a host of the
/// library would do: dictionary, toolkit log, an archive in a folder of its own with the embedded database in memory.
namespace fuzzing
{

/// Which attributes the toolkit knows.
enum class Supply
{
  whole,    ///< all, as a library's host has them; what the process begins with
  asCommand ///< few, until a file or a name needs the others
};
void renewDictionary(Supply supply);

/// Ends the process after a line with `broken`, unless the property holds.
void expect(bool holds, const char* broken);

/// Messages are whole lines without control characters, and a failure has one.
void expectMessages(const std::string& messages, bool isFailure);

/// The bytes of a DICOM file behind its meta header (PS3.10 7.1), which may hold a UID that is new each time.
std::string dataSetOf(const std::string& file);

/// What the object encodes to can be loaded, and encodes to the same data set then.
void expectRoundTrip(const DcmDataset& dataset);

/// A file that lies in memory, and can be opened under its path as long as this lives.
class MemoryFile
{
public:
  MemoryFile(const void* bytes, std::size_t length);
  ~MemoryFile() { close(descriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
  int descriptor;
};

} // namespace fuzzing

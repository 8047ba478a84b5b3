#include "fuzz/Fuzzing.h"

#include "dicom/dictionary.h"
#include "samples/dicomFile.h"
#include "dicom/loadFile.h"
#include "dicom/toolkitLog.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzzing
{

void renewDictionary(Supply supply)
{
  DcmDataDictionary& dictionary = dcmDataDict.wrlock();
  dictionary.clear();
  (supply == Supply::whole ? tarn::dicom::supplyAll : tarn::dicom::supplyOwnGroups)(dictionary);
  dcmDataDict.wrunlock();
}

void expect(bool holds, const char* broken)
{
  if (holds)
    return;
  std::fprintf(stderr, "broken: %s\n", broken);
  std::abort();
}

void expectMessages(const std::string& messages, bool isFailure)
{
  expect(messages.empty() ? !isFailure : messages.back() == '\n', "a failure has a message, a message is a whole line");
  const auto control = [](char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7f; };
  expect(std::none_of(messages.begin(), messages.end(), control), "messages hold no control characters");
}

std::string dataSetOf(const std::string& file)
{
  constexpr std::size_t kGroupLength = 140; // of the meta header, behind which that many bytes of it follow
  std::uint32_t length = 0;
  std::memcpy(&length, file.data() + kGroupLength, sizeof length);
  return file.substr(kGroupLength + sizeof length + length);
}

void expectRoundTrip(const DcmDataset& dataset)
{
  const std::string bytes = samples::encodeFile(dataset, EXS_LittleEndianExplicit);
  const MemoryFile written(bytes.data(), bytes.size());
  DcmFileFormat file;
  samples::require(tarn::dicom::loadFile(file, written.path()), "what was written cannot be loaded");
  expect(dataSetOf(samples::encodeFile(*file.getDataset(), EXS_LittleEndianExplicit)) == dataSetOf(bytes),
         "what was written is the same once it was loaded");
}

MemoryFile::MemoryFile(const void* bytes, std::size_t length) : descriptor(memfd_create("input", MFD_CLOEXEC))
{
  expect(descriptor >= 0 && write(descriptor, bytes, length) == static_cast<ssize_t>(length), "memory for a file");
}

} // namespace fuzzing

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
  setenv("TARN_DB_URL", "sqlite::memory:", 1);
  setenv("TARN_LOG", "none", 1);
  setenv("DCMDICTPATH", "", 1);
  fuzzing::renewDictionary(fuzzing::Supply::whole);
  tarn::dicom::redirectToolkitLog();
  return 0;
}

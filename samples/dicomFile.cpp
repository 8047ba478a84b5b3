// DICOM objects put together from texts, and written as files.
#include "samples/dicomFile.h"

#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcwcache.h>

#include <cstdio>
#include <stdexcept>

#include "samples/study.h"

namespace samples
{
namespace
{

void drain(DcmOutputBufferStream& stream, std::string& bytes)
{
  void* chunk = nullptr;
  offile_off_t length = 0;
  stream.flushBuffer(chunk, length);
  bytes.append(static_cast<const char*>(chunk), static_cast<size_t>(length));
}

} // namespace

void require(const OFCondition& status, const std::string& what)
{
  if (status.bad())
    throw std::runtime_error(what + ": " + status.text());
}

void putTexts(DcmItem& item, std::initializer_list<TextElement> elements)
{
  for (const TextElement& element : elements)
    require(item.putAndInsertString(element.tag, element.value.c_str()), DcmTag(element.tag).getTagName());
}

DcmItem& appendItem(DcmItem& parent, const DcmTagKey& sequence)
{
  DcmItem* item = nullptr;
  require(parent.findOrCreateSequenceItem(sequence, item, -2), DcmTag(sequence).getTagName());
  return *item;
}

void putCommonModules(DcmItem& dataset)
{
  putTexts(dataset, {{DCM_SpecificCharacterSet, "ISO_IR 100"},
                     {DCM_PatientName, "Phantom^Torso"},
                     {DCM_PatientID, "SAMPLE-1"},
                     {DCM_PatientBirthDate, "19700101"},
                     {DCM_PatientSex, "O"},
                     {DCM_StudyInstanceUID, kStudyUid},
                     {DCM_StudyDate, "20200102"},
                     {DCM_StudyTime, "101500"},
                     {DCM_ReferringPhysicianName, ""},
                     {DCM_StudyID, "20"},
                     {DCM_AccessionNumber, ""},
                     {DCM_StudyDescription, "Sample study"},
                     {DCM_Manufacturer, "Sample maker"}});
}

std::string encodeFile(const DcmDataset& dataset, E_TransferSyntax syntax)
{
  DcmDataset copy(dataset);
  DcmFileFormat file(&copy);
  std::string chunk(65536, '\0');
  DcmOutputBufferStream stream(chunk.data(), static_cast<offile_off_t>(chunk.size()));
  DcmWriteCache cache;
  std::string bytes;
  file.transferInit();
  OFCondition status = EC_StreamNotifyClient;
  while (status == EC_StreamNotifyClient)
  {
    status = file.write(stream, syntax, EET_UndefinedLength, &cache, EGL_recalcGL);
    drain(stream, bytes);
  }
  file.transferEnd();
  require(status, "Cannot encode a sample");
  do // the compressor of a deflated dataset holds its last bytes back
  {
    stream.flush();
    drain(stream, bytes);
  } while (!stream.isFlushed());
  return bytes;
}

void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
  std::filesystem::create_directories(path.parent_path());
  std::FILE* file = std::fopen(path.c_str(), "wb");
  const bool written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  const bool closed = file != nullptr && std::fclose(file) == 0; // a full disk may show only here
  if (!written || !closed)
    throw std::runtime_error("Cannot write " + path.string());
}

} // namespace samples

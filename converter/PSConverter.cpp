#include "converter/PSConverter.h"

#include "base/CLocale.h"
#include "base/Console.h"
#include "base/report.h"
#include "dicom/values.h"
#include "pstate/ElementWriter.h"
#include "dicom/loadFile.h"
#include "study/cache/ObjCacheMgr.h"
#include "privateblock/PBItem.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <vector>

namespace impsconverter
{
namespace
{

/// The organisation's root and its branch of viewer-made presentation states.
constexpr char kInputRoot[] = "1.2.826.0.1.7770001.2.11.4";
constexpr std::size_t kInputRootLength = sizeof kInputRoot - 1;
constexpr char kOutputFormat[] = "1.2.826.0.1.7770001.2.11.7.%d%s";
constexpr std::size_t kUidLength = 64;
constexpr std::size_t kCutNameLength = sizeof "PR." - 1 + kUidLength;

constexpr char kNoPluginState[] = "DataSet does not contain private presentation state data: ";
constexpr char kPresentationStateClass[] = "1.2.840.10008.5.1.4.1.1.11.1";

bool startsWith(const std::string& text, const char* start)
{
  return text.rfind(start, 0) == 0;
}

bool isDigitsAndPoints(const std::string& uid)
{
  return uid.find_first_not_of("0123456789.") == std::string::npos;
}

std::string baseName(const std::string& path)
{
  const std::size_t end = path.find_last_not_of('/');
  if (end == std::string::npos)
    return path.empty() ? "." : "/";
  const std::size_t slash = path.rfind('/', end);
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  return path.substr(start, end - start + 1);
}

/// Why nothing may take the place of `path`: it is itself, not what it may link to, the input file or the link that
/// leads there, or the system does not tell. Null when there is no reason.
const char* reasonToKeep(const std::string& path, const std::string& inputFile)
{
  struct stat there = {};
  if (lstat(path.c_str(), &there) != 0)
    return errno == ENOENT ? nullptr : std::strerror(errno);
  for (const auto look : {stat, lstat})
  {
    struct stat input = {};
    if (look(inputFile.c_str(), &input) != 0 && errno != ENOENT)
      return std::strerror(errno);
    if (there.st_dev == input.st_dev && there.st_ino == input.st_ino)
      return "it would replace the input file";
  }
  return nullptr;
}

/// Keeps an element out of its item while it lives.
class ElementAside
{
public:
  ElementAside(DcmItem& from, const DcmTagKey& tag) : item(from), element(from.remove(tag)) {}
  ~ElementAside()
  {
    if (element && item.insert(element.get()).good())
      static_cast<void>(element.release());
  }
  ElementAside(const ElementAside&) = delete;
  ElementAside& operator=(const ElementAside&) = delete;

private:
  DcmItem& item;
  std::unique_ptr<DcmElement> element;
};

} // namespace

PSConverter::PSConverter(tarn::db::DBConnector& database, const std::string& input, const std::string& prefix,
                         unsigned long converterFlags, bool isDebug)
  : PresentationState(nullptr, isDebug), db(database), inputFile(input), flags(converterFlags), outputPrefix(prefix)
{
}

PSConverter::PSConverter(tarn::db::DBConnector& database, DcmFileFormat* file, std::list<DcmFileFormat*>* out,
                         unsigned long converterFlags, bool isDebug)
  : PresentationState(nullptr, isDebug), db(database), outputList(out), flags(converterFlags)
{
  fileFormat.reset(file);
}

PSConverter::~PSConverter()
{
  if (outputList)
    static_cast<void>(fileFormat.release()); // the caller's
}

bool PSConverter::convert(bool touchObjectCache)
{
  const tarn::base::CLocale numbersAsWritten;
  if (!inputFile.empty() && !loadInput())
    return true;
  if (!fileFormat || !fileFormat->getDataset())
  {
    tarn::base::report(inputFile, " does not contain dataset");
    return true;
  }
  return convertLoaded(touchObjectCache);
}

bool PSConverter::loadInput()
{
  fileFormat = std::make_unique<DcmFileFormat>();
  const OFCondition status = tarn::dicom::loadFile(*fileFormat, inputFile);
  if (status.bad())
    reportCondition(inputFile + " could not be loaded: ", status);
  return status.good();
}

bool PSConverter::convertLoaded(bool touchObjectCache)
{
  if (debug)
    fileFormat->getDataset()->print(tarn::consoleOut());
  DcmElement* element = nullptr;
  if (!fetchPluginState(element) || !readIdentity() || !findReferencedSeries())
    return false;
  // Large values are read from the file on first use, and the file may be replaced by what is written here.
  if (const OFCondition status = fileFormat->loadAllDataIntoMemory(); status.bad())
  {
    reportCondition(inputFile + " could not be loaded: ", status);
    return true;
  }
  std::string text;
  if (const OFCondition status = tarn::dicom::readBytes(*element, text); status.bad())
  {
    reportCondition(kNoPluginState, status);
    return false;
  }
  if (debug)
  {
    tarn::base::trace(" ======= PBPluginState[ ", text.size(), " ] =========");
    tarn::base::trace(text.c_str());
    tarn::base::trace(" ====== END PluginState ========");
  }
  if (touchObjectCache)
  {
    db.connect(); // a database that cannot be opened is no failure of the cache
    if (!touchCache())
      return true;
  }
  if (!parsePluginState(reinterpret_cast<const unsigned char*>(text.c_str()), static_cast<unsigned int>(text.size())))
    return false;
  return (flags & PSC_includeOriginal) == 0 || includeOriginal();
}

bool PSConverter::fetchPluginState(DcmElement*& element) const
{
  const OFCondition status =
      PBItem(*fileFormat->getDataset()).findAndGetPBElement(PBItem::kPluginStateKey, element, false);
  if (status.bad())
    reportCondition(kNoPluginState, status);
  else if (!element)
    tarn::base::report("Private presentation state data is NULL");
  return status.good() && element;
}

bool PSConverter::readIdentity()
{
  DcmDataset& dataset = *fileFormat->getDataset();
  constexpr char kMissing[] = "Original Presentation State object does not contain ";
  if (const OFCondition status = tarn::dicom::readUid(dataset, DCM_StudyInstanceUID, studyUid); status.bad())
  {
    reportCondition(std::string(kMissing) + "Study Instance UID: ", status);
    return false;
  }
  if (const OFCondition status = tarn::dicom::readText(dataset, DCM_SOPInstanceUID, sopInstanceUid); status.bad())
  {
    reportCondition(std::string(kMissing) + "SOP Instance UID: ", status);
    return false;
  }
  // It becomes part of file names: nothing but a UID passes.
  if (!startsWith(sopInstanceUid, kInputRoot) || !isDigitsAndPoints(sopInstanceUid))
  {
    tarn::base::report("SOP Instance UID of the original Presentation State object was not issued by QX: ",
                       sopInstanceUid);
    return false;
  }
  std::string classUid;
  if (const OFCondition status = tarn::dicom::readText(dataset, DCM_SOPClassUID, classUid); status.bad())
  {
    reportCondition(std::string(kMissing) + "SOP Class UID: ", status);
    return false;
  }
  if (!startsWith(classUid, kPresentationStateClass))
  {
    tarn::base::report("Object is not a Grayscale Softcopy Presentation State: ",
                       dcmFindNameOfUID(classUid.c_str(), classUid.c_str()));
    return false;
  }
  return true;
}

bool PSConverter::findReferencedSeries()
{
  const OFCondition status =
      fileFormat->getDataset()->findAndGetSequence(DCM_ReferencedSeriesSequence, referencedSeries);
  if (status.bad())
    reportCondition("DataSet does not contain Source Image Sequence: ", status);
  else if (!referencedSeries)
    tarn::base::report("Source Image Sequence is NULL");
  return status.good() && referencedSeries;
}

bool PSConverter::touchCache()
{
  std::string reason = "unknown exception";
  try
  {
    tarn::db::ObjCacheMgr(&db).touchObjCache(studyUid, true);
    return true;
  }
  catch (const std::exception& exception)
  {
    reason = exception.what();
  }
  catch (...)
  {
  }
  tarn::base::report("Checking/re-mapping object cache failed for study ", studyUid, ": ", reason);
  return false;
}

bool PSConverter::includeOriginal()
{
  name = baseName(inputFile);
  if (outputList)
  {
    clean();
    outputList->push_back(fileFormat.release());
    return true;
  }
  // The copy is an extra: a failure has been reported and does not undo the conversion.
  if (nameIsFree(name, true))
    static_cast<void>(save(outputPrefix));
  return true;
}

bool PSConverter::clean()
{
  PresentationState::clean();
  if ((flags & PSC_fixOriginal) != 0)
    fixOriginal();
  return true;
}

void PSConverter::fixOriginal()
{
  DcmDataset& dataset = *fileFormat->getDataset();
  DcmItem* area = nullptr;
  if (ElementWriter(dataset)
          .firstItem(DCM_DisplayedAreaSelectionSequence, area,
                     "Displayed Area Selection Sequence item could not created: ")
          .ok())
  {
    area->putAndInsertString(DCM_PixelOriginInterpretation, "FRAME");
    area->putAndInsertString(DCM_PresentationSizeMode, "SCALE TO FIT");
    fillDisplayArea(*area, CLIP_BOX_NORMAL, 1, 1, largestColumns, largestRows);
    fillPixelSpacing(*area, pixelSpacingX == 0.0 ? 1.0 : pixelSpacingX, pixelSpacingY == 0.0 ? 1.0 : pixelSpacingY);
  }
  const OFCondition status = dataset.putAndInsertString(DCM_PresentationLUTShape, "IDENTITY", OFFalse);
  if (status.bad() && status != EC_DoubledTag)
    reportCondition("Presentation LUT Shape could not be inserted to dataset: ", status);
}

void PSConverter::genUid(std::string& uid)
{
  ++figureCounter;
  std::array<char, kUidLength + 1> text{};
  const std::string suffix = sopInstanceUid.substr(std::min(kInputRootLength, sopInstanceUid.size()));
  std::snprintf(text.data(), text.size(), kOutputFormat, figureCounter, suffix.c_str());
  uid = text.data();
}

void PSConverter::openOutput()
{
  if (!outputTemplate)
  {
    DcmDataset& input = *fileFormat->getDataset();
    const ElementAside pluginState(input, PBItem(input).getTag(PBItem::kPluginStateKey));
    const ElementAside references(input, DCM_ReferencedSeriesSequence);
    const ElementAside sources(input, DCM_SourceImageSequence);
    outputTemplate = std::make_unique<DcmDataset>(input);
  }
  std::string uid;
  genUid(uid);
  output = std::make_unique<ValidPresentationState>(outputTemplate.get(), uid, figureCounter, debug);
}

bool PSConverter::finishOutput()
{
  const std::unique_ptr<ValidPresentationState> finished = std::move(output);
  if (!finished || !finished->hasContent())
    return true;
  if (!outputList)
    return nameIsFree(finished->outputName(), false) && finished->save(outputPrefix);
  finished->clean();
  outputList->push_back(finished->releaseFile().release());
  return true;
}

/// Outputs differ by their number, unless a long UID was cut; the copy has the input's name, whatever that is.
bool PSConverter::mayRecur(const std::string& outputName) const
{
  return outputName.size() >= kCutNameLength || outputName == baseName(inputFile);
}

bool PSConverter::nameIsFree(const std::string& outputName, bool mayBeInput)
{
  const char* reason = nullptr;
  if (mayRecur(outputName) && !usedNames.insert(outputName).second)
    reason = "the name was already used in this run";
  else if (!mayBeInput)
    reason = reasonToKeep(outputPrefix + outputName, inputFile);
  if (reason)
    tarn::base::report("Presentation State file ", outputName, " could not be saved: ", reason);
  return !reason;
}

bool PSConverter::hasOutput() const
{
  if (!output)
    tarn::base::report("There is no Presentation State object to update");
  return output != nullptr;
}

bool PSConverter::setImageReferences(const ObjectInfo& object, const std::string& frames)
{
  return hasOutput() && output->setImageReferences(object, frames);
}

bool PSConverter::setOrientation(int rotation, bool flip)
{
  return hasOutput() && output->setOrientation(rotation, flip);
}

bool PSConverter::setSizeMode(SIZE_MODE mode)
{
  return hasOutput() && output->setSizeMode(mode);
}

bool PSConverter::setPixelSpacing(double first, double second)
{
  return hasOutput() && output->setPixelSpacing(first, second);
}

bool PSConverter::setZoom(double zoomX, double zoomY)
{
  return hasOutput() && output->setZoom(zoomX, zoomY);
}

bool PSConverter::setClip(int x, int y, int width, int height)
{
  return hasOutput() && output->setClip(x, y, width, height);
}

bool PSConverter::setWindowLevel(int window, int level, bool inverted)
{
  return hasOutput() && output->setWindowLevel(window, level, inverted);
}

} // namespace impsconverter

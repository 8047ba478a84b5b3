// The pass from a presentation state to its outputs: checks of the input, the plug-in state, one output an image.
#include "converter/PSConverter.h"

#include "base/CLocale.h"
#include "base/Console.h"
#include "base/report.h"
#include "converter/OutputSink.h"
#include "converter/PluginStateParser.h"
#include "converter/inputChecks.h"
#include "dicom/loadFile.h"
#include "dicom/saveFile.h"
#include "dicom/values.h"
#include "images/ObjectInfo.h"
#include "pstate/ElementWriter.h"
#include "study/cache/ObjCacheMgr.h"

#include <algorithm>
#include <exception>

namespace impsconverter
{
namespace
{

constexpr char kNotLoaded[] = " could not be loaded: ";

} // namespace

PSConverter::PSConverter(tarn::db::DBConnector& db, const std::string& inputFile, const std::string& outputPrefix,
                         unsigned long flags, bool debug)
  : PresentationState(nullptr, debug), db(db), inputFile(inputFile), flags(flags), outputPrefix(outputPrefix)
{
}

PSConverter::PSConverter(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>* outputList,
                         unsigned long flags, bool debug)
  : PresentationState(nullptr, debug), db(db), outputList(outputList), flags(flags)
{
  fileFormat.reset(file);
}

PSConverter::PSConverter(tarn::db::DBConnector& db, const std::string& inputFile, OutputSink& sink)
  : PresentationState(nullptr, false), db(db), inputFile(inputFile), sink(&sink)
{
}

PSConverter::~PSConverter()
{
  if (inputFile.empty())
    static_cast<void>(fileFormat.release()); // the caller's
}

bool countsAsConverted(Outcome outcome)
{
  return outcome == Outcome::done || outcome == Outcome::notLoaded || outcome == Outcome::cacheFailed;
}

bool PSConverter::convert(bool touchObjectCache)
{
  return countsAsConverted(run(touchObjectCache));
}

Outcome PSConverter::run(bool touchObjectCache)
{
  return load() ? convertLoaded(touchObjectCache) : Outcome::notLoaded;
}

bool PSConverter::load()
{
  const tarn::base::CLocale numbersAsWritten;
  messagesAtStart = tarn::base::reportedLines();
  if (!loadInput())
  {
    book.note(loss::kNotLoaded, "");
    return false;
  }
  DcmDataset& dataset = *fileFormat->getDataset();
  static_cast<void>(tarn::dicom::readUid(dataset, DCM_StudyInstanceUID, book.studyUid));
  static_cast<void>(tarn::dicom::readUid(dataset, DCM_SOPInstanceUID, book.sopInstanceUid));
  return true;
}

Outcome PSConverter::convertLoaded(bool touchObjectCache)
{
  const tarn::base::CLocale numbersAsWritten;
  std::string text;
  if (const Outcome found = readInput(text); found != Outcome::done)
    return found;
  if (touchObjectCache && !touchCache())
  {
    PluginStateParser(*this).count(text.c_str());
    book.lose(loss::kObjectCache, "");
    return Outcome::cacheFailed;
  }
  if (const Outcome converted = convertFigures(text); converted != Outcome::done)
    return converted;
  if ((flags & PSC_includeOriginal) != 0)
    includeOriginal();
  return Outcome::done;
}

bool PSConverter::loadInput()
{
  if (!inputFile.empty())
  {
    fileFormat = std::make_unique<DcmFileFormat>();
    struct stat* const status = (flags & PSC_includeOriginal) != 0 ? &inputStatus : nullptr;
    if (!isGood(tarn::dicom::loadFile(*fileFormat, inputFile, tarn::dicom::LongValues::inMemory, status),
                inputFile + kNotLoaded))
      return false;
  }
  if (fileFormat && fileFormat->getDataset())
    return true;
  tarn::base::report(inputFile, " does not contain dataset");
  return false;
}

Outcome PSConverter::refuse(const char* code)
{
  book.note(code, "");
  return Outcome::refused;
}

Outcome PSConverter::readInput(std::string& text)
{
  DcmDataset& dataset = *fileFormat->getDataset();
  if (debug)
    dataset.print(tarn::consoleOut());
  DcmElement* element = nullptr;
  if (!findPluginState(dataset, element))
    return Outcome::nothingToDo;
  if (const Lack lack = readIdentity(dataset, studyUid, sopInstanceUid))
    return refuse(lack);
  if (const Lack lack = findReferencedSeries(dataset, referencedSeries))
    return refuse(lack);
  // Large values of a caller's object may still lie in a file, which may be replaced by what is written here.
  if (!isGood(fileFormat->loadAllDataIntoMemory(), inputFile + kNotLoaded))
  {
    book.note(loss::kNotLoaded, "");
    return Outcome::notLoaded;
  }
  if (const Lack lack = readPluginState(*element, text))
    return refuse(lack);
  if (debug)
  {
    tarn::base::trace(" ======= PBPluginState[ ", text.size(), " ] =========");
    tarn::base::trace(text.c_str());
    tarn::base::trace(" ====== END PluginState ========");
  }
  return Outcome::done;
}

bool PSConverter::touchCache()
{
  db.connect(); // a database that cannot be opened is no failure of the cache
  try
  {
    tarn::db::ObjCacheMgr(&db).touchObjCache(studyUid, true);
    return true;
  }
  catch (const std::exception& exception)
  {
    tarn::base::report("Checking/re-mapping object cache failed for study ", studyUid, ": ", exception.what());
    return false;
  }
}

Outcome PSConverter::convertFigures(const std::string& text)
{
  struct Restoring
  {
    ~Restoring() { outputTemplate.reset(); }
    std::optional<OutputTemplate>& outputTemplate;
  };
  const Restoring input{outputTemplate};
  if (parsePluginState(reinterpret_cast<const unsigned char*>(text.c_str()), static_cast<unsigned int>(text.size())))
    return Outcome::done;
  if (!PluginStateParser::hasFigures(text.c_str()))
    return refuse(loss::kNoFigure);
  book.lose(loss::kConversionError, "");
  return Outcome::failed;
}

void PSConverter::includeOriginal()
{
  name = names.copyName();
  if (outputList)
  {
    clean();
    outputList->push_back(fileFormat.release());
  }
  else if (names.takeOnce(name))
    static_cast<void>(save(tarn::dicom::SaveTarget(outputPrefix + name),
                           &inputStatus)); // an extra: a failure has been reported and does not undo the conversion
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
    area->putAndInsertString(DcmTag(DCM_PixelOriginInterpretation, EVR_CS), "FRAME");
    area->putAndInsertString(DcmTag(DCM_PresentationSizeMode, EVR_CS), "SCALE TO FIT");
    fillDisplayArea(*area, CLIP_BOX_NORMAL, 1, 1, largestColumns, largestRows);
    fillPixelSpacing(*area, pixelSpacingX == 0.0 ? 1.0 : pixelSpacingX, pixelSpacingY == 0.0 ? 1.0 : pixelSpacingY);
  }
  const OFCondition status = dataset.putAndInsertString(DcmTag(DCM_PresentationLUTShape, EVR_CS), "IDENTITY", OFFalse);
  if (status != EC_DoubledTag)
    isGood(status, "Presentation LUT Shape could not be inserted to dataset: ");
}

void PSConverter::genUid(std::string& uid)
{
  ++figureCounter;
  uid = OutputNames::uidOf(sopInstanceUid, figureCounter);
}

bool PSConverter::parsePluginState(const unsigned char* text, unsigned int /*length*/)
{
  return PluginStateParser(*this).parse(reinterpret_cast<const char*>(text));
}

bool PSConverter::parseFigure(const char* figure)
{
  return PluginStateParser(*this).parseFigure(figure);
}

bool PSConverter::openOutput(const std::string& objectName, const std::string& frame)
{
  if (!outputTemplate)
    outputTemplate.emplace(*fileFormat->getDataset());
  std::string uid;
  genUid(uid);
  output = std::make_unique<ValidPresentationState>(*outputTemplate, uid, figureCounter, debug);

  image = std::make_unique<ObjectInfo>(studyUid, objectName);
  ObjectInfo& object = *image;
  if (!lookUpImage(object))
    return false;
  if (debug && output->hasContent())
  {
    tarn::base::trace("Referenced Series Instance UID: ", object.seriesInstanceUid);
    tarn::base::trace("Referenced SOP Class UID: ", object.sopClassUid);
    tarn::base::trace("Referenced SOP Instance UID: ", object.sopInstanceUid);
    tarn::base::trace("Referenced Frame Number: ", frame);
  }
  return setImageReferences(object, frame);
}

bool PSConverter::lookUpImage(ObjectInfo& object)
{
  if (!imageSources)
    imageSources.emplace(db, studyUid, referencedSeries);
  db.connect(); // a database that cannot be opened is no failed look-up
  const int found = object.collect(*imageSources);
  if (found == ObjectInfo::databaseFailure)
  {
    tarn::base::report("An error occurred while getting SOP class UID for figure ", object.objectName);
    return false;
  }
  if (found == ObjectInfo::notFound)
  {
    output->dropContent();
    logger.errorLog("%s: unresolved reference to %s - excluding annotations from output", inputFile.c_str(),
                    object.objectName.c_str());
    tarn::base::report("Could not get SOP class UID for ", object.objectName,
                       " referenced in annotations - excluding from output");
    return true;
  }
  largestColumns = std::max(largestColumns, object.columns);
  largestRows = std::max(largestRows, object.rows);
  return true;
}

bool PSConverter::finishOutput()
{
  const std::unique_ptr<ValidPresentationState> finished = std::move(output);
  if (!finished)
    return true;
  if (!finished->hasContent())
    book.lose(loss::kImageUnknown, image->objectName);
  else if (!giveOut(*finished))
    return false;
  book.keep();
  return true;
}

bool PSConverter::giveOut(ValidPresentationState& finished)
{
  if (sink || outputList)
    finished.clean();
  if (sink)
    return names.takeOnce(finished.outputName()) && giveToSink(finished);
  if (!outputList)
    return saveOutput(finished);
  outputList->push_back(finished.releaseFile().release());
  return true;
}

bool PSConverter::saveOutput(ValidPresentationState& finished)
{
  const tarn::dicom::SaveTarget target(outputPrefix + finished.outputName());
  return names.takeForOutput(finished.outputName(), target) && finished.save(target);
}

bool PSConverter::giveToSink(ValidPresentationState& finished)
{
  OutputRefusal refusal;
  const bool taken = sink->take(finished, {book.pending(), *image}, refusal);
  if (!refusal.code.empty())
    book.lose(refusal.code, refusal.detail);
  return taken;
}

void PSConverter::beginLine()
{
  book.messagesBefore = tarn::base::reportedLines() - messagesAtStart;
}

bool PSConverter::hasOutput() const
{
  if (!output)
    tarn::base::report("There is no Presentation State object to update");
  return output != nullptr;
}

bool PSConverter::setPixelSpacing(double first, double second)
{
  if (pixelSpacingX == 0.0 && pixelSpacingY == 0.0)
  {
    pixelSpacingX = first;
    pixelSpacingY = second;
  }
  return hasOutput() && output->setPixelSpacing(first, second);
}

} // namespace impsconverter

// One input of a journal, read again for the figures of its annotations.
#include "archive/measurements/InputMeasurer.h"

#include "archive/inputs/FileLook.h"
#include "archive/journal/textJson.h"
#include "base/Console.h"
#include "base/text.h"
#include "conformance/texts.h"
#include "converter/OutputNames.h"
#include "converter/inputChecks.h"
#include "converter/readAnnotations.h"
#include "dicom/loadFile.h"
#include "dicom/values.h"
#include "images/ImageSources.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <sstream>

namespace tarn::archive
{
namespace
{

using impsconverter::AnnotatedImage;
using impsconverter::AnnotationLine;
using Origin = images::PixelSpacing::Origin;

constexpr std::size_t kLongestKey = 64; ///< a UID (PS3.5 9.1); frame numbers are shorter

/// A key that stands in every row; nothing that is too long for one.
std::string key(const std::string& text)
{
  return text.size() <= kLongestKey ? readable(text) : "";
}

/// What comes after the first point of an image's name; empty where there is none.
std::string instanceIn(const std::string& object)
{
  const std::size_t point = object.find('.');
  return point == std::string::npos ? "" : object.substr(point + 1);
}

bool endedItsWorker(const Record& record)
{
  return record.outcome == Outcome::crashed || record.outcome == Outcome::timeout;
}

/// Those of an input that ended its worker were not counted.
bool mayHaveAnnotations(const Record& record)
{
  const auto isAnnotated = [](const Output& output) { return !output.annotations.empty(); };
  return endedItsWorker(record) || !record.annotations.empty() ||
         std::any_of(record.outputs.begin(), record.outputs.end(), isAnnotated);
}

/// Why the input is not the one that was converted, or may not be read once more; empty where nothing speaks against
/// it.
std::string obstacle(const Record& record)
{
  if (endedItsWorker(record))
    return std::string("its conversion ended in ") + nameOf(record.outcome);
  const FileLook look(record.input);
  if (look.kind() != FileLook::Kind::file)
    return look.reason().empty() ? "it is no file" : look.reason();
  const bool isSame = look.version().size == record.size && look.version().mtime == record.mtime;
  return isSame ? "" : "it has changed since its conversion";
}

/// The frame that the text names first; the first where it names none.
std::uint32_t frameOf(const std::string& text)
{
  std::uint32_t frame = 1;
  std::from_chars(text.data(), text.data() + text.size(), frame);
  return frame;
}

const char* nameOf(Origin origin)
{
  switch (origin)
  {
  case Origin::patient:
    return "patient";
  case Origin::detector:
    return "detector";
  case Origin::ratio:
    return "ratio";
  default:
    return "";
  }
}

/// A distance of the image's own before that of the state, and any distance before a ratio.
Spacing spacingOf(const images::PixelSpacing& own, const AnnotatedImage& image)
{
  const bool isLength = own.origin == Origin::patient || own.origin == Origin::detector;
  const double rows = image.rowSpacing;
  const double columns = image.columnSpacing;
  if (!isLength && rows > 0 && columns > 0 && std::isfinite(rows) && std::isfinite(columns))
    return {"state", rows, columns, true};
  return {nameOf(own.origin), own.row, own.column, isLength};
}

/// One input, as it is read line by line.
class Reading
{
public:
  Reading(const Record& record, DcmDataset& dataset, DcmSequenceOfItems* references, images::ImageFiles& images,
          db::DBConnector& db, MeasurementTable& table)
    : record(record), dataset(dataset), images(images), references(db, record.study, references), table(table)
  {
    row.study = key(record.study);
    row.state = key(record.instance);
    row.input = readable(record.input);
    for (const Output& written : record.outputs)
      outputs.emplace(written.instance, &written);
  }

  void add(const AnnotatedImage& image, const AnnotationLine& line)
  {
    if (image.number != number)
      turnTo(image);
    const bool isRead = output || record.outcome != Outcome::failed; // a run reads no line after the one that failed
    row.kind = readable(line.kind);
    row.shape = isRead ? line.shape : std::nullopt;
    row.label = row.shape ? decoded(row.shape->label) : "";
    const bool isWritten = output && row.shape;
    row.output = isWritten ? output->file : "";
    row.isDuplicate = isWritten && output->duplicate;
    table.write(row);
  }

private:
  /// What the lines of an image have in common.
  void turnTo(const AnnotatedImage& image);
  std::string seriesOf(const std::string& instance);
  std::string decoded(const std::string& label);

  const Record& record;
  DcmDataset& dataset;
  images::ImageFiles& images;
  images::ImageSources references;
  MeasurementTable& table;
  std::optional<conformance::CharacterSet> characterSet;
  std::map<std::string, const Output*> outputs; ///< by SOP Instance UID; each is of one image
  int number = 0;                               ///< of the image
  const Output* output = nullptr;
  Measurement row;
};

void Reading::turnTo(const AnnotatedImage& image)
{
  number = image.number;
  const auto written = outputs.extract(impsconverter::OutputNames::uidOf(record.instance, number));
  output = written ? written.mapped() : nullptr;
  row.image = key(output ? output->image : instanceIn(image.name.object));
  row.frame = key(base::trimmed(image.name.frame));
  const std::optional<images::ImageHeader> header =
      row.image.empty() ? std::nullopt : images.find(record.study, image.name.object, row.image);
  row.series = key(header ? header->seriesInstanceUid : seriesOf(row.image));
  row.spacing = spacingOf(header ? header->spacings.of(frameOf(row.frame)) : images::PixelSpacing(), image);
}

/// As the state itself has it (PS3.3 C.11.11).
std::string Reading::seriesOf(const std::string& instance)
{
  std::string series;
  if (const images::ImageSources::Reference* const reference = references.findReference(instance))
    static_cast<void>(dicom::readUid(*reference->series, DCM_SeriesInstanceUID, series));
  return series;
}

/// In UTF-8, by the state's character set where the label fits it.
std::string Reading::decoded(const std::string& label)
{
  if (conformance::isPlain(label))
    return label;
  if (!characterSet)
  {
    std::string terms;
    static_cast<void>(dicom::readText(dataset, DCM_SpecificCharacterSet, terms));
    characterSet.emplace(terms);
  }
  return characterSet->decode(label, "").value_or(readable(label));
}

} // namespace

std::string InputMeasurer::measure(const Record& record)
{
  if (!mayHaveAnnotations(record))
    return "";
  if (std::string reason = obstacle(record); !reason.empty())
    return reason;
  DcmFileFormat file;
  if (const OFCondition loaded = dicom::loadFile(file, record.input); loaded.bad())
    return loaded.text();
  std::ostream unheard(nullptr); // the conversion has reported it
  const ConsoleScope quiet(consoleOut(), unheard);
  DcmDataset& dataset = *file.getDataset();
  DcmElement* element = nullptr;
  std::string text;
  if (!impsconverter::findPluginState(dataset, element) || impsconverter::readPluginState(*element, text))
    return "its private state cannot be read";
  DcmSequenceOfItems* references = nullptr;
  static_cast<void>(dataset.findAndGetSequence(DCM_ReferencedSeriesSequence, references));
  Reading reading(record, dataset, references, images, db, table);
  impsconverter::readAnnotations(text, [&reading](const AnnotatedImage& image, const AnnotationLine& line)
                                 { reading.add(image, line); });
  return "";
}

} // namespace tarn::archive

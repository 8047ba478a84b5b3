#pragma once

#include "base/IMLogger.h"
#include "converter/Account.h"
#include "converter/OutputNames.h"
#include "db/DBConnector.h"
#include "images/ImageSources.h"
#include "pstate/OutputTemplate.h"
#include "pstate/ValidPresentationState.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <list>
#include <memory>
#include <optional>
#include <string>

namespace impsconverter
{

/// Flags of a converter.
constexpr unsigned long PSC_includeOriginal = 1; ///< also give out the input object
constexpr unsigned long PSC_fixOriginal = 2;     ///< make the input object conformant before it is given out

/// What a conversion came to. Everything but `done` and `nothingToDo` is refused, when it ends before the figures of
/// the plug-in state are read, or failed.
enum class Outcome
{
  done,        ///< every figure was read, and what it made was given out
  nothingToDo, ///< the object has no plug-in state
  notLoaded,   ///< refused: the input cannot be loaded
  refused,     ///< refused: the object is not of the viewer, or lacks what a conversion needs
  cacheFailed, ///< failed: the study's object table could not be made sure of
  failed       ///< an error in the figures or with an output; what was given out before stays
};

/// What the command says last where convert() returns false.
constexpr char kReturnedError[] = "PSConverter returned error";

/// What convert() makes of an outcome: true also where the input cannot be loaded, or the study's object table not be
/// made sure of, after the line that says so.
[[nodiscard]] bool countsAsConverted(Outcome outcome);

class OutputSink;

/// One conversion: takes the plug-in state out of a presentation state and makes one standard presentation state for
/// each image that it annotates. Used for one `convert`.
///
/// Figures of the plug-in state are decoded and read line by line; each ID line opens an output object, and the view
/// and annotation lines after it write into that. Output objects exist one at a time.
///
/// The database is asked first for the object cache, or else for the first image; where it cannot be connected to then,
/// the DBException is the caller's.
class PSConverter : public PresentationState
{
public:
  /// Command mode: loads `inputFile` and writes the outputs to `outputPrefix` + their names.
  PSConverter(tarn::db::DBConnector& db, const std::string& inputFile, const std::string& outputPrefix,
              unsigned long flags, bool debug);
  /// Library mode: appends the outputs to `outputList`, whose objects are the caller's. `file` stays the caller's too,
  /// and is appended last when the original is to be included. Without a list outputs are saved under their bare names.
  PSConverter(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>* outputList,
              unsigned long flags, bool debug);
  /// As in command mode, but `sink`, which is borrowed, takes the outputs. They are refused where the name recurs, and
  /// nowhere else.
  PSConverter(tarn::db::DBConnector& db, const std::string& inputFile, OutputSink& sink);
  ~PSConverter() override;

  /// The whole pass, with a line on the console for every failure. Returns what countsAsConverted() says.
  [[nodiscard]] bool convert(bool touchObjectCache);
  /// The same, telling what it came to.
  [[nodiscard]] Outcome run(bool touchObjectCache);

  /// The pass in two steps, for a caller that looks at the input's UIDs between them. False: it is refused (notLoaded).
  [[nodiscard]] bool load();
  [[nodiscard]] Outcome convertLoaded(bool touchObjectCache);

  /// What became of the lines of the plug-in state.
  const Account& account() const { return book; }
  Account& account() { return book; }
  /// Called before a line is read, whose messages begin now.
  void beginLine();

  /// Cleans the input object, and fixes it where the flags say so.
  bool clean() override;

  /// The next SOP Instance UID: the organisation's root, the number of the output and what the input's own UID has
  /// after the root; cut at 64 characters.
  void genUid(std::string& uid);

  /// Reads a plug-in state: a label, and figures that each begin with a backslash. `text` ends with a NUL; `length` is
  /// not used.
  [[nodiscard]] bool parsePluginState(const unsigned char* text, unsigned int length);
  /// Reads the lines of one decoded figure.
  [[nodiscard]] bool parseFigure(const char* figure);

  // View settings and references go to the current output object.
  bool setImageReferences(const ObjectInfo& object, const std::string& frames) override
  {
    return hasOutput() && output->setImageReferences(object, frames);
  }
  bool setOrientation(int rotation, bool flip) override
  {
    return hasOutput() && output->setOrientation(rotation, flip);
  }
  bool setSizeMode(SIZE_MODE mode) override { return hasOutput() && output->setSizeMode(mode); }
  /// Also keeps the first pair that is not two zeros, for the original.
  bool setPixelSpacing(double first, double second) override;
  bool setZoom(double zoomX, double zoomY) override { return hasOutput() && output->setZoom(zoomX, zoomY); }
  bool setClip(int x, int y, int width, int height) override
  {
    return hasOutput() && output->setClip(x, y, width, height);
  }
  bool setWindowLevel(int window, int level, bool inverted) override
  {
    return hasOutput() && output->setWindowLevel(window, level, inverted);
  }

  /// Begins the output for an image. `objectName` is a prefix, a point and the SOP Instance UID of the image
  /// ("CT.1.2.3"); `frame` is written as it stands. An image that nothing knows is no failure: its output takes what
  /// the lines say, and is dropped.
  [[nodiscard]] bool openOutput(const std::string& objectName, const std::string& frame);
  /// Gives out what was opened last; true as well where that has been done, or is dropped.
  [[nodiscard]] bool finishOutput();
  /// What annotations are written into; null before the first ID line.
  ValidPresentationState* currentOutput() { return output.get(); }

private:
  // The pass, in this order.
  bool loadInput();
  Outcome readInput(std::string& text);
  Outcome refuse(const char* code);
  bool touchCache();
  /// Leaves the input object as it was, whatever happens.
  Outcome convertFigures(const std::string& text);
  void includeOriginal();
  void fixOriginal();

  bool lookUpImage(ObjectInfo& object);
  bool giveOut(ValidPresentationState& finished);
  bool giveToSink(ValidPresentationState& finished);
  bool saveOutput(ValidPresentationState& finished);
  bool hasOutput() const;

  tarn::db::DBConnector& db;
  std::string studyUid;
  std::string inputFile;
  DcmSequenceOfItems* referencedSeries = nullptr;
  int figureCounter = 0; ///< of ID lines, over all figures
  std::string sopInstanceUid;
  std::unique_ptr<ValidPresentationState> output;
  std::list<DcmFileFormat*>* outputList = nullptr;
  OutputSink* sink = nullptr;
  unsigned long flags = 0;
  Uint16 largestColumns = 1; ///< pixels, of all images that the object table knows
  Uint16 largestRows = 1;
  double pixelSpacingX = 0.0; ///< millimetres
  double pixelSpacingY = 0.0;
  std::string outputPrefix;
  tarn::imutils::IMLogger logger{"PSConverter"};

  std::optional<OutputTemplate> outputTemplate; ///< from the first ID line to the end of the figures
  std::optional<tarn::images::ImageSources> imageSources;
  OutputNames names{inputFile};
  Account book;
  std::unique_ptr<ObjectInfo> image; ///< that the output is for
  std::uint64_t messagesAtStart = 0;
  struct stat inputStatus = {}; ///< of the input file, as it was read
};

} // namespace impsconverter

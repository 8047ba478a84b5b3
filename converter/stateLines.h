#pragma once

#include "annotations/Parameters.h"

#include <string>

/// What the text of a plug-in state and its lines say (docs/formats.md), for whoever reads them.
namespace impsconverter
{

constexpr char kFigureStart = '\\';
constexpr char kIdPrefix[] = "ID "; // of lines
constexpr char kPixelPrefix[] = "pixel ";

/// The figures of a plug-in state, one after the other.
class Figures
{
public:
  /// `text` begins before a figure, and outlives this object.
  explicit Figures(const char* text);

  /// The next figure as it stands in the text, encoded; false at the end.
  bool next(std::string& figure);
  /// The text from the next figure on; null at the end.
  const char* rest() const { return backslash; }

private:
  const char* backslash; ///< of the next figure; null at the end
};

/// The image that an ID line names.
struct ImageName
{
  std::string object; ///< "CT.1.2.3"
  std::string frame;  ///< as it stands there
};

/// The scanner of a view line, of what follows its first word; `subject` names the line in the message.
Parameters viewParameters(const std::string& line, const char* subject, bool debug);

// These report a line that cannot be read.

[[nodiscard]] bool readIdLine(const std::string& line, ImageName& image);
/// The spacing in millimetres, 0 where the viewer did not know it.
[[nodiscard]] bool readPixelLine(const std::string& line, bool debug, double& first, double& second);

} // namespace impsconverter

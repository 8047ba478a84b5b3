#pragma once

#include <functional>
#include <string>

namespace impsconverter
{

class Figures;
class PSConverter;

/// Reads the text of a plug-in state (docs/formats.md): a label, and URL-encoded figures, whose decoded lines name an
/// image, set how it is viewed, or annotate it. A line that cannot be read ends the reading with one message for it and
/// one for each level above; lines of other words are passed over.
///
/// Holds nothing but its target, so that one process may read any number of states.
class PluginStateParser
{
public:
  /// `target` is borrowed.
  explicit PluginStateParser(PSConverter& target) : target(target) {}

  /// Reads a whole plug-in state, up to its first NUL. What follows a line that cannot be read is counted.
  [[nodiscard]] bool parse(const char* text);
  /// Counts the lines of a whole plug-in state, or of its rest from a figure on, and reads none. Null has none.
  void count(const char* text);
  static bool hasFigures(const char* text);
  /// Calls `visit` with each line of a whole plug-in state, decoded as far as its figure is; nothing is reported.
  static void forEachLine(const char* text, const std::function<void(const std::string& line)>& visit);
  /// Reads the lines of one decoded figure, and finishes the last output.
  [[nodiscard]] bool parseFigure(const char* figure);
  /// Takes the next line without its line feed; 0 at the end of the text, else 1.
  static int getLine(const char*& cursor, std::string& line);

private:
  using LineHandler = bool (PluginStateParser::*)(const std::string& line);
  struct Rule;
  static const Rule kRules[];

  bool parseFigures(Figures figures);
  void countLines(const char* figure);
  void countLine(const std::string& line);
  static const Rule* ruleOf(const std::string& line);
  /// The one way of every line, and what came of it.
  bool handleLine(const std::string& line);
  bool processIDLine(const std::string& line);
  bool processLightLine(const std::string& line);
  bool processSizedLine(const std::string& line);
  bool processPixelLine(const std::string& line);
  bool processClipLine(const std::string& line);

  PSConverter& target;
};

} // namespace impsconverter

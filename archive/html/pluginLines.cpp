// The lines of plug-in states, for those who compare them with the pictures.
#include "archive/html/pluginLines.h"

#include "archive/journal/fileVersion.h"
#include "base/Console.h"
#include "base/text.h"
#include "converter/OutputNames.h"
#include "converter/inputChecks.h"
#include "converter/stateLines.h"
#include "dicom/loadFile.h"

#include <cerrno>
#include <sstream>
#include <system_error>

#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

constexpr std::uint64_t kMostLines = 2000;

/// Why the input is not opened, or not taken for what was converted; empty where nothing speaks against it.
std::string problemOf(const Record& record)
{
  if (record.outcome == Outcome::crashed || record.outcome == Outcome::timeout)
    return "The input is not opened again: it ended its worker.";
  struct stat status = {};
  if (stat(record.input.c_str(), &status) != 0)
    return base::joined("The input is gone: ", std::generic_category().message(errno), ".");
  const FileVersion now = versionOf(status);
  if (now.size != record.size || now.mtime != record.mtime)
    return "The input was changed since it was converted.";
  return {};
}

/// The text of the plug-in state; else `problem` says why there is none.
std::string readText(const std::string& path, std::string& problem)
{
  std::ostringstream messages; // the record has those of the conversion
  const ConsoleScope kept(messages, messages);
  DcmFileFormat file;
  DcmElement* element = nullptr;
  std::string text;
  if (dicom::loadFile(file, path).bad())
    problem = "The input cannot be loaded.";
  else if (!impsconverter::findPluginState(*file.getDataset(), element))
    problem = "The input has no private state.";
  else if (impsconverter::readPluginState(*element, text))
    problem = "The private state cannot be read.";
  return text;
}

class Parts
{
public:
  explicit Parts(const std::string& instance) : instance(instance) {}

  void add(const std::string& line)
  {
    const bool beginsOutput = base::startsWith(line, impsconverter::kIdPrefix);
    outputs += beginsOutput ? 1 : 0;
    if (++lines > kMostLines)
      ++result.cut;
    else
    {
      if (beginsOutput || result.parts.empty())
        result.parts.push_back({beginsOutput ? impsconverter::OutputNames::uidOf(instance, outputs) : "", {}});
      result.parts.back().lines.push_back(line);
    }
  }

  PluginLines result;

private:
  std::string instance;
  int outputs = 0;
  std::uint64_t lines = 0;
};

} // namespace

PluginLines pluginLinesOf(const Record& record)
{
  Parts parts(record.instance);
  parts.result.problem = problemOf(record);
  if (!parts.result.problem.empty())
    return parts.result;
  const std::string text = readText(record.input, parts.result.problem);
  impsconverter::forEachLine(impsconverter::Figures(text.c_str()),
                             [&parts](const std::string& line) { parts.add(line); });
  return parts.result;
}

} // namespace tarn::archive
